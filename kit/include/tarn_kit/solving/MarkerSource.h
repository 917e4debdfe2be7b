// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Frame.h>
#include <tarn_kit/Export.h>
#include <tarn_kit/body/Space.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tarn::kit {

/// What frames of markers hold that are to be solved.
struct MarkerSource {
    /// The markers' names, in the order of each `MarkerFrame`, without what stands for the
    /// performer; markers that the body does not have are passed over.
    std::vector<std::string> names;
    /// The length of the unit that positions are in.
    double metresPerUnit = 0.001;
    /// What bodies are put out in: 100 for centimetres.
    double bodyUnitsPerMetre = 1;
    /// The axis of the measurement that is up, if that is known. Bodies are solved without it;
    /// `MarkerSolver::rig()` states it for who records, shows or draws them.
    std::optional<UpAxis> up = std::nullopt;
};

/// Why the frames of a source cannot be those of a body that wears the markers of these names, in
/// words: never more than two of them are seen at once, or they lie nearer to each other or farther
/// apart than on people, in most frames in which half of them are seen. Empty if they may be. The
/// frames are of `markerDataType`, with as many markers as the source has names; others are passed
/// over.
TARN_KIT_EXPORT std::string problemOfMarkers(const MarkerSource& source,
                                             const std::vector<std::string>& markers,
                                             const std::vector<std::shared_ptr<Frame>>& frames);

} // namespace tarn::kit
