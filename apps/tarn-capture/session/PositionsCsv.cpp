// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "session/PositionsCsv.h"

#include <fmt/compile.h>
#include <fmt/format.h>
#include <tarn_kit/files/Text.h>

#include <iterator>

namespace tarn::capture {

namespace {

/// Quotes a field where a comma, a quote or a line end in it would be taken for the table's own.
std::string csvField(const std::string& text) {
    if (text.find_first_of(",\"\r\n") == std::string::npos) {
        return text;
    }
    std::string quoted = "\"";
    for (const char c : text) {
        quoted += c == '"' ? "\"\"" : std::string(1, c);
    }
    return quoted + "\"";
}

} // namespace

std::string csvHeader(const kit::Rig& rig, const kit::LengthUnit& unit) {
    std::string line = "frame,time [s]";
    for (const kit::RigNode& node : rig.nodes()) {
        for (const char axis : {'x', 'y', 'z'}) {
            line += "," + csvField(fmt::format("{}.{} [{}]", kit::validUtf8(node.name), axis,
                                               unit.symbol));
        }
    }
    return line + "\n";
}

CsvRow::CsvRow(int frame, double seconds) {
    fmt::format_to(std::back_inserter(text_), "{},{}", frame, seconds);
}

void CsvRow::add(const Vector3f& position) {
    fmt::format_to(std::back_inserter(text_), FMT_COMPILE(",{},{},{}"), position.x, position.y,
                   position.z);
}

void CsvRow::addUnknown() {
    constexpr std::string_view empty = ",,,";
    text_.append(empty.data(), empty.data() + empty.size());
}

std::string_view CsvRow::finished() {
    text_.push_back('\n');
    return {text_.data(), text_.size()};
}

} // namespace tarn::capture
