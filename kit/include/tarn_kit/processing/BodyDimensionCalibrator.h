// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/SolverCalibrator.h>
#include <tarn_kit/Export.h>
#include <tarn_kit/body/BodyNames.h>

#include <memory>
#include <string>
#include <vector>

namespace tarn::kit {

/// A length that was measured several times.
struct MeasuredLength {
    std::string name;
    double mean = 0;   ///< in the rig's length unit
    double spread = 0; ///< standard deviation of the measurements; 0 for a single one
};

/// Measures a performer's body from what a `ForwardKinematicsSolver` makes of it, and writes the
/// lengths into the actor of the character it belongs to.
///
/// While it calibrates, each frame it is given stands for what the bound solver put out for it: the
/// solver's last output, if that has the frame's time. So the host feeds and evaluates the solver
/// before the calibrator hears of the frame: in a slot of the character's `onFrame` that was
/// connected before the calibration began. Frames without such an output are passed over, and so
/// are bodies that do not fit the solver's rig or have a length that is not finite. An output
/// counts once, however often its frame comes.
///
/// It begins, anew, with `start()` or `globalStart()` and measures until `frameCount` frames are
/// collected; `onProgress` tells the part of them that is, from 0 on. `finish()` or
/// `globalFinish()` writes the dimensions to the actor, before `onEnd`; `cancel()` or
/// `globalCancel()` forgets the frames and leaves the actor as it was. Without a frame, without a
/// character as parent, or where that has no actor, nothing is written. Frames that were given back
/// with `setCalibrationData` are as good as collected ones: `finish()` writes what they say.
///
/// Starting it while it runs changes nothing and succeeds; cancelling it while it does not run
/// changes nothing.
///
/// Dimensions: "Height", and the lengths of the bones, each under the name of the bone that it is
/// the length of, as `boneLengthNames` has it ("LeftUpLeg" from the hip to the knee), in the rig's
/// length unit times the solver's scale. The unit is stated beside them, where it is known, and
/// what the actor has in another unit is converted (`convertDimensions`). What cannot be in the
/// name of an XML element becomes a
/// "_", and one is put before what cannot begin one. Of bones that share a name the last one
/// counts, one without a name is left out; "Height" is always the body's.
class TARN_KIT_EXPORT BodyDimensionCalibrator : public SolverCalibrator {
public:
    /// The number of its factor: `int`, at least 1, how many frames it collects. Set by a number of
    /// any type (`int`, `float` or `double`); a value of another type, out of range or not whole
    /// changes nothing.
    static constexpr int frameCountFactor = 1;

    /// Precondition: `frameCount` is at least 1.
    explicit BodyDimensionCalibrator(const std::string& id, int frameCount = 100);
    ~BodyDimensionCalibrator() override;
    BodyDimensionCalibrator(const BodyDimensionCalibrator&) = delete;
    BodyDimensionCalibrator& operator=(const BodyDimensionCalibrator&) = delete;

    /// How names of joints are understood, from the next beginning on; as built in, if none were
    /// ever set. Precondition: not empty.
    void setBodyNames(std::shared_ptr<const BodyNames> names);

    /// How many frames have been collected.
    int collectedFrames() const;
    /// How tall the body is when it stands as the rig's rest pose does, with the segments as long
    /// as they are in a frame; roots stand at their offsets. 0 without a frame.
    MeasuredLength height() const;
    /// The distance of each node from its parent, in the order of the nodes and under the names of
    /// `boneLengthNames`. Roots, and nodes that are at their parent's place in the rig, are left
    /// out. Empty after `cancel()`.
    std::vector<MeasuredLength> segments() const;

protected:
    /// Whether a `ForwardKinematicsSolver` is bound.
    bool doCheckAvaialbe() override;
    /// False, without a beginning, if it is not available.
    bool doCalibrate() override;
    void doCancelCalibrate() override;
    void doFinishCalibrate() override;
    void doFlushFrame(std::shared_ptr<Timeline> timeline) override;
    /// The frames collected, of the data type `bodyDataType`, as a take of one track at offset 0,
    /// one per slot, in the order in which they came; empty if there are none.
    std::shared_ptr<Tracks> doGetCalibrationData() override;
    /// Measures anew, from frames that were kept (all of them, be they more than `frameCount`);
    /// bodies that cannot be measured are left out. An empty take, and one without bodies, leaves
    /// nothing measured.
    void doSetCalibrationData(std::shared_ptr<Tracks> data) override;
    /// Forgets the frames and what was measured.
    void doTruncCalibrationData() override;
    void doGlobalStart() override;
    void doGlobalCancel() override;
    void doGlobalFinish() override;

private:
    struct PrivateData;
    std::unique_ptr<PrivateData> d_;
};

} // namespace tarn::kit
