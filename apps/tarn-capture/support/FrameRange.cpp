// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "support/FrameRange.h"

#include <fmt/format.h>
#include <tarn_kit/files/Text.h>

#include <cstddef>
#include <limits>
#include <utility>

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

FrameChoice parseFrames(std::string_view text, std::string asked) {
    if (auto choice = choiceIn(text)) {
        choice->asked = std::move(asked);
        return *choice;
    }
    throw UsageError(fmt::format("{} '{}': expected A..B with A not after B, A.. for all "
                                 "from A on, or N for the first N",
                                 asked, text));
}

FrameRange chosenFrames(const std::optional<FrameChoice>& choice, int frameCount,
                        std::int64_t firstFrame) {
    if (!choice) {
        return allFrames(frameCount);
    }
    if (frameCount == 0) {
        throw FramesError(fmt::format("{}: the take has no frames", choice->asked));
    }
    const std::int64_t end = firstFrame + frameCount - 1;
    const std::int64_t before = choice->isCount ? firstFrame : 0; // N frames are the first ones
    const std::int64_t first = before + choice->first;
    const std::int64_t last = choice->last ? before + *choice->last : end;
    if (first < firstFrame || first > end || last > end) {
        throw FramesError(
            fmt::format("{}: the take has frames {}..{}", choice->asked, firstFrame, end));
    }
    return {static_cast<int>(first - firstFrame), static_cast<int>(last - firstFrame)};
}

} // namespace tarn::capture
