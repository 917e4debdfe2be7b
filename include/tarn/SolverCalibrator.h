// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Calibrator.h>
#include <tarn/Export.h>
#include <tarn/Solver.h>

#include <memory>
#include <string>

namespace tarn {

/// A calibrator of one solver. The solver is bound as a child: the binding lasts as long as that
/// link, and owns nothing. What is done with it is up to the concrete calibrator.
class TARN_EXPORT SolverCalibrator : public Calibrator {
public:
    SolverCalibrator();
    ~SolverCalibrator() override;
    SolverCalibrator(const SolverCalibrator&) = delete;
    SolverCalibrator& operator=(const SolverCalibrator&) = delete;

    /// The first child that is a solver, or null.
    Solver* solver();
    /// Unlinks the solver found so far, if any, and links `solver`; one that is bound already is
    /// unlinked and linked again. Its type is not compared with `solverType()`. A null solver is
    /// linked like any other, and never found.
    void setSolver(Solver* solver);
    /// The kind of solver this calibrator is meant for.
    std::string solverType() const;

protected:
    void setSolverType(const std::string& type);

private:
    struct PrivateData;
    std::unique_ptr<PrivateData> d_;
};

} // namespace tarn
