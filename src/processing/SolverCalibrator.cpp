// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn/SolverCalibrator.h>

#include "processing/BoundChild.h"

namespace tarn {

struct SolverCalibrator::PrivateData {
    std::string solverType;
};

SolverCalibrator::SolverCalibrator() : d_(std::make_unique<PrivateData>()) {}

SolverCalibrator::~SolverCalibrator() = default;

Solver* SolverCalibrator::solver() { return typedChild<Solver>(*this); }

void SolverCalibrator::setSolver(Solver* solver) { bindChild(*this, solver); }

std::string SolverCalibrator::solverType() const { return d_->solverType; }

void SolverCalibrator::setSolverType(const std::string& type) { d_->solverType = type; }

} // namespace tarn
