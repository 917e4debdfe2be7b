// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tsignal/Signal.h>

#include <functional>
#include <memory>
#include <mutex>
#include <new>
#include <string>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

namespace signal_testing {

/// What happened, in the order in which it happened.
using Trace = std::vector<std::string>;

/// Does `work` on a thread of its own and waits for it.
template <class Work>
void onAnotherThread(Work work) {
    std::thread(std::move(work)).join();
}

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
