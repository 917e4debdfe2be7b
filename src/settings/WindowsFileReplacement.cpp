// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "settings/FileReplacement.h"

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <random>
#include <system_error>

namespace tarn {

namespace {

namespace fs = std::filesystem;

/// By means of the standard library alone: neither owners nor links are looked after.
class WindowsFileReplacement final : public FileReplacement {
public:
    explicit WindowsFileReplacement(const std::string& name) : name_(name) {
        std::random_device random;
        newName_ = fs::path(name).parent_path() /
                   (".tarn-" + std::to_string(random()) + '-' + std::to_string(random()));
        file_.open(newName_, std::ios::binary);
        check(file_.is_open());
    }
    WindowsFileReplacement(const WindowsFileReplacement&) = delete;
    WindowsFileReplacement& operator=(const WindowsFileReplacement&) = delete;
    ~WindowsFileReplacement() override {
        file_.close();
        std::error_code ignored; // there is nothing to remove once it was moved
        fs::remove(newName_, ignored);
    }

    void write(std::string_view text) override {
        file_.write(text.data(), static_cast<std::streamsize>(text.size()));
        check(file_.good());
    }

    void commit() override {
        file_.close();
        check(!file_.fail());
        std::error_code error;
        fs::rename(newName_, name_, error);
        check(!error);
    }

private:
    void check(bool isDone) const {
        if (!isDone) {
            throw std::system_error(errno != 0 ? errno : EIO, std::generic_category(),
                                    "cannot write '" + name_ + '\'');
        }
    }

    std::string name_;
    fs::path newName_;
    std::ofstream file_;
};

} // namespace

std::unique_ptr<FileReplacement> FileReplacement::open(const std::string& name) {
    return std::make_unique<WindowsFileReplacement>(name);
}

} // namespace tarn
