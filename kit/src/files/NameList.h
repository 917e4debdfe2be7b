// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_kit/files/Text.h>

#include <algorithm>
#include <cstddef>
#include <limits>
#include <string>
#include <vector>

namespace tarn::kit {

/// The first of some names, for errors: "LFWT, RFWT, ...".
inline std::string nameList(const std::vector<std::string>& names,
                            std::size_t most = std::numeric_limits<std::size_t>::max()) {
    std::string list;
    for (std::size_t i = 0; i < std::min(most, names.size()); ++i) {
        list += (i == 0 ? "" : ", ") + printable(names[i]);
    }
    return names.size() > most ? list + ", ..." : list;
}

} // namespace tarn::kit
