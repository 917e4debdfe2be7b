// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "files/gltf/GltfMotion.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace tarn::kit {

namespace {

/// A node that stays within this of one place relative to its parent, in metres, does not move: so
/// much do bodies in single precision tremble by themselves.
constexpr double trembling = 1e-6;

using Rotation = std::array<float, 4>;
using Translation = std::array<float, 3>;

bool isFinite(const Transform& transform) {
    return std::isfinite(lengthOf(transform.position)) &&
           std::isfinite(lengthOf(transform.rotation));
}

Quaterniond toDouble(const Rotation& value) {
    return {static_cast<double>(value[0]), static_cast<double>(value[1]),
            static_cast<double>(value[2]), static_cast<double>(value[3])};
}
Vector3d toDouble(const Translation& value) {
    return {static_cast<double>(value[0]), static_cast<double>(value[1]),
            static_cast<double>(value[2])};
}
Rotation toValue(const Quaterniond& q) {
    return {toSingle(q.x), toSingle(q.y), toSingle(q.z), toSingle(q.w)};
}
Translation toValue(const Vector3d& v) { return {toSingle(v.x), toSingle(v.y), toSingle(v.z)}; }

Quaterniond between(const Rotation& a, const Rotation& b, double t) {
    return slerp(normalized(toDouble(a)), normalized(toDouble(b)), t);
}
Vector3d between(const Translation& a, const Translation& b, double t) {
    return (1 - t) * toDouble(a) + t * toDouble(b);
}

double distance(const Quaterniond& a, const Rotation& b) {
    return radiansBetween(a, normalized(toDouble(b)));
}
double distance(const Vector3d& a, const Translation& b) { return lengthOf(a - toDouble(b)); }

/// How far along the way from frame `a` to frame `b` another one is.
double share(int frame, int a, int b) {
    return b == a ? 0 : static_cast<double>(frame - a) / static_cast<double>(b - a);
}

/// What a curve is at `frame`; `key` is where to look first, and moves on. Precondition: there are
/// keys.
template <std::size_t Size>
auto valueAt(const GltfCurve<Size>& curve, int frame, std::size_t& key) {
    while (key + 1 < curve.frames.size() && curve.frames[key + 1] <= frame) {
        ++key;
    }
    const std::size_t next = std::min(key + 1, curve.frames.size() - 1);
    const double t = std::clamp(share(frame, curve.frames[key], curve.frames[next]), 0.0, 1.0);
    return between(curve.values[key], curve.values[next], t);
}

/// Whether going straight from key `a` to key `b` stays within `tolerance` of those between.
template <std::size_t Size>
bool canSkip(const GltfCurve<Size>& curve, std::size_t a, std::size_t b, double tolerance) {
    for (std::size_t i = a + 1; i < b; ++i) {
        const double t = share(curve.frames[i], curve.frames[a], curve.frames[b]);
        if (!(distance(between(curve.values[a], curve.values[b], t), curve.values[i]) <=
              tolerance)) {
            return false;
        }
    }
    return true;
}

/// The curve with the keys left out that are not needed to stay within `tolerance`. Looks ahead in
/// steps that double and halve, so that a long rest is passed over in no time.
template <std::size_t Size>
GltfCurve<Size> reduced(const GltfCurve<Size>& curve, double tolerance) {
    GltfCurve<Size> fewer;
    const std::size_t count = curve.frames.size();
    for (std::size_t key = 0; key < count;) {
        fewer.frames.push_back(curve.frames[key]);
        fewer.values.push_back(curve.values[key]);
        std::size_t reach = 1; // from one key to the next there is always a way
        std::size_t step = 1;
        while (key + reach + step < count && canSkip(curve, key, key + reach + step, tolerance)) {
            reach += step;
            step *= 2;
        }
        for (; step > 0; step /= 2) {
            if (key + reach + step < count && canSkip(curve, key, key + reach + step, tolerance)) {
                reach += step;
            }
        }
        key += reach;
    }
    return fewer;
}

/// One key for a curve whose values are all the same, none for one that says nothing.
template <std::size_t Size>
void shorten(GltfCurve<Size>& curve, const std::array<float, Size>& nothing) {
    const auto& values = curve.values;
    if (std::adjacent_find(values.begin(), values.end(), std::not_equal_to<>()) != values.end()) {
        return;
    }
    const std::size_t left = values.empty() || values.front() == nothing ? 0 : 1;
    curve.frames.resize(left);
    curve.values.resize(left);
}

/// How far the chain of nodes below each one reaches, at most.
std::vector<double> reachesOf(const std::vector<RigNode>& nodes,
                              const std::vector<Vector3d>& rest) {
    std::vector<double> reaches(nodes.size(), 0.0);
    for (std::size_t i = nodes.size(); i-- > 0;) {
        if (nodes[i].parent >= 0) {
            double& reach = reaches[static_cast<std::size_t>(nodes[i].parent)];
            reach = std::max(reach, reaches[i] + lengthOf(rest[i]));
        }
    }
    return reaches;
}

} // namespace

Transform GltfMotion::upright(const Transform& given) const {
    const UpAxis up = performer_.rig->space().up;
    return {tarn::kit::upright(given.rotation, up),
            metres_ * tarn::kit::upright(given.position, up)};
}

GltfMotion::GltfMotion(const PerformerTake& performer, double metres, double tolerance)
    : performer_(performer), metres_(metres) {
    const std::size_t count = performer.rig->nodes().size();
    rotations_.resize(count);
    translations_.resize(count);
    for (const RigNode& node : performer.rig->nodes()) {
        const Transform offset = {{}, tarn::kit::toDouble(node.offset)};
        if (!isFinite(offset)) {
            throw std::invalid_argument("the offset of a joint is not finite");
        }
        rest_.push_back(upright(offset).position);
    }
    sample();
    restWhereNothingMoves();
    if (tolerance > 0) {
        reduce(tolerance);
    }
    largestError_ = measuredError();
}

std::optional<Transforms> GltfMotion::worldAt(int frame) const {
    const auto body = bodyAt(*performer_.rig, *performer_.take, frame);
    if (!body) {
        return std::nullopt;
    }
    Transforms world;
    world.reserve(body->segments.size());
    for (const Segment& segment : body->segments) {
        world.push_back(upright({normalized(tarn::kit::toDouble(segment.rotation)),
                                 tarn::kit::toDouble(segment.position)}));
    }
    return world;
}

void GltfMotion::sample() {
    const int length = performer_.take->timeLength();
    for (int frame = 0; frame < length; ++frame) {
        const auto local = jointsAt(performer_, metres_, frame);
        if (!local) {
            continue;
        }
        frames_.push_back(frame);
        for (std::size_t i = 0; i < local->size(); ++i) {
            const Transform node = {(*local)[i].rotation, (*local)[i].position};
            if (!isFinite(node)) {
                throw std::invalid_argument("frame index " + std::to_string(frame) +
                                            " has a value that is not finite");
            }
            const Quaterniond& q = node.rotation;
            auto& turns = rotations_[i].values;
            const bool jumps = turns.empty() ? q.w < 0 : dot(q, toDouble(turns.back())) < 0;
            turns.push_back(toValue(jumps ? -q : q));
            translations_[i].values.push_back(toValue(node.position));
        }
    }
    for (std::size_t i = 0; i < rotations_.size(); ++i) {
        rotations_[i].frames = frames_;
        translations_[i].frames = frames_;
        shorten(rotations_[i], Rotation{0, 0, 0, 1});
    }
}

void GltfMotion::restWhereNothingMoves() {
    for (std::size_t i = 0; i < translations_.size(); ++i) {
        const auto& values = translations_[i].values;
        if (values.empty()) {
            continue;
        }
        Translation low = values.front();
        Translation high = low;
        for (const Translation& value : values) {
            for (std::size_t axis = 0; axis < 3; ++axis) {
                low[axis] = std::min(low[axis], value[axis]);
                high[axis] = std::max(high[axis], value[axis]);
            }
        }
        if (lengthOf(toDouble(high) - toDouble(low)) <= trembling) {
            rest_[i] = 0.5 * (toDouble(low) + toDouble(high));
            translations_[i] = {};
        }
    }
}

/// Every joint gets a share of what is allowed, by how far the body reaches beyond it; the error is
/// then measured, and shares get smaller until it is kept.
void GltfMotion::reduce(double tolerance) {
    const auto reaches = reachesOf(performer_.rig->nodes(), rest_);
    const auto allRotations = rotations_;
    const auto allTranslations = translations_;
    constexpr int attempts = 10;
    double share = tolerance / 2;
    for (int attempt = 0; attempt < attempts; ++attempt, share /= 1.5) {
        for (std::size_t i = 0; i < rotations_.size(); ++i) {
            const double angle = reaches[i] > 0 ? share / reaches[i] : pi;
            rotations_[i] = reduced(allRotations[i], std::min(angle, pi));
            translations_[i] = reduced(allTranslations[i], share);
        }
        if (measuredError() <= tolerance) {
            return;
        }
    }
    rotations_ = allRotations;
    translations_ = allTranslations;
}

double GltfMotion::measuredError() const {
    const std::size_t count = rest_.size();
    std::vector<std::size_t> turnKeys(count, 0);
    std::vector<std::size_t> moveKeys(count, 0);
    Transforms shown(count);
    double largest = 0;
    for (const int frame : frames_) {
        for (std::size_t i = 0; i < count; ++i) {
            const auto& turns = rotations_[i];
            const auto& moves = translations_[i];
            shown[i].rotation =
                turns.frames.empty() ? Quaterniond() : valueAt(turns, frame, turnKeys[i]);
            shown[i].position = moves.frames.empty() ? toDouble(toValue(rest_[i]))
                                                     : valueAt(moves, frame, moveKeys[i]);
        }
        makeWorld(*performer_.rig, shown);
        const auto expected = worldAt(frame);
        for (std::size_t i = 0; expected && i < count; ++i) {
            largest = std::max(largest, lengthOf(shown[i].position - (*expected)[i].position));
        }
    }
    return largest;
}

} // namespace tarn::kit
