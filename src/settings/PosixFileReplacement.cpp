// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "settings/FileAccess.h"
#include "settings/FileReplacement.h"
#include "settings/OpenFile.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <random>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

#if defined(__linux__)
#include <linux/magic.h>
#include <sys/mman.h>
#include <sys/vfs.h>
#endif

namespace tarn {

namespace {

namespace fs = std::filesystem;

/// Whether links in this directory lead to what a process has open, by whatever name they show.
bool hasLinksToOpenFiles([[maybe_unused]] const fs::path& directory) {
#if defined(__linux__)
    struct statfs status = {};
    return ::statfs(directory.empty() ? "." : directory.c_str(), &status) == 0 &&
           status.f_type == PROC_SUPER_MAGIC;
#else
    return false;
#endif
}

/// The name at the end of a chain of links; what it names need not exist. Empty if a link leads to
/// an open file instead.
fs::path followLinks(fs::path path) {
    const int longestChain = 40; // as long as the kernel follows
    std::error_code error;
    for (int i = 0; i < longestChain && fs::is_symlink(fs::symlink_status(path, error)); ++i) {
        if (hasLinksToOpenFiles(path.parent_path())) {
            return {};
        }
        path = path.parent_path() / fs::read_symlink(path, error);
    }
    return path;
}

/// Whether the last call failed because the user may not do it, or nobody here.
bool isDenied() { return errno == EACCES || errno == EPERM || errno == EROFS; }

/// A name that nobody has used, in the directory of `target`. Short, whatever the target's name is:
/// that may be as long as the file system allows.
fs::path newNameBeside(const fs::path& target) {
    std::random_device random;
    return target.parent_path() /
           (".tarn-" + std::to_string(random()) + '-' + std::to_string(random()));
}

/// A new file without a name, for those who may not make one with a name.
OpenFile openWithoutName() {
#if defined(__linux__)
    return OpenFile(::memfd_create("tarn", MFD_CLOEXEC));
#else
    std::FILE* const file = std::tmpfile();
    if (file == nullptr) {
        return OpenFile();
    }
    OpenFile copy(::fcntl(::fileno(file), F_DUPFD_CLOEXEC, 0));
    std::fclose(file);
    return copy;
#endif
}

class PosixFileReplacement final : public FileReplacement {
public:
    explicit PosixFileReplacement(const std::string& name);
    PosixFileReplacement(const PosixFileReplacement&) = delete;
    PosixFileReplacement& operator=(const PosixFileReplacement&) = delete;
    ~PosixFileReplacement() override;

    void write(std::string_view text) override;
    void commit() override;

private:
    void openTarget();
    void findPlace();
    void openNew();
    /// Moves the new file over the target; false if the target has to be overwritten instead.
    bool replace();
    void check(bool isDone) const;

    std::string name_; ///< what messages call the target
    OpenFile target_;  ///< what is there; not open if nothing is
    struct stat targetStatus_ = {};
    bool isStream_ = false;     ///< the target is no regular file and takes text as it comes
    fs::path place_;            ///< what to replace; empty if that cannot be named
    bool isReplaceable_ = true; ///< whether everybody then finds the new file instead of the old
    OpenFile new_;              ///< not open if the target is a stream
    fs::path newName_;          ///< empty if it has none, or none any more
};

PosixFileReplacement::PosixFileReplacement(const std::string& name) : name_(name) {
    openTarget();
    if (!isStream_) {
        findPlace();
        openNew(); // last: what it makes is removed by the destructor
    }
}

PosixFileReplacement::~PosixFileReplacement() {
    if (!newName_.empty()) {
        ::unlink(newName_.c_str());
    }
}

void PosixFileReplacement::openTarget() {
    // Opened although it may be replaced: what may not be written may not be replaced either.
    // Without waiting: a pipe that nobody reads would take for ever.
    target_ = OpenFile(::open(name_.c_str(), O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (!target_.isOpen()) {
        check(errno == ENOENT);
        return;
    }
    check(target_.readStatus(targetStatus_));
    isStream_ = !S_ISREG(targetStatus_.st_mode);
    if (isStream_) {
        const int flags = ::fcntl(target_.descriptor(), F_GETFL);
        check(flags >= 0 && ::fcntl(target_.descriptor(), F_SETFL, flags & ~O_NONBLOCK) == 0);
    }
}

void PosixFileReplacement::findPlace() {
    place_ = followLinks(name_);
    isReplaceable_ = !place_.empty() && targetStatus_.st_nlink <= 1;
    if (place_.empty() && !target_.isOpen()) {
        errno = ENOENT;
        check(false);
    }
}

void PosixFileReplacement::openNew() {
    if (!place_.empty()) {
        // A new file gets what the process gives every new file; a copy of one that others may not
        // read is closed to them from the start.
        const mode_t permissions = target_.isOpen() ? 0600 : 0666;
        const fs::path name = newNameBeside(place_);
        new_ = OpenFile(::open(name.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, permissions));
        if (new_.isOpen()) {
            newName_ = name;
            return;
        }
        check(target_.isOpen() && isDenied());
    }
    isReplaceable_ = false;
    new_ = openWithoutName();
    check(new_.isOpen());
}

void PosixFileReplacement::write(std::string_view text) {
    check((isStream_ ? target_ : new_).write(text));
}

void PosixFileReplacement::commit() {
    if (!isStream_ && !(isReplaceable_ && replace())) {
        check(target_.overwrite(new_));
    }
}

bool PosixFileReplacement::replace() {
    check(!target_.isOpen() || takeAccess(new_, target_));
    check(new_.synchronise());
    if (std::rename(newName_.c_str(), place_.c_str()) == 0) {
        newName_.clear();
        return true;
    }
    // The mount point of a single file is busy; a directory may protect the files of others.
    check(target_.isOpen() && (errno == EBUSY || isDenied()));
    return false;
}

void PosixFileReplacement::check(bool isDone) const {
    if (isDone) {
        return;
    }
    const std::error_code reason(errno, std::generic_category());
    std::error_code ignored;
    const bool isUnreadPipe = reason.value() == ENXIO && fs::is_fifo(fs::status(name_, ignored));
    throw std::system_error(reason, "cannot write '" + name_ + '\'' +
                                        (isUnreadPipe ? ", a pipe that nobody reads" : ""));
}

} // namespace

std::unique_ptr<FileReplacement> FileReplacement::open(const std::string& name) {
    return std::make_unique<PosixFileReplacement>(name);
}

} // namespace tarn
