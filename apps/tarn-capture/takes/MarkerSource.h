// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "session/SpaceChoice.h"

#include <tarn_view/page/Page.h>

#include <filesystem>
#include <string>
#include <vector>

namespace tarn::capture {

// Markers, as pages show them.

/// What a C3D file holds, with the events that the file shows. Throws `kit::ReadError`.
struct MarkerSource {
    view::MarkerCloud cloud;
    std::vector<view::Event> events;
};

/// The markers of a C3D file, or of standard input.
MarkerSource markersOf(const std::string& name, const SpaceChoice& space);

/// The measured markers of the trials that a solve.xml tells of, each in the axes of the solved
/// body and with how far it is off that. A take that is no longer where it was adds a note instead.
std::vector<MarkerSource> solvedMarkersOf(const std::filesystem::path& document,
                                          std::vector<std::string>& notes);

} // namespace tarn::capture
