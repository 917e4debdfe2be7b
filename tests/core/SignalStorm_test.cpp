// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "SignalTesting.h"

#include <tsignal/Signal.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <memory>
#include <mutex>
#include <random>
#include <utility>
#include <vector>

// Several threads do at random, to one signal, whatever may be done to it; its slots do too.

namespace {

using tsignal::Disconnector;
using tsignal::Signal;

constexpr int threadCount = 4;
constexpr int stepsPerThread = 300;
constexpr int maximumDepth = 2;

/// What is known of a slot from outside.
struct Fate {
    std::atomic<bool> isRemoved = false; ///< its disconnection has returned outside of all calls
    std::atomic<int> destructions = 0;
};

struct Handle {
    Disconnector disconnect;
    std::shared_ptr<Fate> fate;
};

/// The disconnectors that the threads share, under a lock of the host's. No signal is used under
/// it.
class Pool {
public:
    void add(Handle handle) {
        if (handle.fate == nullptr) {
            return;
        }
        const std::lock_guard<std::mutex> lock(mutex_);
        handles_.push_back(std::move(handle));
    }

    /// A copy of one; of none while there is none.
    Handle copyOf(std::size_t number) {
        const std::lock_guard<std::mutex> lock(mutex_);
        return handles_.empty() ? Handle() : handles_[number % handles_.size()];
    }

    Handle take(std::size_t number) {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (handles_.empty()) {
            return {};
        }
        std::swap(handles_[number % handles_.size()], handles_.back());
        Handle handle = std::move(handles_.back());
        handles_.pop_back();
        return handle;
    }

private:
    std::mutex mutex_;
    std::vector<Handle> handles_;
};

class Storm {
public:
    explicit Storm(unsigned seed) : seed_(seed), objects_(3) {}

    void run() {
        signal_testing::onSeveralThreads(threadCount, [this](int thread) {
            Random random(seed_ * threadCount + static_cast<unsigned>(thread));
            for (int i = 0; i < stepsPerThread; ++i) {
                step(random, 0);
            }
        });
        signal_.disconnectAll();
        while (pool_.take(0).fate != nullptr) {
        }
    }

    int calls() const { return calls_; }
    int callsOfRemovedSlots() const { return callsOfRemovedSlots_; }
    std::size_t slotCount() const { return fates_.size(); }
    bool wasEachSlotDestroyedOnce() const {
        return std::all_of(fates_.begin(), fates_.end(),
                           [](const auto& fate) { return fate->destructions == 1; });
    }

private:
    using Random = std::minstd_rand;

    /// One random operation on a thread that has its own `random`, `depth` emissions deep.
    void step(Random& random, int depth) {
        const std::size_t number = random();
        switch (random() % 16) {
        case 0:
        case 1:
        case 2:
            return connect(nullptr);
        case 3:
        case 4:
            return connect(&objects_[number % objects_.size()]);
        case 5:
        case 6:
        case 7:
            return disconnect(pool_.copyOf(number), depth);
        case 8:
            return disconnect(pool_.take(number), depth);
        case 9:
            return pool_.add(pool_.copyOf(number));
        case 10:
        case 11:
            return static_cast<void>(pool_.take(number));
        case 12:
            return signal_.disconnect(&objects_[number % objects_.size()]);
        case 13:
            return number % 4 == 0 ? signal_.disconnectAll() : signal_.emit(random, depth);
        default:
            return signal_.emit(random, depth);
        }
    }

    void connect(int* object) {
        const auto fate = std::make_shared<Fate>();
        {
            const std::lock_guard<std::mutex> lock(fatesMutex_);
            fates_.push_back(fate);
        }
        const auto slot = [this, fate = fate.get(), held = signal_testing::cargo([fate] {
                                                        ++fate->destructions;
                                                    })](Random& random, int depth) {
            ++calls_;
            callsOfRemovedSlots_ += fate->isRemoved ? 1 : 0;
            if (depth < maximumDepth && random() % 4 == 0) {
                step(random, depth + 1);
            }
        };
        pool_.add(
            {object == nullptr ? signal_.connect(slot) : signal_.connect(object, slot), fate});
    }

    static void disconnect(const Handle& handle, int depth) {
        if (handle.fate == nullptr) {
            return;
        }
        handle.disconnect();
        if (depth == 0) { // otherwise it may be running further out
            handle.fate->isRemoved = true;
        }
    }

    unsigned seed_;
    Signal<Random&, int> signal_;
    Pool pool_;
    std::vector<int> objects_;
    std::mutex fatesMutex_;
    std::vector<std::shared_ptr<Fate>> fates_;
    int calls_ = 0;               // guarded by the signal alone
    int callsOfRemovedSlots_ = 0; // guarded by the signal alone
};

TEST(SignalStorm, DestroysEachSlotOnceAndCallsNoneThatWasRemoved) {
    for (unsigned seed = 1; seed <= 5; ++seed) {
        SCOPED_TRACE(seed);
        Storm storm(seed);
        storm.run();
        EXPECT_GT(storm.calls(), 0);
        EXPECT_EQ(storm.callsOfRemovedSlots(), 0);
        EXPECT_GT(storm.slotCount(), 0U);
        EXPECT_TRUE(storm.wasEachSlotDestroyedOnce());
    }
}

} // namespace
