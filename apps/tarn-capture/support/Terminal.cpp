// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "support/Terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>

namespace tarn::capture {

namespace {

constexpr std::size_t usualWidth = 80;

} // namespace

std::size_t terminalWidth(std::FILE* stream) {
    const int descriptor = ::fileno(stream);
    if (::isatty(descriptor) == 0) {
        return 0;
    }
    winsize size{};
    const bool known = ::ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return known ? size.ws_col : usualWidth;
}

std::size_t outputWidth() {
    constexpr std::size_t narrowest = 40; // below that, lines are left to the terminal to break
    constexpr std::size_t widest = 120;   // beyond that, nobody reads lines of text
    const std::size_t width = terminalWidth(stdout);
    return std::clamp(width == 0 ? usualWidth : width, narrowest, widest) - 1;
}

} // namespace tarn::capture
