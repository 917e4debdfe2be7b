// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "rows/UnfinishedFile.h"

#include <tarn_store/file/StoreError.h>

#include <atomic>
#include <fcntl.h>
#include <string>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace tarn::store {

namespace fs = std::filesystem;

UnfinishedFile::UnfinishedFile(fs::path target) : target_(std::move(target)) {
    static std::atomic<int> count = 0;
    path_ = target_;
    path_ += "." + std::to_string(::getpid()) + "-" + std::to_string(++count) + ".part";
    std::error_code error;
    if (fs::is_directory(target_, error)) {
        throw StoreError(target_, StoreProblem::Refused, "is a directory");
    }
}

UnfinishedFile::~UnfinishedFile() {
    std::error_code ignored;
    fs::remove(path_, ignored);
}

void UnfinishedFile::putInPlace() {
    const int file = ::open(path_.c_str(), O_RDONLY | O_CLOEXEC);
    const bool isOnDisk = file >= 0 && ::fsync(file) == 0;
    if (file >= 0) {
        ::close(file);
    }
    std::error_code error;
    if (isOnDisk) {
        fs::rename(path_, target_, error);
    }
    if (!isOnDisk || error) {
        throw StoreError(target_, StoreProblem::Failed, "cannot be put in place");
    }
}

} // namespace tarn::store
