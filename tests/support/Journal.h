// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <string>
#include <utility>
#include <vector>

namespace tarn::testing {

/// What happened, in order. Tests write a word per call and per announcement, and compare the
/// whole.
class Journal {
public:
    void note(std::string entry) { entries_.push_back(std::move(entry)); }

    /// The entries since the last call.
    std::vector<std::string> take() {
        std::vector<std::string> entries;
        entries.swap(entries_);
        return entries;
    }

private:
    std::vector<std::string> entries_;
};

using Entries = std::vector<std::string>;

} // namespace tarn::testing
