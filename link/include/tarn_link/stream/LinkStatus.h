// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Device.h>
#include <tarn_kit/devices/Clock.h>
#include <tarn_link/Export.h>
#include <tarn_link/stream/Link.h>

#include <cstdint>
#include <string>
#include <vector>

namespace tarn::link {

/// Something that happened to a stream, as its receiver saw it.
struct LinkEvent {
    enum class Kind : std::uint8_t {
        Connected,
        Disconnected, ///< the publisher ended, was killed, or cannot be reached
        Reconnected,  ///< it, or another one that offers the same name, is there again
        Lost,         ///< frames of a track are missing
        Late,         ///< one of them came when newer ones had been shown, and was dropped
        OutOfOrder,   ///< one of them came behind newer ones, and was put out
        Refused,      ///< what came cannot be
        Ended,        ///< the stream is complete
        Flooded,      ///< more comes than is let in; told once for each "open" and "start"
    };
    Kind kind = Kind::Connected;
    kit::Clock::Instant at;  ///< by the receiver's clock
    int track = -1;          ///< -1: the stream as a whole
    std::uint64_t first = 0; ///< the number of the first frame, of those that were missing
    std::uint64_t count = 1;
    std::string text; ///< for people, one line
};

/// What came of one track, since it was started. A frame that is lost is in none of the other
/// counts.
struct LinkTrackStatus {
    std::uint64_t first = 0; ///< the number of its first frame: those before were sent before
    std::uint64_t received = 0;
    std::uint64_t lost = 0;
    std::uint64_t late = 0;
    std::uint64_t outOfOrder = 0;
    std::uint64_t skipped = 0; ///< came, but a newer one came before the host was ready for it
};

/// What a `LinkDevice` answers to "status".
struct TARN_LINK_EXPORT LinkStatus {
    Device::DeviceState state = Device::Lost;
    std::string name; ///< of the stream; empty while none is open
    /// Why it is not connected, in one line; empty if it is.
    std::string why;
    LinkOffer offer; ///< of the one that it is, or was last, connected to
    bool hasEnded = false;
    std::vector<LinkTrackStatus> tracks;
    std::uint64_t refused = 0; ///< samples and frames that cannot be
    /// Samples that were turned away since "start", as they were more than is let in: of frames
    /// they are lost, too.
    std::uint64_t turnedAway = 0;
    std::uint64_t reconnects = 0;
    std::uint64_t samples = 0; ///< that were put out
    /// Of the last sample: when it was captured by the publisher's clock, in nanoseconds, and when
    /// it came by the receiver's.
    std::int64_t captured = 0;
    kit::Clock::Instant received;
    /// The latest 200, the oldest first. Of what a sender can have happen as often as it likes, no
    /// more than 200 at once and 100 in a second are told.
    std::vector<LinkEvent> events;

    /// Of all tracks.
    std::uint64_t receivedFrames() const noexcept {
        std::uint64_t sum = 0;
        for (const LinkTrackStatus& track : tracks) {
            sum += track.received;
        }
        return sum;
    }
    /// Of all tracks.
    std::uint64_t lostFrames() const noexcept {
        std::uint64_t sum = 0;
        for (const LinkTrackStatus& track : tracks) {
            sum += track.lost;
        }
        return sum;
    }
};

} // namespace tarn::link
