// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "takes/TakeSource.h"

#include "session/Take.h"
#include "session/TakeFile.h"
#include "takes/StoredSource.h"

#include <fmt/format.h>
#include <tarn/Settings.h>
#include <tarn_kit/files/SettingsFile.h>
#include <tarn_kit/files/Text.h>

#include <filesystem>
#include <memory>
#include <optional>
#include <set>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace tarn::capture {

namespace {

namespace fs = std::filesystem;

kit::PerformerTake performerOf(const std::string& file, const std::string& name,
                               const SpaceChoice& space) {
    TakeFile source(file);
    if (source.holdsMarkers()) {
        throw std::runtime_error(fmt::format("{}: markers are no body; 'solve' makes one of them",
                                             kit::printable(file)));
    }
    const kit::BvhTake take = withSpace(source.read(), space);
    return {name, take.rig, take.tracks, take.exactRate(), 0, kit::printable(file)};
}

/// A document may come from anybody: what it names is looked for beside it and nowhere else.
fs::path besides(const fs::path& document, const std::string& name, const std::string& ending) {
    if (name.empty() || fs::path(name).filename() != name) {
        throw std::runtime_error(fmt::format("{}: '{}' is no name of a file",
                                             kit::printable(document.string()),
                                             kit::printable(name)));
    }
    return document.parent_path() / (name + ending);
}

/// What the document says of the lengths and axes of its takes, where the user does not.
SpaceChoice spaceIn(const Settings& session, SpaceChoice space) {
    if (!space.unit && session.value("UnitIs", "guessed") != "guessed") {
        space.unit = kit::lengthUnitNamed(session.value("Unit", ""));
    }
    if (!space.up && session.value("UpIs", "guessed") != "guessed") {
        space.up = kit::parseUpAxis(session.value("Up", ""));
    }
    return space;
}

/// The settings below `key` whose names begin so and go on with numbers from 1.
std::vector<std::shared_ptr<Settings>> listIn(const Settings& settings, const std::string& key) {
    std::vector<std::shared_ptr<Settings>> list;
    while (auto entry = settings.subSettings(key + std::to_string(list.size() + 1))) {
        list.push_back(std::move(entry));
    }
    return list;
}

/// What the take of markers calls the first frame of a body that was fitted to it; 0 of others.
std::int64_t firstFrameIn(const Settings& entry) {
    const std::string ofTrial = entry.value("FirstFrame", "");
    const std::string number = ofTrial.empty() ? entry.value("Markers.FirstFrame", "") : ofTrial;
    return kit::numberIn<std::int64_t>(number).value_or(0);
}

std::vector<kit::PerformerTake> performersIn(const fs::path& document, const SpaceChoice& choice) {
    Settings settings;
    kit::loadSettings(settings, document);
    const auto session = settings.subSettings("Session");
    const auto solve = settings.subSettings("Solve");
    std::vector<std::shared_ptr<Settings>> entries;
    SpaceChoice space = choice;
    if (session != nullptr) {
        entries = listIn(*session, "Characters.Character");
        space = spaceIn(*session, choice);
    } else if (solve != nullptr) {
        entries = listIn(*solve, "Trials.Trial");
        space.unit = choice.unit ? choice.unit : kit::lengthUnitNamed("cm");
        space.up = choice.up ? choice.up : kit::UpAxis::Y;
    }
    std::vector<kit::PerformerTake> performers;
    for (const auto& entry : entries) {
        const std::string name = entry->value("Name", "");
        performers.push_back(performerOf(besides(document, name, ".bvh").string(), name, space));
        performers.back().firstFrame = firstFrameIn(*entry);
    }
    if (performers.empty()) {
        throw std::runtime_error(fmt::format(
            "{}: no document of a session or of solved trials, or one without any performer",
            kit::printable(document.string())));
    }
    return performers;
}

} // namespace

std::optional<fs::path> documentOf(const fs::path& name) {
    std::error_code error;
    if (fs::is_directory(name, error)) {
        for (const char* const document : {"session.xml", "solve.xml"}) {
            if (fs::exists(name / document, error)) {
                return name / document;
            }
        }
        throw std::runtime_error(fmt::format("{}: a directory without a session.xml or a solve.xml",
                                             kit::printable(name.string())));
    }
    return kit::lowered(name.extension().string()) == ".xml" ? std::optional(name) : std::nullopt;
}

std::vector<kit::PerformerTake> performersOf(const std::string& name, const SpaceChoice& space) {
    if (const auto document = documentOf(name)) {
        return performersIn(*document, space);
    }
    TakeFile source(name);
    if (const auto [file, subject] = source.stored(); !file.empty() && !source.holdsMarkers()) {
        if (auto performers = StoredSource(file, subject).performers(space); !performers.empty()) {
            return performers;
        }
    }
    return {performerOf(name, uniqueTakeNames({name}).at(0), space)};
}

std::vector<kit::PerformerTake> performersOf(const std::vector<std::string>& names,
                                             const SpaceChoice& space) {
    std::vector<kit::PerformerTake> performers;
    std::set<std::string> taken;
    for (const std::string& name : names) {
        for (kit::PerformerTake& performer : performersOf(name, space)) {
            const std::string wanted = performer.name;
            for (int number = 2; !taken.insert(performer.name).second; ++number) {
                performer.name = fmt::format("{}-{}", wanted, number);
            }
            performers.push_back(std::move(performer));
        }
    }
    return performers;
}

} // namespace tarn::capture
