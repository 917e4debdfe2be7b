// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "markers/MarkerScene.h"

#include "sheet/SubjectMark.h"

#include <tarn_draw/figure/Camera.h>

#include <algorithm>
#include <any>
#include <cmath>

namespace tarn::draw {

MarkerScene::MarkerScene(const MarkerCloud& cloud)
    : cloud_(cloud), frameCount_(cloud.take->timeLength()) {
    for (const MarkerName& marker : cloud_.markers) {
        const auto known = std::find(subjects_.begin(), subjects_.end(), marker.subject);
        subjectOf_.push_back(static_cast<std::size_t>(known - subjects_.begin()));
        if (known == subjects_.end()) {
            subjects_.push_back(marker.subject);
        }
    }
}

const kit::MarkerFrame* MarkerScene::markersAt(int frame) const {
    // The take keeps the frame alive.
    const auto shown = cloud_.take->getFrame(frame, kit::markerDataType);
    const auto* const markers =
        shown == nullptr ? nullptr : std::any_cast<kit::MarkerFrame>(&shown->data());
    return markers == nullptr || markers->size() != markerCount() ? nullptr : markers;
}

std::optional<Vector3f> MarkerScene::placeOf(const kit::MarkerFrame& markers,
                                             std::size_t marker) const {
    const kit::Marker& one = markers[marker];
    if (!one.hasPosition() || !isFinite(one.position)) {
        return std::nullopt;
    }
    return kit::upright(one.position, cloud_.up);
}

std::vector<Vector3f> MarkerScene::placesAt(int frame) const {
    std::vector<Vector3f> places;
    if (const kit::MarkerFrame* const markers = markersAt(frame)) {
        for (std::size_t i = 0; i < markerCount(); ++i) {
            if (const auto place = placeOf(*markers, i)) {
                places.push_back(*place);
            }
        }
    }
    return places;
}

std::vector<int> MarkerScene::someFrames(int first, int last, int wanted) {
    std::vector<int> frames;
    const int count = std::min(wanted, last - first + 1);
    for (int i = 0; i < count; ++i) {
        const double part = count == 1 ? 0 : static_cast<double>(i) / (count - 1);
        frames.push_back(first + static_cast<int>(std::lround(part * (last - first))));
    }
    return frames;
}

Colour MarkerScene::colourOf(std::size_t marker) const { return subjectColour(subjectOf_[marker]); }

Colour MarkerScene::trailOf(std::size_t marker) const {
    constexpr double part = 0.45;
    const Colour full = colourOf(marker);
    const auto lighter = [](double channel) { return 1 - (1 - channel) * part; };
    return {lighter(full.red), lighter(full.green), lighter(full.blue)};
}

} // namespace tarn::draw
