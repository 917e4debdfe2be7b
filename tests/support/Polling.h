// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <atomic>
#include <thread>

namespace tarn::testing {

/// Does `work` on a thread of its own and, from before it begins until after it has ended, `poll`
/// again and again on this one. At least one poll comes while the work may run.
template <class Work, class Poll>
void whilePolling(Work work, Poll poll) {
    std::atomic<bool> polling{false};
    std::atomic<bool> done{false};
    std::thread worker([&] {
        while (!polling) {
            std::this_thread::yield();
        }
        work();
        done = true;
    });
    do {
        polling = true;
        poll();
        std::this_thread::yield();
    } while (!done);
    worker.join();
}

} // namespace tarn::testing
