// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace tarn {

/// The system's side of `OutputFile`, which says what it does and what it throws; unbuffered.
class FileReplacement {
public:
    static std::unique_ptr<FileReplacement> open(const std::string& name);

    FileReplacement() = default;
    FileReplacement(const FileReplacement&) = delete;
    FileReplacement& operator=(const FileReplacement&) = delete;
    /// Discards what was not committed.
    virtual ~FileReplacement() = default;

    virtual void write(std::string_view text) = 0;
    virtual void commit() = 0;
};

} // namespace tarn
