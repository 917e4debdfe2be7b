// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "support/TemporaryDirectory.h"

#include <string>
#include <sys/mount.h>

namespace tarn::testing {

/// A disk of so many bytes in memory. Not every user may mount one: a test first asks whether it is
/// there, and says so if it has to be skipped.
class SmallDisk {
public:
    explicit SmallDisk(std::size_t bytes)
        : isThere_(::mount("tmpfs", directory_.path().c_str(), "tmpfs", 0,
                           ("size=" + std::to_string(bytes)).c_str()) == 0) {}
    SmallDisk(const SmallDisk&) = delete;
    SmallDisk& operator=(const SmallDisk&) = delete;
    ~SmallDisk() {
        if (isThere_) {
            ::umount2(directory_.path().c_str(), MNT_DETACH);
        }
    }

    bool isThere() const { return isThere_; }
    std::string operator/(const std::string& name) const { return directory_ / name; }

private:
    TemporaryDirectory directory_;
    bool isThere_;
};

} // namespace tarn::testing
