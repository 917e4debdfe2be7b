// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <string>
#include <string_view>

namespace tarn::capture {

/// What a file is that is no take, by how it begins (some hundred bytes), and who reads it: "an
/// actor's document, not a take; 'actor' reads it". Empty for what may be a take, and for what is
/// not known: the readers of takes say best what is wrong with that.
std::string otherFileText(std::string_view beginning);

/// The same of a directory.
std::string otherDirectoryText(const std::string& directory);

/// The other way round: whether a file where a document is expected is a take.
bool isTake(const std::string& file);

} // namespace tarn::capture
