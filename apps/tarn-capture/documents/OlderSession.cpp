// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "documents/OlderSession.h"

#include <fmt/format.h>
#include <tarn/Settings.h>
#include <tarn_kit/files/SettingsFile.h>

#include <memory>
#include <stdexcept>
#include <system_error>

namespace tarn::capture {

namespace {

namespace fs = std::filesystem;

fs::file_type typeOf(const fs::path& path) {
    std::error_code error;
    return fs::symlink_status(path, error).type();
}

/// A document could be anybody's: nothing that it says leads out of its directory, or to a file
/// that is not the session's own but only linked there.
bool isFileIn(const fs::path& directory, const std::string& name) {
    return !name.empty() && fs::path(name).filename() == name &&
           typeOf(directory / name) == fs::file_type::regular;
}

} // namespace

bool holdsSession(const fs::path& directory) {
    const fs::file_type type = typeOf(directory / sessionFileName);
    return type != fs::file_type::not_found && type != fs::file_type::none;
}

std::vector<std::string> filesOfSession(const fs::path& directory) {
    if (!holdsSession(directory)) {
        return {};
    }
    Settings document;
    kit::loadSettings(document, directory / sessionFileName); // which may be a link to one
    const auto session = document.subSettings("Session");
    if (session == nullptr) {
        throw std::runtime_error(
            fmt::format("{}: not a session's document, so that it cannot be told which files are "
                        "its own: remove it, or name another directory",
                        (directory / sessionFileName).string()));
    }
    std::vector<std::string> files{sessionFileName};
    for (const std::string& name : session->valueList("File")) {
        if (name != sessionFileName && isFileIn(directory, name)) {
            files.push_back(name);
        }
    }
    return files;
}

} // namespace tarn::capture
