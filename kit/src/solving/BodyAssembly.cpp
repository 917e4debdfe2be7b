// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "solving/BodyAssembly.h"

#include <algorithm>

namespace tarn::kit {

namespace {

Vector3d radiansOf(const Vector3d& degrees) { return tarn::kit::radiansOf(1) * degrees; }

bool isForeArm(const std::string& name) { return name == "LeftForeArm" || name == "RightForeArm"; }

Block blockOf(const Matrix3d& matrix) {
    Block block;
    for (std::size_t i = 0; i < 9; ++i) {
        block.m[i] = matrix[i / 3][i % 3];
    }
    return block;
}

/// They do what they like, and a marker or none does not show how they are turned.
bool isHandOrToes(const std::string& name) {
    return name.find("Hand") != std::string::npos || name.find("Toe") != std::string::npos;
}

/// Turns about the forearm's own axis and hardly about the others.
SolvedJoint twistBelow(std::size_t foreArm) {
    SolvedJoint joint;
    joint.parent = foreArm;
    joint.spread = radiansOf({70, 0.3, 0.3});
    joint.lowest = radiansOf({-130, -10, -10});
    joint.highest = radiansOf({130, 10, 10});
    joint.isFree = true;
    return joint;
}

} // namespace

BodyAssembly::BodyAssembly(const MarkerBody& body) {
    std::vector<std::size_t> ends; // what a joint's children and far markers hang on
    for (const HumanJoint& human : body.body.joints()) {
        SolvedJoint joint;
        joint.parent = human.parent < 0 ? none : ends[static_cast<std::size_t>(human.parent)];
        joint.offset = human.offset;
        joint.spread = radiansOf(human.spread);
        joint.lowest = radiansOf(human.lowest);
        joint.highest = radiansOf(human.highest);
        joint.isFree = isHandOrToes(human.name);
        joints.push_back(articulation.joints.size());
        articulation.joints.push_back(joint);
        names.push_back(human.name);
        if (isForeArm(human.name)) {
            articulation.joints.push_back(twistBelow(joints.back()));
            names.push_back(human.name + "Twist");
        }
        ends.push_back(articulation.joints.size() - 1);
    }
    for (const UsualTurn& usual : body.usualTurns) {
        const auto name = std::find(names.begin(), names.end(), usual.joint);
        if (name == names.end()) {
            continue;
        }
        SolvedJoint& joint = articulation.joints[static_cast<std::size_t>(name - names.begin())];
        joint.usual = fromRotationVector(radiansOf(usual.turn));
        if (usual.spread.x > 0 && usual.spread.y > 0 && usual.spread.z > 0) {
            joint.spread = radiansOf(usual.spread);
        }
        if (joint.parent != none && joint.parent != 0) {
            joint.share = blockOf(usual.share);
        }
    }
    for (const BodyMarker& marker : body.markers) {
        const auto human = static_cast<std::size_t>(body.body.jointOf(marker.segment));
        SolvedMarker solved;
        solved.joint = marker.turnsWithHand ? ends[human] : joints[human];
        solved.offset = marker.offset;
        solved.spread = marker.spread;
        for (const SkinShift& shift : marker.skin) {
            const auto name = std::find(names.begin(), names.end(), shift.joint);
            const auto joint = static_cast<std::size_t>(name - names.begin());
            if (joint != 0 && name != names.end() &&
                (joint == solved.joint || articulation.joints[joint].parent == solved.joint)) {
                articulation.skin.push_back(
                    {articulation.markers.size(), joint, blockOf(shift.shift)});
            }
        }
        articulation.markers.push_back(solved);
    }
    for (const HumanLength& length : body.body.lengths()) {
        for (const HumanLength::Use& use : length.uses) {
            const auto human = static_cast<std::size_t>(body.body.jointOf(use.joint));
            articulation.uses.push_back(
                {articulation.lengths.size(), joints[human], use.direction});
        }
        articulation.lengths.push_back(length.metres);
    }
}

} // namespace tarn::kit
