// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "recording/SpaceWatch.h"

#include <limits>
#include <string>
#include <system_error>
#include <utility>

namespace tarn::store {

namespace {

namespace fs = std::filesystem;

std::uint64_t freeSpaceFor(const fs::path& file) {
    std::error_code error;
    const fs::path name = fs::absolute(file, error);
    const auto space = fs::space(name.parent_path(), error);
    return error ? std::numeric_limits<std::uint64_t>::max() : space.available;
}

std::string sizeText(std::uint64_t bytes) {
    constexpr std::uint64_t megabyte = 1'000'000;
    return bytes < megabyte ? std::to_string(bytes / 1000) + " kB"
                            : std::to_string(bytes / megabyte) + " MB";
}

constexpr double forgetting = 10; // seconds over which the rate is measured

} // namespace

SpaceWatch::SpaceWatch(const fs::path& file, const RecorderOptions& options)
    : file_(file), freeSpace_(options.freeSpace),
      warning_(static_cast<double>(options.spaceWarning.count())),
      since_(std::chrono::steady_clock::now()) {
    if (!freeSpace_) {
        freeSpace_ = [](const fs::path& path) { return freeSpaceFor(path); };
    }
    const std::uint64_t available = freeSpace_(file_);
    if (options.expectedBytes > available) {
        throw StoreError(file_, StoreProblem::Full,
                         "the recording is expected to take " + sizeText(options.expectedBytes) +
                             ", and " + sizeText(available) + " are left");
    }
}

std::optional<int> SpaceWatch::check(std::uint64_t bytes) {
    written_ += static_cast<double>(bytes);
    const auto now = std::chrono::steady_clock::now();
    const double seconds = std::chrono::duration<double>(now - since_).count();
    if (seconds <= 0 || written_ <= 0) {
        return std::nullopt;
    }
    const double left = static_cast<double>(freeSpace_(file_)) * seconds / written_;
    if (seconds > forgetting) {
        since_ = now - std::chrono::duration_cast<Instant::duration>(
                           std::chrono::duration<double>(seconds / 2));
        written_ /= 2;
    }
    if (left >= 2 * warning_) {
        isSaid_ = false;
    }
    if (left >= warning_ || std::exchange(isSaid_, true)) {
        return std::nullopt;
    }
    return static_cast<int>(left);
}

} // namespace tarn::store
