// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "markers/MarkerText.h"

#include "markers/MarkerFrames.h"
#include "support/CsvField.h"

#include <fmt/compile.h>
#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <tarn_kit/files/Text.h>

#include <iterator>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace tarn::capture {

namespace {

using Json = nlohmann::ordered_json;

/// A number as JSON has it for what is none by chance: 120.0, not 120.
template <class Number>
std::string realText(Number number) {
    const std::string text = fmt::format("{}", number);
    return text.find_first_of(".e") == std::string::npos ? text + ".0" : text;
}

void addPosition(fmt::memory_buffer& text, const kit::Marker& marker) {
    if (!marker.hasPosition()) {
        constexpr std::string_view none = "null";
        text.append(none.data(), none.data() + none.size());
        return;
    }
    const Vector3f& at = marker.position;
    fmt::format_to(std::back_inserter(text), FMT_COMPILE("[{}, {}, {}]"), at.x, at.y, at.z);
}

/// What the columns of each marker are called: its label, with a number added where another has it
/// already.
std::vector<std::string> columnsOf(const std::vector<kit::C3dMarker>& markers) {
    std::vector<std::string> columns;
    std::set<std::string> taken;
    for (const kit::C3dMarker& marker : markers) {
        const std::string label = kit::validUtf8(marker.label());
        std::string column = label;
        for (int i = 2; !taken.insert(column).second; ++i) {
            column = fmt::format("{}-{}", label, i);
        }
        columns.push_back(std::move(column));
    }
    return columns;
}

} // namespace

void writeMarkerCsv(const kit::C3dTake& take, FrameRange range, const TextSink& write) {
    std::string header = "frame,time [s]";
    const std::string unit = kit::validUtf8(take.unit);
    for (const std::string& column : columnsOf(take.markers)) {
        for (const char axis : {'x', 'y', 'z'}) {
            header += "," + csvField(fmt::format("{}.{} [{}]", column, axis, unit));
        }
    }
    write(header + "\n");
    for (int frame = range.first; frame <= range.last; ++frame) {
        fmt::memory_buffer row;
        fmt::format_to(std::back_inserter(row), "{},{}", take.firstFrame + frame,
                       secondsAt(take, frame));
        for (const kit::Marker& marker : markersAt(take, frame)) {
            if (marker.hasPosition()) {
                fmt::format_to(std::back_inserter(row), FMT_COMPILE(",{},{},{}"), marker.position.x,
                               marker.position.y, marker.position.z);
            } else {
                fmt::format_to(std::back_inserter(row), ",,,");
            }
        }
        row.push_back('\n');
        write({row.data(), row.size()});
    }
}

void writeMarkerJson(const kit::C3dTake& take, FrameRange range, const TextSink& write) {
    Json names = Json::array();
    Json subjects = Json::array();
    for (const kit::C3dMarker& marker : take.markers) {
        names.push_back(kit::validUtf8(marker.name));
        subjects.push_back(kit::validUtf8(marker.subject));
    }
    write(fmt::format("{{\"markers\": {},\n\"subjects\": {},\n\"unit\": {},\n\"rate\": {},\n"
                      "\"first_frame\": {},\n\"frames\": [",
                      names.dump(), subjects.dump(), Json(kit::validUtf8(take.unit)).dump(),
                      realText(static_cast<float>(take.rate)), take.firstFrame));
    const char* separator = "\n";
    for (int frame = range.first; frame <= range.last; ++frame) {
        fmt::memory_buffer text;
        fmt::format_to(std::back_inserter(text), R"({}{{"frame": {}, "time": {}, "positions": [)",
                       std::exchange(separator, ",\n"), take.firstFrame + frame,
                       realText(secondsAt(take, frame)));
        const char* comma = "";
        for (const kit::Marker& marker : markersAt(take, frame)) {
            fmt::format_to(std::back_inserter(text), "{}", std::exchange(comma, ", "));
            addPosition(text, marker);
        }
        constexpr std::string_view end = "]}";
        text.append(end.data(), end.data() + end.size());
        write({text.data(), text.size()});
    }
    write("\n]}\n");
}

} // namespace tarn::capture
