// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "wire/Texts.h"

#include <tarn_kit/files/Text.h>

#include <array>
#include <cstring>
#include <unistd.h>

namespace tarn::link {

std::optional<std::string> textIn(const char* text) {
    if (text == nullptr || std::strlen(text) > longestText) {
        return std::nullopt;
    }
    return kit::printable(text);
}

std::string hostName() {
    std::array<char, longestText + 1> name{};
    return ::gethostname(name.data(), name.size() - 1) == 0 ? name.data() : "";
}

} // namespace tarn::link
