// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstdint>
#include <map>

namespace tarn::link {

/// Tells from the numbers of what arrives what is missing. The first number that arrives is where
/// counting begins.
class NumberCount {
public:
    enum class Place : std::uint8_t {
        Next,     ///< after all that came before
        Missed,   ///< behind some of that, and it was missed
        Repeated, ///< it was here before, or is from before the first
        Absurd,   ///< so far ahead that nobody has counted up to it
    };

    Place arrived(std::uint64_t number);
    /// Up to `end`, exclusively, all were sent: what has not arrived is missing.
    void sentUpTo(std::uint64_t end);

    bool hasBegun() const noexcept { return hasBegun_; }
    std::uint64_t first() const noexcept { return first_; }
    /// After the highest number so far.
    std::uint64_t next() const noexcept { return next_; }
    /// How many are missing now.
    std::uint64_t missing() const noexcept { return missing_; }

private:
    void miss(std::uint64_t from, std::uint64_t end);
    bool find(std::uint64_t number);

    bool hasBegun_ = false;
    std::uint64_t first_ = 0;
    std::uint64_t next_ = 0;
    std::uint64_t missing_ = 0;
    std::map<std::uint64_t, std::uint64_t> gaps_; ///< the latest ones: first number and end
};

} // namespace tarn::link
