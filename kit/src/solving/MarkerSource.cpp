// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/solving/MarkerSource.h>

#include "files/NameList.h"

#include <tarn_kit/body/LengthUnit.h>
#include <tarn_kit/body/MarkerSet.h>
#include <tarn_kit/body/Markers.h>
#include <tarn_kit/body/Rotations.h>

#include <algorithm>
#include <any>
#include <cmath>
#include <cstddef>

namespace tarn::kit {

namespace {

constexpr std::size_t fewest = 3; ///< markers that hold a body

/// How far the farthest of a frame's markers is from the first, and how many are seen.
struct SeenMarkers {
    double width = 0;
    std::size_t seen = 0;
};

/// Markers that are seen are noted as such.
SeenMarkers seenMarkersOf(const MarkerFrame& frame, const std::vector<int>& columns,
                          std::vector<bool>& isSeen) {
    SeenMarkers found;
    Vector3d first;
    for (std::size_t m = 0; m < columns.size(); ++m) {
        const Marker& marker = frame[static_cast<std::size_t>(columns[m])];
        const Vector3d place = toDouble(marker.position);
        if (!marker.hasPosition() || !std::isfinite(lengthOf(place))) {
            continue;
        }
        first = found.seen == 0 ? place : first;
        found.width = std::max(found.width, lengthOf(place - first));
        ++found.seen;
        isSeen[m] = true;
    }
    return found;
}

/// The unit in which so much is about as much as people's markers are apart; empty if there is
/// none.
std::string unitFor(double width) {
    for (const char* const name : {"mm", "cm", "m", "in"}) {
        const std::optional<LengthUnit> unit = lengthUnitNamed(name);
        if (unit && width * unit->metres > 0.6 && width * unit->metres < 2.6) {
            return name;
        }
    }
    return "";
}

/// `width` is in the unit of the source.
std::string problemOfWidth(double width, const MarkerSource& source) {
    const double metres = width * source.metresPerUnit;
    if (metres > 0.2 && metres < 5) {
        return "";
    }
    const std::string unit = unitFor(width);
    return "the markers of a frame are " + std::to_string(std::llround(1000 * metres)) +
           " mm apart, which is no body: is the unit of length right?" +
           (unit.empty() ? "" : " In " + unit + " it would be one");
}

} // namespace

std::string problemOfMarkers(const MarkerSource& source, const std::vector<std::string>& markers,
                             const std::vector<std::shared_ptr<Frame>>& frames) {
    std::vector<int> columns;
    std::vector<std::string> names;
    for (const std::string& name : markers) {
        const int column = markerNamed(name, source.names);
        if (column >= 0) {
            columns.push_back(column);
            names.push_back(name);
        }
    }
    std::vector<bool> isSeen(columns.size());
    std::vector<double> widths;
    std::size_t most = 0;
    for (const std::shared_ptr<Frame>& frame : frames) {
        const auto* const seen =
            frame == nullptr ? nullptr : std::any_cast<MarkerFrame>(&frame->data());
        if (seen != nullptr && seen->size() == source.names.size()) {
            const SeenMarkers found = seenMarkersOf(*seen, columns, isSeen);
            most = std::max(most, found.seen);
            if (2 * found.seen >= columns.size()) {
                widths.push_back(found.width);
            }
        }
    }
    if (most < fewest) {
        std::vector<std::string> seen;
        for (std::size_t m = 0; m < names.size(); ++m) {
            if (isSeen[m]) {
                seen.push_back(names[m]);
            }
        }
        return seen.empty() ? "none of the body's markers is ever seen"
                            : "never more than " + std::to_string(most) +
                                  " of the body's markers are seen at once, of " +
                                  nameList(seen, 8) + "; it takes " + std::to_string(fewest);
    }
    if (widths.empty()) {
        return "";
    }
    const auto middle = widths.begin() + static_cast<std::ptrdiff_t>(widths.size() / 2);
    std::nth_element(widths.begin(), middle, widths.end()); // a ghost may be anywhere
    return problemOfWidth(*middle, source);
}

} // namespace tarn::kit
