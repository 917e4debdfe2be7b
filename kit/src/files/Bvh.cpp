// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/files/Bvh.h>

#include "files/FileBytes.h"
#include "files/bvh/BvhHierarchy.h"
#include "files/bvh/BvhMotion.h"

#include <tarn_kit/body/BodyPose.h>
#include <tarn_kit/body/Payload.h>
#include <tarn_kit/body/Scaling.h>
#include <tarn_kit/session/TakeOf.h>

#include <cstddef>
#include <cstdint>
#include <fstream>
#include <optional>
#include <stdexcept>
#include <string>
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

/// The pose of a body that comes after another one, if any came.
Pose nextPose(const Rig& rig, const BodyPose& body, const std::optional<Pose>& previous) {
    if (body.segments.size() != rig.nodes().size()) {
        throw std::invalid_argument("a body of " + std::to_string(body.segments.size()) +
                                    " segments is none of a rig of " +
                                    std::to_string(rig.nodes().size()) + " nodes");
    }
    return previous ? poseOf(rig, body, *previous) : poseOf(rig, body);
}

std::shared_ptr<Frame> poseFrame(const Pose& pose, std::size_t index, const Rate& rate) {
    return std::make_shared<Frame>(rate.time(static_cast<std::int64_t>(index)), poseDataType, pose);
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

BvhTake bvhTakeOf(std::shared_ptr<Rig> rig, const std::shared_ptr<Tracks>& bodies,
                  const Rate& rate) {
    const int length = bodies->timeLength();
    std::vector<std::shared_ptr<Frame>> poses;
    std::optional<Pose> pose;
    for (int i = 0; i < length; ++i) {
        if (const auto body = bodies->getFrame(i, bodyDataType)) {
            pose = nextPose(*rig, payloadOf<BodyPose>(body), pose);
            for (std::size_t lost = poses.size(); lost < static_cast<std::size_t>(i); ++lost) {
                poses.push_back(poseFrame(*pose, lost, rate)); // none came before
            }
        }
        if (pose) {
            poses.push_back(poseFrame(*pose, poses.size(), rate));
        }
    }
    BvhTake take;
    take.rig = std::move(rig);
    take.tracks = takeOf(poseDataType, std::move(poses), rate.fps());
    take.tracks->setTracksName(bodies->tracksName());
    take.frameTime = rate.frameTime();
    take.rateRounded = !rate.isWhole();
    return take;
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
