#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <system_error>

/// A directory of a test's own, removed with everything in it.
class TemporaryDirectory {
public:
    TemporaryDirectory() {
        std::string name = testing::TempDir() + "tarn-test-XXXXXX";
        EXPECT_NE(::mkdtemp(name.data()), nullptr);
        path_ = name;
    }
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
    ~TemporaryDirectory() {
        std::error_code error;
        std::filesystem::remove_all(path_, error);
    }

    const std::filesystem::path& path() const { return path_; }
    /// The full name of a file inside.
    std::string operator/(const std::string& name) const { return (path_ / name).string(); }
    /// The names of everything directly inside.
    std::set<std::string> names() const {
        std::set<std::string> found;
        for (const auto& entry : std::filesystem::directory_iterator(path_)) {
            found.insert(entry.path().filename().string());
        }
        return found;
    }

private:
    std::filesystem::path path_;
};

inline void writeFile(const std::string& name, const std::string& content) {
    std::ofstream(name, std::ios::binary) << content;
}

inline std::string readFile(const std::string& name) {
    std::ostringstream content;
    content << std::ifstream(name, std::ios::binary).rdbuf();
    return content.str();
}
