// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Rotation.h>
#include <tarn/Tracks.h>
#include <tarn_draw/Export.h>
#include <tarn_kit/body/LengthUnit.h>
#include <tarn_kit/body/Rig.h>
#include <tarn_kit/body/Space.h>
#include <tarn_kit/session/Rate.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tarn::draw {

/// What is drawn of one performer of a session. All subjects of a drawing share one clock and one
/// space: frames of one index belong together, and lengths are in the unit of the first one. They
/// are drawn standing, whichever axis is up.
struct Subject {
    std::string name;                    ///< any text; what cannot be printed is replaced
    std::shared_ptr<const kit::Rig> rig; ///< not null
    /// Frames of `kit::bodyDataType`, or else of `kit::poseDataType`, by their index in the
    /// session; slots may be empty. Its rate is that of the session. Not null, and not changed
    /// while drawn.
    std::shared_ptr<Tracks> take;
    kit::LengthUnit unit; ///< of the rig and the bodies
    /// Of the positions of the bodies.
    kit::UpAxis up = kit::UpAxis::Y;
    /// The exact rate of the session, by which times are told; that of the take, if it is not set.
    std::optional<kit::Rate> rate = std::nullopt;
};

/// A subject with the unit and the axis of its rig's space or, where that knows no unit, the one
/// that makes the rig a human being (`kit::guessLengthUnit`).
/// `take` may be what `kit::readBvh` read, or what a recorder recorded.
TARN_DRAW_EXPORT Subject subjectOf(std::string name, std::shared_ptr<const kit::Rig> rig,
                                   std::shared_ptr<Tracks> take);

/// Where the nodes of the rig are at a frame of the session, in node order; nothing if no body is
/// there, or one of another rig. Y is up: of a take with Z up, Y goes to X, Z to Y and X to Z; of
/// one with X up, Z goes to X, X to Y and Y to Z.
TARN_DRAW_EXPORT std::vector<Vector3f> positionsAt(const Subject& subject, int frame);

/// Drawings show at most so many subjects.
inline constexpr std::size_t mostSubjects = 1'000;

/// What keeps these subjects from being drawn, in a sentence; empty if nothing does. It looks at
/// who takes part, not at frames, so that a host can ask before anything is recorded. All drawings
/// of subjects throw `std::runtime_error` with this sentence.
TARN_DRAW_EXPORT std::string whyNotDrawn(const std::vector<Subject>& subjects);

} // namespace tarn::draw
