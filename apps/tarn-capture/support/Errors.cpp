// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "support/Errors.h"

#include <fmt/format.h>
#include <tarn_kit/files/Text.h>

#include <cstdio>

namespace tarn::capture {

void reportError(std::string_view reason) {
    std::fflush(stdout); // on a terminal, what was printed before comes before
    // Nobody is left to tell when this fails.
    std::fputs(fmt::format("tarn-capture: {}\n", kit::printable(reason)).c_str(), stderr);
}

} // namespace tarn::capture
