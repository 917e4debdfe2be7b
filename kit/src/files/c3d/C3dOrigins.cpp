// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "files/c3d/C3dOrigins.h"

#include <tarn_kit/body/Rotations.h>

#include <algorithm>
#include <cstddef>
#include <limits>
#include <set>
#include <string>
#include <vector>

namespace tarn::kit {

namespace {

/// The markers of a file, frame by frame.
struct Table {
    Marker* markers;
    std::uint64_t frames;
    std::uint64_t points;
    Marker& at(std::uint64_t frame, std::uint64_t marker) const {
        return markers[frame * points + marker];
    }
};

/// What is known of one marker that is at the origin in some frames.
struct Visits {
    std::uint64_t count = 0;
    std::uint64_t first = 0; ///< frame
    bool areLeaps = false;
};

/// Whether a marker that is at the origin at times comes from much farther away than it gets from a
/// frame to the next elsewhere. What it jumps there now and then (a tenth of its steps) says
/// nothing: labels may be exchanged.
bool leaps(const Table& table, std::uint64_t marker) {
    double nearest = std::numeric_limits<double>::infinity(); // from where it comes or goes
    std::vector<double> steps;                                // elsewhere
    for (std::uint64_t frame = 1; frame < table.frames; ++frame) {
        const Marker& before = table.at(frame - 1, marker);
        const Marker& now = table.at(frame, marker);
        if (!before.hasPosition() || !now.hasPosition()) {
            continue;
        }
        const double step = lengthOf(toDouble(now.position) - toDouble(before.position));
        if (isAtOrigin(now) != isAtOrigin(before)) {
            nearest = step > 0 ? std::min(nearest, step) : nearest;
        } else if (!isAtOrigin(now)) {
            steps.push_back(step);
        }
    }
    if (steps.empty() || nearest == std::numeric_limits<double>::infinity()) {
        return false;
    }
    const auto most = steps.begin() + static_cast<std::ptrdiff_t>((steps.size() - 1) * 9 / 10);
    std::nth_element(steps.begin(), most, steps.end());
    constexpr double much = 4;
    return nearest > much * *most;
}

Visits visitsOf(const Table& table, std::uint64_t marker) {
    Visits visits;
    for (std::uint64_t frame = 0; frame < table.frames; ++frame) {
        if (isAtOrigin(table.at(frame, marker))) {
            visits.first = visits.count == 0 ? frame : visits.first;
            ++visits.count;
        }
    }
    visits.areLeaps = visits.count > 0 && leaps(table, marker);
    return visits;
}

/// The labels that groups of the parameters list as anything but positions.
std::set<std::string> labelsOfOthers(const C3dParameters& parameters) {
    std::set<std::string> labels;
    for (const char* const list : {"ANGLES", "FORCES", "MOMENTS", "POWERS", "SCALARS"}) {
        for (std::string& label : parameters.texts("POINT", list)) {
            labels.insert(std::move(label));
        }
    }
    return labels;
}

std::string namesOf(const std::vector<std::uint64_t>& markers, const C3dInfo& info) {
    constexpr std::size_t most = 5;
    std::string names;
    for (std::size_t i = 0; i < std::min(markers.size(), most); ++i) {
        names += (i == 0 ? "" : ", ") + info.markers[markers[i]].label();
    }
    return names + (markers.size() > most ? ", ..." : "");
}

} // namespace

bool isAnyAtOrigin(const Marker* markers, std::uint64_t count) noexcept {
    return std::any_of(markers, markers + count, isAtOrigin);
}

bool settleOrigins(Marker* markers, const C3dLayout& layout, const C3dInfo& info, C3dJudge& judge) {
    const Table table{markers, layout.frames, layout.points};
    const std::set<std::string> others = labelsOfOthers(info.parameters);
    std::vector<std::uint64_t> found;
    std::uint64_t count = 0;
    std::uint64_t offset = std::numeric_limits<std::uint64_t>::max();
    bool areGaps = false;
    for (std::uint64_t marker = 0; marker < table.points; ++marker) {
        if (others.count(info.markers[marker].label()) > 0) {
            continue;
        }
        const Visits visits = visitsOf(table, marker);
        if (visits.count > 0) {
            found.push_back(marker);
            count += visits.count;
            areGaps = areGaps || visits.areLeaps;
            offset = std::min(offset, layout.dataStart + visits.first * layout.frameBytes() +
                                          marker * 4 * layout.wordSize());
        }
    }
    if (found.empty()) {
        return false;
    }
    for (std::uint64_t frame = 0; areGaps && frame < table.frames; ++frame) {
        for (const std::uint64_t marker : found) {
            if (isAtOrigin(table.at(frame, marker))) {
                table.at(frame, marker) = Marker();
            }
        }
    }
    const std::string what = std::to_string(count) +
                             " positions at exactly 0,0,0 without a residual, of " +
                             namesOf(found, info);
    if (areGaps) {
        judge.remark({"the data", offset, what, "that nothing was seen",
                      "markers leap there and back as none of them moves"});
    } else {
        judge.note({"the data", offset, what, "that they were seen", "no marker leaps there"});
    }
    return areGaps;
}

} // namespace tarn::kit
