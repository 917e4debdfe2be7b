// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tsignal/Signal.h>

#include <atomic>
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <new>
#include <string>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

#ifdef __linux__
#include <sched.h>
#endif

namespace signal_testing {

/// What happened, in the order in which it happened.
using Trace = std::vector<std::string>;

/// Does `work` on a thread of its own and waits for it.
template <class Work>
void onAnotherThread(Work work) {
    std::thread(std::move(work)).join();
}

/// Runs `work(thread number)` on so many threads at once.
template <class Work>
void onSeveralThreads(int count, Work work) {
    std::vector<std::thread> threads;
    threads.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        threads.emplace_back(work, i);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

/// Keeps the calling thread on one of the machine's processors, where that can be done: threads
/// that are to meet at an instant need one each.
inline void stayOnProcessor(int number) {
#ifdef __linux__
    cpu_set_t usable;
    if (sched_getaffinity(0, sizeof(usable), &usable) != 0) {
        return;
    }
    number %= CPU_COUNT(&usable);
    for (std::size_t i = 0; i < CPU_SETSIZE; ++i) {
        if (CPU_ISSET(i, &usable) && number-- == 0) {
            cpu_set_t one;
            CPU_ZERO(&one);
            CPU_SET(i, &one);
            sched_setaffinity(0, sizeof(one), &one);
        }
    }
#else
    static_cast<void>(number);
#endif
}

/// A line that threads cross together, round after round: each waits there for all the others.
class StartLine {
public:
    explicit StartLine(int threads) : threads_(threads) {}

    void cross() {
        const int round = round_;
        if (++arrived_ == threads_) {
            arrived_ = 0;
            ++round_;
        } else {
            for (int tries = 0; round_ == round; ++tries) {
                if (tries > 1000) {
                    std::this_thread::yield(); // the others may need this processor
                }
            }
        }
    }

private:
    int threads_;
    std::atomic<int> arrived_ = 0;
    std::atomic<int> round_ = 0;
};

/// Whether any thread but the caller's would have to wait for the signal. The mutex is the first
/// field of a signal; trying it answers at once where an operation of the signal would block.
template <class... Args>
bool isLockedForOthers(tsignal::Signal<Args...>& signal) {
    static_assert(!std::is_polymorphic_v<tsignal::Signal<Args...>>);
    auto& mutex = *std::launder(reinterpret_cast<std::recursive_mutex*>(&signal));
    bool locked = false;
    onAnotherThread([&] {
        const std::unique_lock<std::recursive_mutex> attempt(mutex, std::try_to_lock);
        locked = !attempt.owns_lock();
    });
    return locked;
}

/// Something for a callable to capture: runs `whenGone` as soon as the last copy is destroyed.
inline std::shared_ptr<void> cargo(std::function<void()> whenGone) {
    return {nullptr, [whenGone = std::move(whenGone)](void* /*nothing*/) { whenGone(); }};
}

} // namespace signal_testing
