// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "files/gltf/GltfNames.h"

#include <tarn_kit/files/Text.h>

#include <unordered_map>
#include <unordered_set>

namespace tarn::kit {

std::vector<std::string> uniqueNames(std::vector<std::string> names) {
    for (std::string& name : names) {
        name = name.empty() ? "unnamed" : validUtf8(name);
    }
    std::unordered_set<std::string> taken(names.begin(), names.end());
    std::unordered_map<std::string, int> count; // how many of a name there have been
    for (std::string& name : names) {
        int& number = count[name];
        if (++number == 1) {
            continue;
        }
        std::string numbered = name + "_" + std::to_string(number);
        while (!taken.insert(numbered).second) {
            numbered = name + "_" + std::to_string(++number);
        }
        name = std::move(numbered);
    }
    return names;
}

} // namespace tarn::kit
