// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "solving/MarkerTrial.h"
#include "solving/SolvedTrial.h"

#include <tarn_kit/body/Rotations.h>
#include <tarn_kit/files/Bvh.h>

#include <filesystem>
#include <string>

namespace tarn::capture {

// The files of a solved trial.

/// Where every joint is: frame number and time of the file, then x, y and z of each segment's near
/// joint, in millimetres, in the axes of the file.
void writeJointsCsv(const MarkerTrial& trial, const SolvedTrial& solved,
                    const std::filesystem::path& file);
/// Where the body has every marker, in the axes of the trial, and how far the measured one is from
/// there; empty where there is none. `scale` is what the unit of the trial is multiplied by, `unit`
/// what columns say that they are in; nothing if it is empty.
void writeMarkersCsv(const MarkerTrial& trial, const SolvedTrial& solved,
                     const std::filesystem::path& file, double scale, const std::string& unit = "");

/// The turn from the axes of the file to those of the BVH take: Y up.
kit::Quaterniond uprightOf(const SolvedTrial& solved);
/// The solved frames as a take of a body in centimetres with Y up.
kit::BvhTake bvhOf(const MarkerTrial& trial, const SolvedTrial& solved);
void writeBvhFile(const kit::BvhTake& take, const std::filesystem::path& file);

} // namespace tarn::capture
