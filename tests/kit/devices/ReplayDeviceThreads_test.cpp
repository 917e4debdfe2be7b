// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "kit/devices/ReplayTesting.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <functional>
#include <random>
#include <set>
#include <thread>

// The device's own thread: what runs on it, and commands that are given there.

namespace tarn::kit {
namespace {

using namespace replay_testing;
using namespace std::chrono_literals;
using ::testing::AllOf;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::Ge;
using ::testing::Le;

using Callback = std::function<void(const std::shared_ptr<Reply>&)>;

class ReplayThreads : public ::testing::Test {
protected:
    ReplayThreads() : file_(5) { replay_.open(file_); }
    /// Calls `slot` with the device and every frame's index.
    void onFrame(const std::function<void(Device&, unsigned)>& slot) {
        Device& device = replay_.device();
        device.oFramePort(ReplayDevice::posePort).connect([&device, slot](const FramePtr& frame) {
            slot(device, frame->time().frameIndex());
        });
    }
    void startAsFastAsItCan() {
        replay_.command("rate", 0);
        replay_.command("start");
    }
    Replay& replay() { return replay_; }

private:
    TakeFile file_;
    Replay replay_;
};

TEST_F(ReplayThreads, RunSlotsAndCallbacksOnOneThreadOfTheDevicesOwn) {
    Heard<std::thread::id> threads;
    const auto note = [&threads] { threads.add(std::this_thread::get_id()); };
    onFrame([&](Device& /*device*/, unsigned /*index*/) { note(); });
    replay().device().onStateChanged().connect([&](State /*state*/) { note(); });
    for (const char* id : {"start", "play", "status"}) {
        replay().device().asyncRequest(id,
                                       [&](const std::shared_ptr<Reply>& /*reply*/) { note(); });
    }
    threads.await(5);
    replay().command("stop");
    const std::vector<std::thread::id> heard = threads.all();
    EXPECT_EQ(heard.size(), 6U);
    EXPECT_EQ(std::set<std::thread::id>(heard.begin(), heard.end()).size(), 1U);
    EXPECT_NE(heard.front(), std::this_thread::get_id());
}

TEST_F(ReplayThreads, CarryOutCommandsInTheOrderInWhichTheyCome) {
    Heard<int> nextFrames;
    for (const int index : {4, 2, 3}) {
        replay().device().asyncRequest(std::make_shared<Request>("seek", index),
                                       [](const std::shared_ptr<Reply>& /*reply*/) {});
        replay().device().asyncRequest("status", [&](const std::shared_ptr<Reply>& reply) {
            nextFrames.add(reply->dataAs<ReplayStatus>().nextFrame);
        });
    }
    nextFrames.await(3);
    EXPECT_THAT(nextFrames.all(), ElementsAre(4, 2, 3));
}

TEST_F(ReplayThreads, AnswerASlotThatBlocksForTheReply) {
    Heard<int> codes;
    onFrame([&](Device& device, unsigned index) {
        if (index == 2) {
            codes.add(device.syncRequest("pause")->resultCode());
            codes.add(device.syncRequest("play")->resultCode());
        }
    });
    startAsFastAsItCan();
    replay().awaitStates(3);
    EXPECT_EQ(replay().status().nextFrame, 3);
    EXPECT_EQ(replay().indexes(), upTo(3));
    EXPECT_THAT(codes.all(), ElementsAre(0, 1));
}

TEST_F(ReplayThreads, AnswerACallbackThatBlocksForTheReply) {
    Heard<int> codes;
    Device& device = replay().device();
    device.asyncRequest("pause", [&](const std::shared_ptr<Reply>& /*reply*/) {
        codes.add(device.syncRequest("status")->resultCode());
    });
    codes.await(1);
    EXPECT_THAT(codes.all(), ElementsAre(0));
}

TEST_F(ReplayThreads, LetASlotMoveTheTakeThatItHears) {
    const TakeFile other(2);
    onFrame([&](Device& device, unsigned index) {
        if (index == 4) {
            EXPECT_TRUE(*device.syncRequest(std::make_shared<Request>("open", other.path())));
            EXPECT_TRUE(*device.syncRequest("start"));
        }
    });
    startAsFastAsItCan();
    replay().awaitStates(5);
    EXPECT_THAT(replay().indexes(), ElementsAre(0, 1, 2, 3, 4, 0, 1));
    EXPECT_THAT(replay().states(), ElementsAre(Device::Ready, Device::Busy, Device::Ready,
                                               Device::Busy, Device::Ready));
}

TEST_F(ReplayThreads, LetTheSlotOfTheLastFrameGoBack) {
    int rounds = 0;
    onFrame([&](Device& device, unsigned index) {
        if (index == 4 && ++rounds < 3) {
            device.syncRequest(std::make_shared<Request>("seek", 3));
        }
    });
    startAsFastAsItCan();
    replay().awaitStates(3);
    EXPECT_THAT(replay().indexes(), ElementsAre(0, 1, 2, 3, 4, 3, 4, 3, 4));
}

TEST_F(ReplayThreads, TellEveryListenerTheStatesInTheirOrderAlsoWhenOneOfThemCommands) {
    Heard<State> later;
    Heard<State> inPlace;
    Device& device = replay().device();
    int rounds = 0;
    device.onStateChanged().connect([&](State state) {
        if (state == Device::Ready && ++rounds < 3) {
            device.syncRequest("start");
            inPlace.add(device.syncRequest("status")->dataAs<ReplayStatus>().state);
        }
    });
    device.onStateChanged().connect([&](State state) { later.add(state); });
    startAsFastAsItCan();
    later.await(6);
    EXPECT_THAT(later.all(), ElementsAre(Device::Busy, Device::Ready, Device::Busy, Device::Ready,
                                         Device::Busy, Device::Ready));
    EXPECT_THAT(inPlace.all(), ElementsAre(Device::Busy, Device::Busy));
}

TEST_F(ReplayThreads, BearAChainOfCallbacksOfAnyLength) {
    constexpr int links = 20'000;
    device_testing::Gate done;
    Device& device = replay().device();
    int count = 0;
    const Callback next = [&](const std::shared_ptr<Reply>& reply) {
        EXPECT_TRUE(*reply);
        if (++count < links) {
            device.asyncRequest("status", next);
        } else {
            done.open();
        }
    };
    device.asyncRequest("status", next);
    done.wait();
    EXPECT_EQ(count, links);
}

TEST_F(ReplayThreads, GoOnSendingDuringAnEndlessChainOfCallbacks) {
    Device& device = replay().device();
    std::atomic<bool> isOver{false};
    device_testing::Gate done;
    const Callback next = [&](const std::shared_ptr<Reply>& /*reply*/) {
        if (isOver) {
            done.open();
        } else {
            device.asyncRequest("status", next);
        }
    };
    device.asyncRequest("status", next);
    startAsFastAsItCan();
    replay().awaitStates(3);
    EXPECT_EQ(replay().indexes(), upTo(5));
    isOver = true;
    done.wait();
}

TEST_F(ReplayThreads, NestTheFirstRequestsOfAChainSoThatItsCallerMayBlock) {
    Device& device = replay().device();
    Heard<int> depths;
    int depth = 0;
    const Callback next = [&](const std::shared_ptr<Reply>& /*reply*/) {
        EXPECT_TRUE(*device.syncRequest("status"));
        if (++depth < 16) {
            const int before = depth;
            device.asyncRequest("status", next);
            EXPECT_GT(depth, before); // answered by now
        } else {
            depths.add(depth);
        }
    };
    device.asyncRequest("status", next);
    depths.await(1);
    EXPECT_TRUE(*device.syncRequest("status")); // its turn comes when the whole chain is over
    EXPECT_THAT(depths.all(), ElementsAre(16));
}

/// Commands of all kinds, good and bad, in an order of their own per thread.
class RandomCommands {
public:
    RandomCommands(unsigned seed, std::filesystem::path file)
        : random_(seed), file_(std::move(file)) {}

    std::shared_ptr<Request> next() {
        switch (below(9)) {
        case 0:
            return std::make_shared<Request>("open", file_);
        case 1:
            return std::make_shared<Request>("open", std::string("missing.bvh"));
        case 2:
            return std::make_shared<Request>("pause");
        case 3:
            return std::make_shared<Request>("stop");
        case 4:
            return std::make_shared<Request>("seek", below(60) - 5);
        case 5:
            return std::make_shared<Request>("rate", below(5) / 2.0);
        case 6:
            return std::make_shared<Request>("status");
        default:
            return std::make_shared<Request>("start");
        }
    }
    bool mayBlock() { return below(2) == 0; }

private:
    int below(int end) { return std::uniform_int_distribution<int>(0, end - 1)(random_); }

    std::mt19937 random_;
    std::filesystem::path file_;
};

TEST(ReplayStress, KeepsItsWordsUnderCommandsFromManyThreads) {
    constexpr int threadCount = 4;
    constexpr int commandsPerThread = 150;
    const TakeFile file(50);
    Replay replay;
    replay.open(file);
    ReplayDevice& device = replay.device();

    // On the device's thread: frames come while it is busy, and states take turns.
    State state = Device::Ready;
    int faults = 0;
    device.onStateChanged().connect([&](State next) {
        faults += next == state ? 1 : 0;
        state = next;
    });
    device.oFramePort(ReplayDevice::posePort).connect([&](const FramePtr& /*frame*/) {
        faults += state == Device::Busy ? 0 : 1;
    });

    Heard<int> codes;
    std::atomic<int> running{threadCount};
    std::vector<std::thread> threads;
    threads.reserve(threadCount);
    for (unsigned seed = 0; seed < threadCount; ++seed) {
        threads.emplace_back([&, seed] {
            RandomCommands commands(seed, file.path());
            for (int i = 0; i < commandsPerThread; ++i) {
                if (commands.mayBlock()) {
                    codes.add(device.syncRequest(commands.next())->resultCode());
                } else {
                    device.asyncRequest(commands.next(), [&](const std::shared_ptr<Reply>& reply) {
                        codes.add(reply->resultCode());
                    });
                }
            }
            --running;
        });
    }
    while (running > 0) {
        replay.clock().advance(1ms);
        std::this_thread::yield();
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_TRUE(*replay.command("stop"));
    EXPECT_EQ(replay.status().state, Device::Ready);
    EXPECT_EQ(codes.all().size(), 1U * threadCount * commandsPerThread);
    EXPECT_THAT(codes.all(), Each(::testing::AnyOf(0, ReplayDevice::failed)));
    EXPECT_THAT(replay.indexes(), Each(AllOf(Ge(0U), Le(49U))));
    EXPECT_EQ(faults, 0);
}

} // namespace
} // namespace tarn::kit
