// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "settings/OpenFile.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <unistd.h>
#include <utility>

namespace tarn {

namespace {

/// Calls `writePart` with what is left of `text` until nothing is; it answers how much it took.
template <class WritePart>
bool writeAll(std::string_view text, WritePart writePart) {
    while (!text.empty()) {
        const ssize_t written = writePart(text);
        if (written < 0 && errno != EINTR) {
            return false;
        }
        text.remove_prefix(written < 0 ? 0 : static_cast<std::size_t>(written));
    }
    return true;
}

} // namespace

OpenFile::OpenFile(OpenFile&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}

OpenFile& OpenFile::operator=(OpenFile&& other) noexcept {
    std::swap(descriptor_, other.descriptor_);
    return *this;
}

OpenFile::~OpenFile() {
    if (isOpen()) {
        ::close(descriptor_);
    }
}

bool OpenFile::readStatus(struct stat& status) const { return ::fstat(descriptor_, &status) == 0; }

bool OpenFile::write(std::string_view text) const {
    return writeAll(text, [this](std::string_view rest) {
        return ::write(descriptor_, rest.data(), rest.size());
    });
}

bool OpenFile::overwrite(const OpenFile& source) const {
    struct stat before = {};
    struct stat after = {};
    if (!readStatus(before) || !source.readStatus(after)) {
        return false;
    }
    // What is longer than before goes first: a disk that has no room for it is found out while what
    // was there can still be had back.
    if (!copy(source, before.st_size, after.st_size)) {
        const int reason = errno;
        const bool isRestored = ::ftruncate(descriptor_, before.st_size) == 0;
        errno = isRestored ? reason : errno;
        return false;
    }
    return copy(source, 0, std::min(before.st_size, after.st_size)) &&
           (after.st_size >= before.st_size || ::ftruncate(descriptor_, after.st_size) == 0) &&
           synchronise();
}

bool OpenFile::copy(const OpenFile& source, off_t begin, off_t end) const {
    std::array<char, 16384> block{};
    while (begin < end) {
        const auto size = std::min(block.size(), static_cast<std::size_t>(end - begin));
        const ssize_t count = ::pread(source.descriptor_, block.data(), size, begin);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            return false;
        }
        const bool isWritten = writeAll(
            {block.data(), static_cast<std::size_t>(count)}, [this, &begin](std::string_view rest) {
                const ssize_t written = ::pwrite(descriptor_, rest.data(), rest.size(), begin);
                begin += std::max<ssize_t>(written, 0);
                return written;
            });
        if (!isWritten) {
            return false;
        }
    }
    return true;
}

bool OpenFile::synchronise() const {
    // EINVAL: this one has no disk.
    return ::fsync(descriptor_) == 0 || errno == EINVAL;
}

} // namespace tarn
