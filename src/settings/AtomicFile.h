// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <string>

namespace tarn {

/// Makes `content` the content of the named file in one step, as `Settings::saveSettingsToFile`
/// promises. Returns false on any failure; a regular file is then as it was, or still missing.
bool replaceFile(const std::string& fileName, const std::string& content);

} // namespace tarn
