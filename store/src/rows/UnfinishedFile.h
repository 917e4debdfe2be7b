// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <filesystem>

namespace tarn::store {

/// A file that is written beside its target and takes its place once it is complete. Until then it
/// goes away with the object.
class UnfinishedFile {
public:
    explicit UnfinishedFile(std::filesystem::path target);
    UnfinishedFile(const UnfinishedFile&) = delete;
    UnfinishedFile& operator=(const UnfinishedFile&) = delete;
    ~UnfinishedFile();

    const std::filesystem::path& target() const noexcept { return target_; }
    const std::filesystem::path& path() const noexcept { return path_; }
    /// Throws `StoreError` if that fails.
    void putInPlace();

private:
    std::filesystem::path target_;
    std::filesystem::path path_;
};

} // namespace tarn::store
