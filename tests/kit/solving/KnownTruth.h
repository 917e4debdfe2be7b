// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/BoneID.h>
#include <tarn_kit/body/BodyNames.h>
#include <tarn_kit/body/ForwardKinematics.h>
#include <tarn_kit/body/HumanBody.h>
#include <tarn_kit/body/MarkerSet.h>
#include <tarn_kit/body/Markers.h>
#include <tarn_kit/files/Bvh.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <filesystem>
#include <initializer_list>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

/// Bodies of BVH takes with markers put on them where a person has them: what a solver makes of the
/// markers can be held against where the joints really were.
namespace known_truth {

using namespace tarn;
using namespace tarn::kit;

/// How the body differs from that of the take, and its markers from rigid ones where the set says.
struct Variant {
    double scale = 1; ///< of the whole body
    double legs = 1;  ///< of their segments
    double arms = 1;
    double trunk = 1;
    double misplaced = 0; ///< markers sit so far from where the set says, in metres
    double skin = 0;      ///< markers move by so much with the pose, one standard deviation
};

/// What goes wrong when the markers are measured.
struct Faults {
    double noise = 0.001; ///< one standard deviation along each axis, in metres
    double gaps = 0.05;   ///< share of the samples that are missing, in stretches
    double swaps = 0;     ///< share of the frames with two labels exchanged, in stretches
    double ghosts = 0;    ///< share of the samples that are somewhere else around the body
};

/// Two labels exchanged in frames `first` to `last`, both included.
struct Swap {
    std::size_t a, b;
    int first, last;
};

/// What was measured: a row of markers per frame, in millimetres.
struct Measured {
    std::vector<std::vector<Marker>> frames;
    std::vector<Swap> swaps;
};

inline const std::array<const char*, 12> joints = {
    "LeftUpLeg", "RightUpLeg", "LeftLeg",     "RightLeg",     "LeftFoot", "RightFoot",
    "LeftArm",   "RightArm",   "LeftForeArm", "RightForeArm", "LeftHand", "RightHand"};
inline constexpr std::size_t wristsFrom = 10; ///< the joints from here on are wrists

/// The shortest turn from one direction to another.
inline Quaterniond turnBetween(const Vector3d& from, const Vector3d& to) {
    const Vector3d a = (1 / lengthOf(from)) * from;
    const Vector3d b = (1 / lengthOf(to)) * to;
    const Vector3d axis = cross(a, b);
    const double sine = lengthOf(axis);
    return sine < 1e-9 ? Quaterniond() : fromAxisAngle(axis, std::atan2(sine, dot(a, b)));
}

/// The part of a turn that goes about an axis.
inline double twistAbout(const Quaterniond& turn, const Vector3d& axis) {
    const double along = turn.x * axis.x + turn.y * axis.y + turn.z * axis.z;
    const double angle = 2 * std::atan2(along, turn.w);
    return angle > pi ? angle - 2 * pi : angle < -pi ? angle + 2 * pi : angle;
}

class KnownBody {
public:
    KnownBody(const std::filesystem::path& file, const MarkerSet& set, const Variant& variant,
              unsigned seed)
        : set_(set), variant_(variant), take_(readBvh(file)), match_(BodyNames().match(*take_.rig)),
          random_(seed) {
        setNodes();
        for (const MarkerPlace& place : set.markers) {
            addMarker(place);
        }
        moveThroughTake();
    }

    int frameCount() const { return static_cast<int>(joints_.size()); }
    int rate() const { return take_.tracks->fps(); }
    std::vector<std::string> markerNames() const {
        std::vector<std::string> names;
        for (const MarkerPlace& place : set_.markers) {
            names.push_back(place.name);
        }
        return names;
    }
    /// Where the joints are, in the order of `joints`, in metres.
    const std::vector<Vector3d>& jointsAt(int frame) const {
        return joints_[static_cast<std::size_t>(frame)];
    }
    const std::vector<Vector3d>& markersAt(int frame) const {
        return markers_[static_cast<std::size_t>(frame)];
    }
    /// How long the segment is that begins at a joint of the limbs; names as above.
    double lengthOfSegment(const std::string& joint) const {
        return lengthOf(nodes_[childOf(nodeOf(joint))].offset);
    }

    Measured measure(const Faults& faults, unsigned seed) const;

private:
    struct Node {
        std::size_t parent;
        Vector3d offset; ///< in metres
        Vector3d rest;   ///< where it is when nothing turns
    };
    struct Placed {
        std::size_t node;
        Vector3d offset;
        std::size_t twisting; ///< the hand whose twist it follows; 0 for none
        Vector3d axis;        ///< of that twist
        std::array<Vector3d, 3> ways, causes, farCauses; ///< of what the skin does
        std::size_t far;                                 ///< the next joint down its limb
    };

    std::size_t nodeOf(const std::string& joint) const {
        const auto node = match_.nodeOf(boneNameToBoneID(joint));
        if (!node) {
            throw std::runtime_error("the take has no " + joint);
        }
        return static_cast<std::size_t>(*node);
    }
    /// The joint at the end of a segment of a limb.
    std::size_t childOf(std::size_t node) const {
        for (std::size_t i = node + 1; i < nodes_.size(); ++i) {
            if (nodes_[i].parent == node && lengthOf(nodes_[i].offset) > 0.01) {
                return i;
            }
        }
        return node;
    }
    bool isUnder(std::size_t node, std::size_t top) const {
        while (node > top) {
            node = nodes_[node].parent;
        }
        return node == top;
    }
    bool isBelow(std::size_t node, const char* joint) const { return isUnder(node, nodeOf(joint)); }
    void setNodes();
    double scaleOf(std::size_t node) const;
    void addMarker(const MarkerPlace& marker);
    void addOnTrunk(const MarkerPlace& marker);
    void place(std::size_t node, const Vector3d& offset, std::size_t far);
    void moveThroughTake();

    MarkerSet set_;
    Variant variant_;
    BvhTake take_;
    BodyMatch match_;
    std::mt19937 random_;
    HumanBody human_;
    double metresPerUnit_ = 0;
    std::vector<Node> nodes_;
    std::vector<Placed> placed_;
    std::vector<std::vector<Vector3d>> joints_, markers_;
};

inline double KnownBody::scaleOf(std::size_t node) const {
    const double own = isBelow(node, "LeftLeg") || isBelow(node, "RightLeg") ? variant_.legs
                       : isBelow(node, "LeftForeArm") || isBelow(node, "RightForeArm")
                           ? variant_.arms
                       : isBelow(node, "LeftUpLeg") || isBelow(node, "RightUpLeg") ? 1
                                                                                   : variant_.trunk;
    return variant_.scale * metresPerUnit_ * own;
}

inline void KnownBody::setNodes() {
    const auto& nodes = take_.rig->nodes();
    for (const RigNode& node : nodes) {
        nodes_.push_back({node.parent < 0 ? 0 : static_cast<std::size_t>(node.parent),
                          toDouble(node.offset),
                          {}});
    }
    // Takes do not say their unit; a leg is between 0.6 and 1.1 metres long.
    const std::size_t knee = nodeOf("LeftLeg");
    const double leg = lengthOf(nodes_[knee].offset) + lengthOf(nodes_[childOf(knee)].offset);
    for (const double unit : {1.0, 0.056444, 0.0254, 0.01, 0.001}) {
        metresPerUnit_ = unit * leg > 0.6 && unit * leg < 1.1 ? unit : metresPerUnit_;
    }
    for (std::size_t i = 0; i < nodes_.size(); ++i) {
        nodes_[i].offset = scaleOf(i) * nodes_[i].offset;
        nodes_[i].rest =
            i == 0 ? nodes_[i].offset : nodes_[nodes_[i].parent].rest + nodes_[i].offset;
    }
}

inline void KnownBody::place(std::size_t node, const Vector3d& offset, std::size_t far) {
    std::normal_distribution<double> normal;
    const auto direction = [&] {
        const Vector3d v = {normal(random_), normal(random_), normal(random_)};
        return (1 / lengthOf(v)) * v;
    };
    Placed placed = {node, offset + variant_.misplaced * direction(), 0, {}, {}, {}, {}, far};
    for (std::size_t i = 0; i < 3; ++i) {
        placed.ways[i] = direction();
        placed.causes[i] = direction();
        placed.farCauses[i] = direction();
    }
    placed_.push_back(placed);
}

/// On the trunk of a take, which bends in other places than a person does, a marker is as high
/// between hips and shoulders as on a person, and moves with the last joint below it.
inline void KnownBody::addOnTrunk(const MarkerPlace& marker) {
    const auto humanAt = [&](const std::string& joint) {
        Vector3d position;
        for (int j = human_.jointOf(joint); j >= 0;
             j = human_.joints()[static_cast<std::size_t>(j)].parent) {
            position = position + human_.joints()[static_cast<std::size_t>(j)].offset;
        }
        return position;
    };
    const auto& joint = human_.joints()[static_cast<std::size_t>(human_.jointOf(marker.segment))];
    const Vector3d onHuman = humanAt(marker.segment) + marker.along * joint.tip + marker.offset;
    const Vector3d hips =
        0.5 * (nodes_[nodeOf("LeftUpLeg")].rest + nodes_[nodeOf("RightUpLeg")].rest);
    const Vector3d shoulders =
        0.5 * (nodes_[nodeOf("LeftArm")].rest + nodes_[nodeOf("RightArm")].rest);
    const double tall = (shoulders.y - hips.y) / humanAt("LeftArm").y;
    std::size_t node = nodeOf("Hips");
    std::size_t chest = nodeOf("LeftArm");
    while (!isUnder(nodeOf("RightArm"), chest)) {
        chest = nodes_[chest].parent;
    }
    const Vector3d target = {hips.x + tall * onHuman.x, hips.y + tall * onHuman.y, 0};
    std::vector<std::size_t> spine;
    for (std::size_t i = chest; i != nodeOf("Hips"); i = nodes_[i].parent) {
        spine.insert(spine.begin(), i);
    }
    if (marker.segment != "Hips") {
        for (const std::size_t i : spine) {
            node = nodes_[i].rest.y <= target.y || i == spine.front() ? i : node;
        }
    }
    const double depth = humanAt(marker.segment).z;
    const double line = marker.segment == "Hips" ? hips.z : nodes_[node].rest.z;
    const Vector3d rest = {target.x, target.y, line + tall * (onHuman.z - depth)};
    place(node, rest - nodes_[node].rest, node == nodeOf("Hips") ? spine.front() : chest);
}

inline void KnownBody::addMarker(const MarkerPlace& marker) {
    const std::string& segment = marker.segment;
    if (segment == "Hips" || segment.find("Spine") == 0) {
        addOnTrunk(marker);
        return;
    }
    std::size_t node = 0;
    const bool isShoulder = segment.find("Shoulder") != std::string::npos;
    const std::string side = segment.find("Left") == 0 ? "Left" : "Right";
    node = isShoulder ? nodes_[nodeOf(side + "Arm")].parent : nodeOf(segment);
    const auto& joint = human_.joints()[static_cast<std::size_t>(human_.jointOf(segment))];
    const bool isHand = segment.find("Hand") != std::string::npos;
    const bool isEnd = segment == "Head" || segment == "Neck" || isHand ||
                       segment.find("Foot") != std::string::npos ||
                       segment.find("Toe") != std::string::npos;
    const std::size_t far = isShoulder ? nodeOf(side + "Arm") : childOf(node);
    // Fingers may begin anywhere: hands rest in line with their forearms.
    const Vector3d own = isHand ? nodes_[node].offset : nodes_[far].rest - nodes_[node].rest;
    const double size = variant_.scale;
    // From the axes of the T-pose to those of the joint in the take's own rest pose.
    const bool isFoot = segment.find("Foot") != std::string::npos;
    const Quaterniond turn =
        isShoulder || segment == "Head" || segment == "Neck" || (isFoot && isEnd)
            ? Quaterniond()
            : turnBetween(joint.tip, own);
    const Vector3d tip = isEnd ? size * (turn * joint.tip) : own;
    const Vector3d offset = marker.along * tip + size * (turn * marker.offset);
    std::size_t bearer = node;
    if (isHand) { // the hand may be a joint after the wrist
        for (std::size_t i = node + 1; i < nodes_.size(); ++i) {
            const std::string& name = take_.rig->nodes()[i].name;
            const bool isSame = lengthOf(nodes_[i].offset) < 1e-6 &&
                                name.find("humb") == std::string::npos &&
                                !take_.rig->nodes()[i].isEndSite();
            bearer = nodes_[i].parent == bearer && isSame ? i : bearer;
        }
    }
    place(bearer, offset, far);
    const bool isAtWrist = segment.find("ForeArm") != std::string::npos && marker.along > 0.75;
    if (isAtWrist) {
        placed_.back().twisting = nodeOf(side + "Hand");
        placed_.back().axis = (1 / lengthOf(own)) * own;
    }
}

inline void KnownBody::moveThroughTake() {
    const std::size_t count = nodes_.size();
    const auto track = take_.tracks->findTrack(poseDataType);
    const double size = variant_.scale * metresPerUnit_;
    for (int frame = 0; frame < take_.tracks->timeLength(); ++frame) {
        const auto data = take_.tracks->getFrame(frame, poseDataType);
        const auto& pose = data->dataAs<Pose>();
        const std::vector<Quaterniond> local = localRotations(*take_.rig, pose);
        std::vector<Quaterniond> world(count);
        std::vector<Vector3d> at(count);
        const auto root = toDouble(worldPositions(*take_.rig, pose).front());
        for (std::size_t i = 0; i < count; ++i) {
            world[i] = i == 0 ? local[i] : world[nodes_[i].parent] * local[i];
            at[i] = i == 0 ? size * root
                           : at[nodes_[i].parent] + world[nodes_[i].parent] * nodes_[i].offset;
        }
        std::vector<Vector3d> ofJoints;
        ofJoints.reserve(joints.size());
        for (const char* joint : joints) {
            ofJoints.push_back(at[nodeOf(joint)]);
        }
        joints_.push_back(ofJoints);
        std::vector<Vector3d> ofMarkers;
        for (const Placed& placed : placed_) {
            Quaterniond turn = world[placed.node];
            if (placed.twisting != 0) {
                const double twist = twistAbout(local[placed.twisting], placed.axis);
                turn = turn * fromAxisAngle(placed.axis, twist);
            }
            Vector3d offset = placed.offset;
            const Vector3d near = toRotationVector(local[placed.node]);
            const Vector3d next = toRotationVector(local[placed.far]);
            for (std::size_t i = 0; i < 3; ++i) {
                const double pull =
                    std::tanh(dot(near, placed.causes[i]) + dot(next, placed.farCauses[i]));
                offset = offset + 1.2 * variant_.skin * pull * placed.ways[i];
            }
            ofMarkers.push_back(at[placed.node] + turn * offset);
        }
        markers_.push_back(ofMarkers);
    }
}

inline Measured KnownBody::measure(const Faults& faults, unsigned seed) const {
    std::mt19937 random(seed);
    std::normal_distribution<double> normal(0, faults.noise);
    std::uniform_real_distribution<double> part(0, 1);
    std::uniform_int_distribution<int> stretch(1, 30);
    std::uniform_int_distribution<int> anyFrame(0, frameCount() - 1);
    std::uniform_int_distribution<std::size_t> anyMarker(0, placed_.size() - 1);
    Measured measured;
    for (int f = 0; f < frameCount(); ++f) {
        std::vector<Marker> row;
        for (const Vector3d& place : markersAt(f)) {
            Vector3d at = place + Vector3d{normal(random), normal(random), normal(random)};
            if (part(random) < faults.ghosts) {
                const auto& around = markersAt(f)[anyMarker(random)];
                at = around + Vector3d{part(random) - 0.5, part(random) - 0.5, part(random) - 0.5};
            }
            row.push_back(Marker::at(toSingle(1000 * at)));
        }
        measured.frames.push_back(std::move(row));
    }
    const auto wanted = [&](double share) { return static_cast<int>(share * frameCount()); };
    for (int left = wanted(faults.swaps); left > 0;) {
        Swap swap = {anyMarker(random), anyMarker(random), anyFrame(random), 0};
        swap.last =
            std::min({swap.first + stretch(random) - 1, frameCount() - 1, swap.first + left - 1});
        const auto touches = [&](const Swap& other) {
            return swap.first <= other.last + 1 && other.first <= swap.last + 1;
        };
        if (swap.a == swap.b ||
            std::any_of(measured.swaps.begin(), measured.swaps.end(), touches)) {
            continue;
        }
        for (int f = swap.first; f <= swap.last; ++f) {
            auto& row = measured.frames[static_cast<std::size_t>(f)];
            std::swap(row[swap.a], row[swap.b]);
        }
        left -= swap.last - swap.first + 1;
        measured.swaps.push_back(swap);
    }
    const auto gaps =
        static_cast<int>(faults.gaps * frameCount() * static_cast<double>(placed_.size()));
    for (int left = gaps; left > 0;) {
        const std::size_t m = anyMarker(random);
        const int first = anyFrame(random);
        const int last = std::min(first + stretch(random) - 1, frameCount() - 1);
        for (int f = first; f <= last && left > 0; ++f) {
            Marker& marker = measured.frames[static_cast<std::size_t>(f)][m];
            left -= marker.hasPosition() ? 1 : 0;
            marker = Marker();
        }
    }
    return measured;
}

} // namespace known_truth
