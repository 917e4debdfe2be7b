// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <atomic>
#include <thread>

namespace tarn::testing {

/// Does `work` on a thread of its own and, from before it begins until after it has ended, `poll`
/// again and again on this one.
///
/// What the two tell each other orders nothing else between them: to ThreadSanitizer every poll is
/// concurrent with all of the work, also where the machine has run one after the other.
template <class Work, class Poll>
void whilePolling(Work work, Poll poll) {
    constexpr auto relaxed = std::memory_order_relaxed;
    std::atomic<bool> polling{false};
    std::atomic<bool> done{false};
    std::thread worker([&] {
        while (!polling.load(relaxed)) {
            std::this_thread::yield();
        }
        work();
        done.store(true, relaxed);
    });
    bool last = false;
    do {
        last = done.load(relaxed);
        polling.store(true, relaxed);
        poll();
        std::this_thread::yield();
    } while (!last);
    worker.join();
}

} // namespace tarn::testing
