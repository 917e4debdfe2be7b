// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "session/TakePerformer.h"

#include <memory>
#include <string>
#include <vector>

namespace tarn::capture {

/// A session with one performer per take, all on one clock and in one space.
class TakeSession {
public:
    using StopRequested = kit::Session::StopRequested;
    using Advanced = kit::Session::Advanced;

    /// Reads the takes. Throws `std::runtime_error` when one cannot be read, or when their rates
    /// differ: frames of one clock come at one rate.
    TakeSession(const std::vector<std::string>& takes, const TakeDeviceMaker& maker);
    TakeSession(const TakeSession&) = delete;
    TakeSession& operator=(const TakeSession&) = delete;

    Scene& scene() { return session_.scene(); }
    const std::vector<std::unique_ptr<TakePerformer>>& performers() const { return performers_; }
    /// Whole frames per second.
    int rate() const { return session_.rate(); }
    kit::Rate exactRate() const { return session_.exactRate().value_or(kit::Rate()); }
    kit::Space space() const { return session_.space(); }
    /// Of the longest take.
    int frameCount() const { return session_.frameCount(); }
    /// While it played.
    int framesShown() const { return session_.framesShown(); }

    /// Streams the first `frames` frames through the calibrators. False, with every actor as it
    /// was, if a stop was requested.
    bool calibrate(int frames, const StopRequested& stopRequested, const Advanced& advanced);
    /// Streams all takes from their first frame, solves and records them. False, with what was
    /// recorded kept, if a stop was requested.
    bool play(const StopRequested& stopRequested, const Advanced& advanced);

private:
    std::vector<std::unique_ptr<TakePerformer>> performers_;
    kit::Session session_; ///< goes first, since it uses what the others have
};

} // namespace tarn::capture
