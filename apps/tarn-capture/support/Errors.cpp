// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "support/Errors.h"

#include <fmt/format.h>
#include <tarn_kit/files/SettingsFile.h>
#include <tarn_kit/files/Text.h>

#include <cstdio>

namespace tarn::capture {

std::string placeText(const std::string& file, const std::string& text, const std::string& key,
                      std::size_t index) {
    const auto place = kit::placeOf(text, key, index);
    const std::string where = place ? fmt::format(":{}:{}", place->line, place->column) : "";
    return fmt::format("{}{}: {}", file, where, key);
}

void reportError(std::string_view reason) {
    std::fflush(stdout); // on a terminal, what was printed before comes before
    // Nobody is left to tell when this fails.
    std::fputs(fmt::format("tarn-capture: {}\n", kit::printable(reason)).c_str(), stderr);
}

} // namespace tarn::capture
