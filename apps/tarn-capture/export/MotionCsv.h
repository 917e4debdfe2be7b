// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "export/MotionSample.h"

#include <fmt/format.h>
#include <tarn_kit/body/LengthUnit.h>
#include <tarn_kit/body/Rig.h>

#include <string>
#include <string_view>
#include <vector>

namespace tarn::capture {

// A table of what the nodes of a rig do, frame by frame: frame, time, then a block of columns for
// each kind that was asked for: positions, rotations, angles, velocities. End sites turn with their
// parents, so that they have no rotations and angles. Numbers are written with the fewest digits
// that read back to the same value. docs/formats.md describes it for users.

/// What the columns of each node are called: its name; in a take of several roots with that of the
/// root before it, "Root:Name"; with a number added where another has it already.
std::vector<std::string> nodeColumns(const kit::Rig& rig);

/// The names of the columns, with the unit of each; where another axis than Y is up, those of
/// positions along it say so.
std::string csvHeader(const kit::Rig& rig, const MotionKinds& kinds);

/// The line of a frame.
std::string csvLine(const kit::Rig& rig, int frame, double seconds, const MotionSample& sample);

/// The line of a frame of which nothing is known: its cells are empty. Positions only.
std::string csvLineWithoutPositions(const kit::Rig& rig, int frame, double seconds);

} // namespace tarn::capture
