// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/files/C3d.h>

#include "files/c3d/C3dData.h"
#include "files/c3d/C3dHeader.h"
#include "files/c3d/C3dSource.h"
#include "files/c3d/C3dSync.h"
#include "files/c3d/writing/C3dHeaderWriting.h"
#include "files/c3d/writing/C3dSamples.h"
#include "files/c3d/writing/C3dScale.h"
#include "files/c3d/writing/C3dSectionWriting.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tarn::kit {

namespace {

namespace header = c3d_header;

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
        numberGroups(parameters_);
        const bool sameParameters = source_ != nullptr && parameters_ == source_->info().parameters;
        if (source_ != nullptr && !changes.encoding && source_->section().start != 0) {
            keepRecords_ = true;
        }
        if (!changes.shape()) {
            const std::string bytes = sameParameters ? std::string() : section();
            if (sameParameters || fitsInPlace(bytes)) {
                writeOver(stream, changes, bytes);
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

    /// As the parameters stand now.
    std::string section() const {
        return sectionBytes(parameters_, to_.processor, keepRecords_ ? source_ : nullptr);
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
        putHeader(head, take_, to_, changes, false);
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
        if (to_.points > header::maxWord || to_.channels * to_.samplesPerFrame > header::maxWord ||
            to_.bodies > header::maxWord || to_.bodiesPerFrame > header::maxWord) {
            refuseC3d("it has more than 65535 markers, samples or rigid bodies to a frame");
        }
        // Here nothing that the file said otherwise than it was can stay.
        C3dChanges all = changes;
        all.encoding = all.points = all.frames = all.scale = all.rate = true;
        all.analogShape = all.bodies = true;
        parameters_ = syncedParameters(take_, to_, channels_, all);
        numberGroups(parameters_);
        const auto blocksOf = [](std::uint64_t bytes) { return (bytes + c3dBlock - 1) / c3dBlock; };
        const std::uint64_t sectionBlocks = blocksOf(section().size());
        to_.dataStart = (1 + sectionBlocks) * c3dBlock;
        const std::uint64_t bodiesBlock =
            1 + sectionBlocks + blocksOf(to_.frames * to_.frameBytes());
        to_.bodiesStart = to_.bodies == 0 ? 0 : bodiesBlock * c3dBlock;
        if (to_.bodies > 0 && bodiesBlock >= header::maxWord) {
            refuseC3d("its rigid bodies start behind block 65535");
        }
        setBlock("POINT", to_.dataStart);
        if (to_.bodies > 0) {
            setBlock("ROTATION", to_.bodiesStart);
        }
        std::string parameters = section();
        parameters.resize(sectionBlocks * c3dBlock, '\0');
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
        putHeader(head, take_, to_, changes, true);
        head += parameters;
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
    C3dSamples samples_;
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
