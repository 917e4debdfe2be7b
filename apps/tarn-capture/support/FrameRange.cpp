// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "support/FrameRange.h"

#include "support/Errors.h"

#include <fmt/format.h>

#include <charconv>
#include <cstddef>
#include <optional>
#include <system_error>

namespace tarn::capture {

namespace {

/// A frame of the take: decimal digits and nothing else.
std::optional<int> parseFrame(std::string_view text, int frameCount) {
    int frame = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, frame);
    if (error != std::errc() || stop != end || text.front() == '-' || frame >= frameCount) {
        return std::nullopt;
    }
    return frame;
}

[[noreturn]] void fail(std::string_view text, int frameCount) {
    if (frameCount == 0) {
        throw UsageError(fmt::format("--frames '{}': the take has no frames", text));
    }
    throw UsageError(fmt::format("--frames '{}': expected A..B with A not after B; the take has "
                                 "frames 0..{}",
                                 text, frameCount - 1));
}

} // namespace

FrameRange parseFrameRange(std::string_view text, int frameCount) {
    constexpr std::string_view dots = "..";
    const std::size_t middle = text.find(dots);
    if (middle == std::string_view::npos) {
        fail(text, frameCount);
    }
    const auto first = parseFrame(text.substr(0, middle), frameCount);
    const auto last = parseFrame(text.substr(middle + dots.size()), frameCount);
    if (!first || !last || *first > *last) {
        fail(text, frameCount);
    }
    return {*first, *last};
}

} // namespace tarn::capture
