// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "session/Performer.h"
#include "support/Interrupt.h"

#include <tarn/Scene.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace tarn::capture {

/// A scene with one character per take, all on one clock and in one space.
class Session {
public:
    /// Reads the takes. Throws `std::runtime_error` when one cannot be read, or when their rates
    /// differ: frames of one clock come at one rate.
    explicit Session(const std::vector<std::string>& takes);
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    Scene& scene() { return scene_; }
    const std::vector<std::unique_ptr<Performer>>& performers() const { return performers_; }
    /// Whole frames per second.
    int rate() const;
    /// Of the longest take.
    int frameCount() const;
    /// While it played.
    int framesShown() const { return framesShown_; }

    /// Called after each step.
    using Advanced = std::function<void()>;

    /// Streams the first `frames` frames through the calibrators and rewinds. False, with every
    /// actor as it was, if a stop was requested.
    bool calibrate(int frames, bool realtime, const Interrupt& interrupt, const Advanced& advanced);
    /// Streams all takes from their first frame, solves and records them. False, with what was
    /// recorded kept, if a stop was requested.
    bool play(bool realtime, const Interrupt& interrupt, const Advanced& advanced);

private:
    void start(bool realtime);
    void stop();
    /// Shows the frames from 0 to `frames`; false if a stop was requested.
    bool step(int frames, const Interrupt& interrupt, const Advanced& advanced);

    Scene scene_;
    std::shared_ptr<Tracks> tracks_ = std::make_shared<Tracks>(); ///< nests those of the performers
    std::vector<std::unique_ptr<Performer>> performers_;
    int framesShown_ = 0;
};

} // namespace tarn::capture
