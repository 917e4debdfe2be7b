// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Actor.h>
#include <tarn_kit/Export.h>
#include <tarn_kit/body/HumanBody.h>
#include <tarn_kit/body/MarkerSet.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace tarn::kit {

/// How skin takes a marker along as a joint is turned: the one of its segment, or one that hangs on
/// that. Others are not heeded.
struct SkinShift {
    /// One of the body's, or "LeftForeArmTwist" and "RightForeArmTwist": the turn of a forearm
    /// about itself, with which the hand goes.
    std::string joint;
    /// Metres in the segment's axes per radian from the joint's usual turn; turns of a radian and
    /// more count for less and less.
    Matrix3d shift = {{{{0, 0, 0}, {0, 0, 0}, {0, 0, 0}}}};
};

/// A marker as it sits on one performer.
struct BodyMarker {
    std::string name;
    std::string segment;
    /// Of a marker on a forearm: whether it turns with the hand rather than with the elbow.
    bool turnsWithHand = false;
    Vector3d offset;        ///< from the segment's joint, in its axes, in metres, in usual turns
    double uncertainty = 0; ///< of the offset along each axis: one standard deviation, in metres
    double spread = 0.010;  ///< how far it commonly is from its place, along each axis, in metres
    double weight = 1;
    std::vector<SkinShift> skin; ///< empty for one that is fixed to its segment
};

/// How a joint was commonly turned while the performer was calibrated: what is assumed of it where
/// no marker says.
struct UsualTurn {
    std::string joint;
    Vector3d turn; ///< rotation vector in degrees, from the T-pose
    Vector3d spread =
        {}; ///< how far it is from what is expected, in degrees; as people's if it is 0
    /// How far it goes along with the joint above, as those of the spine do: turn of this joint per
    /// turn of the upper one, as rotation vectors from how each is usually turned.
    Matrix3d share = {{{{0, 0, 0}, {0, 0, 0}, {0, 0, 0}}}};
};

/// How well a length is known: one standard deviation, in metres.
struct LengthUncertainty {
    std::string length; ///< one of the body's, or "Height"
    double metres = 0;
};

/// An actor has no body that markers can be solved with, or a broken one; `what()` says what.
class TARN_KIT_EXPORT MarkerBodyError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
    MarkerBodyError(const MarkerBodyError&) = default;
    MarkerBodyError& operator=(const MarkerBodyError&) = default;
    ~MarkerBodyError() override;
};

/// A performer's body with the markers on it: what a `MarkerCalibrator` finds out and a
/// `MarkerSolver` solves with.
///
/// In an actor, the lengths are its body dimensions, in metres, and "Height" is the body's height,
/// which a calibration makes how tall the performer stands; where the markers sit stands in its
/// settings, in the group "MarkerBody".
struct TARN_KIT_EXPORT MarkerBody {
    HumanBody body;
    std::vector<BodyMarker> markers;
    std::vector<UsualTurn> usualTurns;
    std::vector<LengthUncertainty> uncertainties;

    /// Nobody's in particular: a set's markers on a body of that height. Throws
    /// `std::invalid_argument` for a height that `HumanBody` refuses, or a set with a segment that
    /// no body has.
    static MarkerBody generic(const MarkerSet& set, double height = 1.75);
    /// That of an actor that was calibrated. Throws `MarkerBodyError`.
    static MarkerBody of(const Actor& actor);
    /// Replaces what the actor says of lengths and markers.
    void writeTo(Actor& actor) const;
};

} // namespace tarn::kit
