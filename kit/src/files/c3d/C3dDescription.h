// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "files/c3d/layout/C3dLayout.h"

#include <tarn_kit/files/C3d.h>

#include <string>
#include <string_view>
#include <vector>

namespace tarn::kit {

/// All that the header (in `bytes`) and the parameters say apart from the layout.
C3dInfo describe(std::string_view bytes, const C3dSection& section, const C3dLayout& layout,
                 C3dJudge& judge);

// The parts of it that depend on the parameters alone: what is written reads back as these.

/// A label without its subject, the number from 1 of its marker standing in for one that is empty.
C3dMarker markerOf(const std::string& label, std::size_t number);
std::vector<C3dMarker> markersOf(const C3dParameters& parameters, std::size_t count);
std::vector<C3dChannel> channelsOf(const C3dParameters& parameters, std::size_t count,
                                   bool isUnsigned);
std::vector<C3dRigidBody> bodiesOf(const C3dParameters& parameters, std::size_t count);
/// Those of the EVENT group.
std::vector<C3dEvent> eventsOf(const C3dParameters& parameters);
/// The common spelling of a unit of length, or `text`.
std::string unitOf(const std::string& text);
/// 0 where the unit is not known.
double metresOf(const std::string& unit);

} // namespace tarn::kit
