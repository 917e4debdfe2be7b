// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "session/ActorDocument.h"

#include <fmt/format.h>
#include <tarn_kit/body/Space.h>
#include <tarn_kit/files/Text.h>

#include <cmath>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string_view>
#include <system_error>

namespace tarn::capture {

namespace {

const char* const dimensionsGroup = "BodyDimension";
const char* const sensorsGroup = "SensorMap";

bool isDimension(std::string_view text) { return dimensionIn(text).has_value(); }

bool isSensor(std::string_view text) { return kit::numberIn<int>(text).has_value(); }

/// A group of the document, made if it is not there.
std::shared_ptr<Settings> groupOf(Actor& actor, const char* name) {
    actor.rootSettings(); // the call that makes the root does not lead to it
    const auto root = actor.rootSettings();
    if (root->subSettings(name) == nullptr) {
        root->addSubSettings(name, std::make_shared<Settings>());
    }
    return root->subSettings(name);
}

/// Lists the entries of a group that are not `isGood`, or stand there more than once.
void checkGroup(Actor& actor, const char* group, const char* expected,
                bool (*isGood)(std::string_view), std::vector<std::string>& problems) {
    const auto settings = actor.rootSettings()->subSettings(group);
    if (settings == nullptr) {
        return;
    }
    for (const auto& [name, text] : settings->values()) {
        const std::string key = fmt::format("MocapActor.{}.{}", group, name);
        if (!isGood(text)) {
            problems.push_back(fmt::format("{}: expected {}, found '{}'", key, expected, text));
        }
        if (settings->valueList(name).size() > 1) {
            problems.push_back(key + ": stands there more than once");
        }
    }
}

} // namespace

std::optional<float> dimensionIn(std::string_view text) {
    const auto number = kit::numberIn<float>(text);
    return number && std::isfinite(*number) && *number >= 0 ? number : std::nullopt;
}

void loadActor(Actor& actor, const std::string& file) {
    if (!actor.loadSettingsFromFile(file)) {
        std::error_code error;
        const bool exists = std::filesystem::exists(file, error);
        throw std::runtime_error(fmt::format(
            "{}: {}", file, exists ? "not a settings document that can be read" : "no such file"));
    }
    if (actor.subSettings("MocapActor") == nullptr) {
        throw std::runtime_error(
            fmt::format("{}: not an actor's document: it has no element MocapActor", file));
    }
}

void storeDimension(Actor& actor, const std::string& name, float value) {
    groupOf(actor, dimensionsGroup)->setValue(name, fmt::format("{:f}", value));
}

void storeSensor(Actor& actor, const std::string& name, int number) {
    groupOf(actor, sensorsGroup)->setValue(name, std::to_string(number));
}

void printActor(Actor& actor) {
    fmt::print("  name        {}\n", kit::printable(actor.actorName()));
    if (const auto unit = kit::unitOfDimensions(actor)) {
        fmt::print("  unit        {}\n", unit->symbol);
    }
    fmt::print("  dimensions\n");
    if (const auto group = actor.rootSettings()->subSettings(dimensionsGroup)) {
        for (const auto& [name, text] : group->values()) {
            fmt::print("    {}  {:.6f}\n", kit::printable(name), actor.bodyDimension(name, 0));
        }
    }
    fmt::print("  sensor map\n");
    if (actor.rootSettings()->subSettings(sensorsGroup) != nullptr) {
        for (const auto& [name, number] : actor.sensorMap()) {
            fmt::print("    {}  {}\n", kit::printable(name), number);
        }
    }
}

std::vector<std::string> problemsOf(Actor& actor) {
    std::vector<std::string> problems;
    if (actor.actorName().empty()) {
        problems.emplace_back("MocapActor.ActorName: the actor has no name");
    }
    const std::string unit = actor.rootSettings()->value("LengthUnit", "");
    if (!unit.empty() && !kit::lengthUnitNamed(unit)) {
        problems.push_back(
            fmt::format("MocapActor.LengthUnit: expected m, cm, mm, in or ft, found '{}'", unit));
    }
    checkGroup(actor, dimensionsGroup, "a number from 0 on", isDimension, problems);
    checkGroup(actor, sensorsGroup, "a whole number", isSensor, problems);
    const auto unread = actor.subSettings(sensorsGroup);
    if (unread != nullptr && !unread->values().empty()) {
        problems.emplace_back("SensorMap: stands beside MocapActor, where it is not read");
    }
    return problems;
}

} // namespace tarn::capture
