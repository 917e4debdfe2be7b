// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

namespace tarn::testing {

/// A new directory of a test's own, removed with everything in it.
class TemporaryDirectory {
public:
    TemporaryDirectory() {
        std::string name = (std::filesystem::temp_directory_path() / "tarn-test-XXXXXX").string();
        if (::mkdtemp(name.data()) == nullptr) {
            throw std::runtime_error("no directory for the test: " + name);
        }
        path_ = name;
    }
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
    ~TemporaryDirectory() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }

    const std::filesystem::path& path() const { return path_; }
    /// The full name of a file inside.
    std::string operator/(const std::string& name) const { return (path_ / name).string(); }
    /// The names of everything directly inside, sorted.
    std::vector<std::string> names() const {
        std::vector<std::string> found;
        for (const auto& entry : std::filesystem::directory_iterator(path_)) {
            found.push_back(entry.path().filename().string());
        }
        std::sort(found.begin(), found.end());
        return found;
    }

private:
    std::filesystem::path path_;
};

inline void writeFile(const std::filesystem::path& file, const std::string& content) {
    std::ofstream(file, std::ios::binary) << content;
}

/// Throws if there is no such file.
inline std::string readFile(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    if (!stream.is_open()) {
        throw std::runtime_error("cannot read " + file.string());
    }
    std::ostringstream content;
    content << stream.rdbuf();
    return content.str();
}

} // namespace tarn::testing
