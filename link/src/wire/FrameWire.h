// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "wire/DescriptionWire.h"

#include <tarn/Frame.h>
#include <tarn_kit/devices/Clock.h>
#include <tarn_kit/files/Codec.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace tarn::link {

/// One track's frame, encoded.
struct FrameItem {
    std::size_t track = 0;
    std::uint64_t number = 0;
    Time time;
    kit::CodecId codec;
    std::vector<std::byte> bytes;
};

/// What belongs to one moment.
struct FrameSample {
    std::uint64_t stream = 0;
    std::uint64_t number = 0;
    std::int64_t captured = 0;
    std::vector<FrameItem> items;
    kit::Clock::Instant received; ///< by this machine's clock
};

/// How many samples wait for a receiver that is behind, or in it for a host that is.
inline constexpr std::int32_t frameDepth = 2048;

/// For every frame; a reader lets in so many samples of a writer.
EndSettings frameEnd(const std::string& stream, double samplesPerSecond = 0);
/// For the newest. The middleware has a reader that takes losses of a writer that would send again
/// lose the sample after a lost one, too: so those who want the newest have writers of their own.
EndSettings newestEnd(const std::string& stream, double samplesPerSecond = 0);

/// Returns the middleware's code: 0, or why it was not written.
dds_return_t write(const Writer& writer, const FrameSample& sample);
/// In parts that go into a packet each, unless an item does not.
void writeParts(const Writer& writer, const FrameSample& sample);

/// What a sample says. Throws `Refusal` where that cannot be.
FrameSample frameSampleIn(const tarn_wire_Frame& sample);

/// The frame that an item is on such a track. Throws `Refusal` unless it is what the track's
/// description promises.
std::shared_ptr<Frame> frameIn(const FrameItem& item, const StreamTrack& track,
                               const kit::Codecs& codecs);

} // namespace tarn::link
