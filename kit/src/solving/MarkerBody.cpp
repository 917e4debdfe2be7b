// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/body/Space.h>
#include <tarn_kit/solving/MarkerBody.h>

#include "files/xml/XmlName.h"

#include <tarn_kit/files/Text.h>

#include <array>
#include <charconv>
#include <cmath>
#include <optional>
#include <stdexcept>

namespace tarn::kit {

namespace {

constexpr double heightOfPlaces = 1.75; ///< of the body that marker sets describe

bool isForeArm(const std::string& name) { return name == "LeftForeArm" || name == "RightForeArm"; }

/// With the fewest digits that read back to it.
std::string textOf(double number) {
    std::array<char, 32> text = {};
    const auto result = std::to_chars(text.data(), text.data() + text.size(), number);
    return {text.data(), result.ptr};
}

std::string textOf(const Vector3d& v) {
    return textOf(v.x).append(" ").append(textOf(v.y)).append(" ").append(textOf(v.z));
}

double numberOf(const Settings& settings, const std::string& key, const std::string& place) {
    const std::string text = settings.value(key, "");
    const std::optional<double> number = numberIn<double>(text);
    if (!number || !std::isfinite(*number)) {
        throw MarkerBodyError(place + ": " + key + " '" + printable(text) + "' is no number");
    }
    return *number;
}

/// Three numbers with a blank between them.
Vector3d vectorOf(const Settings& settings, const std::string& key, const std::string& place) {
    const std::string text = settings.value(key, "");
    Vector3d result;
    std::size_t begin = 0;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const std::size_t end = axis < 2 ? text.find(' ', begin) : text.size();
        const auto number =
            end == std::string::npos || end < begin
                ? std::nullopt
                : numberIn<double>(std::string_view(text).substr(begin, end - begin));
        if (!number || !std::isfinite(*number)) {
            throw MarkerBodyError(
                std::string(place).append(": ").append(key).append(" is not three numbers"));
        }
        result[axis] = *number;
        begin = end + 1;
    }
    return result;
}

constexpr std::array<const char*, 3> axes = {"X", "Y", "Z"};

/// Rows that are not there are left as they are.
void readRows(const Settings& settings, Matrix3d& matrix, const std::string& place) {
    for (std::size_t axis = 0; axis < 3; ++axis) {
        if (settings.subSettings(axes[axis]) != nullptr) {
            const Vector3d row = vectorOf(settings, axes[axis], place);
            matrix[axis] = {row.x, row.y, row.z};
        }
    }
}

/// Rows of zeros are left out.
void writeRows(Actor& actor, const std::string& path, const Matrix3d& matrix) {
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const auto& row = matrix[axis];
        const Vector3d numbers = {row[0], row[1], row[2]};
        if (lengthOf(numbers) > 0) {
            actor.setValue(path + "." + axes[axis], textOf(numbers));
        }
    }
}

BodyMarker markerOf(const Settings& settings, const std::string& name, const HumanBody& body) {
    const std::string place = "marker " + printable(name);
    BodyMarker marker;
    marker.name = name;
    marker.segment = settings.value("Segment", "");
    if (body.jointOf(marker.segment) < 0) {
        throw MarkerBodyError(place + ": Segment '" + printable(marker.segment) +
                              "' is no segment of a body");
    }
    marker.turnsWithHand = settings.value("TurnsWithHand", "") == "yes";
    marker.offset = vectorOf(settings, "Offset", place);
    marker.uncertainty = numberOf(settings, "Uncertainty", place);
    marker.spread = numberOf(settings, "Spread", place);
    marker.weight = numberOf(settings, "Weight", place);
    if (!(marker.spread > 0 && marker.weight >= 0)) {
        throw MarkerBodyError(place + ": Spread has to be above 0, Weight not below");
    }
    if (const auto skin = settings.subSettings("Skin")) {
        for (const auto& [joint, text] : skin->values()) {
            SkinShift shift;
            shift.joint = joint;
            readRows(*skin->subSettings(joint), shift.shift,
                     std::string(place).append(", skin of ").append(printable(joint)));
            marker.skin.push_back(std::move(shift));
        }
    }
    return marker;
}

/// How far a usual turn is kept to, and how it goes with the joint above, if the actor says so.
void readSpread(const Settings& settings, UsualTurn& usual) {
    const auto spreads = settings.subSettings("UsualSpreads");
    if (spreads != nullptr && spreads->subSettings(usual.joint) != nullptr) {
        usual.spread = vectorOf(*spreads, usual.joint, "usual spreads");
        if (!(usual.spread.x > 0 && usual.spread.y > 0 && usual.spread.z > 0)) {
            throw MarkerBodyError("usual spreads: " + printable(usual.joint) +
                                  " has to be above 0");
        }
    }
    const auto shares = settings.subSettings("SharedTurns." + usual.joint);
    if (shares == nullptr) {
        return;
    }
    readRows(*shares, usual.share, "shared turns of " + printable(usual.joint));
}

/// Stores a dimension that the actor's own setter may pass over because it changes so little.
void setDimension(Actor& actor, const std::string& name, double metres) {
    actor.setBodyDimension(name, static_cast<float>(metres));
    if (std::abs(static_cast<double>(actor.bodyDimension(name, 0)) - metres) > 5e-7) {
        std::array<char, 40> text = {};
        const auto result = std::to_chars(text.data(), text.data() + text.size(), metres,
                                          std::chars_format::fixed, 6);
        actor.setValue("MocapActor.BodyDimension." + name, std::string(text.data(), result.ptr));
    }
}

/// The group in an actor's settings.
constexpr const char* group = "MarkerBody";

} // namespace

MarkerBodyError::~MarkerBodyError() = default;

MarkerBody MarkerBody::generic(const MarkerSet& set, double height) {
    MarkerBody result;
    result.body = HumanBody(height);
    for (const MarkerPlace& place : set.markers) {
        const int joint = result.body.jointOf(place.segment);
        if (joint < 0) {
            throw std::invalid_argument("marker " + place.name + ": a body has no segment '" +
                                        place.segment + "'");
        }
        const Vector3d tip = result.body.joints()[static_cast<std::size_t>(joint)].tip;
        BodyMarker marker;
        marker.name = place.name;
        marker.segment = place.segment;
        marker.turnsWithHand = isForeArm(place.segment) && place.along > 0.75;
        // Of one that is only said to be on the segment the middle is the safest guess.
        const double along = place.isPlaced() ? place.along : 0.5;
        marker.offset = along * tip + height / heightOfPlaces * place.offset;
        marker.weight = place.weight;
        result.markers.push_back(marker);
    }
    return result;
}

void MarkerBody::writeTo(Actor& actor) const {
    convertDimensions(actor, *lengthUnitNamed("m"));
    setDimension(actor, "Height", body.height());
    for (const HumanLength& length : body.lengths()) {
        setDimension(actor, length.name, length.metres);
    }
    actor.remove(group);
    const std::string root = std::string(group) + ".";
    actor.setValue(root + "Unit", "m");
    for (const LengthUncertainty& uncertainty : uncertainties) {
        actor.setValue(root + "Uncertainties." + uncertainty.length, textOf(uncertainty.metres));
    }
    for (const UsualTurn& usual : usualTurns) {
        actor.setValue(root + "UsualTurns." + usual.joint, textOf(usual.turn));
        if (lengthOf(usual.spread) > 0) {
            actor.setValue(root + "UsualSpreads." + usual.joint, textOf(usual.spread));
        }
        writeRows(actor, root + "SharedTurns." + usual.joint, usual.share);
    }
    for (const BodyMarker& marker : markers) {
        const std::string path = root + "Markers." + xmlName(marker.name) + ".";
        actor.setValue(path + "Segment", marker.segment);
        if (marker.turnsWithHand) {
            actor.setValue(path + "TurnsWithHand", "yes");
        }
        actor.setValue(path + "Offset", textOf(marker.offset));
        actor.setValue(path + "Uncertainty", textOf(marker.uncertainty));
        actor.setValue(path + "Spread", textOf(marker.spread));
        actor.setValue(path + "Weight", textOf(marker.weight));
        for (const SkinShift& shift : marker.skin) {
            writeRows(actor, path + "Skin." + shift.joint, shift.shift);
        }
    }
}

MarkerBody MarkerBody::of(const Actor& actor) {
    const auto settings = actor.subSettings(group);
    const auto dimensions = actor.subSettings("MocapActor.BodyDimension");
    if (settings == nullptr || dimensions == nullptr) {
        throw MarkerBodyError("the actor was not calibrated with markers");
    }
    const auto unit = unitOfDimensions(actor);
    const auto metresOf = [&](const std::string& name) {
        return numberOf(*dimensions, name, "the actor's dimensions") * (unit ? unit->metres : 1);
    };
    MarkerBody result;
    try {
        result.body = HumanBody(metresOf("Height"));
    } catch (const std::invalid_argument& error) {
        throw MarkerBodyError(error.what());
    }
    const std::vector<HumanLength> lengths = result.body.lengths();
    for (const HumanLength& length : lengths) {
        result.body.setLength(length.name, metresOf(length.name));
    }
    if (const auto uncertainties = settings->subSettings("Uncertainties")) {
        const auto read = [&](const std::string& length) {
            if (uncertainties->subSettings(length) != nullptr) {
                result.uncertainties.push_back(
                    {length, numberOf(*uncertainties, length, "uncertainties")});
            }
        };
        for (const HumanLength& length : lengths) {
            read(length.name);
        }
        read("Height");
    }
    if (const auto usualTurns = settings->subSettings("UsualTurns")) {
        for (const auto& [joint, text] : usualTurns->values()) {
            UsualTurn usual;
            usual.joint = joint;
            usual.turn = vectorOf(*usualTurns, joint, "usual turns");
            readSpread(*settings, usual);
            result.usualTurns.push_back(std::move(usual));
        }
    }
    const auto markers = settings->subSettings("Markers");
    if (markers != nullptr) {
        for (const auto& [name, text] : markers->values()) {
            result.markers.push_back(markerOf(*markers->subSettings(name), name, result.body));
        }
    }
    if (result.markers.empty()) {
        throw MarkerBodyError("the actor has no markers");
    }
    return result;
}

} // namespace tarn::kit
