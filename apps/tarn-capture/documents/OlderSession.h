// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace tarn::capture {

/// The document in which a session lists its files.
inline constexpr const char* sessionFileName = "session.xml";

/// Whether a directory holds a session, or something else of its document's name.
bool holdsSession(const std::filesystem::path& directory);

/// The files in a directory that the session there lists as its own, its document among them; only
/// regular files, by their names. Empty if it holds no session. Throws `std::runtime_error`, which
/// names the document, where that does not say.
std::vector<std::string> filesOfSession(const std::filesystem::path& directory);

} // namespace tarn::capture
