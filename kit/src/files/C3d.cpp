// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/files/C3d.h>

#include "files/FileBytes.h"
#include "files/c3d/Block.h"
#include "files/c3d/C3dDescription.h"
#include "files/c3d/C3dSource.h"

#include <tarn_kit/session/TakeOf.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <string_view>
#include <utility>

namespace tarn::kit {

namespace {

namespace fs = std::filesystem;

/// As much as a header and parameters take: they start in one of the first 255 blocks and fill up
/// to 255 more.
constexpr std::size_t infoBytes = 510 * c3dBlock;

/// A rate as times and takes have it.
int wholeRate(double rate) { return static_cast<int>(std::lround(std::clamp(rate, 1.0, 1e9))); }

/// A take of one track whose frames share one block of values, `width` to each frame. The frames
/// are in one block as well: there may be millions.
template <class Payload, class Value>
std::shared_ptr<Tracks> tracksOf(const std::shared_ptr<const Value>& values, std::size_t width,
                                 int count, double rate, int dataType, const std::string& name) {
    const int fps = wholeRate(rate);
    const auto block = std::make_shared<std::vector<Frame>>();
    block->reserve(static_cast<std::size_t>(count));
    std::vector<std::shared_ptr<Frame>> frames;
    frames.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        const Value* const first = values.get() + static_cast<std::size_t>(i) * width;
        block->emplace_back(Time(static_cast<unsigned>(i), static_cast<unsigned>(fps)), dataType,
                            Payload(std::shared_ptr<const Value>(values, first), width));
        frames.emplace_back(block, &block->back());
    }
    std::shared_ptr<Tracks> tracks = takeOf(dataType, std::move(frames), fps);
    tracks->setTracksName(name);
    return tracks;
}

void readSamples(const C3dSource& source, const std::string& name, C3dTake& take) {
    const C3dLayout& layout = source.data().layout();
    const char* const bytes = source.bytes().data();
    const std::size_t points = take.markers.size();
    const std::shared_ptr<Marker> markers = makeBlock<Marker>(layout.frames * points);
    if (points > 0) {
        source.data().decodeMarkers(bytes + layout.dataStart, layout.frames, markers.get());
    }
    take.tracks = tracksOf<MarkerFrame, Marker>(markers, points, take.frameCount, layout.rate,
                                                markerDataType, name);
    if (!take.channels.empty()) {
        const std::size_t width = take.channels.size();
        const std::uint64_t count = layout.frames * layout.samplesPerFrame;
        const std::shared_ptr<float> samples = makeBlock<float>(count * width);
        source.data().decodeAnalog(bytes + layout.dataStart, layout.frames, samples.get());
        take.analogTracks = tracksOf<AnalogFrame, float>(samples, width, static_cast<int>(count),
                                                         take.analogRate(), analogDataType, name);
    }
    if (!take.bodies.empty()) {
        const std::size_t width = take.bodies.size();
        const std::uint64_t count = layout.bodyFrames * layout.bodiesPerFrame;
        const std::shared_ptr<RigidBody> bodies = makeBlock<RigidBody>(count * width);
        source.data().decodeBodies(bytes + layout.bodiesStart, count * width, bodies.get());
        take.bodyTracks = tracksOf<RigidBodyFrame, RigidBody>(
            bodies, width, static_cast<int>(count), take.rate * take.bodiesPerFrame,
            rigidBodyDataType, name);
    }
}

C3dTake parse(std::shared_ptr<const char> bytes, std::uint64_t size, const C3dOptions& options,
              const std::string& name) {
    const std::string_view view(bytes.get(), size);
    C3dJudge judge(options.mode, name);
    C3dSection section = findSection(view, size, judge);
    const C3dLayout layout = settleLayout(view, size, section, judge);
    C3dTake take;
    static_cast<C3dInfo&>(take) = describe(view, section, layout, judge);
    const C3dData data(layout, take.channels, options.originIsNotSeen);
    auto source =
        std::make_shared<const C3dSource>(std::move(bytes), size, std::move(section), data, take);
    readSamples(*source, fs::path(name).stem().string(), take);
    take.source = std::move(source);
    take.report = judge.takeReport();
    return take;
}

std::shared_ptr<const char> ownerOf(std::string text) {
    const auto owner = std::make_shared<const std::string>(std::move(text));
    return {owner, owner->data()};
}

/// Whether all parameters lie in the bytes at hand.
bool holdsParameters(std::string_view bytes, std::uint64_t fileSize, const std::string& name) {
    try {
        C3dJudge judge(C3dMode::Lenient, name);
        const C3dSection section = findSection(bytes, fileSize, judge);
        return section.start != 0 && !section.ranOut;
    } catch (const ReadError&) {
        return false;
    }
}

} // namespace

C3dTake readC3d(const fs::path& file, const C3dOptions& options) {
    const std::string name = file.string();
    std::filebuf buffer;
    const std::size_t size = openFile(file, name, buffer);
    if (size == 0) { // what has no size may still have bytes
        const std::string text = readAll(buffer, c3dBlock, name);
        return parse(ownerOf(text), text.size(), options, name);
    }
    const std::shared_ptr<char> bytes = makeBlock<char>(size);
    return parse(bytes, readSome(buffer, bytes.get(), size, name), options, name);
}

C3dTake readC3d(std::istream& stream, const C3dOptions& options, const std::string& name) {
    if (!stream) {
        failWhole(name, "the stream cannot be read");
    }
    constexpr std::size_t firstRead = 65'536;
    std::string text = readAll(*stream.rdbuf(), firstRead, name);
    const std::size_t size = text.size();
    return parse(ownerOf(std::move(text)), size, options, name);
}

C3dInfo readC3dInfo(const fs::path& file, const C3dOptions& options) {
    const std::string name = file.string();
    std::filebuf buffer;
    const std::size_t size = openFile(file, name, buffer);
    std::string bytes(std::min(size, infoBytes), '\0');
    bytes.resize(readSome(buffer, bytes.data(), bytes.size(), name));
    if (bytes.size() < size && !holdsParameters(bytes, size, name)) {
        bytes += readAll(buffer, size - bytes.size(), name);
    }
    C3dJudge judge(options.mode, name);
    const C3dSection section = findSection(bytes, size, judge);
    C3dInfo info = describe(bytes, section, settleLayout(bytes, size, section, judge), judge);
    info.report = judge.takeReport();
    return info;
}

} // namespace tarn::kit
