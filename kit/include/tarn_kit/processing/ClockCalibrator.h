// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/DeviceCalibrator.h>
#include <tarn_kit/Export.h>
#include <tarn_kit/devices/Clock.h>

#include <cstdint>
#include <memory>
#include <string>

namespace tarn::kit {

/// What a stream of frames was like.
struct StreamQuality {
    std::int64_t frames = 0;  ///< how many arrived
    std::int64_t missing = 0; ///< how many the frame indexes skip
    double duration = 0;      ///< from the first to the last arrival, in seconds
    double statedRate = 0;    ///< what the first one says they are, per second; 0 without one
    double measuredRate = 0;  ///< what their arrivals say; 0 below two frames or without duration
    double jitter = 0;        ///< standard deviation of the arrivals from an even beat, in seconds
};

/// Measures the clock of a device from its stream: rate, jitter and missing frames; and judges
/// whether it can be trusted.
///
/// It listens to an output frame port of the bound device from `start()` or `globalStart()` until
/// `finish()`, `cancel()` or their global forms, and tells with `onProgress` the part of
/// `frameCount` that has arrived, from 0 on; frames beyond that count are measured too. A cancelled
/// run leaves nothing. It listens to one device per run, whichever is bound in the meantime.
/// Starting it while it runs changes nothing and succeeds; ending it while it does not run changes
/// nothing. Frames from `flushFrame` do not concern it: what a take shows has no arrival.
///
/// The even beat is the straight line of least squares through the arrivals over the frame indexes.
/// A frame whose index is not ahead of the one before counts as the next one, so that a take that
/// starts over, or a frame that is sent again, neither breaks the beat nor counts as missing.
/// Memory does not grow with the stream.
///
/// Threads: frames may arrive on the device's thread, where `onProgress` then runs; a slot of it
/// may end the run. `quality()` and `isTrusted()` may be called from any thread, the rest from one
/// at a time. Once a run has been ended, no frame counts any more.
class TARN_KIT_EXPORT ClockCalibrator : public DeviceCalibrator {
public:
    /// The number of its factor: `int`, at least 2, how many frames it takes to trust a clock. Set
    /// by any whole number (`int`, `float` or `double`); others change nothing.
    static constexpr int frameCountFactor = 1;

    /// `port` is the device's output frame port; arrivals are read off `clock`.
    /// Precondition: `frameCount` is at least 2, `clock` is not empty, the device has that port.
    ClockCalibrator(const std::string& id, int port, int frameCount = 100,
                    std::shared_ptr<Clock> clock = std::make_shared<SteadyClock>());
    /// Stops listening, without `onEnd`. Precondition, as for ending a run: the device it listens
    /// to still exists.
    ~ClockCalibrator() override;
    ClockCalibrator(const ClockCalibrator&) = delete;
    ClockCalibrator& operator=(const ClockCalibrator&) = delete;

    /// Of the frames that have arrived so far, or in the last run.
    StreamQuality quality() const;
    /// At least `frameCount` frames arrived, none is missing, the measured rate is within 1 % of
    /// the stated one, and the jitter is at most a quarter of the stated time from frame to frame.
    bool isTrusted() const;

protected:
    /// Whether a device is bound that is not lost.
    bool doCheckAvaialbe() override;
    /// False, without a beginning, if no device is bound.
    bool doCalibrate() override;
    void doCancelCalibrate() override;
    void doFinishCalibrate() override;
    void doGlobalStart() override;
    void doGlobalCancel() override;
    void doGlobalFinish() override;

private:
    struct PrivateData;
    std::unique_ptr<PrivateData> d_;
};

} // namespace tarn::kit
