// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Scene.h>
#include <tarn_kit/Export.h>
#include <tarn_kit/session/Performer.h>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace tarn::kit {

/// A scene of performers on one clock, and the loop that moves it: frames arrive on the threads of
/// the performers' devices, and one thread, the host's, shows, calibrates, solves and records them,
/// index after index. The performers' sources and solvers may all differ.
///
/// A frame is waited for until it, a later one, or the end of its stream has come: a performer
/// whose device stalls holds up the others.
///
/// Threads: everything is for one thread, on which slots of scene, characters and solvers run too.
class TARN_KIT_EXPORT Session {
public:
    /// Whether it is time to stop, from a signal handler's flag or a button; it is asked again and
    /// again, and heard within 50 ms.
    using StopRequested = Performer::StopRequested;
    /// Called after each step.
    using Advanced = std::function<void()>;

    Session();
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    /// Adds a performer to the scene; the first one becomes its current character. Throws
    /// `std::invalid_argument` for a setup that `Performer` refuses, for a rate that is not that of
    /// the others (frames of one clock come at one rate), and for another unit or another axis up
    /// than theirs, where that is not only guessed: they share a space.
    Performer& addPerformer(const PerformerSetup& setup);

    Scene& scene();
    const std::vector<std::unique_ptr<Performer>>& performers() const;
    /// Whole frames per second; 0 without a performer.
    int rate() const;
    /// The exact rate; nothing without a performer.
    std::optional<Rate> exactRate() const;
    /// What positions mean, as the first performer that knows says; guessed, in an unknown unit
    /// with Y up, if none does.
    Space space() const;
    /// Of the longest performer.
    int frameCount() const;
    /// While it last played.
    int framesShown() const;

    /// Streams the first `frames` frames through the calibrators. False, with every actor as it
    /// was, if a stop was requested. Throws `std::logic_error`, before anything begins, if a
    /// performer has no solver, and `CommandError` if a device refuses; then nothing is calibrated.
    bool calibrate(int frames, const StopRequested& stopRequested = {},
                   const Advanced& advanced = {});
    /// Streams all from the first frame on, solves and records, until every performer has shown all
    /// its frames or, where it is open-ended, its stream has ended. False if a stop was requested.
    /// What was recorded is kept then, and also when an exception comes out of it.
    bool play(const StopRequested& stopRequested = {}, const Advanced& advanced = {});

private:
    struct PrivateData;
    std::unique_ptr<PrivateData> d_;
};

} // namespace tarn::kit
