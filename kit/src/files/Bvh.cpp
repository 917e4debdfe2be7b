// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/files/Bvh.h>

#include "files/FileBytes.h"
#include "files/bvh/BvhHierarchy.h"
#include "files/bvh/BvhMotion.h"

#include <tarn_kit/body/Scaling.h>
#include <tarn_kit/session/TakeOf.h>

#include <fstream>
#include <utility>
#include <vector>

namespace tarn::kit {

namespace {

namespace fs = std::filesystem;

BvhTake parse(std::string_view text, const std::string& name) {
    TextScanner scanner(text, name);
    BvhTake take;
    take.rig = readHierarchy(scanner);
    readMotion(scanner, take);
    const Space space = guessSpace(*take.rig); // the file says nothing of it
    take.rig->setStanding(space.up);
    take.rig->setSpace(space);
    take.tracks->setTracksName(fs::path(name).stem().string());
    return take;
}

} // namespace

BvhTake readBvh(const fs::path& file) {
    const std::string name = file.string();
    std::filebuf buffer;
    const std::size_t size = openFile(file, name, buffer);
    return parse(readAll(buffer, size, name), name);
}

BvhTake readBvh(std::istream& stream, const std::string& name) {
    if (!stream) {
        failWhole(name, "the stream cannot be read");
    }
    constexpr std::size_t firstRead = 65'536;
    return parse(readAll(*stream.rdbuf(), firstRead, name), name);
}

BvhTake scaledTake(const BvhTake& take, double factor) {
    std::vector<std::shared_ptr<Frame>> frames;
    for (int i = 0; i < take.tracks->timeLength(); ++i) {
        const auto frame = take.tracks->getFrame(i, poseDataType);
        frames.push_back(std::make_shared<Frame>(
            frame->time(), poseDataType, scaledPose(*take.rig, frame->dataAs<Pose>(), factor)));
    }
    BvhTake scaled = take;
    scaled.rig = scaledRig(*take.rig, factor);
    scaled.tracks = takeOf(poseDataType, std::move(frames), take.tracks->fps());
    scaled.tracks->setTracksName(take.tracks->tracksName());
    return scaled;
}

} // namespace tarn::kit
