// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/body/HumanBody.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>

namespace tarn::kit {

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();

/// How joints turn, for the left side; see `mirrored`.
std::vector<HumanJoint> centralJoints() {
    const Vector3d far = {infinity, infinity, infinity};
    return {
        {"Hips", -1, {}, {0, 0.055, 0}, {180, 180, 180}, -far, far},
        {"Spine", 0, {}, {0, 0.075, 0}, {55, 45, 45}, {-60, -50, -50}, {90, 50, 50}},
        {"Spine1", 1, {}, {0, 0.085, 0}, {45, 45, 45}, {-50, -50, -50}, {70, 50, 50}},
        {"Spine2", 2, {}, {0, 0.110, 0}, {27, 27, 27}, {-40, -40, -40}, {50, 40, 40}},
        {"Neck", 3, {}, {0, 0.055, 0}, {55, 65, 55}, {-70, -80, -60}, {70, 80, 60}},
        {"Head", 4, {}, {0, 0.090, 0}, {55, 65, 55}, {-70, -80, -60}, {70, 80, 60}},
    };
}

/// Parents are indices among these, or below 0: -1 for the hips, -4 for the third of the spine.
std::vector<HumanJoint> leftJoints() {
    return {
        {"LeftUpLeg", -1, {}, {0, -0.245, 0}, {105, 60, 60}, {-170, -100, -100}, {80, 100, 110}},
        {"LeftLeg", 0, {}, {0, -0.246, 0}, {150, 12, 7}, {-15, -50, -30}, {165, 50, 30}},
        {"LeftFoot", 1, {}, {0, -0.030, 0.085}, {50, 30, 30}, {-70, -60, -60}, {90, 60, 60}},
        {"LeftToeBase", 2, {}, {0, 0, 0.045}, {20, 3, 3}, {-80, -10, -10}, {50, 10, 10}},
        {"LeftShoulder", -4, {}, {0.095, 0, 0}, {5, 30, 30}, {-20, -50, -40}, {20, 50, 70}},
        {"LeftArm", 4, {}, {0.186, 0, 0}, {120, 135, 135}, {-179, -179, -179}, {179, 179, 179}},
        {"LeftForeArm", 5, {}, {0.146, 0, 0}, {10, 150, 6}, {-60, -165, -40}, {60, 20, 40}},
        {"LeftHand", 6, {}, {0.108, 0, 0}, {50, 45, 55}, {-120, -60, -100}, {120, 60, 100}},
    };
}

/// To the other side of the plane in the middle: x changes its sign, and turns about y and z do.
HumanJoint mirrored(HumanJoint joint) {
    joint.name.replace(0, 4, "Right");
    joint.tip.x = -joint.tip.x;
    for (const std::size_t axis : {std::size_t{1}, std::size_t{2}}) {
        std::swap(joint.lowest[axis], joint.highest[axis]);
        joint.lowest[axis] = -joint.lowest[axis];
        joint.highest[axis] = -joint.highest[axis];
    }
    return joint;
}

std::vector<HumanJoint> jointsFor(double height) {
    std::vector<HumanJoint> joints = centralJoints();
    for (const bool left : {true, false}) {
        const auto base = static_cast<int>(joints.size());
        for (const HumanJoint& joint : leftJoints()) {
            joints.push_back(left ? joint : mirrored(joint));
            joints.back().parent = joint.parent < 0 ? -1 - joint.parent : base + joint.parent;
        }
    }
    for (HumanJoint& joint : joints) {
        joint.tip = height * joint.tip;
    }
    return joints;
}

/// A share of the height, along which a joint is moved; of two sides, the left one.
struct Proportion {
    const char* name;
    double share;
    double spread; ///< as a share of the height
    const char* joint;
    Vector3d direction;
};

const std::vector<Proportion>& centralProportions() {
    static const std::vector<Proportion> all = {
        {"Hips", 0.055, 0.010, "Spine", {0, 1, 0}},
        {"HipsDepth", 0.020, 0.010, "Spine", {0, 0, -1}},
        {"Spine", 0.075, 0.010, "Spine1", {0, 1, 0}},
        {"Spine1", 0.085, 0.010, "Spine2", {0, 1, 0}},
        {"Spine2", 0.110, 0.010, "Neck", {0, 1, 0}},
        {"Neck", 0.055, 0.008, "Head", {0, 1, 0}},
    };
    return all;
}

const std::vector<Proportion>& leftProportions() {
    static const std::vector<Proportion> all = {
        {"LeftUpLeg", 0.245, 0.012, "LeftLeg", {0, -1, 0}},
        {"LeftLeg", 0.246, 0.012, "LeftFoot", {0, -1, 0}},
        {"LeftFoot", 0.085, 0.006, "LeftToeBase", {0, -0.35, 1}},
        {"LeftShoulderWidth", 0.012, 0.006, "LeftShoulder", {1, 0, 0}},
        {"LeftShoulderHeight", 0.070, 0.010, "LeftShoulder", {0, 1, 0}},
        {"LeftShoulderDepth", 0.015, 0.010, "LeftShoulder", {0, 0, 1}},
        {"LeftShoulder", 0.093, 0.008, "LeftArm", {1, 0, 0}},
        {"LeftArm", 0.186, 0.010, "LeftForeArm", {1, 0, 0}},
        {"LeftForeArm", 0.146, 0.008, "LeftHand", {1, 0, 0}},
    };
    return all;
}

/// The way up from the toes to the head, in the joints' offsets; of two sides half of each.
double uprightReach(const std::vector<HumanJoint>& joints) {
    double reach = 0;
    for (const HumanJoint& joint : joints) {
        const bool isTrunk =
            joint.name.find("Spine") == 0 || joint.name == "Neck" || joint.name == "Head";
        const bool isLeg = joint.name.find("Leg") != std::string::npos ||
                           joint.name.find("Foot") != std::string::npos ||
                           joint.name.find("Toe") != std::string::npos;
        reach += isTrunk ? joint.offset.y : isLeg ? -0.5 * joint.offset.y : 0;
    }
    return reach;
}

std::string onTheRight(const std::string& left) { return "Right" + left.substr(4); }

std::vector<HumanLength> lengthsFor(double height) {
    constexpr double widthShare = 0.100; // between the hip joints
    std::vector<HumanLength> lengths = {
        {"HipsWidth",
         widthShare * height,
         0.010 * height,
         "",
         {{"LeftUpLeg", {0.5, 0, 0}}, {"RightUpLeg", {-0.5, 0, 0}}}}};
    for (const Proportion& p : centralProportions()) {
        lengths.push_back(
            {p.name, p.share * height, p.spread * height, "", {{p.joint, p.direction}}});
    }
    for (const Proportion& p : leftProportions()) {
        const std::string right = onTheRight(p.name);
        Vector3d direction = p.direction;
        direction.x = -direction.x;
        lengths.push_back(
            {p.name, p.share * height, p.spread * height, right, {{p.joint, p.direction}}});
        lengths.push_back({right,
                           p.share * height,
                           p.spread * height,
                           p.name,
                           {{onTheRight(p.joint), direction}}});
    }
    return lengths;
}

} // namespace

HumanBody::HumanBody(double height) : height_(height) {
    if (!(height >= 0.3 && height <= 3)) {
        throw std::invalid_argument("a body's height has to be from 0.3 to 3 metres");
    }
    joints_ = jointsFor(height);
    lengths_ = lengthsFor(height);
    place();
}

double HumanBody::stature() const {
    return height_ * uprightReach(joints_) / uprightReach(HumanBody(height_).joints_);
}

int HumanBody::jointOf(const std::string& name) const {
    const auto joint = std::find_if(joints_.begin(), joints_.end(),
                                    [&](const HumanJoint& j) { return j.name == name; });
    return joint == joints_.end() ? -1 : static_cast<int>(joint - joints_.begin());
}

bool HumanBody::setLength(const std::string& name, double metres) {
    const auto length = std::find_if(lengths_.begin(), lengths_.end(),
                                     [&](const HumanLength& l) { return l.name == name; });
    if (length == lengths_.end() || !std::isfinite(metres)) {
        return false;
    }
    length->metres = metres;
    place();
    return true;
}

void HumanBody::place() {
    for (HumanJoint& joint : joints_) {
        joint.offset = {};
    }
    for (const HumanLength& length : lengths_) {
        for (const HumanLength::Use& use : length.uses) {
            HumanJoint& joint = joints_[static_cast<std::size_t>(jointOf(use.joint))];
            joint.offset = joint.offset + length.metres * use.direction;
        }
    }
    // A segment ends where the next one of its chain begins.
    for (const HumanJoint& joint : joints_) {
        const bool branches = joint.parent < 0 ||
                              joints_[static_cast<std::size_t>(joint.parent)].parent < 0 ||
                              joint.name.find("Shoulder") != std::string::npos;
        if (!branches) {
            joints_[static_cast<std::size_t>(joint.parent)].tip = joint.offset;
        }
    }
}

std::shared_ptr<Rig> HumanBody::rig(double unitsPerMetre) const {
    auto rig = std::make_shared<Rig>();
    std::vector<int> indices;
    for (const HumanJoint& joint : joints_) {
        std::vector<Channel> channels = {Channel::Zrotation, Channel::Xrotation,
                                         Channel::Yrotation};
        if (joint.parent < 0) {
            channels.insert(channels.begin(),
                            {Channel::Xposition, Channel::Yposition, Channel::Zposition});
        }
        const int parent = joint.parent < 0 ? -1 : indices[static_cast<std::size_t>(joint.parent)];
        indices.push_back(
            rig->addJoint(joint.name, parent, toSingle(unitsPerMetre * joint.offset), channels));
        const auto isParent = [&](const HumanJoint& other) {
            return other.parent == static_cast<int>(indices.size()) - 1;
        };
        if (std::none_of(joints_.begin(), joints_.end(), isParent)) {
            rig->addEndSite(indices.back(), toSingle(unitsPerMetre * joint.tip));
        }
    }
    return rig;
}

} // namespace tarn::kit
