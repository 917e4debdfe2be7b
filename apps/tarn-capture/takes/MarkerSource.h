// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "session/SpaceChoice.h"

#include <tarn_kit/body/Rotations.h>
#include <tarn_kit/files/C3d.h>
#include <tarn_view/page/Page.h>

#include <string>
#include <vector>

namespace tarn::capture {

/// Markers, as pages show them, with the events that their file shows.
struct MarkerSource {
    view::MarkerCloud cloud;
    std::vector<view::Event> events;
};

/// The turn that brings an axis to Y; the others change places.
kit::Quaterniond turnToY(kit::UpAxis up);

/// The markers of a take, under a name. Precondition: its rate is positive.
MarkerSource markersIn(const kit::C3dTake& take, const std::string& name);
/// The markers of a C3D file, or of standard input. Throws `kit::ReadError`.
MarkerSource markersOf(const std::string& name, const SpaceChoice& space);

} // namespace tarn::capture
