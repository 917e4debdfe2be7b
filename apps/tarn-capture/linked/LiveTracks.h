// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "linked/LiveFrames.h"
#include "linked/ReceivedStreams.h"
#include "linked/StreamInstants.h"
#include "takes/SessionSource.h"

#include <tsignal/Signal.h>

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace tarn::capture {

/// The bodies and markers of streams as takes that are still being made, for a session. All that
/// comes is kept from the first frame on.
class LiveTracks {
public:
    /// Those of streams that are connected, which outlive this and are not started yet. There is
    /// room for so many minutes.
    LiveTracks(ReceivedStreams& streams, double minutes);
    ~LiveTracks();
    LiveTracks(const LiveTracks&) = delete;
    LiveTracks& operator=(const LiveTracks&) = delete;

    /// Starts the streams, and waits until each track has its first frame or none to come, and
    /// until it is known where several streams begin together. False if a stop was requested
    /// before.
    bool start(const ReceivedStreams::StopRequested& stopRequested);
    /// What a session is made of. A stream counts its frames from the first one that came; one of
    /// several, from the one that was captured when the last of them began. What it sent before is
    /// left out.
    std::vector<SessionSource> sources(const SpaceChoice& space);
    /// Which tracks no performers come from, and why, as `sources` found.
    const std::vector<std::string>& passedOver() const { return passedOver_; }
    /// Whether there was no room for some frames.
    bool areFull() const;

private:
    struct Track {
        std::string stream;
        link::LinkTrack what;
        std::size_t most = 0;
        std::shared_ptr<LiveFrames> frames;
        LiveExtent extent;
        std::string problem; ///< why it is of no use beside the other streams
    };
    struct Stream {
        link::LinkDevice* device = nullptr;
        std::shared_ptr<StreamInstants> instants = std::make_shared<StreamInstants>();
        std::size_t firstTrack = 0;
        std::size_t trackCount = 0;
    };
    void add(link::LinkDevice& device);
    unsigned firstOf(const Stream& stream) const;
    bool count(const ReceivedStreams::StopRequested& stopRequested);
    bool awaitClocks(const ReceivedStreams::StopRequested& stopRequested) const;
    bool awaitInstant(const Stream& stream, StreamInstants::Instant instant,
                      const ReceivedStreams::StopRequested& stopRequested) const;
    bool isFinished(const Stream& stream) const;
    /// Why no performer can come from a track; empty if one can.
    std::string problemOf(const Track& track) const;
    static SessionSource sourceOf(const Track& track, const SpaceChoice& space);

    ReceivedStreams& streams_;
    double minutes_;
    std::vector<Track> tracks_; ///< those of one stream behind one another
    std::vector<Stream> sent_;
    std::vector<std::string> passedOver_;
    std::vector<tsignal::ScopedConnection> connections_;
};

} // namespace tarn::capture
