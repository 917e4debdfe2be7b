// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "linked/LiveTracks.h"
#include "linked/ReceivedStreams.h"
#include "takes/SessionSource.h"

#include <optional>
#include <string>
#include <vector>

namespace tarn::capture {

/// Which streams a session is made of.
struct LiveInputOptions {
    std::vector<std::string> from; ///< their names
    double wait = 10;              ///< for them to be offered, in seconds
    double atMost = 60;            ///< minutes of them
};

/// The streams of a session, from their start to what became of them.
class LiveInput {
public:
    using StopRequested = ReceivedStreams::StopRequested;

    /// Throws `link::LinkError`.
    LiveInput(const link::LinkOptions& link, LiveInputOptions options);

    /// Waits for the streams and their first frames. False if a stop was requested before. Throws
    /// `std::runtime_error`, which says why there is nothing.
    bool start(const StopRequested& stopRequested);
    void stop() { streams_.stop(); }

    // After the start.

    std::vector<SessionSource> sources(const SpaceChoice& space) { return tracks_->sources(space); }
    /// Which tracks no performers come from, and why, as `sources` found.
    const std::vector<std::string>& passedOver() const { return tracks_->passedOver(); }

    // After the stop.

    /// Why not all of the streams is in the session, a sentence each.
    std::vector<std::string> problems() const;
    bool isWhole() const { return problems().empty() && streams_.areWhole(); }
    /// What came of each, for people.
    std::string report() const { return streams_.report(); }

private:
    const LiveInputOptions options_;
    ReceivedStreams streams_;
    std::optional<LiveTracks> tracks_; ///< go first: they listen
};

} // namespace tarn::capture
