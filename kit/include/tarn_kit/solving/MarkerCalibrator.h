// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/SolverCalibrator.h>
#include <tarn_kit/Export.h>
#include <tarn_kit/body/MarkerSet.h>
#include <tarn_kit/solving/MarkerBody.h>

#include <memory>
#include <string>
#include <vector>

namespace tarn::kit {

/// A length or a marker that a calibration could not determine well.
struct WeakSpot {
    std::string name;   ///< of the length or the marker
    std::string reason; ///< "known to 31 mm only", "seen in 4 of 800 frames"
    std::string advice; ///< what would help, mostly a movement; empty where nothing would
};

/// What a calibration found.
struct CalibrationReport {
    /// Why there is no body; empty if there is one.
    std::string error;
    MarkerBody body;
    int frames = 0; ///< that were collected
    /// How far each of the body's markers is from its place, root of mean square over the frames,
    /// in metres.
    std::vector<double> markerErrors;
    double markerRms = 0; ///< of all markers, without the worst hundredth of the samples, in metres
    std::vector<std::string> missingMarkers; ///< of the set, which the frames do not have
    std::vector<WeakSpot> weakSpots;

    bool isGood() const { return error.empty(); }
};

/// Finds out how long a performer's segments are and where the markers sit on them, from any
/// movement, without a pose to hold.
///
/// While it calibrates it collects the frames of `markerDataType` that it is given. `finish()` or
/// `globalFinish()` puts labels right that `repairMarkers` finds exchanged for a while, fits a body
/// to the frames, gives it to the bound solver and, if the calibrator
/// belongs to a character with an actor, to that: lengths as body dimensions, in metres, and marker
/// placements; all before `onEnd`. `onProgress` goes from 0 to 0.5 while frames come (there is no
/// end to them: half as fast from each hundred to the next), and on to 1 while the body is fitted.
/// Called in a slot of that, `cancel()` stops the fit. `cancel()` or `globalCancel()` forgets the
/// frames and changes nothing.
///
/// Where a body cannot be fitted, `report().error` says why, and solver and actor stay as they
/// were.
class TARN_KIT_EXPORT MarkerCalibrator : public SolverCalibrator {
public:
    /// So many frames are collected at most; after that every other one is dropped, and so on.
    static constexpr int mostFrames = 4000;

    MarkerCalibrator(const std::string& id, MarkerSet set);
    ~MarkerCalibrator() override;
    MarkerCalibrator(const MarkerCalibrator&) = delete;
    MarkerCalibrator& operator=(const MarkerCalibrator&) = delete;

    const MarkerSet& set() const;
    int collectedFrames() const;
    /// Of the last calibration that was finished; empty, with an error, before.
    const CalibrationReport& report() const;

protected:
    /// Whether a `MarkerSolver` is bound.
    bool doCheckAvaialbe() override;
    /// False, without a beginning, if it is not available.
    bool doCalibrate() override;
    void doCancelCalibrate() override;
    void doFinishCalibrate() override;
    void doFlushFrame(std::shared_ptr<Timeline> timeline) override;
    /// The frames collected, of the data type `markerDataType`, as a take of one track, one per
    /// slot; empty if there are none.
    std::shared_ptr<Tracks> doGetCalibrationData() override;
    /// Replaces the frames collected; `finish()` then fits a body to them.
    void doSetCalibrationData(std::shared_ptr<Tracks> data) override;
    void doTruncCalibrationData() override;
    void doGlobalStart() override;
    void doGlobalCancel() override;
    void doGlobalFinish() override;

private:
    struct PrivateData;
    std::unique_ptr<PrivateData> d_;
};

} // namespace tarn::kit
