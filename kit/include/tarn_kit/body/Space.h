// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Actor.h>
#include <tarn/Rotation.h>
#include <tarn_kit/Export.h>
#include <tarn_kit/body/LengthUnit.h>
#include <tarn_kit/body/Rotations.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tarn::kit {

class Rig;

/// Where something that is known of a take comes from.
enum class Origin : std::uint8_t {
    Guessed, ///< nobody said it
    Stated,  ///< the file or the device states it
    Given,   ///< the user said it, whatever the file states
};

/// The axis that points away from the ground.
enum class UpAxis : std::uint8_t { X, Y, Z };

/// What positions mean: their unit of length and which axis is up, and how that is known. Axes are
/// right-handed.
struct Space {
    LengthUnit unit = {"unit", ""};
    Origin unitOrigin = Origin::Guessed;
    UpAxis up = UpAxis::Y;
    Origin upOrigin = Origin::Guessed;
};

/// "X", "Y" or "Z"
TARN_KIT_EXPORT std::string axisName(UpAxis axis);
/// Reads an axis, in either case. Nothing for any other text.
TARN_KIT_EXPORT std::optional<UpAxis> parseUpAxis(std::string_view text);
/// "guessed", "as stated" or "as given"
TARN_KIT_EXPORT std::string originText(Origin origin);

/// Where a position of a world with the axis `up` upwards comes to lie in one with Y up: a turn, so
/// that left stays left. Of a world with Z up, Y goes to X, Z to Y and X to Z; of one with X up, Z
/// goes to X, X to Y and Y to Z. Exact: coordinates change places.
TARN_KIT_EXPORT Vector3f upright(const Vector3f& at, UpAxis up);
TARN_KIT_EXPORT Vector3d upright(const Vector3d& at, UpAxis up);
/// The same of a rotation in such a world.
TARN_KIT_EXPORT Quaternionf upright(const Quaternionf& rotation, UpAxis up);
TARN_KIT_EXPORT Quaterniond upright(const Quaterniond& rotation, UpAxis up);
/// That turn itself.
TARN_KIT_EXPORT Quaterniond uprightTurn(UpAxis up);

/// What is guessed of a rig: the axis along which its rest pose stands, from the feet to the head
/// (`BodyNames` knows which joints these are; Y, where it finds none, or they are not above each
/// other), and the unit in which it is as tall as a human being along that axis.
TARN_KIT_EXPORT Space guessSpace(const Rig& rig);

/// Whether both know a unit or an axis, which differ: neither of them is guessed.
TARN_KIT_EXPORT bool areContrary(const Space& a, const Space& b);
/// "cm, Y up"
TARN_KIT_EXPORT std::string spaceText(const Space& space);

// The unit of an actor's dimensions, which its settings keep under "LengthUnit" below
// "MocapActor".

/// The unit that an actor's settings state; nothing if they state none, or one that is not known.
TARN_KIT_EXPORT std::optional<LengthUnit> unitOfDimensions(const Actor& actor);
/// States the unit and leaves the dimensions as they are. One that is not `known()` is stated as no
/// unit.
TARN_KIT_EXPORT void stateUnitOfDimensions(Actor& actor, const LengthUnit& unit);
/// States the unit, and converts the dimensions that are there from the one that was stated before.
/// Dimensions without a stated unit are taken to be in the new one; what is no number stays.
TARN_KIT_EXPORT void convertDimensions(Actor& actor, const LengthUnit& unit);

} // namespace tarn::kit
