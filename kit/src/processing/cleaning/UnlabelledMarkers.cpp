// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/processing/cleaning/UnlabelledMarkers.h>

#include <tarn_kit/files/Text.h>

#include <cstddef>
#include <string>

namespace tarn::kit {

bool isUnlabelled(std::string_view name) {
    const std::string text = lowered(name);
    if (text.empty() || text.front() == '*' || text.rfind("unlabel", 0) == 0 ||
        text.rfind("uname", 0) == 0) {
        return true;
    }
    const std::size_t digits = text.find_first_not_of("_-", 1);
    return text.front() == 'u' && digits != std::string::npos &&
           text.find_first_not_of("0123456789", digits) == std::string::npos;
}

std::vector<int> unlabelledMarkers(const std::vector<C3dMarker>& markers) {
    std::vector<int> result;
    for (std::size_t i = 0; i < markers.size(); ++i) {
        if (isUnlabelled(markers[i].name)) {
            result.push_back(static_cast<int>(i));
        }
    }
    return result;
}

} // namespace tarn::kit
