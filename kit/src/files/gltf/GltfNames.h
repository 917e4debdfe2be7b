// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <string>
#include <vector>

namespace tarn::kit {

/// The names as valid UTF-8 with no two the same: the first of a name keeps it, each further one
/// gets "_2", "_3" and so on, passing over what is a name already. An empty one is "unnamed".
std::vector<std::string> uniqueNames(std::vector<std::string> names);

} // namespace tarn::kit
