// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Solver.h>
#include <tarn_kit/Export.h>
#include <tarn_kit/body/BodyPose.h>
#include <tarn_kit/body/Rig.h>

#include <memory>
#include <string>

namespace tarn::kit {

/// A solver that turns poses (frames of the data type `poseDataType`) into bodies
/// (`bodyDataType`): where each segment of the rig is in the world and how it is turned. Its type
/// is "forward-kinematics"; its skeleton is its own, over the bones of the rig's first.
///
/// Live: `addInput` a pose, then `evaluate()`, which solves every input that has arrived since the
/// last evaluation and adds one output for each, with the input's time. Hosts that run for long
/// call `clearInput` and `clearOutput` in between; neither changes what comes out. Without a new
/// input it answers true.
///
/// Over a take: `evaluate(tracks, first, last)` solves the poses that the take shows from frame
/// index `first` to `last`, both included, and adds one output for each, with the time of the
/// pose's frame; an index that shows no pose is passed over. Both ways give the same bodies for the
/// same poses, and a take that is solved in pieces gives what it gives in one go: smoothing looks
/// back in the take beyond `first`. A range outside the take, one with `first` greater than `last`,
/// or no take answers false and solves nothing.
///
/// Both answer false if a pose does not fit the rig (its payload is no `Pose`, or one with another
/// number of values); what was solved before it stays, what comes after it is not solved. The next
/// `evaluate()` goes on behind it. Smoothing leaves it out.
///
/// Smoothing averages how each segment is turned and placed relative to its parent, so that
/// segments keep their lengths. At the beginning, when there are fewer poses than the window holds,
/// it averages those. Restoring a status, setting the window and evaluating over a take begin a new
/// live window.
///
/// Threads: as `Solver`. Any number of solvers may share a rig, each on a thread of its own: they
/// only read it.
///
/// A value that is not finite spoils the segments that it moves, and those below them, for as long
/// as it is in the window; nothing else.
class TARN_KIT_EXPORT ForwardKinematicsSolver : public Solver {
public:
    /// The numbers of its factors. Each is read as the type that is given here and set by a number
    /// of any type (`int`, `float` or `double`); a value of another type, out of range or, for the
    /// window, not whole changes nothing.
    enum Factor : int {
        Scale = 1,           ///< `float`, finite and greater than 0: multiplies all lengths and
                             ///< positions; 1 at first
        SmoothingWindow = 2, ///< `int`, 1 to 1000: each body is the mean of so many poses, up to
                             ///< and including its own; 1, no smoothing, at first
    };

    /// Precondition: `rig` is not empty, and gets no further nodes.
    ForwardKinematicsSolver(const std::string& id, std::shared_ptr<const Rig> rig);
    /// The skeleton goes with it; the rig may go.
    ~ForwardKinematicsSolver() override;
    ForwardKinematicsSolver(const ForwardKinematicsSolver&) = delete;
    ForwardKinematicsSolver& operator=(const ForwardKinematicsSolver&) = delete;

    const Rig& rig() const;

protected:
    bool doEvaluate() override;
    bool doEvaluate(std::shared_ptr<Tracks> tracks, int first, int last) override;
    /// The two factors, under "scale" and "smoothingWindow", so that they read back the same.
    void doSaveStatus(Settings* settings) override;
    /// Sets the factors as `setFactor` does, so that listeners hear of it. What is missing, no
    /// number or out of range stays as it is.
    void doRestoreStatus(Settings* settings) override;

private:
    struct PrivateData;
    std::unique_ptr<PrivateData> d_;
};

} // namespace tarn::kit
