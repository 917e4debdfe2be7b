// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "markers/MarkerInfo.h"

#include "markers/MarkerFrames.h"
#include "markers/MarkerSightings.h"

#include <fmt/format.h>
#include <tarn_kit/files/Text.h>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <utility>
#include <vector>

namespace tarn::capture {

namespace {

/// One line: a label and what it labels, in columns.
std::string fact(const char* label, const std::string& text) {
    return fmt::format("  {:<12} {}\n", label, text);
}

std::string line(const std::string& text) { return "    " + kit::printable(text) + "\n"; }

/// How many markers each subject has, in the order of the file.
std::string subjectsText(const std::vector<kit::C3dMarker>& markers) {
    std::vector<std::pair<std::string, std::size_t>> subjects;
    for (const kit::C3dMarker& marker : markers) {
        const auto known = std::find_if(subjects.begin(), subjects.end(), [&](const auto& one) {
            return one.first == marker.subject;
        });
        if (known == subjects.end()) {
            subjects.emplace_back(marker.subject, 1);
        } else {
            ++known->second;
        }
    }
    if (subjects.empty() || (subjects.size() == 1 && subjects[0].first.empty())) {
        return {};
    }
    std::string text;
    for (const auto& [name, count] : subjects) {
        text += fmt::format("{}{} of {}", text.empty() ? ": " : ", ", count,
                            name.empty() ? "nobody" : kit::printable(name));
    }
    return text;
}

std::string framesText(const kit::C3dInfo& take, bool isStored) {
    if (take.frameCount == 0) {
        return "none";
    }
    return fmt::format("{}, numbered {} to {}{}", take.frameCount, take.firstFrame,
                       take.firstFrame + take.frameCount - 1,
                       isStored ? " (take cut counts from 0)" : "");
}

std::string unitText(const kit::C3dInfo& take) {
    if (take.unit.empty()) {
        return "not stated";
    }
    return kit::printable(take.unit) + (take.metresPerUnit > 0 ? "" : ", which is not known");
}

std::string eventsText(const kit::C3dInfo& take) {
    std::string text =
        fact("events", take.events.empty() ? "none" : std::to_string(take.events.size()));
    for (const kit::C3dEvent& event : take.events) {
        std::string what = event.context.empty() ? "" : event.context + " ";
        what += event.label;
        what += event.subject.empty() ? "" : " of " + event.subject;
        what += event.inHeader ? " (header)" : "";
        text += line(fmt::format("{:>9.3f} s  {}", event.time, what));
    }
    return text;
}

std::string analogText(const kit::C3dInfo& take) {
    if (take.channels.empty()) {
        return fact("analog", "none");
    }
    std::string text = fact("analog", fmt::format("{} at {:.6g} samples per second",
                                                  kit::counted(take.channels.size(), "channel"),
                                                  take.analogRate()));
    for (const kit::C3dChannel& channel : take.channels) {
        text += line(channel.name + (channel.unit.empty() ? "" : " [" + channel.unit + "]"));
    }
    return text;
}

std::string sightingsText(const kit::C3dTake& take) {
    if (take.frameCount == 0 || take.markers.empty()) {
        return {};
    }
    std::string text = "  seen\n";
    const std::vector<MarkerSightings> all = sightingsIn(take);
    for (std::size_t i = 0; i < all.size(); ++i) {
        const MarkerSightings& one = all[i];
        const double share = 100.0 * one.seen / take.frameCount;
        // Not 100 % where a frame is missing.
        const double shown = one.seen < take.frameCount ? std::min(share, 99.9) : share;
        text +=
            fmt::format("    {:<20} {:>5.1f} %", kit::printable(take.markers[i].label()), shown);
        if (one.longestGap > 0) {
            const std::int64_t start = take.firstFrame + one.gapStart;
            text += fmt::format("  longest gap {} ({} to {})",
                                kit::counted(static_cast<std::size_t>(one.longestGap), "frame"),
                                start, start + one.longestGap - 1);
        }
        text += "\n";
    }
    return text;
}

std::string reportText(const kit::C3dInfo& take) {
    if (take.report.empty()) {
        return fact("report", "nothing contradicts itself");
    }
    std::string text = "  report\n";
    for (const kit::C3dFinding& finding : take.report) {
        text += line(to_string(finding));
    }
    return text;
}

} // namespace

std::string describeMarkers(const std::string& file, const kit::C3dTake& take, bool isStored) {
    std::string text = kit::printable(file) + "\n";
    text += fact("markers", std::to_string(take.markers.size()) + subjectsText(take.markers));
    text += fact("frames", framesText(take, isStored));
    text += fact("rate", fmt::format("{:.6g} frames per second", take.rate));
    text += fact("length", fmt::format("{:.3f} s", secondsAt(take, take.frameCount)));
    text += fact("unit", unitText(take));
    text += fact("up", kit::axisName(upAxisOf(take)) +
                           (statedUpAxis(take) ? ", as stated" : ", guessed"));
    if (!isStored) {
        text += fact("encoding", to_string(take.encoding));
    }
    if (!take.bodies.empty()) {
        text += fact("rotations", kit::counted(take.bodies.size(), "rigid body"));
    }
    text += eventsText(take) + analogText(take) + sightingsText(take);
    return isStored ? text : text + reportText(take); // "take check" says what is wrong with it
}

std::string describeBriefly(const std::string& file, const kit::C3dInfo& take) {
    return fmt::format("{:>7} frames  {:>4.6g}/s  {:>9.3f} s  {:>4} markers  {:>12}  {}\n",
                       take.frameCount, take.rate, secondsAt(take, take.frameCount),
                       take.markers.size(), kit::counted(take.report.size(), "finding"),
                       kit::printable(file));
}

} // namespace tarn::capture
