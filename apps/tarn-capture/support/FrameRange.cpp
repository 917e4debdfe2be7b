// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "support/FrameRange.h"

#include "support/Errors.h"

#include <fmt/format.h>
#include <tarn_kit/files/Text.h>

#include <cstddef>
#include <limits>
#include <optional>

namespace tarn::capture {

namespace {

/// What has too many digits is a frame all the same, which no take has.
std::optional<int> parseFrame(std::string_view text) {
    if (text.empty() || text.find_first_not_of("0123456789") != std::string_view::npos) {
        return std::nullopt;
    }
    return kit::numberIn<int>(text).value_or(std::numeric_limits<int>::max());
}

} // namespace

FrameRange parseFrameRange(std::string_view text, std::string_view option) {
    constexpr std::string_view dots = "..";
    const std::size_t middle = text.find(dots);
    if (middle != std::string_view::npos) {
        const auto first = parseFrame(text.substr(0, middle));
        const auto last = parseFrame(text.substr(middle + dots.size()));
        if (first && last && *first <= *last) {
            return {*first, *last};
        }
    }
    throw UsageError(fmt::format("{} '{}': expected A..B with A not after B", option, text));
}

void checkFrameRange(FrameRange range, int frameCount, std::string_view option) {
    if (frameCount == 0) {
        throw UsageError(fmt::format("{}: the take has no frames", option));
    }
    if (range.last >= frameCount) {
        throw UsageError(fmt::format("{}: the take has frames 0..{}", option, frameCount - 1));
    }
}

} // namespace tarn::capture
