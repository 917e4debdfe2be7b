// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "settings/AtomicFile.h"

#include <filesystem>
#include <random>
#include <string>
#include <system_error>

#if defined(_WIN32)
#include <fstream>
#else
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#endif

namespace fs = std::filesystem;

namespace tarn {

namespace {

/// A name that nobody has used, in the directory of `target`. Short, whatever the target's name is:
/// that may be as long as the file system allows.
std::string temporaryNameBeside(const fs::path& target) {
    std::random_device random;
    const std::string name = ".tarn-" + std::to_string(random()) + '-' + std::to_string(random());
    return (target.parent_path() / name).string();
}

} // namespace

#if defined(_WIN32)

bool replaceFile(const std::string& fileName, const std::string& content) {
    const std::string temporary = temporaryNameBeside(fileName);
    std::ofstream file(temporary, std::ios::binary);
    file << content;
    file.close();
    std::error_code error;
    if (file) {
        fs::rename(temporary, fileName, error);
        if (!error) {
            return true;
        }
    }
    fs::remove(temporary, error);
    return false;
}

#else

namespace {

/// An open file, closed when it goes.
class Descriptor {
public:
    explicit Descriptor(int number) : number_(number) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() { close(); }

    int number() const { return number_; }
    bool isOpen() const { return number_ >= 0; }
    /// False if what was written may not have arrived, or if there was nothing to close.
    bool close() { return isOpen() && ::close(std::exchange(number_, -1)) == 0; }

private:
    int number_;
};

/// A file that is removed when it goes, unless it was moved away before.
class TemporaryFile {
public:
    TemporaryFile(std::string name, mode_t mode)
        : name_(std::move(name)),
          file_(::open(name_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode)) {}
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile() {
        if (isCreated_) {
            ::unlink(name_.c_str());
        }
    }

    Descriptor& file() { return file_; }
    bool moveTo(const fs::path& target) {
        isCreated_ = std::rename(name_.c_str(), target.c_str()) != 0;
        return !isCreated_;
    }

private:
    std::string name_;
    Descriptor file_;
    bool isCreated_ = file_.isOpen();
};

bool writeAll(const Descriptor& file, std::string_view content) {
    while (!content.empty()) {
        const ssize_t written = ::write(file.number(), content.data(), content.size());
        if (written < 0 && errno != EINTR) {
            return false;
        }
        content.remove_prefix(written < 0 ? 0 : static_cast<std::size_t>(written));
    }
    return true;
}

/// Gives `file` the owner, if that is allowed, and the permissions of the file it will replace.
bool keepAttributes(const Descriptor& file, const struct stat& old) {
    struct stat now = {};
    if (::fstat(file.number(), &now) != 0) {
        return false;
    }
    if (now.st_uid != old.st_uid || now.st_gid != old.st_gid) {
        static_cast<void>(::fchown(file.number(), old.st_uid, old.st_gid) == 0);
    }
    // Only where they differ: a file system without permissions refuses to set any.
    return now.st_mode == old.st_mode || ::fchmod(file.number(), old.st_mode & 07777U) == 0;
}

/// Where a chain of links ends; what is there need not exist.
fs::path followLinks(fs::path path) {
    const int longestChain = 40; // as long as the kernel follows
    std::error_code error;
    for (int i = 0; i < longestChain && fs::is_symlink(fs::symlink_status(path, error)); ++i) {
        path = path.parent_path() / fs::read_symlink(path, error);
    }
    return path;
}

/// Writes beside `target` and moves the result over it. `old` is the file that is there, or null.
bool writeAndMove(const fs::path& target, const std::string& content, const struct stat* old) {
    // A new file gets what the process gives every new file; a copy of one that others may not read
    // is closed to them from the start.
    TemporaryFile temporary(temporaryNameBeside(target), old == nullptr ? 0666 : 0600);
    Descriptor& file = temporary.file();
    return file.isOpen() && writeAll(file, content) &&
           (old == nullptr || keepAttributes(file, *old)) && ::fsync(file.number()) == 0 &&
           file.close() && temporary.moveTo(target);
}

} // namespace

bool replaceFile(const std::string& fileName, const std::string& content) {
    // Opened although only devices are written through it: what may not be written may not be
    // replaced either.
    Descriptor existing(::open(fileName.c_str(), O_WRONLY | O_CLOEXEC));
    if (!existing.isOpen()) {
        return errno == ENOENT && writeAndMove(followLinks(fileName), content, nullptr);
    }
    struct stat status = {};
    if (::fstat(existing.number(), &status) != 0) {
        return false;
    }
    if (!S_ISREG(status.st_mode)) {
        return writeAll(existing, content) && existing.close();
    }
    return existing.close() && writeAndMove(followLinks(fileName), content, &status);
}

#endif

} // namespace tarn
