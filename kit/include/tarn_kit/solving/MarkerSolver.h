// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Solver.h>
#include <tarn_kit/Export.h>
#include <tarn_kit/body/BodyPose.h>
#include <tarn_kit/body/Rig.h>
#include <tarn_kit/body/Space.h>
#include <tarn_kit/solving/MarkerBody.h>
#include <tarn_kit/solving/MarkerFit.h>
#include <tarn_kit/solving/MarkerSource.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tarn::kit {

/// Makes bodies of markers: takes frames of `markerDataType`, puts out for each, with its time, one
/// of `bodyDataType`, a `BodyPose` of `rig()` in the axes of the measurement, in metres unless the
/// source says otherwise, and one of `markerFitDataType`, a `MarkerFit` of the markers of `body()`.
///
/// It starts from any pose without help, goes on from frame to frame, and finds the body again
/// where it was lost. A marker far from where the body has it hardly counts; two that carry each
/// other's label are exchanged, and said to be, also where one of them is hidden. Where nothing is
/// seen, the body stays as it was and the frame has not converged.
///
/// Fed frame by frame or with a take, it makes the same bodies of the same frames. `evaluate()`
/// takes what was added since the last time; `evaluate(tracks, first, last)` the frames with these
/// indices, both included, from a fresh start, and leaves it to start anew after. Both return false
/// at a frame that holds no `MarkerFrame` of as many markers as the source names; what came before
/// has been put out.
///
/// The solver is for one thread at a time. Solving takes no memory once it has started; what is put
/// out does.
class TARN_KIT_EXPORT MarkerSolver : public Solver {
public:
    /// The numbers of its factors. Each is set by a number of any type (`int`, `float` or
    /// `double`); what is no number or out of range changes nothing.
    enum Factor : int {
        Threshold = 1, ///< how many times its spread a marker is off when it loses half its say in
                       ///< the sum, `double`, above 0; 6 at first
        Iterations,    ///< at most so many steps per frame, `int`, from 1 to 1000; 30 at first
        Damping,       ///< of each step, relative, `double`, from 0 to 1; 0.000001 at first
        Limits,        ///< whether joints are held within their range, `int`, 0 or 1; 1 at first
    };

    /// Precondition: both lengths in `source` are greater than 0. Throws `MarkerBodyError`, naming
    /// them, if the source has none of the body's markers.
    MarkerSolver(const std::string& id, MarkerBody body, MarkerSource source);
    ~MarkerSolver() override;
    MarkerSolver(const MarkerSolver&) = delete;
    MarkerSolver& operator=(const MarkerSolver&) = delete;

    const MarkerBody& body() const;
    /// What comes after is solved with this body, from a fresh start; `rig()` is a new one then.
    /// Throws as the constructor does.
    void setBody(MarkerBody body);
    const MarkerSource& source() const;
    /// The body as a rig, in the unit in which bodies are put out. Its space states that unit, and
    /// the axis that is up, as far as `source()` says it. Whoever holds it keeps it.
    std::shared_ptr<const Rig> rig() const;

    /// Leaves a marker out of the solving from now on, or takes it in again. The body still says
    /// where it has it. Returns false if the body has no such marker.
    bool leaveOut(const std::string& marker, bool out = true);
    /// Forgets where the body was: the next frame is a fresh start.
    void restart();

protected:
    bool doEvaluate() override;
    bool doEvaluate(std::shared_ptr<Tracks> tracks, int first, int last) override;
    /// Threshold, iterations, damping and limits. Restoring also restarts.
    void doSaveStatus(Settings* settings) override;
    void doRestoreStatus(Settings* settings) override;

private:
    struct PrivateData;
    std::unique_ptr<PrivateData> d_;
};

} // namespace tarn::kit
