// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "takes/MeasuredMarkers.h"

#include "markers/MarkerFrames.h"
#include "session/TakeFile.h"

#include <fmt/format.h>
#include <tarn/Settings.h>
#include <tarn_kit/body/Markers.h>
#include <tarn_kit/body/Payload.h>
#include <tarn_kit/files/SettingsFile.h>
#include <tarn_kit/files/Text.h>
#include <tarn_kit/session/TakeOf.h>

#include <algorithm>
#include <fstream>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace tarn::capture {

namespace {

namespace fs = std::filesystem;

constexpr double metresPerMillimetre = 0.001;

/// A performer of a document whose body was fitted to markers.
struct Fitted {
    std::string name;
    fs::path take;
    std::string stream;  ///< that they came as, in place of a take
    std::string subject; ///< whose markers of the take
    std::int64_t first = 0;
    std::int64_t last = 0;
    std::optional<kit::Quaterniond> turn; ///< from the axes of the take to those of the page
    fs::path table;                       ///< of how far markers are off
    std::string unit;                     ///< of lengths in it, as its columns name it; may be none
    SpaceChoice space;                    ///< as it was given when the body was fitted
};

/// Rows of a table without quotes.
std::vector<std::vector<std::string>> tableIn(const fs::path& file) {
    std::ifstream stream(file);
    std::vector<std::vector<std::string>> rows;
    for (std::string line; std::getline(stream, line);) {
        std::vector<std::string>& cells = rows.emplace_back();
        std::istringstream text(line.empty() ? "," : line);
        for (std::string cell; std::getline(text, cell, ',');) {
            cells.push_back(cell);
        }
    }
    return rows;
}

/// How far each marker of the take is off in metres, frame by frame, as the table says: by columns
/// called MARKER.residual; the first column has the number of the frame.
std::vector<std::vector<float>> residualsIn(const Fitted& fitted, const kit::C3dTake& take) {
    constexpr float unknown = std::numeric_limits<float>::quiet_NaN();
    const auto unit = kit::lengthUnitNamed(fitted.unit);
    const double metres = unit ? unit->metres : metresPerMillimetre;
    const std::string ending = ".residual" + (unit ? " [" + fitted.unit + "]" : "");
    const auto rows = tableIn(fitted.table);
    std::map<std::string, std::size_t> columns;
    for (std::size_t i = 0; !rows.empty() && i < rows.front().size(); ++i) {
        columns.emplace(rows.front()[i], i);
    }
    std::vector<std::vector<float>> residuals;
    for (std::size_t row = 1; row < rows.size(); ++row) {
        const auto number = kit::numberIn<std::int64_t>(rows[row].front());
        const std::int64_t index = number.value_or(-1) - fitted.first;
        if (!number || index < 0 || index >= take.frameCount) {
            continue;
        }
        residuals.resize(std::max(residuals.size(), static_cast<std::size_t>(index) + 1));
        std::vector<float>& frame = residuals[static_cast<std::size_t>(index)];
        for (const kit::C3dMarker& marker : take.markers) {
            const auto column = columns.find(marker.name + ending);
            const bool isThere = column != columns.end() && column->second < rows[row].size();
            const auto value =
                isThere ? kit::numberIn<double>(rows[row][column->second]) : std::nullopt;
            frame.push_back(value ? static_cast<float>(metres * *value) : unknown);
        }
    }
    return residuals;
}

/// The take with one performer's markers alone.
kit::C3dTake ofSubject(kit::C3dTake take, const std::string& subject) {
    std::vector<std::size_t> chosen;
    for (std::size_t i = 0; i < take.markers.size(); ++i) {
        if (kit::printable(take.markers[i].subject) == subject) {
            chosen.push_back(i);
        }
    }
    if (chosen.size() == take.markers.size()) {
        return take;
    }
    std::vector<std::shared_ptr<Frame>> frames;
    for (int i = 0; i < take.frameCount; ++i) {
        const auto frame = take.tracks->getFrame(i, kit::markerDataType);
        const auto& all = kit::payloadOf<kit::MarkerFrame>(frame);
        std::vector<kit::Marker> markers;
        markers.reserve(chosen.size());
        for (const std::size_t index : chosen) {
            markers.push_back(all[index]);
        }
        frames.push_back(std::make_shared<Frame>(frame->time(), kit::markerDataType,
                                                 kit::MarkerFrame(std::move(markers))));
    }
    std::vector<kit::C3dMarker> names;
    names.reserve(chosen.size());
    for (const std::size_t index : chosen) {
        names.push_back(take.markers[index]);
    }
    take.markers = std::move(names);
    take.tracks = kit::takeOf(kit::markerDataType, std::move(frames), take.tracks->fps());
    return take;
}

/// The frames of a take from one of the file's numbers to another.
std::shared_ptr<Tracks> partOf(const kit::C3dTake& take, std::int64_t first, std::int64_t last) {
    std::vector<std::shared_ptr<Frame>> frames;
    const std::int64_t begin = std::max<std::int64_t>(0, first - take.firstFrame);
    const std::int64_t end = std::min<std::int64_t>(take.frameCount, last - take.firstFrame + 1);
    for (std::int64_t i = begin; i < end; ++i) {
        frames.push_back(take.tracks->getFrame(static_cast<int>(i), kit::markerDataType));
    }
    return kit::takeOf(kit::markerDataType, std::move(frames), take.tracks->fps());
}

std::optional<kit::Quaterniond> rotationIn(const std::string& text) {
    std::istringstream words(text);
    std::vector<double> parts;
    for (std::string word; words >> word;) {
        parts.push_back(kit::numberIn<double>(word).value_or(0));
    }
    return parts.size() == 4
               ? std::optional(kit::normalized({parts[0], parts[1], parts[2], parts[3]}))
               : std::nullopt;
}

std::int64_t numberOf(const Settings& settings, const char* key) {
    return kit::numberIn<std::int64_t>(settings.value(key, "")).value_or(0);
}

MarkerSource sourceOf(const Fitted& fitted) {
    if (!fitted.stream.empty()) {
        throw std::runtime_error(fmt::format("they came as the stream '{}'", fitted.stream));
    }
    kit::C3dTake take = ofSubject(
        withSpace(TakeFile(fitted.take.string()).readMarkers(), fitted.space), fitted.subject);
    MarkerSource source = markersIn(take, fitted.name);
    source.cloud.take = partOf(take, fitted.first, fitted.last);
    source.cloud.firstFrame = fitted.first;
    source.cloud.turn = fitted.turn.value_or(source.cloud.turn);
    source.cloud.residuals = residualsIn(fitted, take);
    return source;
}

/// `report` tells how well the markers were met.
Fitted fittedOf(const fs::path& directory, const Settings& entry, const Settings& report) {
    Fitted fitted;
    fitted.name = entry.value("Name", "");
    fitted.take = directory / entry.value("Take", "");
    fitted.stream = entry.value("Stream", "");
    fitted.subject = report.value("Subject", "");
    fitted.first = numberOf(report, "FirstFrame");
    fitted.last = numberOf(report, "LastFrame");
    fitted.table = directory / (fitted.name + ".markers.csv");
    return fitted;
}

std::vector<Fitted> fittedIn(const fs::path& document) {
    Settings settings;
    const std::string text = kit::loadSettings(settings, document);
    const fs::path directory = document.parent_path();
    std::vector<Fitted> all;
    for (int i = 1;; ++i) {
        const std::string key = fmt::format("Solve.Trials.Trial{}", i);
        const auto trial = settings.subSettings(key);
        if (trial == nullptr) {
            break;
        }
        all.push_back(fittedOf(directory, *trial, *trial));
        all.back().turn = rotationIn(trial->value("Upright", ""));
        all.back().space = notedSpace(settings, key, document.string(), text);
    }
    for (int i = 1;; ++i) {
        const auto character =
            settings.subSettings(fmt::format("Session.Characters.Character{}", i));
        if (character == nullptr) {
            break;
        }
        if (const auto report = character->subSettings("Markers")) {
            all.push_back(fittedOf(directory, *character, *report));
            all.back().unit = settings.value("Session.Unit", "");
            if (const auto up = kit::parseUpAxis(character->value("TakeUp", ""))) {
                all.back().turn = turnToY(*up);
            }
        }
    }
    return all;
}

} // namespace

std::vector<MarkerSource> measuredMarkersOf(const fs::path& document,
                                            std::vector<std::string>& notes) {
    std::vector<MarkerSource> sources;
    for (const Fitted& fitted : fittedIn(document)) {
        try {
            sources.push_back(sourceOf(fitted));
        } catch (const std::runtime_error& error) {
            notes.push_back(fmt::format("The measured markers of {} are not shown: {}", fitted.name,
                                        error.what()));
        }
    }
    return sources;
}

} // namespace tarn::capture
