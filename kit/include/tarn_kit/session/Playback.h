// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Tracks.h>
#include <tarn_kit/Export.h>
#include <tarn_kit/devices/Clock.h>
#include <tarn_kit/session/Rate.h>

#include <cstdint>
#include <functional>
#include <memory>

namespace tarn::kit {

/// Moves the current time of a take from its first frame to its last, as a player would: at its own
/// speed, whatever the rate at which frames are shown. A rate below the take's skips frames, one
/// above it shows frames more than once.
class TARN_KIT_EXPORT Playback {
public:
    /// Whether it is time to stop; asked again and again, so it should answer at once.
    using StopRequested = std::function<bool()>;

    /// Shows `shown` frames per second of a take whose own rate is `exact`, which `Tracks` counts
    /// in whole frames; real time is that of `clock`. The take must outlive the playback.
    /// Precondition: `clock` is not empty.
    Playback(Tracks& take, const Rate& exact, const Rate& shown,
             std::shared_ptr<Clock> clock = std::make_shared<SteadyClock>());
    /// The same for a take whose rate is the whole number of frames per second that it counts.
    Playback(Tracks& take, const Rate& shown,
             std::shared_ptr<Clock> clock = std::make_shared<SteadyClock>());
    ~Playback();
    Playback(const Playback&) = delete;
    Playback& operator=(const Playback&) = delete;

    /// How many frames are shown from beginning to end, those counted twice that are shown twice.
    /// 0 for a take without frames or without a rate.
    std::int64_t stepCount() const;
    /// Shows them all as fast as it goes. False if a stop was requested.
    bool run(const StopRequested& stopRequested = {});
    /// Shows them all, each at its time counted from the call, so that being late once delays
    /// nothing after, and returns when the last one has lasted as long as the others. False if a
    /// stop was requested, at most 50 ms after that.
    bool runInRealTime(const StopRequested& stopRequested = {});
    /// Shows them as `runInRealTime` does, but `speed` times as fast; for 0, as `run` does.
    /// Precondition: `speed` is from 0 on and finite.
    bool runAtSpeed(double speed, const StopRequested& stopRequested = {});

private:
    struct PrivateData;
    std::unique_ptr<PrivateData> d_;
};

} // namespace tarn::kit
