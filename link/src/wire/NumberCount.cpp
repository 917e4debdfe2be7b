// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "wire/NumberCount.h"

#include <cstddef>
#include <iterator>

namespace tarn::link {

namespace {

constexpr std::size_t mostGaps = 256;           // older ones stay missing
constexpr std::uint64_t farthest = 100'000'000; // a day and a half of a thousand per second

} // namespace

NumberCount::Place NumberCount::arrived(std::uint64_t number) {
    if (!hasBegun_) {
        hasBegun_ = true;
        first_ = number;
        next_ = number + 1;
        return Place::Next;
    }
    if (number < next_) {
        return find(number) ? Place::Missed : Place::Repeated;
    }
    if (number - next_ > farthest) {
        return Place::Absurd;
    }
    miss(next_, number);
    next_ = number + 1;
    return Place::Next;
}

void NumberCount::sentUpTo(std::uint64_t end) {
    if (hasBegun_ && end > next_) {
        miss(next_, end);
        next_ = end;
    }
}

void NumberCount::miss(std::uint64_t from, std::uint64_t end) {
    if (from == end) {
        return;
    }
    missing_ += end - from;
    gaps_[from] = end;
    if (gaps_.size() > mostGaps) {
        gaps_.erase(gaps_.begin());
    }
}

bool NumberCount::find(std::uint64_t number) {
    const auto after = gaps_.upper_bound(number);
    if (after == gaps_.begin()) {
        return false;
    }
    const auto gap = std::prev(after);
    const auto [from, end] = *gap;
    if (number >= end) {
        return false;
    }
    gaps_.erase(gap);
    if (from < number) {
        gaps_[from] = number;
    }
    if (number + 1 < end) {
        gaps_[number + 1] = end;
    }
    --missing_;
    return true;
}

} // namespace tarn::link
