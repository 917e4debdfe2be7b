// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/body/Space.h>

#include <tarn_kit/body/BodyNames.h>
#include <tarn_kit/body/Rig.h>
#include <tarn_kit/body/Rotations.h>
#include <tarn_kit/files/Text.h>

#include <array>
#include <charconv>
#include <cmath>
#include <initializer_list>
#include <memory>

namespace tarn::kit {

namespace {

const char* const unitKey = "LengthUnit";

template <class Vector>
Vector turnedUp(const Vector& at, UpAxis up) {
    switch (up) {
    case UpAxis::X:
        return {at.z, at.x, at.y};
    case UpAxis::Z:
        return {at.y, at.z, at.x};
    case UpAxis::Y:
        break;
    }
    return at;
}

/// Where a node is in the rest pose.
Vector3d restPosition(const Rig& rig, int node) {
    Vector3d position;
    while (node >= 0) {
        const RigNode& at = rig.nodes()[static_cast<std::size_t>(node)];
        position = position + toDouble(at.offset);
        node = at.parent;
    }
    return position;
}

/// The middle of those segments that the rig has; nothing if it has none.
std::optional<Vector3d> middleOf(const Rig& rig, const BodyMatch& match,
                                 std::initializer_list<EBoneID> segments) {
    Vector3d sum;
    int count = 0;
    for (const EBoneID segment : segments) {
        if (const auto node = match.nodeOf(segment)) {
            sum = sum + restPosition(rig, *node);
            ++count;
        }
    }
    return count == 0 ? std::nullopt : std::optional((1.0 / count) * sum);
}

/// The axis that a direction follows to within some 45 degrees; nothing if there is none.
std::optional<UpAxis> axisAlong(const Vector3d& direction) {
    for (const UpAxis axis : {UpAxis::X, UpAxis::Y, UpAxis::Z}) {
        const double along = std::abs(direction[static_cast<std::size_t>(axis)]);
        if (along > 0.75 * lengthOf(direction)) {
            return axis;
        }
    }
    return std::nullopt;
}

/// As an actor writes its dimensions, whatever the locale.
std::string decimalText(double number) {
    std::array<char, 400> text{};
    const auto end =
        std::to_chars(text.data(), text.data() + text.size(), number, std::chars_format::fixed, 6);
    return {text.data(), end.ptr};
}

UpAxis standingAxis(const Rig& rig) {
    const BodyMatch match = BodyNames().match(rig);
    const auto top = middleOf(rig, match, {BoneHead, BoneNeck});
    const auto middle = middleOf(rig, match, {BoneHips});
    const auto feet = middleOf(rig, match, {BoneLeftFoot, BoneRightFoot});
    const auto& upper = top ? top : middle;
    const auto& lower = feet ? feet : middle;
    return upper && lower ? axisAlong(*upper - *lower).value_or(UpAxis::Y) : UpAxis::Y;
}

} // namespace

std::string axisName(UpAxis axis) { return {"XYZ"[static_cast<std::size_t>(axis)]}; }

std::optional<UpAxis> parseUpAxis(std::string_view text) {
    for (const UpAxis axis : {UpAxis::X, UpAxis::Y, UpAxis::Z}) {
        if (lowered(text) == lowered(axisName(axis))) {
            return axis;
        }
    }
    return std::nullopt;
}

std::string originText(Origin origin) {
    constexpr std::array texts = {"guessed", "as stated", "as given"};
    return texts.at(static_cast<std::size_t>(origin));
}

Vector3f upright(const Vector3f& at, UpAxis up) { return turnedUp(at, up); }

Vector3d upright(const Vector3d& at, UpAxis up) { return turnedUp(at, up); }

Quaternionf upright(const Quaternionf& rotation, UpAxis up) {
    const Vector3f axis = upright(Vector3f{rotation.x, rotation.y, rotation.z}, up);
    return {axis.x, axis.y, axis.z, rotation.w};
}

Quaterniond upright(const Quaterniond& rotation, UpAxis up) {
    const Vector3d axis = upright(Vector3d{rotation.x, rotation.y, rotation.z}, up);
    return {axis.x, axis.y, axis.z, rotation.w};
}

Quaterniond uprightTurn(UpAxis up) {
    const double third = up == UpAxis::X ? 2 * pi / 3 : up == UpAxis::Z ? -2 * pi / 3 : 0;
    return fromAxisAngle({1, 1, 1}, third);
}

Space guessSpace(const Rig& rig) {
    Space space;
    space.up = standingAxis(rig);
    space.unit = guessLengthUnit(static_cast<double>(rig.heightAlong(space.up)));
    return space;
}

bool areContrary(const Space& a, const Space& b) {
    const auto areSure = [](Origin one, Origin other) {
        return one != Origin::Guessed && other != Origin::Guessed;
    };
    return (areSure(a.unitOrigin, b.unitOrigin) && a.unit.symbol != b.unit.symbol) ||
           (areSure(a.upOrigin, b.upOrigin) && a.up != b.up);
}

std::string spaceText(const Space& space) {
    return space.unit.symbol + ", " + axisName(space.up) + " up";
}

std::optional<LengthUnit> unitOfDimensions(const Actor& actor) {
    return lengthUnitNamed(actor.value(std::string("MocapActor.") + unitKey, ""));
}

void stateUnitOfDimensions(Actor& actor, const LengthUnit& unit) {
    actor.rootSettings(); // the call that makes the root does not lead to it
    if (unit.known()) {
        actor.rootSettings()->setValue(unitKey, unit.symbol);
    } else {
        actor.rootSettings()->remove(unitKey);
    }
}

void convertDimensions(Actor& actor, const LengthUnit& unit) {
    const auto old = unitOfDimensions(actor);
    if (old && unit.known() && old->symbol != unit.symbol) {
        const double factor = old->metres / unit.metres;
        const auto before = actor.bodyDimensionSettings();
        auto converted = std::make_shared<Settings>();
        for (const auto& [name, text] : before->values()) {
            const auto length = numberIn<double>(text);
            converted->setValue(name, length ? decimalText(*length * factor) : text);
        }
        actor.setBodyDimensionSettings(converted);
    }
    stateUnitOfDimensions(actor, unit);
}

} // namespace tarn::kit
