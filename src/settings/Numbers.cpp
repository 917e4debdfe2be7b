// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "settings/Numbers.h"

#include <array>
#include <charconv>
#include <clocale>
#include <cstdlib>

namespace tarn {

std::string toText(float value) {
    std::array<char, 64> text{}; // the largest float has 39 digits before the point
    const std::to_chars_result result =
        std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed, 6);
    return {text.data(), result.ptr};
}

double toReal(const std::string& text) {
#if defined(_WIN32)
    static const _locale_t classic = _create_locale(LC_ALL, "C");
    return _strtod_l(text.c_str(), nullptr, classic);
#else
    static const locale_t classic = ::newlocale(LC_ALL_MASK, "C", nullptr);
    return ::strtod_l(text.c_str(), nullptr, classic);
#endif
}

int toInteger(const std::string& text) {
    // Not `atoi`, which is undefined for a number that does not fit.
    return static_cast<int>(std::strtol(text.c_str(), nullptr, 10));
}

} // namespace tarn
