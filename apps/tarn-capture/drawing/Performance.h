// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Rotation.h>
#include <tarn/Tracks.h>
#include <tarn_kit/body/LengthUnit.h>
#include <tarn_kit/body/Rig.h>

#include <memory>
#include <string>
#include <vector>

namespace tarn::capture {

/// What is drawn of one performer of a session.
struct Performance {
    std::string name; ///< printable
    std::shared_ptr<const kit::Rig> rig;
    /// Frames of `kit::bodyDataType`, by their index in the session; slots may be empty.
    std::shared_ptr<Tracks> solved;
    kit::LengthUnit unit;
};

/// Where the nodes of the rig are at a frame of the session; nothing if no body is there, or one of
/// another rig.
std::vector<Vector3f> positionsAt(const Performance& performance, int frame);

/// How many frames the longest performance has.
int frameCountOf(const std::vector<Performance>& performances);
/// How high the tallest rig is, finite.
double bodyHeightOf(const std::vector<Performance>& performances);
/// All performers share one space: the unit of the first one.
kit::LengthUnit unitOf(const std::vector<Performance>& performances);

/// The performers' names in one line, for the head of a page.
std::string namesText(const std::vector<Performance>& performances);
/// How many performers and frames, at which rate, and how long that lasts.
std::string factsText(const std::vector<Performance>& performances, int rate);

} // namespace tarn::capture
