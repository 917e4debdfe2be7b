// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "commands/ActorDocument.h"

#include "support/Errors.h"

#include <fmt/format.h>
#include <tarn_kit/files/Text.h>

#include <charconv>
#include <cmath>
#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <utility>

namespace tarn::capture {

namespace {

namespace fs = std::filesystem;

const char* const dimensionsGroup = "BodyDimension";
const char* const sensorsGroup = "SensorMap";

/// The whole of `text` as a number, if it is one.
template <class Number>
std::optional<Number> numberIn(std::string_view text) {
    Number number{};
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || stop != end) {
        return std::nullopt;
    }
    return number;
}

bool isDimension(std::string_view text) {
    const auto number = numberIn<float>(text);
    return number && std::isfinite(*number) && *number >= 0;
}

bool isSensor(std::string_view text) { return numberIn<int>(text).has_value(); }

/// Splits "NAME=VALUE" where the value `isGood`; `option` and `expected` are for the error.
std::pair<std::string, std::string> assignment(const std::string& text, const char* option,
                                               const char* expected,
                                               bool (*isGood)(std::string_view)) {
    const std::size_t equals = text.find('=');
    const std::string name = text.substr(0, equals);
    const std::string value = equals == std::string::npos ? "" : text.substr(equals + 1);
    if (name.empty() || !isGood(value)) {
        throw UsageError(fmt::format("{} '{}': expected {}", option, text, expected));
    }
    if (name.find_first_of(". \t\n\r/<>?!=\"'&") != std::string::npos) {
        throw UsageError(fmt::format("{} '{}': a name must not hold blanks or any of . / < > ? ! = "
                                     "\" ' &",
                                     option, text));
    }
    return {name, value};
}

/// Where the sensor map is read. An actor makes that group only by loading one.
void needSensorMap(Actor& actor) {
    if (actor.rootSettings()->subSettings(sensorsGroup) == nullptr) {
        actor.rootSettings()->addSubSettings(sensorsGroup, std::make_shared<Settings>());
    }
}

bool setsAnything(const ActorOptions& options) {
    return options.name || !options.dimensions.empty() || !options.sensors.empty();
}

void apply(Actor& actor, const ActorOptions& options) {
    if (options.name) {
        actor.setActorName(*options.name);
    }
    for (const std::string& text : options.dimensions) {
        const auto [name, value] =
            assignment(text, "--dimension", "NAME=VALUE, a number from 0 on", isDimension);
        actor.setBodyDimension(name, *numberIn<float>(value));
    }
    for (const std::string& text : options.sensors) {
        const auto [name, value] =
            assignment(text, "--sensor", "NAME=NUMBER, a whole number", isSensor);
        needSensorMap(actor);
        actor.setSensorMap(name, *numberIn<int>(value));
    }
}

void show(Actor& actor, const std::string& file) {
    fmt::print("{}\n  name        {}\n", kit::printable(file), kit::printable(actor.actorName()));
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

std::vector<std::string> problemsOf(Actor& actor) {
    std::vector<std::string> problems;
    if (actor.actorName().empty()) {
        problems.emplace_back("MocapActor.ActorName: the actor has no name");
    }
    checkGroup(actor, dimensionsGroup, "a number from 0 on", isDimension, problems);
    checkGroup(actor, sensorsGroup, "a whole number", isSensor, problems);
    const auto unread = actor.subSettings(sensorsGroup);
    if (unread != nullptr && !unread->values().empty()) {
        problems.emplace_back("SensorMap: stands beside MocapActor, where it is not read");
    }
    return problems;
}

} // namespace

void loadActor(Actor& actor, const std::string& file) {
    if (!actor.loadSettingsFromFile(file)) {
        std::error_code error;
        const bool exists = fs::exists(file, error);
        throw std::runtime_error(fmt::format(
            "{}: {}", file, exists ? "not a settings document that can be read" : "no such file"));
    }
    if (actor.subSettings("MocapActor") == nullptr) {
        throw std::runtime_error(
            fmt::format("{}: not an actor's document: it has no element MocapActor", file));
    }
}

int actor(const ActorOptions& options) {
    Actor document;
    const bool sets = setsAnything(options);
    std::error_code error;
    if (!sets || fs::exists(options.file, error)) {
        loadActor(document, options.file);
    }
    apply(document, options);
    if (sets && !document.saveSettingsToFile(options.file)) {
        throw std::runtime_error(fmt::format("{}: cannot be written", options.file));
    }
    show(document, options.file);
    const auto problems = options.check ? problemsOf(document) : std::vector<std::string>();
    for (const std::string& problem : problems) {
        reportError(fmt::format("{}: {}", options.file, problem));
    }
    return problems.empty() ? exitSuccess : exitFailure;
}

} // namespace tarn::capture
