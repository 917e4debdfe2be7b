// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "session/ActorDocument.h"

#include "documents/OtherFile.h"
#include "documents/StoredCast.h"
#include "session/TakeFile.h"
#include "support/StandardStreams.h"

#include <fmt/format.h>
#include <tarn_kit/body/Space.h>
#include <tarn_kit/files/SettingsFile.h>
#include <tarn_kit/files/Text.h>

#include <cmath>
#include <memory>
#include <stdexcept>
#include <string_view>

namespace tarn::capture {

namespace {

const char* const actorGroup = "MocapActor";
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
                bool (*isGood)(std::string_view), std::vector<Problem>& problems) {
    const auto settings = actor.rootSettings()->subSettings(group);
    if (settings == nullptr) {
        return;
    }
    for (const auto& [name, text] : settings->values()) {
        const std::string key = fmt::format("MocapActor.{}.{}", group, name);
        if (!isGood(text)) {
            // Of entries of one name, the last is what the actor has.
            problems.push_back({key, settings->valueList(name).size() - 1,
                                fmt::format("expected {}, found '{}'", expected, text)});
        }
        if (settings->valueList(name).size() > 1) {
            problems.push_back({key, 1, "stands there more than once"});
        }
    }
}

} // namespace

std::optional<float> dimensionIn(std::string_view text) {
    const auto number = kit::numberIn<float>(text);
    return number && std::isfinite(*number) && *number >= 0 ? number : std::nullopt;
}

std::string loadActor(Actor& actor, const std::string& file) {
    std::string text;
    if (isStandardStream(file)) {
        text = readStandardInput();
        kit::loadSettings(actor, text, "stdin");
    } else if (const auto [recording, character] = TakeFile(file).stored(); !character.empty()) {
        store::TakeReader reader(recording);
        text = actorDocumentIn(reader, character);
        kit::loadSettings(actor, text, file);
    } else {
        if (isTake(file)) {
            throw std::runtime_error(fmt::format(
                "{}: is a take, where an actor's document is needed; 'info' describes it", file));
        }
        text = kit::loadSettings(actor, file);
    }
    if (actor.subSettings(actorGroup) == nullptr) {
        throw std::runtime_error(
            fmt::format("{}: not an actor's document: it has no element {}", file, actorGroup));
    }
    return text;
}

void removeEntry(Actor& actor, const std::string& key) {
    const std::string prefix = std::string(actorGroup) + ".";
    const bool isWhole = key.compare(0, prefix.size(), prefix) == 0;
    if (kit::removeSetting(actor, isWhole ? key : prefix + key) == 0) {
        throw std::runtime_error(fmt::format("--remove '{}': there is no such entry", key));
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

std::vector<Problem> problemsOf(Actor& actor) {
    std::vector<Problem> problems;
    if (actor.actorName().empty()) {
        problems.push_back({"MocapActor.ActorName", 0, "the actor has no name"});
    }
    const std::string unit = actor.rootSettings()->value("LengthUnit", "");
    if (!unit.empty() && !kit::lengthUnitNamed(unit)) {
        problems.push_back({"MocapActor.LengthUnit", 0,
                            fmt::format("expected m, cm, mm, in or ft, found '{}'", unit)});
    }
    checkGroup(actor, dimensionsGroup, "a number from 0 on", isDimension, problems);
    checkGroup(actor, sensorsGroup, "a whole number", isSensor, problems);
    const auto unread = actor.subSettings(sensorsGroup);
    if (unread != nullptr && !unread->values().empty()) {
        problems.push_back({sensorsGroup, 0, "stands beside MocapActor, where it is not read"});
    }
    return problems;
}

} // namespace tarn::capture
