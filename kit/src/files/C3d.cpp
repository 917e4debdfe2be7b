// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/files/C3d.h>

#include "files/FileBytes.h"
#include "files/c3d/Block.h"
#include "files/c3d/C3dDescription.h"
#include "files/c3d/C3dOrigins.h"
#include "files/c3d/C3dSource.h"
#include "files/c3d/layout/C3dSearch.h"

#include <tarn_kit/files/Text.h>
#include <tarn_kit/session/TakeOf.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <new>
#include <optional>
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

/// The bytes of a file, which are read as they are asked for: what is made of them is made while
/// they are still at hand.
class ArrivingBytes {
public:
    /// Bytes that are all there.
    ArrivingBytes(std::shared_ptr<const char> bytes, std::uint64_t size)
        : bytes_(std::move(bytes)), there_(size) {}
    /// Those of a file, into a block that has room for them.
    ArrivingBytes(const std::shared_ptr<char>& block, std::filebuf& file, std::string name)
        : bytes_(block), room_(block.get()), file_(&file), name_(std::move(name)) {}

    /// Whether as many are there; if not, the file is shorter than it was.
    bool upTo(std::uint64_t end) {
        if (end > there_ && file_ != nullptr) {
            there_ += readSome(*file_, room_ + there_, end - there_, name_);
        }
        return there_ >= end;
    }
    std::string_view there() const noexcept { return {bytes_.get(), there_}; }
    const std::shared_ptr<const char>& owner() const noexcept { return bytes_; }

private:
    std::shared_ptr<const char> bytes_;
    char* room_ = nullptr;
    std::filebuf* file_ = nullptr;
    std::string name_;
    std::uint64_t there_ = 0;
};

/// So many bytes stay in the caches next to what is made of them.
constexpr std::uint64_t sliceBytes = 256 * c3dBlock;

/// What becomes of the bytes of a file.
struct Reading {
    C3dData data;
    const C3dOptions& options;
    C3dJudge& judge;
    bool isAnyAtOrigin = false;
    std::uint64_t nowhere = 0;      ///< how many points stand where nothing is
    std::uint64_t firstNowhere = 0; ///< offset
};

/// Reads markers and channels, which share the frames of a file. False if its bytes end too soon.
bool readFrames(Reading& reading, ArrivingBytes& bytes, Marker* markers, float* samples) {
    const C3dLayout& layout = reading.data.layout();
    const std::uint64_t size = layout.frameBytes();
    const std::uint64_t slice = size == 0 ? 0 : std::max<std::uint64_t>(1, sliceBytes / size);
    const std::uint64_t samplesOfFrame = layout.channels * layout.samplesPerFrame;
    for (std::uint64_t first = 0; slice > 0 && first < layout.frames; first += slice) {
        const std::uint64_t count = std::min(slice, layout.frames - first);
        const std::uint64_t start = layout.dataStart + first * size;
        if (!bytes.upTo(start + count * size)) {
            return false;
        }
        const char* const frame = bytes.there().data() + start;
        if (layout.points > 0) {
            Marker* const out = markers + first * layout.points;
            const Nowhere nowhere = reading.data.decodeMarkers(frame, count, out);
            if (reading.nowhere == 0 && nowhere.count > 0) {
                reading.firstNowhere =
                    static_cast<std::uint64_t>(nowhere.first - bytes.there().data());
            }
            reading.nowhere += nowhere.count;
            reading.isAnyAtOrigin =
                reading.isAnyAtOrigin || isAnyAtOrigin(out, count * layout.points);
        }
        if (samplesOfFrame > 0) {
            reading.data.decodeAnalog(frame, count, samples + first * samplesOfFrame);
        }
    }
    return true;
}

/// Reads what comes with the frames and apart from them; false if the bytes end too soon.
bool readSamples(Reading& reading, ArrivingBytes& bytes, const std::string& name, C3dTake& take) {
    const C3dLayout& layout = reading.data.layout();
    const std::size_t points = take.markers.size();
    const std::size_t channels = take.channels.size();
    const std::uint64_t count = channels == 0 ? 0 : layout.frames * layout.samplesPerFrame;
    const std::shared_ptr<Marker> markers = makeBlock<Marker>(layout.frames * points);
    const std::shared_ptr<float> samples = makeBlock<float>(count * channels);
    if (!readFrames(reading, bytes, markers.get(), samples.get()) || !bytes.upTo(layout.fileSize)) {
        return false;
    }
    if (reading.nowhere > 0) {
        reading.judge.remark({"the data", reading.firstNowhere,
                              counted(reading.nowhere, "position") + " of 9999999,9999999,9999999",
                              "that nothing was seen", "no marker is there"});
    }
    if (reading.isAnyAtOrigin && !reading.options.originIsNotSeen) {
        reading.data.setOriginIsNotSeen(settleOrigins(markers.get(), layout, take, reading.judge));
    }
    take.tracks = tracksOf<MarkerFrame, Marker>(markers, points, take.frameCount, layout.rate,
                                                markerDataType, name);
    if (channels > 0) {
        take.analogTracks = tracksOf<AnalogFrame, float>(samples, channels, static_cast<int>(count),
                                                         take.analogRate(), analogDataType, name);
    }
    if (!take.bodies.empty()) {
        const std::size_t width = take.bodies.size();
        const std::uint64_t frames = layout.bodyFrames * layout.bodiesPerFrame;
        const std::shared_ptr<RigidBody> bodies = makeBlock<RigidBody>(frames * width);
        reading.data.decodeBodies(bytes.there().data() + layout.bodiesStart, frames * width,
                                  bodies.get());
        take.bodyTracks = tracksOf<RigidBodyFrame, RigidBody>(
            bodies, width, static_cast<int>(frames), take.rate * take.bodiesPerFrame,
            rigidBodyDataType, name);
    }
    return true;
}

/// Reads a file of a size from bytes that have arrived at least as far as its parameters go;
/// nothing if they end too soon.
std::optional<C3dTake> parse(ArrivingBytes& bytes, std::uint64_t size, const C3dOptions& options,
                             const std::string& name) {
    const std::string_view view = bytes.there();
    C3dJudge judge(options.mode, name);
    C3dSection section = findSection(view, size, judge);
    const C3dLayout layout = settleLayout(view, size, section, judge);
    C3dTake take;
    static_cast<C3dInfo&>(take) = describe(view, section, layout, judge);
    Reading reading{
        {layout, take.channels, options.originIsNotSeen.value_or(false)}, options, judge};
    if (!readSamples(reading, bytes, fs::path(name).stem().string(), take)) {
        return std::nullopt;
    }
    take.source = std::make_shared<const C3dSource>(bytes.owner(), size, std::move(section),
                                                    reading.data, take);
    take.report = judge.takeReport();
    return take;
}

/// The same from bytes that are all there.
C3dTake parse(std::shared_ptr<const char> bytes, std::uint64_t size, const C3dOptions& options,
              const std::string& name) {
    ArrivingBytes all(std::move(bytes), size);
    return *parse(all, size, options, name);
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

/// What is thrown when there is no memory says nothing of the file.
template <class Read>
auto withinMemory(const std::string& name, Read read) {
    try {
        return read();
    } catch (const std::bad_alloc&) {
        failWhole(name, "there is not enough memory for what it holds");
    }
}

C3dTake readFile(const fs::path& file, const std::string& name, const C3dOptions& options) {
    std::filebuf buffer;
    const std::size_t size = openFile(file, name, buffer);
    if (size == 0) { // what has no size may still have bytes
        const std::string text = readAll(buffer, c3dBlock, name);
        return parse(ownerOf(text), text.size(), options, name);
    }
    ArrivingBytes bytes(makeBlock<char>(size), buffer, name);
    const bool isAll =
        bytes.upTo(std::min(size, infoBytes)) &&
        (size <= infoBytes || holdsParameters(bytes.there(), size, name) || bytes.upTo(size));
    if (std::optional<C3dTake> take = isAll ? parse(bytes, size, options, name) : std::nullopt) {
        return std::move(*take);
    }
    // Somebody has cut the file off since its size was asked for.
    return parse(bytes.owner(), bytes.there().size(), options, name);
}

} // namespace

C3dTake readC3d(const fs::path& file, const C3dOptions& options) {
    const std::string name = file.string();
    return withinMemory(name, [&] { return readFile(file, name, options); });
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
