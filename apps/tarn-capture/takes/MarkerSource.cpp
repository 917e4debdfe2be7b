// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "takes/MarkerSource.h"

#include "markers/MarkerFrames.h"
#include "session/TakeFile.h"

#include <fmt/format.h>
#include <tarn/Settings.h>
#include <tarn_kit/files/C3d.h>
#include <tarn_kit/files/SettingsFile.h>
#include <tarn_kit/files/Text.h>
#include <tarn_kit/session/TakeOf.h>

#include <algorithm>
#include <fstream>
#include <limits>
#include <map>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace tarn::capture {

namespace {

namespace fs = std::filesystem;

constexpr double metresPerMillimetre = 0.001;

/// The turn that brings an axis to Y; the others change places.
kit::Quaterniond turnFrom(kit::UpAxis up) {
    constexpr double half = 0.5;
    return up == kit::UpAxis::Z   ? kit::Quaterniond{-half, -half, -half, half}
           : up == kit::UpAxis::X ? kit::Quaterniond{half, half, half, half}
                                  : kit::Quaterniond();
}

MarkerSource sourceOf(const kit::C3dTake& take, const std::string& name) {
    MarkerSource source;
    view::MarkerCloud& cloud = source.cloud;
    cloud.name = name;
    for (const kit::C3dMarker& marker : take.markers) {
        cloud.names.push_back(marker.label());
    }
    cloud.take = take.tracks;
    cloud.rate = kit::Rate::nearest(take.rate);
    cloud.firstFrame = take.firstFrame;
    // Laboratories measure in millimetres; a file that states no unit is likely to, too.
    cloud.metresPerUnit = take.metresPerUnit > 0 ? take.metresPerUnit : metresPerMillimetre;
    cloud.turn = turnFrom(upAxisOf(take));
    const double start = static_cast<double>(take.firstFrame - 1) / take.rate;
    for (const kit::C3dEvent& event : take.events) {
        if (event.shown) {
            const std::string context = event.context.empty() ? "" : event.context + " ";
            source.events.push_back({event.time - start, context + event.label});
        }
    }
    return source;
}

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

/// How far each marker of the take is off, frame by frame, as the table beside the document says:
/// by columns called MARKER.residual, in millimetres; the first column has the number of the frame.
std::vector<std::vector<float>> residualsIn(const fs::path& file, const kit::C3dTake& take,
                                            std::int64_t firstFrame) {
    constexpr float unknown = std::numeric_limits<float>::quiet_NaN();
    const auto rows = tableIn(file);
    std::map<std::string, std::size_t> columns;
    for (std::size_t i = 0; !rows.empty() && i < rows.front().size(); ++i) {
        columns.emplace(rows.front()[i], i);
    }
    std::vector<std::vector<float>> residuals;
    for (std::size_t row = 1; row < rows.size(); ++row) {
        const auto number = kit::numberIn<std::int64_t>(rows[row].front());
        const std::int64_t index = number.value_or(-1) - firstFrame;
        if (!number || index < 0 || index >= take.frameCount) {
            continue;
        }
        residuals.resize(std::max(residuals.size(), static_cast<std::size_t>(index) + 1));
        std::vector<float>& frame = residuals[static_cast<std::size_t>(index)];
        for (const kit::C3dMarker& marker : take.markers) {
            const auto column = columns.find(marker.name + ".residual");
            const bool isThere = column != columns.end() && column->second < rows[row].size();
            const auto value =
                isThere ? kit::numberIn<double>(rows[row][column->second]) : std::nullopt;
            frame.push_back(value ? static_cast<float>(metresPerMillimetre * *value) : unknown);
        }
    }
    return residuals;
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

MarkerSource solvedTrialOf(const fs::path& directory, const Settings& trial) {
    const std::string name = trial.value("Name", "");
    const auto number = [&](const char* key) {
        return kit::numberIn<std::int64_t>(trial.value(key, "")).value_or(0);
    };
    const kit::C3dTake take = kit::readC3d(directory / trial.value("Take", ""));
    MarkerSource source = sourceOf(take, name);
    source.cloud.take = partOf(take, number("FirstFrame"), number("LastFrame"));
    source.cloud.firstFrame = number("FirstFrame");
    source.cloud.turn = rotationIn(trial.value("Upright", "")).value_or(source.cloud.turn);
    source.cloud.residuals =
        residualsIn(directory / (name + ".markers.csv"), take, number("FirstFrame"));
    return source;
}

} // namespace

MarkerSource markersOf(const std::string& name, const SpaceChoice& space) {
    TakeFile file(name);
    return sourceOf(withSpace(file.readMarkers(), space), uniqueTakeNames({name}).at(0));
}

std::vector<MarkerSource> solvedMarkersOf(const fs::path& document,
                                          std::vector<std::string>& notes) {
    Settings settings;
    kit::loadSettings(settings, document);
    std::vector<MarkerSource> sources;
    for (int i = 1;; ++i) {
        const auto trial = settings.subSettings(fmt::format("Solve.Trials.Trial{}", i));
        if (trial == nullptr) {
            return sources;
        }
        try {
            sources.push_back(solvedTrialOf(document.parent_path(), *trial));
        } catch (const kit::ReadError& error) {
            notes.push_back(fmt::format("The measured markers of {} are not shown: {}",
                                        trial->value("Name", ""), error.what()));
        }
    }
}

} // namespace tarn::capture
