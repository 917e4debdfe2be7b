// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_kit/Export.h>
#include <tarn_kit/body/Rig.h>
#include <tarn_kit/body/Rotations.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace tarn::kit {

/// A joint of a human body, at the near end of the segment that is named with it.
///
/// Its axes are those of the T-pose, for every segment: x to the body's left, y up, z to the front.
/// Turns are rotation vectors in degrees, from no turn, which is the T-pose.
struct HumanJoint {
    std::string name; ///< that of the SDK's bone: "LeftUpLeg" is the left hip with the thigh
    int parent;       ///< index of the parent, always smaller; -1 for the hips
    Vector3d offset;  ///< from the parent, in metres
    Vector3d tip;     ///< from the joint to the end of its segment, in metres
    Vector3d spread;  ///< how far it commonly turns about each axis, one standard deviation
    Vector3d lowest;  ///< how far it can turn about each axis; infinite for the hips
    Vector3d highest;
};

/// A length of the body along which a joint lies away from its parent.
struct HumanLength {
    /// A part that a length moves, and which way.
    struct Use {
        std::string joint;
        Vector3d direction; ///< metres of offset per metre of length
    };
    /// That of the segment that is so long; for a length across a segment with a word that says
    /// which, as in "HipsWidth".
    std::string name;
    double metres;
    double spread;    ///< how far those of people of one height differ, one standard deviation
    std::string twin; ///< the same length on the other side; empty where there is none
    std::vector<Use> uses;
};

/// A body of the SDK's standard segments in T-pose, scaled to a height: what a calibration starts
/// from.
///
/// Proportions are those of Drillis and Contini, "Body Segment Parameters" (1966), as in Winter,
/// "Biomechanics and Motor Control of Human Movement" (4th edition, 2009, figure 4.1): thigh 0.245
/// of the height, shank 0.246, upper arm 0.186, forearm 0.146, hand 0.108, hips at 0.530, shoulders
/// at 0.818. What they leave open (how the spine is divided, how far the hip joints are apart) are
/// round figures of adults.
///
/// A light value of its own; no two share anything.
class TARN_KIT_EXPORT HumanBody {
public:
    /// `height` is in metres. Throws `std::invalid_argument` if it is not from 0.3 to 3.
    explicit HumanBody(double height = 1.75);

    /// What it was made with, in metres: the measure of the parts that have no length of their own,
    /// such as the head. `stature()` says how tall it is now.
    double height() const noexcept { return height_; }
    /// How tall it stands in T-pose, from the floor to the crown: `height()` until a length is
    /// changed, and then in the proportion in which the joints from the head's down to the toes'
    /// (both sides' in the middle) are farther apart. In metres.
    double stature() const;
    /// Parents before children; the first is "Hips".
    /// Of a body that is about to go, by value: a loop over `HumanBody(1.7).lengths()` is safe.
    const std::vector<HumanJoint>& joints() const& noexcept { return joints_; }
    std::vector<HumanJoint> joints() && { return std::move(joints_); }
    const std::vector<HumanLength>& lengths() const& noexcept { return lengths_; }
    std::vector<HumanLength> lengths() && { return std::move(lengths_); }
    /// The index of a joint, or -1.
    int jointOf(const std::string& name) const;

    /// Makes a length what it is to be, and moves the joints. Returns false, and changes nothing,
    /// if there is no length of that name or `metres` is not finite.
    bool setLength(const std::string& name, double metres);

    /// The body as a rig in T-pose with the hips at the origin: three rotations per joint (Z, X,
    /// Y), three positions for the hips, end sites at the tips of segments that end a chain.
    /// Lengths are metres times `unitsPerMetre`.
    std::shared_ptr<Rig> rig(double unitsPerMetre = 1) const;

private:
    void place();

    double height_;
    std::vector<HumanJoint> joints_;
    std::vector<HumanLength> lengths_;
};

} // namespace tarn::kit
