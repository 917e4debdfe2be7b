// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "linked/LiveFrames.h"
#include "linked/ReceivedStreams.h"
#include "takes/SessionSource.h"

#include <tsignal/Signal.h>

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

    /// Starts the streams, and waits until each track has its first frame or none to come. False if
    /// a stop was requested before.
    bool start(const ReceivedStreams::StopRequested& stopRequested);
    /// What a session is made of. Every stream counts its frames from the first one that came.
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
    };
    void add(link::LinkDevice& device);
    void count();
    /// Why no performer can come from a track; empty if one can.
    std::string problemOf(const Track& track) const;
    static SessionSource sourceOf(const Track& track, const SpaceChoice& space);

    ReceivedStreams& streams_;
    double minutes_;
    std::vector<Track> tracks_;
    std::vector<std::string> passedOver_;
    std::vector<tsignal::ScopedConnection> connections_;
};

} // namespace tarn::capture
