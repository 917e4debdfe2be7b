// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <atomic>

namespace tsignal::detail {

/// The count of those who share something, which lives in there: all of them in one atomic word,
/// for whoever has given up his share must not look at the thing again. The word's type is a
/// parameter for the tests, which step through what threads do to it.
template <class Word = std::atomic<int>>
class Shares {
public:
    /// One more, for whoever got to know the thing from the caller, who holds a share.
    void add() { count_.fetch_add(1, std::memory_order_relaxed); }

    /// Adds one to the first, as long as no other thread knows the thing.
    void addSecond() { count_.store(2, std::memory_order_relaxed); }

    /// Gives up one share. Whoever is answered true gave up the last and destroys the thing; he
    /// sees what all others did before they gave up theirs.
    bool giveUp() {
        // A caller who reads 1 holds the only share: nobody else is left to change the number.
        return count_.load(std::memory_order_acquire) == 1 ||
               count_.fetch_sub(1, std::memory_order_acq_rel) == 1;
    }

private:
    Word count_{1};
};

} // namespace tsignal::detail
