// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <string_view>
#include <sys/stat.h>

namespace tarn {

/// An open file of a POSIX system, closed when it goes. Where a member answers false, `errno` says
/// why.
class OpenFile {
public:
    OpenFile() = default;
    /// Takes over a descriptor; a negative one is none.
    explicit OpenFile(int descriptor) : descriptor_(descriptor) {}
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;
    OpenFile(OpenFile&& other) noexcept;
    OpenFile& operator=(OpenFile&& other) noexcept;
    ~OpenFile();

    bool isOpen() const { return descriptor_ >= 0; }
    int descriptor() const { return descriptor_; }
    bool readStatus(struct stat& status) const;

    bool write(std::string_view text) const;
    /// Makes the content of `source` that of this file, in place.
    bool overwrite(const OpenFile& source) const;
    /// Waits until everything is on the disk, where there is one.
    bool synchronise() const;

private:
    /// Copies the bytes from `begin` to before `end` to the same place.
    bool copy(const OpenFile& source, off_t begin, off_t end) const;

    int descriptor_ = -1;
};

} // namespace tarn
