// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "documents/ActorChoices.h"
#include "linked/LiveInput.h"
#include "live/LiveView.h"
#include "recording/Recording.h"
#include "session/SessionFiles.h"
#include "session/SpaceChoice.h"
#include "session/TakeSession.h"
#include "support/Interrupt.h"

#include <tarn_link/stream/LinkPublisher.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tarn::capture {

struct RunOptions {
    std::vector<std::string> takes;
    LiveInputOptions streams; ///< in place of takes
    std::string out;
    std::vector<std::string> actors;    ///< settings documents that actors begin with
    std::optional<std::string> markers; ///< the set that is worn
    std::optional<std::string> names;   ///< a document that says what joints are called
    std::optional<double> calibrate;    ///< seconds
    double speed = 0; ///< how much faster than the takes; 0 for as fast as it goes
    SpaceChoice space;
    std::optional<std::string> publish; ///< the name of a stream of what is solved
    int receivers = 0;
    link::LinkOptions link;
    bool dimensions = false;           ///< print everything that was measured
    std::optional<std::string> record; ///< a take file
    LiveChoice view;
    bool force = false; ///< a session that is there may go
};

/// A session from its first frame to its files: calibrated, played, recorded, published and shown
/// while it plays, written, and said what became of it.
class SessionRunner {
public:
    /// Of takes, unless there are streams, which have started. Everything outlives this. Throws
    /// `std::runtime_error`, or `UsageError` for options that no session can have.
    SessionRunner(const RunOptions& options, const Interrupt& interrupt, LiveInput* streams);

    /// Returns the exit code. Throws `std::runtime_error`, which says what was kept.
    int run();

private:
    TakeSession makeSession() const;
    TakeSession& prepared();
    void prepareActors();
    std::vector<std::string> passedOver() const;
    std::vector<std::string> inputs() const;
    bool isPaced() const;

    int calibrationFrames() const;
    bool calibrate();
    bool beginPublishing();
    void beginRecording();
    void beginView();
    bool play();
    bool playOn();
    std::vector<std::string> endStreams();
    std::string endPublishing();
    void write(bool complete);
    std::string keptText() const;
    void print(bool complete);
    int conclude(bool isPlayed, const std::vector<std::string>& problems) const;

    const RunOptions& options_;
    const Interrupt& interrupt_;
    LiveInput* const streams_; ///< null for takes
    const std::shared_ptr<kit::Clock> clock_;
    const kit::Session::StopRequested stopRequested_;
    const ActorChoices actors_;
    TakeSession session_;
    SessionFiles files_;
    std::optional<link::LinkPublisher> publisher_; ///< goes before what it publishes
    std::optional<Recording> recording_;           ///< goes before what it records
    std::optional<LiveView> view_;                 ///< so does this
};

} // namespace tarn::capture
