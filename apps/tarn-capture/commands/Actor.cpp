// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "commands/Commands.h"

#include "session/ActorDocument.h"
#include "session/TakeFile.h"
#include "support/Errors.h"
#include "support/Flags.h"
#include "support/StandardStreams.h"

#include <fmt/format.h>
#include <tarn_kit/files/SettingsFile.h>
#include <tarn_kit/files/Text.h>

#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

namespace tarn::capture {

namespace {

struct ActorOptions {
    std::string file;
    std::optional<std::string> name;
    std::optional<kit::LengthUnit> unit;
    std::vector<std::string> dimensions; ///< each "NAME=VALUE"
    std::vector<std::string> sensors;    ///< each "NAME=NUMBER"
    std::vector<std::string> removed;    ///< keys
    bool check = false;
};

/// The options that change something, understood.
struct Changes {
    std::optional<std::string> name;
    std::vector<std::pair<std::string, float>> dimensions;
    std::vector<std::pair<std::string, int>> sensors;
    std::vector<std::string> removed;
    std::optional<kit::LengthUnit> unit;

    bool any() const {
        return name || unit || !dimensions.empty() || !sensors.empty() || !removed.empty();
    }
};

/// Splits "NAME=VALUE", where `read` makes a number of the value; `option` and `expected` are for
/// the error.
template <class Number>
std::pair<std::string, Number> assignment(const std::string& text, const char* option,
                                          const char* expected,
                                          std::optional<Number> (*read)(std::string_view)) {
    const std::size_t equals = text.find('=');
    const std::string name = text.substr(0, equals);
    const auto value = equals == std::string::npos ? std::nullopt : read(text.substr(equals + 1));
    if (name.empty() || !value) {
        throw UsageError(fmt::format("{} '{}': expected {}", option, text, expected));
    }
    if (name.find_first_of(". \t\n\r/<>?!=\"'&") != std::string::npos) {
        throw UsageError(fmt::format("{} '{}': a name must not hold blanks or any of . / < > ? ! = "
                                     "\" ' &",
                                     option, text));
    }
    return {name, *value};
}

Changes changesIn(const ActorOptions& options) {
    Changes changes;
    changes.name = options.name;
    changes.unit = options.unit;
    for (const std::string& text : options.dimensions) {
        changes.dimensions.push_back(
            assignment(text, "--dimension", "NAME=VALUE, a number from 0 on", dimensionIn));
    }
    for (const std::string& text : options.sensors) {
        changes.sensors.push_back(
            assignment(text, "--sensor", "NAME=NUMBER, a whole number", kit::numberIn<int>));
    }
    changes.removed = options.removed;
    return changes;
}

void apply(const Changes& changes, Actor& actor) {
    for (const std::string& key : changes.removed) {
        removeEntry(actor, key);
    }
    if (changes.name) {
        actor.setActorName(*changes.name);
    }
    if (changes.unit) {
        kit::convertDimensions(actor, *changes.unit);
    }
    for (const auto& [name, value] : changes.dimensions) {
        storeDimension(actor, name, value);
    }
    for (const auto& [name, number] : changes.sensors) {
        storeSensor(actor, name, number);
    }
}

/// Writes the document to where it came from, and returns its text.
std::string save(Actor& document, const std::string& file) {
    std::string text;
    const bool isText = document.saveSettingsToString(text);
    if (!isText || (!isStandardStream(file) && !document.saveSettingsToFile(file))) {
        throw std::runtime_error(fmt::format("{}: cannot be written", file));
    }
    if (isStandardStream(file)) {
        fmt::print("{}", text);
    }
    return text;
}

/// Reports what is wrong with a document of this text.
int check(Actor& document, const std::string& file, const std::string& text) {
    const auto problems = problemsOf(document);
    for (const Problem& problem : problems) {
        reportError(fmt::format("{}: {}", placeText(file, text, problem.key, problem.index),
                                problem.reason));
    }
    return problems.empty() ? exitSuccess : exitFailure;
}

/// Sets what is to be set, shows the document, and checks it if asked to. A document that goes to
/// standard output is not shown as well.
int actor(const ActorOptions& options) {
    const Changes changes = changesIn(options);
    const bool isStream = isStandardStream(options.file);
    if (changes.any() && !TakeFile(options.file).stored().second.empty()) {
        throw UsageError(
            fmt::format("{}: the actors of a recording stay as they were", options.file));
    }
    Actor document;
    std::string text;
    std::error_code error;
    if (!changes.any() || isStream || std::filesystem::exists(options.file, error)) {
        text = loadActor(document, options.file);
    }
    apply(changes, document);
    if (changes.any()) {
        text = save(document, options.file);
    }
    if (!changes.any() || !isStream) {
        fmt::print("{}\n", kit::printable(options.file));
        printActor(document);
    }
    return options.check ? check(document, options.file, text) : exitSuccess;
}

} // namespace

void addActor(CommandLine& line) {
    auto [command, options] = line.add("actor",
                                       "Show an actor's settings document, set what is in it, or "
                                       "check it. A document that is not there is made when "
                                       "something is set",
                                       actor);
    command
        .add_option(
            "FILE", options.file,
            "An XML file; - is standard input, and standard output for what is changed; of a "
            "recorded session, FILE.tarn#NAME is the actor of that performer")
        ->required()
        ->type_name("");
    command.add_option("--name", options.name, "Set the actor's name")->type_name("NAME");
    addUnit(command, options.unit,
            "State what dimensions are measured in: m, cm, mm, in or ft; those that the document "
            "has in another unit are converted");
    command
        .add_option("--dimension", options.dimensions,
                    "Set a body dimension, such as Height=1.72; six decimals are kept")
        ->type_name("NAME=VALUE")
        ->allow_extra_args(false);
    command
        .add_option("--sensor", options.sensors, "Set an entry of the sensor map, such as Hips=3")
        ->type_name("NAME=NUMBER")
        ->allow_extra_args(false);
    command
        .add_option("--remove", options.removed,
                    "Remove an entry, such as BodyDimension.Height, SensorMap.Hips or ActorName")
        ->type_name("KEY")
        ->allow_extra_args(false);
    command.add_flag("--check", options.check,
                     "List what is wrong with the document, and fail if anything is");
}

} // namespace tarn::capture
