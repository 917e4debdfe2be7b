// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "page/Content.h"

#include <tarn_kit/body/Markers.h>
#include <tarn_kit/files/Text.h>

#include <algorithm>
#include <any>
#include <array>
#include <cmath>
#include <limits>
#include <stdexcept>

namespace tarn::view {

namespace {

constexpr double farthest = 1e5; ///< metres
constexpr int mostFrames = 10'000'000;
constexpr std::size_t mostMarkers = 65'535;

using Column = std::vector<std::int32_t>;

/// A marker over time: whether it was there, where (as before, if it was not), and its residual.
struct Trajectory {
    Column presence;
    std::array<Column, 3> position;
    Column residual; ///< in steps, plus 1; 0 where it is not known
};

const kit::MarkerFrame* markersAt(Tracks& take, int frame, std::shared_ptr<Frame>& kept) {
    kept = take.getFrame(frame, kit::markerDataType);
    return kept == nullptr ? nullptr : std::any_cast<kit::MarkerFrame>(&kept->data());
}

double residualOf(const MarkerCloud& cloud, std::size_t frame, std::size_t marker) {
    if (frame >= cloud.residuals.size() || marker >= cloud.residuals[frame].size()) {
        return std::numeric_limits<double>::quiet_NaN();
    }
    return static_cast<double>(cloud.residuals[frame][marker]);
}

/// Appends a frame to a trajectory; how far the page has the marker off, in metres.
double append(Trajectory& trajectory, const MarkerCloud& cloud, const kit::Marker* marker,
              double residual) {
    const bool isThere = marker != nullptr && marker->hasPosition();
    trajectory.presence.push_back(isThere ? 1 : 0);
    trajectory.residual.push_back(
        isThere && std::isfinite(residual)
            ? 1 + static_cast<std::int32_t>(std::lround(std::clamp(residual, 0.0, 1.0) / step))
            : 0);
    if (!isThere) {
        for (Column& column : trajectory.position) {
            column.push_back(column.empty() ? 0 : column.back());
        }
        return 0;
    }
    const kit::Vector3d at = cloud.metresPerUnit * (cloud.turn * kit::toDouble(marker->position));
    if (!(kit::lengthOf(at) < farthest)) {
        throw std::invalid_argument("a marker is not finite, or beyond 100 km");
    }
    kit::Vector3d off;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const auto steps = static_cast<std::int32_t>(std::lround(at[axis] / step));
        trajectory.position[axis].push_back(steps);
        off[axis] = at[axis] - step * steps;
    }
    return kit::lengthOf(off);
}

} // namespace

Packed packMarkers(const MarkerCloud& cloud, Columns& columns) {
    if (cloud.take == nullptr) {
        throw std::invalid_argument("it has no take");
    }
    const int frames = cloud.take->timeLength();
    if (cloud.names.size() > mostMarkers || frames > mostFrames) {
        throw std::invalid_argument("it has more markers or frames than a page can show");
    }
    Packed packed;
    std::vector<Trajectory> trajectories(cloud.names.size());
    for (int frame = 0; frame < frames; ++frame) {
        std::shared_ptr<Frame> kept;
        const kit::MarkerFrame* markers = markersAt(*cloud.take, frame, kept);
        const bool fits = markers != nullptr && markers->size() == trajectories.size();
        for (std::size_t m = 0; m < trajectories.size(); ++m) {
            const kit::Marker* const marker = fits ? markers->begin() + m : nullptr;
            const double residual = residualOf(cloud, static_cast<std::size_t>(frame), m);
            packed.largestError =
                std::max(packed.largestError, append(trajectories[m], cloud, marker, residual));
        }
    }
    Json names = Json::array();
    for (std::size_t m = 0; m < trajectories.size(); ++m) {
        names.push_back(kit::validUtf8(cloud.names[m]));
        columns.add(trajectories[m].presence);
        for (const Column& column : trajectories[m].position) {
            columns.add(column);
        }
        if (!cloud.residuals.empty()) {
            columns.add(trajectories[m].residual);
        }
    }
    packed.facts = {{"name", kit::validUtf8(cloud.name)},
                    {"rate", {cloud.rate.numerator(), cloud.rate.denominator()}},
                    {"frames", frames},
                    {"firstFrame", cloud.firstFrame},
                    {"markers", std::move(names)},
                    {"residuals", !cloud.residuals.empty()}};
    return packed;
}

} // namespace tarn::view
