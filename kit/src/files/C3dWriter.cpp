// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/files/C3d.h>

#include "files/c3d/C3dData.h"
#include "files/c3d/C3dHeader.h"
#include "files/c3d/C3dSource.h"
#include "files/c3d/C3dSync.h"

#include <algorithm>
#include <any>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tarn::kit {

namespace {

namespace header = c3d_header;

constexpr std::uint64_t maxWord = 65535;

[[noreturn]] void refuse(const std::string& reason) {
    throw std::invalid_argument("a C3D file cannot hold this take: " + reason);
}

// What a take holds, checked once.

/// The payload of a frame; throws if there is none of the type, or not of the size.
template <class Payload>
const Payload& payloadAt(Tracks& tracks, int index, int dataType, std::size_t size,
                         const char* what) {
    const std::shared_ptr<Frame> frame = tracks.getFrame(index, dataType);
    const auto* const payload = frame == nullptr ? nullptr : std::any_cast<Payload>(&frame->data());
    if (payload == nullptr || payload->size() != size) {
        refuse("index " + std::to_string(index) + " shows no frame of " + std::to_string(size) +
               " " + what);
    }
    return *payload; // the take keeps the frame
}

/// The samples of a take. What it refers to outlives it.
class Samples {
public:
    explicit Samples(const C3dTake& take) : take_(take) {
        if (take.tracks == nullptr) {
            refuse("it has no tracks");
        }
        if (!std::isfinite(take.rate) || !(take.rate > 0)) {
            refuse("it has no rate");
        }
        frames = take.tracks->timeLength();
        checkAnalog();
        checkBodies();
        for (int i = 0; i < frames; ++i) {
            markers(i);
        }
        for (int i = 0; i < samples; ++i) {
            analog(i);
        }
        for (int i = 0; i < bodySamples; ++i) {
            bodies(i);
        }
    }

    const MarkerFrame& markers(int index) const {
        return payloadAt<MarkerFrame>(*take_.tracks, index, markerDataType, take_.markers.size(),
                                      "markers");
    }
    const AnalogFrame& analog(int index) const {
        return payloadAt<AnalogFrame>(*take_.analogTracks, index, analogDataType,
                                      take_.channels.size(), "channels");
    }
    const RigidBodyFrame& bodies(int index) const {
        return payloadAt<RigidBodyFrame>(*take_.bodyTracks, index, rigidBodyDataType,
                                         take_.bodies.size(), "rigid bodies");
    }

    int frames = 0;
    int samples = 0;
    int bodySamples = 0;

private:
    void checkAnalog() {
        if (take_.channels.empty()) {
            return;
        }
        const auto perFrame = static_cast<std::uint64_t>(std::max(take_.samplesPerFrame, 0));
        if (perFrame == 0) {
            refuse("it has channels, but no samples to a frame");
        }
        samples = take_.analogTracks == nullptr ? 0 : take_.analogTracks->timeLength();
        if (static_cast<std::uint64_t>(samples) != static_cast<std::uint64_t>(frames) * perFrame) {
            refuse("it has " + std::to_string(samples) + " analog samples for " +
                   std::to_string(frames) + " frames");
        }
    }

    void checkBodies() {
        if (take_.bodies.empty()) {
            return;
        }
        bodySamples = take_.bodyTracks == nullptr ? 0 : take_.bodyTracks->timeLength();
        if (take_.bodiesPerFrame <= 0 || bodySamples % take_.bodiesPerFrame != 0) {
            refuse("its rigid bodies do not come in whole frames");
        }
    }

    const C3dTake& take_;
};

// How it is stored.

/// The largest distance from the origin along an axis, and the largest residual.
struct Extent {
    double place = 0;
    double residual = 0;
};

Extent extentOf(const Samples& samples) {
    Extent extent;
    const auto grow = [](double& most, float value) {
        const double size = std::abs(static_cast<double>(value));
        most = std::isfinite(size) ? std::max(most, size) : most;
    };
    for (int i = 0; i < samples.frames; ++i) {
        for (const Marker& marker : samples.markers(i)) {
            if (marker.hasPosition()) {
                grow(extent.place, marker.position.x);
                grow(extent.place, marker.position.y);
                grow(extent.place, marker.position.z);
                grow(extent.residual, marker.residual);
            }
        }
    }
    return extent;
}

/// A step, in single precision, of which no more than 32,767 are needed.
double chooseScale(const C3dTake& take, const Samples& samples, bool real) {
    const bool given = std::isfinite(take.scale) && take.scale > 0;
    if (given && real) {
        return take.scale;
    }
    constexpr double steps = 32767;
    const Extent extent = extentOf(samples);
    if (given && extent.place < (steps + 1.5) * take.scale) { // down to -32768
        return take.scale;
    }
    const double scale = std::max(extent.place / steps, given ? 0 : extent.residual / 255);
    if (scale == 0) {
        return given ? take.scale : 1;
    }
    return static_cast<double>(
        std::nextafter(static_cast<float>(scale), std::numeric_limits<float>::max()));
}

/// Whether a sample is a whole number of 16 bits as it would be stored.
bool fitsInteger(float sample, const C3dChannel& channel, bool isUnsigned) {
    const auto value = static_cast<double>(sample);
    if (channel.scale == 0) {
        return value == 0;
    }
    const double stored = value / channel.scale + channel.offset;
    const double least = isUnsigned ? -0.5 : -32768.5;
    const double most = isUnsigned ? 65535.5 : 32767.5;
    return stored > least && stored < most && std::abs(stored - std::rint(stored)) <= 0.01;
}

/// The channel with a scale by which its largest sample fits.
C3dChannel rescaled(const Samples& samples, std::size_t index, C3dChannel channel) {
    double most = 0;
    for (int i = 0; i < samples.samples; ++i) {
        const double size = std::abs(static_cast<double>(samples.analog(i)[index]));
        most = std::isfinite(size) ? std::max(most, size) : most;
    }
    const auto scale = static_cast<float>(most / 32767);
    channel.scale =
        most == 0 ? 1
                  : static_cast<double>(std::nextafter(scale, std::numeric_limits<float>::max()));
    channel.offset = 0;
    return channel;
}

/// Writes a take in a layout of its own, or over the bytes of its source.
class Writer {
public:
    Writer(const C3dTake& take, C3dEncoding encoding)
        : take_(take), samples_(take), source_(take.source.get()), channels_(take.channels) {
        to_.processor = processorOf(encoding);
        to_.real = isReal(encoding);
        to_.points = take.markers.size();
        to_.channels = take.channels.size();
        to_.samplesPerFrame =
            take.channels.empty() ? 0 : static_cast<std::uint64_t>(take.samplesPerFrame);
        to_.frames = static_cast<std::uint64_t>(samples_.frames);
        to_.firstFrame = take.firstFrame;
        to_.rate = take.rate;
        to_.bodies = take.bodies.size();
        to_.bodiesPerFrame =
            take.bodies.empty() ? 0 : static_cast<std::uint64_t>(take.bodiesPerFrame);
        to_.bodyFrames = static_cast<std::uint64_t>(samples_.bodySamples) /
                         std::max<std::uint64_t>(1, to_.bodiesPerFrame);
        to_.unsignedAnalog = source_ != nullptr && from().unsignedAnalog;
        to_.scale = chooseScale(take, samples_, to_.real);
        if (!to_.real) {
            fitChannels();
        }
    }

    void write(std::ostream& stream) {
        const C3dChanges changes(take_, to_, channels_);
        parameters_ = syncedParameters(take_, to_, channels_, changes);
        numberGroups();
        const bool sameParameters = source_ != nullptr && parameters_ == source_->info().parameters;
        std::string section;
        if (source_ != nullptr && !changes.encoding && source_->section().start != 0) {
            keepRecords_ = true;
        }
        if (!changes.shape()) {
            section = sameParameters ? std::string() : sectionBytes();
            if (sameParameters || fitsInPlace(section)) {
                writeOver(stream, changes, section);
                return;
            }
        }
        writeAnew(stream, changes);
    }

private:
    const C3dLayout& from() const { return source_->data().layout(); }

    /// Rescales the channels that the integers of 16 bits do not hold as they are.
    void fitChannels() {
        if (allFit(to_.unsignedAnalog)) {
            return;
        }
        to_.unsignedAnalog = false;
        for (std::size_t i = 0; i < channels_.size(); ++i) {
            if (!fits(i, false)) {
                channels_[i] = rescaled(samples_, i, channels_[i]);
            }
        }
    }

    bool fits(std::size_t channel, bool isUnsigned) const {
        for (int i = 0; i < samples_.samples; ++i) {
            if (!fitsInteger(samples_.analog(i)[channel], channels_[channel], isUnsigned)) {
                return false;
            }
        }
        return true;
    }

    /// Whether all samples fit; those that the source has in the same integers do, whatever they
    /// are worth.
    bool allFit(bool isUnsigned) const {
        const bool same = source_ != nullptr && from().processor == to_.processor && !from().real &&
                          from().channels == to_.channels &&
                          from().samplesPerFrame == to_.samplesPerFrame;
        const auto perFrame = static_cast<int>(to_.samplesPerFrame);
        std::vector<float> was(to_.channels * to_.samplesPerFrame);
        for (int i = 0; i < samples_.samples; ++i) {
            const bool known = same && static_cast<std::uint64_t>(i / perFrame) < from().frames;
            if (known && i % perFrame == 0) {
                source_->data().decodeAnalog(frameOfSource(i / perFrame), 1, was.data());
            }
            const AnalogFrame& now = samples_.analog(i);
            for (std::size_t k = 0; k < now.size(); ++k) {
                const std::size_t index = static_cast<std::size_t>(i % perFrame) * now.size() + k;
                const bool kept = known && isSame(now[k], was[index]) && !isRescaled(k);
                if (!kept && !fitsInteger(now[k], channels_[k], isUnsigned)) {
                    return false;
                }
            }
        }
        return true;
    }

    const char* frameOfSource(int index) const {
        return source_->bytes().data() + from().dataStart +
               static_cast<std::uint64_t>(index) * from().frameBytes();
    }

    /// Gives groups that were made a number that no other has.
    void numberGroups() {
        std::vector<bool> taken(128);
        for (const C3dGroup& group : parameters_.groups()) {
            if (group.id < 0 || group.id > 127 ||
                (group.id > 0 && taken[static_cast<std::size_t>(group.id)])) {
                refuse("the group " + group.name + " has a number that is not its own");
            }
            taken[static_cast<std::size_t>(group.id)] = group.id > 0;
        }
        for (C3dGroup& group : parameters_.groups()) {
            if (group.id == 0) {
                const auto free = std::find(taken.begin() + 1, taken.end(), false);
                if (free == taken.end()) {
                    refuse("it has more than 127 groups of parameters");
                }
                *free = true;
                group.id = static_cast<int>(free - taken.begin());
            }
        }
    }

    // The section of parameters.

    /// The bytes of a record of the source if it says the same there.
    std::string keptRecord(std::uint64_t offset, bool same) const {
        if (!keepRecords_ || !same || offset == 0) {
            return {};
        }
        const std::vector<C3dRecord>& records = source_->section().records;
        const auto found = std::lower_bound(
            records.begin(), records.end(), offset,
            [](const C3dRecord& record, std::uint64_t at) { return record.start < at; });
        if (found == records.end() || found->start != offset || found->isMended) {
            return {};
        }
        return std::string(source_->bytes().substr(found->start, found->end - found->start));
    }

    const C3dGroup* sourceGroup(const C3dGroup& group) const {
        if (source_ == nullptr) {
            return nullptr;
        }
        for (const C3dGroup& other : source_->info().parameters.groups()) {
            if (other.id == group.id) {
                return &other;
            }
        }
        return nullptr;
    }

    struct Placed {
        std::uint64_t offset; ///< in the source; behind all of them for what is new
        std::string record;
    };

    void addRecords(const C3dGroup& group, std::vector<Placed>& records) const {
        constexpr std::uint64_t atTheEnd = std::numeric_limits<std::uint64_t>::max();
        const C3dGroup* const was = sourceGroup(group);
        if (!group.name.empty()) { // one without a name has no record
            const bool same = was != nullptr && was->name == group.name &&
                              was->description == group.description && was->locked == group.locked;
            std::string record = keptRecord(group.offset, same);
            if (record.empty()) {
                record = recordOf(group, to_.processor, false);
            }
            records.push_back({group.offset == 0 ? atTheEnd : group.offset, std::move(record)});
        }
        for (const C3dParameter& parameter : group.parameters) {
            bool same = false;
            if (was != nullptr) {
                for (const C3dParameter& old : was->parameters) {
                    same = same || (old.offset == parameter.offset && old == parameter);
                }
            }
            std::string record = keptRecord(parameter.offset, same);
            if (record.empty()) {
                record = recordOf(group, parameter, to_.processor, false);
            }
            records.push_back(
                {parameter.offset == 0 ? atTheEnd : parameter.offset, std::move(record)});
        }
    }

    /// All records, in the order of the source, and the end of them, with the header of the section
    /// before them.
    std::string sectionBytes() const {
        std::vector<Placed> records;
        for (const C3dGroup& group : parameters_.groups()) {
            addRecords(group, records);
        }
        if (keepRecords_) {
            std::stable_sort(records.begin(), records.end(),
                             [](const Placed& a, const Placed& b) { return a.offset < b.offset; });
        }
        std::string bytes = {1, header::magic, 0, static_cast<char>(to_.processor)};
        for (Placed& one : records) {
            setDistance(one.record, to_.processor, false);
            bytes += one.record;
        }
        bytes.append(2, '\0');
        const std::uint64_t blocks = (bytes.size() + c3dBlock - 1) / c3dBlock;
        if (blocks > 255) {
            refuse("its parameters take " + std::to_string(blocks) + " blocks, more than 255");
        }
        bytes[2] = static_cast<char>(blocks);
        return bytes;
    }

    /// Where something else follows the parameters of the source.
    std::uint64_t endOfRoom() const {
        const std::uint64_t start = source_->section().start;
        std::uint64_t end = source_->bytes().size();
        for (const std::uint64_t other : {from().dataStart, from().bodiesStart}) {
            end = other > start ? std::min(end, other) : end;
        }
        return end;
    }

    bool fitsInPlace(const std::string& section) const {
        const std::uint64_t start = source_->section().start;
        const bool amongData = start >= from().dataStart && start < from().dataEnd();
        return keepRecords_ && !amongData && start + section.size() <= endOfRoom();
    }

    // Over the bytes of the source.

    void writeOver(std::ostream& stream, const C3dChanges& changes, std::string section) {
        const std::string_view bytes = source_->bytes();
        to_.dataStart = std::min<std::uint64_t>(from().dataStart, bytes.size());
        to_.bodiesStart = from().bodiesStart;
        std::string head(bytes.substr(0, to_.dataStart));
        std::string tail(bytes.substr(to_.dataEnd()));
        const auto put = [&](std::uint64_t at, std::string_view text) {
            const bool inTail = at >= to_.dataEnd();
            std::string& part = inTail ? tail : head;
            const std::uint64_t start = inTail ? at - to_.dataEnd() : at;
            if (start + text.size() <= part.size()) { // else it lies among the data
                part.replace(start, text.size(), text);
            }
        };
        if (!section.empty()) {
            const C3dSection& was = source_->section();
            section[2] = std::max(section[2], static_cast<char>(was.statedBlocks),
                                  [](char a, char b) { return byteAt(&a) < byteAt(&b); });
            section.replace(0, 2, bytes.substr(was.start, 2)); // whatever is there
            section[3] = bytes[was.start + 3];
            const std::uint64_t old = was.end - was.start;
            const std::uint64_t room = endOfRoom() - was.start;
            section.resize(std::max<std::uint64_t>(section.size(), std::min(old, room)), '\0');
            put(was.start, section);
        }
        putHeader(head, changes, false);
        if (to_.bodies > 0) {
            const std::uint64_t size = to_.bodyFrames * to_.bodyFrameBytes();
            put(to_.bodiesStart, bodyBytes(std::string(bytes.substr(to_.bodiesStart, size))));
        }
        stream.write(head.data(), static_cast<std::streamsize>(head.size()));
        writeFrames(stream, true);
        stream.write(tail.data(), static_cast<std::streamsize>(tail.size()));
    }

    // With a layout of its own.

    void writeAnew(std::ostream& stream, const C3dChanges& changes) {
        if (to_.points > maxWord || to_.channels * to_.samplesPerFrame > maxWord ||
            to_.bodies > maxWord || to_.bodiesPerFrame > maxWord) {
            refuse("it has more than 65535 markers, samples or rigid bodies to a frame");
        }
        // Here nothing that the file said otherwise than it was can stay.
        C3dChanges all = changes;
        all.encoding = all.points = all.frames = all.scale = all.rate = true;
        all.analogShape = all.bodies = true;
        parameters_ = syncedParameters(take_, to_, channels_, all);
        numberGroups();
        const auto blocksOf = [](std::uint64_t bytes) { return (bytes + c3dBlock - 1) / c3dBlock; };
        const std::uint64_t sectionBlocks = blocksOf(sectionBytes().size());
        to_.dataStart = (1 + sectionBlocks) * c3dBlock;
        const std::uint64_t bodiesBlock =
            1 + sectionBlocks + blocksOf(to_.frames * to_.frameBytes());
        to_.bodiesStart = to_.bodies == 0 ? 0 : bodiesBlock * c3dBlock;
        if (to_.bodies > 0 && bodiesBlock >= maxWord) {
            refuse("its rigid bodies start behind block 65535");
        }
        setBlock("POINT", to_.dataStart);
        if (to_.bodies > 0) {
            setBlock("ROTATION", to_.bodiesStart);
        }
        std::string section = sectionBytes();
        section.resize(sectionBlocks * c3dBlock, '\0');
        std::string head(c3dBlock, '\0');
        const bool keepHeader = source_ != nullptr && !changes.encoding;
        if (keepHeader) {
            head = source_->bytes().substr(0, c3dBlock);
        } else if (source_ != nullptr) {
            const std::uint64_t at = header::offsetOf(header::maxGap);
            const std::uint16_t gap = wordAt(&source_->bytes()[at], from().processor);
            putWord(&head[at], gap, to_.processor);
        }
        head[0] = 2;
        head[1] = header::magic;
        putHeader(head, changes, true);
        head += section;
        stream.write(head.data(), static_cast<std::streamsize>(head.size()));
        writeFrames(stream, keepHeader && !changes.points && !changes.analogShape);
        writePadding(stream, to_.frames * to_.frameBytes());
        if (to_.bodies > 0) {
            const bool same = keepHeader && !changes.bodies;
            std::string bytes(to_.bodyFrames * to_.bodyFrameBytes(), '\0');
            if (same) {
                bytes = source_->bytes().substr(from().bodiesStart, bytes.size());
            }
            bytes = bodyBytes(std::move(bytes), same);
            stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
            writePadding(stream, bytes.size());
        }
    }

    void setBlock(const char* group, std::uint64_t start) {
        const std::uint64_t block = start / c3dBlock + 1;
        const C3dParameter* const old = parameters_.find(group, "DATA_START");
        if (old != nullptr && old->type == C3dType::Real) {
            parameters_.set(group, C3dParameter::real("DATA_START", static_cast<float>(block)));
        } else {
            parameters_.set(group, C3dParameter::integer("DATA_START", static_cast<int>(block)));
        }
    }

    static void writePadding(std::ostream& stream, std::uint64_t size) {
        const std::string zeros((c3dBlock - size % c3dBlock) % c3dBlock, '\0');
        stream.write(zeros.data(), static_cast<std::streamsize>(zeros.size()));
    }

    // The header.

    void putHeader(std::string& head, const C3dChanges& changes, bool anew) const {
        const auto word = [&](int number, std::uint64_t value) {
            putWord(&head[header::offsetOf(number)],
                    static_cast<std::uint16_t>(std::min(value, maxWord)), to_.processor);
        };
        const auto real = [&](int number, double value) {
            putReal(&head[header::offsetOf(number)], static_cast<float>(value), to_.processor);
        };
        if (anew || changes.points) {
            word(header::points, to_.points);
        }
        if (anew || changes.frames) {
            const auto first =
                static_cast<std::uint64_t>(std::max<std::int64_t>(0, to_.firstFrame));
            word(header::firstFrame, first);
            word(header::lastFrame, first + to_.frames == 0 ? 0 : first + to_.frames - 1);
        }
        if (anew || changes.scale) {
            real(header::scale, to_.real ? -to_.scale : to_.scale);
        }
        if (anew || changes.rate) {
            real(header::rate, to_.rate);
        }
        if (anew) {
            word(header::dataStart, to_.dataStart / c3dBlock + 1);
        }
        if (anew && (changes.analogShape || changes.encoding)) {
            word(header::samplesPerFrame, to_.samplesPerFrame);
        }
        if (anew || changes.analogShape) {
            word(header::analogPerFrame, to_.channels * to_.samplesPerFrame);
        }
        if (changes.headerEvents || changes.encoding) {
            putEvents(head);
        }
    }

    void putEvents(std::string& head) const {
        const std::vector<C3dEvent> events = eventsIn(take_, true);
        if (events.size() > static_cast<std::size_t>(header::maxEvents)) {
            refuse("it has more than 18 events for the header");
        }
        const std::uint64_t first = header::offsetOf(header::eventTimes);
        const std::uint64_t end = header::offsetOf(header::eventLabels + 2 * header::maxEvents);
        std::fill(head.begin() + static_cast<std::ptrdiff_t>(first),
                  head.begin() + static_cast<std::ptrdiff_t>(end), '\0');
        putWord(&head[header::offsetOf(header::eventKey)], header::key, to_.processor);
        putWord(&head[header::offsetOf(header::eventCount)],
                static_cast<std::uint16_t>(events.size()), to_.processor);
        for (std::size_t i = 0; i < events.size(); ++i) {
            const C3dEvent& event = events[i];
            if (event.label.size() > 4) {
                refuse("the event '" + event.label +
                       "' has more than the 4 characters that the "
                       "header has for it");
            }
            putReal(&head[first + 4 * i], static_cast<float>(event.time), to_.processor);
            head[header::offsetOf(header::eventFlags) + i] = event.shown ? 0 : 1;
            std::string label = event.label;
            label.resize(4, ' ');
            head.replace(header::offsetOf(header::eventLabels) + 4 * i, 4, label);
        }
    }

    // The data.

    /// Writes all frames; where `keep` says that those of the source lie as these do, what is the
    /// same keeps its bytes.
    void writeFrames(std::ostream& stream, bool keep) const {
        const std::uint64_t size = to_.frameBytes();
        const C3dData encoder(to_, channels_, false);
        Row row{std::string(size, '\0'), std::vector<Marker>(to_.points),
                std::vector<float>(to_.channels * to_.samplesPerFrame)};
        for (int i = 0; size > 0 && i < samples_.frames; ++i) {
            const bool kept = keep && static_cast<std::uint64_t>(i) < from().frames;
            if (kept) {
                const char* const at = frameOfSource(i);
                row.bytes.assign(at, size);
                source_->data().decodeMarkers(at, 1, row.markers.data());
                source_->data().decodeAnalog(at, 1, row.samples.data());
            }
            putMarkers(encoder, i, kept, row);
            putAnalog(encoder, i, kept, row);
            stream.write(row.bytes.data(), static_cast<std::streamsize>(size));
        }
    }

    /// A frame as it is in the source.
    struct Row {
        std::string bytes;
        std::vector<Marker> markers;
        std::vector<float> samples;
    };

    void putMarkers(const C3dData& encoder, int frame, bool kept, Row& row) const {
        const MarkerFrame& markers = samples_.markers(frame);
        const std::uint64_t size = 4 * to_.wordSize();
        // Another scale is another way to say everything in integers, and residuals in reals.
        const bool rescaled = kept && from().scale != to_.scale;
        for (std::size_t k = 0; k < markers.size(); ++k) {
            if (!kept || rescaled || !isSame(markers[k], row.markers[k])) {
                encoder.encodeMarker(markers[k], &row.bytes[k * size]);
            }
        }
    }

    void putAnalog(const C3dData& encoder, int frame, bool kept, Row& row) const {
        std::uint64_t at = to_.pointBytes();
        std::size_t index = 0;
        const auto perFrame = static_cast<int>(to_.samplesPerFrame);
        for (int sample = 0; sample < perFrame; ++sample) {
            const AnalogFrame& values = samples_.analog(frame * perFrame + sample);
            for (std::size_t channel = 0; channel < values.size(); ++channel, ++index) {
                if (!kept || isRescaled(channel) || !isSame(values[channel], row.samples[index])) {
                    encoder.encodeSample(values[channel], channel, &row.bytes[at]);
                }
                at += to_.wordSize();
            }
        }
    }

    bool isRescaled(std::size_t channel) const {
        const C3dChannel& was = source_->info().channels[channel];
        const C3dChannel& now = channels_[channel];
        return was.scale != now.scale || was.offset != now.offset ||
               from().unsignedAnalog != to_.unsignedAnalog;
    }

    /// The rigid bodies, over their bytes in the source if `keep`.
    std::string bodyBytes(std::string bytes, bool keep = true) const {
        const C3dData encoder(to_, {}, false);
        std::uint64_t at = 0;
        for (int i = 0; i < samples_.bodySamples; ++i) {
            for (const RigidBody& body : samples_.bodies(i)) {
                RigidBody was;
                if (keep) {
                    encoder.decodeBodies(&bytes[at], 1, &was);
                }
                if (!keep || !isSame(was, body)) {
                    encoder.encodeBody(body, &bytes[at]);
                }
                at += C3dLayout::bodyBytes;
            }
        }
        return bytes;
    }

    const C3dTake& take_;
    Samples samples_;
    const C3dSource* source_;
    C3dLayout to_;
    std::vector<C3dChannel> channels_;
    C3dParameters parameters_;
    bool keepRecords_ = false;
};

} // namespace

void writeC3d(const C3dTake& take, std::ostream& stream, const C3dWriteOptions& options) {
    Writer(take, options.encoding.value_or(take.encoding)).write(stream);
}

} // namespace tarn::kit
