// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Rotation.h>
#include <tarn_kit/Export.h>
#include <tarn_kit/body/Rig.h>

#include <vector>

namespace tarn::kit {

/// Where one node of a rig is in the world, and how it is turned. An end site is turned as its
/// parent is.
struct Segment {
    Vector3f position;    ///< in the rig's length unit
    Quaternionf rotation; ///< from the node's own axes to the world's; of length 1
};

/// A solved body: one segment per node of the rig, in node order. It is the payload of frames of
/// the data type `bodyDataType`.
struct TARN_KIT_EXPORT BodyPose {
    std::vector<Segment> segments;
};

/// The data type of frames whose payload is a `BodyPose`.
inline constexpr int bodyDataType = 2;

/// The channel values that put `rig` where `body` is: the way back from a solved body to what a
/// motion file holds. Angles are within half a turn of 0, to both sides.
///
/// Of the sets of three angles that describe a rotation it gives the one whose middle angle lies
/// within a quarter turn of 0; where that is a quarter turn, first and last angle turn the same
/// way, and the last one is 0. So a channel may jump from one frame to the next while the body does
/// not. A joint with fewer than three rotations gets the nearest to `body` that those can express.
/// A joint moves along the axes for which it has position channels, and otherwise stays at its
/// offset from where `body` has its parent; of a position channel that is listed again, the first
/// gets all.
///
/// Rotations need not be of length 1; a zero quaternion is no rotation. What is not finite in
/// `body` gives values that are not.
///
/// Throws `std::invalid_argument` for a joint that turns about the same axis more than once.
/// Precondition: `body` has a segment per node of `rig`.
TARN_KIT_EXPORT Pose poseOf(const Rig& rig, const BodyPose& body);

/// The same, with the angles of each joint that are nearest to those of `previous`, so that
/// channels do not jump while the body does not. Angles may so go beyond half a turn. Precondition:
/// `previous` has a value per channel of `rig`.
TARN_KIT_EXPORT Pose poseOf(const Rig& rig, const BodyPose& body, const Pose& previous);

} // namespace tarn::kit
