// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "support/FrameRange.h"

#include "support/Errors.h"

#include <fmt/format.h>
#include <tarn_kit/files/Text.h>

#include <cstddef>
#include <limits>

namespace tarn::capture {

namespace {

/// What has too many digits is a frame all the same, which no take has.
std::optional<int> parseFrame(std::string_view text) {
    if (text.empty() || text.find_first_not_of("0123456789") != std::string_view::npos) {
        return std::nullopt;
    }
    return kit::numberIn<int>(text).value_or(std::numeric_limits<int>::max());
}

std::optional<FrameChoice> choiceIn(std::string_view text) {
    constexpr std::string_view dots = "..";
    const std::size_t middle = text.find(dots);
    const auto first = parseFrame(text.substr(0, middle));
    if (!first) {
        return std::nullopt;
    }
    if (middle == std::string_view::npos) {
        return *first > 0 ? std::optional(FrameChoice{0, *first - 1, true}) : std::nullopt;
    }
    const std::string_view end = text.substr(middle + dots.size());
    if (end.empty()) {
        return FrameChoice{*first, std::nullopt, false};
    }
    const auto last = parseFrame(end);
    return last && *first <= *last ? std::optional(FrameChoice{*first, last, false}) : std::nullopt;
}

} // namespace

FrameChoice parseFrames(std::string_view text) {
    if (const auto choice = choiceIn(text)) {
        return *choice;
    }
    throw UsageError(fmt::format("--frames '{}': expected A..B with A not after B, A.. for all "
                                 "from A on, or N for the first N",
                                 text));
}

FrameRange chosenFrames(const std::optional<FrameChoice>& choice, int frameCount) {
    if (!choice) {
        return allFrames(frameCount);
    }
    if (frameCount == 0) {
        throw UsageError("--frames: the take has no frames");
    }
    const FrameRange range{choice->first, choice->last.value_or(frameCount - 1)};
    if (range.first >= frameCount || range.last >= frameCount) {
        throw UsageError(fmt::format("--frames: the take has frames 0..{}", frameCount - 1));
    }
    return range;
}

} // namespace tarn::capture
