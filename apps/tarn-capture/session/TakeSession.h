// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "documents/ActorChoices.h"
#include "session/BodyPerformer.h"
#include "session/SpaceChoice.h"
#include "session/TakePerformer.h"
#include "takes/SessionSource.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tarn::capture {

/// What takes of markers are played and solved with.
struct MarkerSetup {
    std::optional<std::string> set; ///< its name or document; told from the labels if not given
    ActorChoices actors;
    double speed = 0; ///< how much faster than the takes; 0 for as fast as it goes
    std::shared_ptr<kit::Clock> clock = std::make_shared<kit::SteadyClock>();
    /// What positions are brought to, but for the scale: the files say how long things are. Where
    /// nothing is said, that is the space of the takes of bodies beside them, as far as it is
    /// known, else centimetres with Y up.
    SpaceChoice space;
};

/// A session with a performer for each take of a body and for each body in a take of markers, all
/// on one clock and in one space.
class TakeSession {
public:
    using StopRequested = kit::Session::StopRequested;
    using Advanced = kit::Session::Advanced;

    /// Reads the takes. Performers are called after their takes, or as their markers' labels do.
    /// Throws `std::runtime_error` when one cannot be read, when their rates differ (frames of one
    /// clock come at one rate), or when nobody in a take of markers can be solved, and `UsageError`
    /// for actors that fit nobody.
    TakeSession(const std::vector<std::string>& takes, const TakeDeviceMaker& bodies,
                const MarkerSetup& markers = {});
    /// The same of sources of any kind.
    TakeSession(std::vector<SessionSource> sources, const MarkerSetup& markers);
    ~TakeSession();
    TakeSession(const TakeSession&) = delete;
    TakeSession& operator=(const TakeSession&) = delete;

    Scene& scene() { return session_.scene(); }
    const std::vector<std::unique_ptr<TakePerformer>>& performers() const { return performers_; }
    /// Whose markers are not solved, and why: "'Box' has 0 of 41 markers of cmu41".
    const std::vector<std::string>& passedOver() const { return passedOver_; }
    /// Whole frames per second.
    int rate() const { return session_.rate(); }
    kit::Rate exactRate() const { return session_.exactRate().value_or(kit::Rate()); }
    kit::Space space() const { return session_.space(); }
    /// Of the longest take, where there is an end to them.
    int frameCount() const { return session_.frameCount(); }
    /// While it played.
    int framesShown() const { return session_.framesShown(); }

    /// Whether a take is still being made while it plays: the session ends with it.
    bool isLive() const;
    /// Whether somebody cannot be played without having been calibrated.
    bool needsCalibration() const;
    /// How often a calibration over so many frames advances.
    int calibrationSteps(int frames) const;
    /// Streams the first `frames` frames through the calibrators. False, with every actor as it
    /// was, if a stop was requested. Throws `std::runtime_error` if somebody cannot be calibrated.
    bool calibrate(int frames, const StopRequested& stopRequested, const Advanced& advanced);
    /// Streams all takes from their first frame, solves and records them. False, with what was
    /// recorded kept, if a stop was requested.
    bool play(const StopRequested& stopRequested, const Advanced& advanced);

private:
    std::vector<std::unique_ptr<TakePerformer>> performers_;
    std::vector<std::string> passedOver_;
    kit::Session session_; ///< goes first, since it uses what the others have
};

} // namespace tarn::capture
