// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Rotation.h>
#include <tarn_draw/canvas/Colours.h>
#include <tarn_draw/markers/MarkerSheet.h>
#include <tarn_kit/body/Markers.h>

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace tarn::draw {

/// A cloud of markers as drawings need it: with Y up, and with a colour for each marker.
class MarkerScene {
public:
    explicit MarkerScene(const MarkerCloud& cloud);

    const MarkerCloud& cloud() const { return cloud_; }
    int frameCount() const { return frameCount_; }
    std::size_t markerCount() const { return cloud_.markers.size(); }

    /// The markers of a frame; null if there are none.
    const kit::MarkerFrame* markersAt(int frame) const;
    /// Where a marker is, with Y up, if it was seen there and can be drawn.
    std::optional<Vector3f> placeOf(const kit::MarkerFrame& markers, std::size_t marker) const;
    /// All places of a frame.
    std::vector<Vector3f> placesAt(int frame) const;
    /// About `wanted` frames, evenly spaced, first and last included.
    static std::vector<int> someFrames(int first, int last, int wanted);

    /// Those that markers name, in their order; one without a name for all that name none.
    const std::vector<std::string>& subjects() const { return subjects_; }
    std::size_t subjectOf(std::size_t marker) const { return subjectOf_[marker]; }
    Colour colourOf(std::size_t marker) const;
    /// Of what a marker left behind.
    Colour trailOf(std::size_t marker) const;

private:
    MarkerCloud cloud_;
    int frameCount_;
    std::vector<std::string> subjects_;
    std::vector<std::size_t> subjectOf_; ///< per marker
};

} // namespace tarn::draw
