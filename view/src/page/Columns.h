// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace tarn::view {

/// Columns of whole numbers over time, packed such that a general compressor finds little left:
/// differences from one number to the next (or of those, where that is less), zigzag, so that small
/// ones of either sign have small codes, and the bytes of equal weight together.
///
/// A column is a byte that says how often differences were taken (0 to 2), one that says how many
/// bytes a code has (0 where all are 0), and then that many planes of one byte per number, the
/// lowest first.
class Columns {
public:
    /// Precondition: numbers are within 2^30.
    void add(const std::vector<std::int32_t>& numbers);

    const std::string& bytes() const { return bytes_; }

private:
    std::string bytes_;
};

/// `bytes` as zlib compresses them, in base64.
std::string packed(const std::string& bytes);

} // namespace tarn::view
