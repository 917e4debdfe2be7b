// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "support/ProgressBar.h"

#include "support/Terminal.h"

#include <fmt/format.h>

#include <algorithm>
#include <string>

namespace tarn::capture {

namespace {

constexpr int widestBar = 50;
constexpr int textWidth = 8; // brackets, blank, "100%", and the last column, which stays free

} // namespace

ProgressBar::ProgressBar(std::FILE* stream, long long total)
    : stream_(stream), total_(total), width_(static_cast<int>(terminalWidth(stream))) {}

ProgressBar::~ProgressBar() {
    if (percent_ >= 0) {
        std::fputs("\r\x1B[K", stream_);
        std::fflush(stream_);
    }
}

void ProgressBar::advance() {
    ++done_;
    const auto percent = static_cast<int>(std::min(done_, total_) * 100 / total_);
    if (width_ > 0 && percent != percent_) {
        percent_ = percent;
        draw();
    }
}

void ProgressBar::draw() {
    const int bar = std::clamp(width_ - textWidth, 0, widestBar);
    const auto filled = static_cast<std::size_t>(bar * percent_ / 100);
    const auto open = static_cast<std::size_t>(bar) - filled;
    // A terminal that has gone away is no reason to stop.
    std::fputs(
        fmt::format("\r[{}{}] {:3}%", std::string(filled, '#'), std::string(open, '.'), percent_)
            .c_str(),
        stream_);
    std::fflush(stream_);
}

} // namespace tarn::capture
