// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "body/Kinematics.h"

#include <tarn_kit/session/PerformerTake.h>

#include <array>
#include <cstddef>
#include <optional>
#include <vector>

namespace tarn::kit {

/// A value at some frames, between which it goes straight: along a line, or a turn along the
/// shortest way.
template <std::size_t Size>
struct GltfCurve {
    std::vector<int> frames;
    std::vector<std::array<float, Size>> values;
};

/// What a performer does, as glTF has it: every node relative to its parent, in metres with Y up.
class GltfMotion {
public:
    /// `metres` are those of the rig's unit. Throws `std::invalid_argument` for a value that is not
    /// finite. Precondition: the rig has nodes.
    GltfMotion(const PerformerTake& performer, double metres, double tolerance);

    /// Frames that have a body.
    const std::vector<int>& frames() const { return frames_; }
    /// Where each node is relative to its parent when nothing moves.
    const std::vector<Vector3d>& rest() const { return rest_; }
    /// Per node; without keys where it never turns, with one where that never changes.
    const std::vector<GltfCurve<4>>& rotations() const { return rotations_; }
    /// Per node; without keys where it stays at rest.
    const std::vector<GltfCurve<3>>& translations() const { return translations_; }
    /// The farthest that a node is from where the take has it, at any frame.
    double largestError() const { return largestError_; }

private:
    /// The nodes in the world; nothing where the take has no body.
    std::optional<Transforms> worldAt(int frame) const;
    void sample();
    void restWhereNothingMoves();
    void reduce(double tolerance);
    double measuredError() const;

    /// A transform in the rig's unit and axes, as glTF has it.
    Transform upright(const Transform& given) const;

    const PerformerTake& performer_;
    double metres_;
    std::vector<int> frames_;
    std::vector<Vector3d> rest_;
    std::vector<GltfCurve<4>> rotations_;
    std::vector<GltfCurve<3>> translations_;
    double largestError_ = 0;
};

} // namespace tarn::kit
