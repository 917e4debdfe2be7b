// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_store/recording/TakeRecorder.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>

namespace tarn::store {

/// Knows how long the space on the disk will do.
class SpaceWatch {
public:
    /// Throws `StoreError` if there is less than the recording is expected to take.
    SpaceWatch(const std::filesystem::path& file, const RecorderOptions& options);

    /// After so many bytes were written: in how many seconds the disk will be full, if that is soon
    /// and was not said before.
    std::optional<int> check(std::uint64_t bytes);

private:
    using Instant = std::chrono::steady_clock::time_point;

    std::filesystem::path file_;
    std::function<std::uint64_t(const std::filesystem::path&)> freeSpace_;
    double warning_; ///< seconds
    Instant since_;
    double written_ = 0; ///< since then
    bool isSaid_ = false;
};

} // namespace tarn::store
