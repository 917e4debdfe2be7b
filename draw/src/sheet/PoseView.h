// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "sheet/PoseSummary.h"

#include <tarn_draw/figure/Camera.h>
#include <tarn_draw/figure/StickFigure.h>

#include <cstddef>
#include <vector>

namespace tarn::draw {

/// What a row of pictures shows of the bodies of a session: all to one scale and seen from one
/// side. Every picture shows the same part of the space; where that would make the figures too
/// small, and where there is but one, it goes along with them.
class PoseView {
public:
    /// What pictures show around the middle of their floor, in the unit of the session.
    struct Reach {
        double width, depth; ///< of the floor
        double top, bottom;  ///< in the picture
    };

    /// Summary and figures must outlive the view.
    PoseView(const PoseSummary& summary, const std::vector<StickFigure>& figures,
             double bodyHeight);

    /// Looks down a little, so that the floor is seen.
    const Camera& camera() const { return camera_; }
    /// From the same side.
    const Camera& levelCamera() const { return level_; }
    /// Whether the pictures go along with the figures.
    bool follows() const { return follows_; }
    const Reach& reach() const { return reach_; }
    /// The middle of the floor that an instant shows.
    const Vector3f& middle(std::size_t instant) const { return middles_[instant]; }

private:
    /// A part of the floor: to the right in the picture, and towards the eye.
    struct Area {
        double left, right, far, near;
    };

    Area areaOf(const PoseInstant& instant) const;
    void chooseMiddles(double bodyHeight);
    Reach reachOf(double bodyHeight) const;
    /// Some room around it, so that a body without size gets some space too.
    Reach widened(Reach reach, double bodyHeight) const;

    const PoseSummary& summary_;
    const std::vector<StickFigure>& figures_;
    Camera camera_;
    Camera level_;
    bool follows_ = false;
    std::vector<Vector3f> middles_; ///< one per instant
    Reach reach_{};
};

} // namespace tarn::draw
