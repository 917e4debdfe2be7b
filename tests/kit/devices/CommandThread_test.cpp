// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "device/DeviceTesting.h"

#include <tarn/CommInterface.h>
#include <tarn_kit/devices/CommandThread.h>
#include <tarn_kit/devices/WakeableWait.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace tarn::kit {
namespace {

using device_testing::Callback;
using device_testing::Gate;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::SizeIs;

constexpr int closingNumber = 7;

/// Knows the command "say", which it replies to with its payload, "refuse", and "hold", which keeps
/// the thread until the channel is being closed.
class ThreadedChannel : public CommInterface {
public:
    ThreadedChannel()
        : CommInterface("test", "channel"),
          thread_({[this](const Request& request, Reply& reply) { return handle(request, reply); },
                   [this] { wait_.untilWoken(); }, [this] { wait_.wake(); },
                   [this] { ++proceeded_; }, closingNumber}) {}
    ~ThreadedChannel() override { thread_.close(); }
    ThreadedChannel(const ThreadedChannel&) = delete;
    ThreadedChannel& operator=(const ThreadedChannel&) = delete;

    CommandThread& thread() { return thread_; }
    int proceeded() const { return proceeded_; }
    /// Waits until "hold" holds the thread.
    void awaitHeld() { held_.wait(); }
    std::vector<std::thread::id> carriedOutOn; ///< where "say" was, of the thread's own

protected:
    void doRequest(std::shared_ptr<Request> request, std::shared_ptr<Reply> reply) override {
        thread_.request(std::move(request), std::move(reply));
    }

private:
    bool handle(const Request& request, Reply& reply) {
        if (request.id() == "say") {
            carriedOutOn.push_back(std::this_thread::get_id());
            reply.setResultCode(0);
            reply.setData(request.data());
        } else if (request.id() == "refuse") {
            failCommand(reply, 3, "not today");
        } else if (request.id() == "hold") {
            held_.open();
            while (syncRequest("say")->errorCode() != closingNumber) {
            }
        } else {
            return false;
        }
        return true;
    }

    WakeableWait wait_;
    Gate held_;
    std::atomic<int> proceeded_{0};
    CommandThread thread_;
};

std::shared_ptr<Request> say(int number) { return std::make_shared<Request>("say", number); }

TEST(CommandThread, CarriesOutCommandsInTheirOrderOnAThreadOfItsOwn) {
    ThreadedChannel channel;
    channel.thread().start();
    std::vector<int> said;
    for (int i = 0; i < 5; ++i) {
        channel.asyncRequest(say(i), [&said](const std::shared_ptr<Reply>& reply) {
            said.push_back(reply->dataAs<int>());
        });
    }
    EXPECT_EQ(channel.syncRequest(say(5))->dataAs<int>(), 5);
    EXPECT_THAT(said, ElementsAre(0, 1, 2, 3, 4));
    ASSERT_THAT(channel.carriedOutOn, SizeIs(6));
    EXPECT_NE(channel.carriedOutOn.front(), std::this_thread::get_id());
    EXPECT_THAT(channel.carriedOutOn, Each(channel.carriedOutOn.front()));
    EXPECT_FALSE(channel.thread().isCurrent());
}

TEST(CommandThread, SaysThatItDoesNotKnowACommand) {
    ThreadedChannel channel;
    channel.thread().start();
    const auto reply = channel.syncRequest("dance");
    EXPECT_EQ(reply->resultCode(), commandUnknown);
    EXPECT_EQ(reply->errorCode(), 0);
}

TEST(CommandThread, FailsACommandWithTheDevicesOwnNumberAndWords) {
    ThreadedChannel channel;
    channel.thread().start();
    const auto reply = channel.syncRequest("refuse");
    EXPECT_EQ(reply->resultCode(), commandFailed);
    EXPECT_EQ(reply->errorCode(), 3);
    EXPECT_EQ(reply->errorString(), "not today");
}

TEST(CommandThread, KeepsCommandsUntilItIsStarted) {
    ThreadedChannel channel;
    Gate answered;
    channel.asyncRequest(say(1), [&](const std::shared_ptr<Reply>& reply) {
        EXPECT_TRUE(*reply);
        answered.open();
    });
    EXPECT_THAT(channel.carriedOutOn, SizeIs(0));
    channel.thread().start();
    answered.wait();
}

TEST(CommandThread, AnswersOnItsOwnThreadBeforeTheCallReturns) {
    ThreadedChannel channel;
    channel.thread().start();
    Gate done;
    channel.asyncRequest(say(1), [&](const std::shared_ptr<Reply>& /*reply*/) {
        EXPECT_TRUE(channel.thread().isCurrent());
        EXPECT_EQ(channel.syncRequest(say(2))->dataAs<int>(), 2);
        done.open();
    });
    done.wait();
}

TEST(CommandThread, NestsSixteenRequestsAndHasTheNextWaitForItsTurn) {
    ThreadedChannel channel;
    channel.thread().start();
    int depth = 0;
    int deepest = 0;
    int links = 0;
    Gate done;
    const Callback next = [&](const std::shared_ptr<Reply>& /*reply*/) {
        deepest = std::max(deepest, ++depth);
        if (++links < 5000) {
            channel.asyncRequest(say(links), next);
        } else {
            done.open();
        }
        --depth;
    };
    channel.asyncRequest(say(0), next);
    done.wait();
    channel.thread().close(); // the callbacks have returned
    EXPECT_EQ(deepest, 17);   // the one that waited, and 16 within each other
}

TEST(CommandThread, ProceedsDuringAnEndlessChainOfCallbacks) {
    ThreadedChannel channel;
    channel.thread().start();
    Gate over;
    const Callback next = [&](const std::shared_ptr<Reply>& /*reply*/) {
        if (channel.proceeded() < 100) {
            channel.asyncRequest(say(0), next);
        } else {
            over.open();
        }
    };
    channel.asyncRequest(say(0), next);
    over.wait();
}

TEST(CommandThread, RefusesWhatWaitsWhenItIsClosed) {
    ThreadedChannel channel;
    channel.thread().start();
    channel.asyncRequest("hold", [](const std::shared_ptr<Reply>& /*reply*/) {});
    channel.awaitHeld();
    std::vector<std::string> refused;
    for (const char* id : {"say", "dance"}) {
        channel.asyncRequest(id, [&](const std::shared_ptr<Reply>& reply) {
            EXPECT_EQ(reply->resultCode(), commandFailed);
            EXPECT_EQ(reply->errorCode(), closingNumber);
            refused.push_back(reply->id());
        });
    }
    channel.thread().close();
    EXPECT_THAT(refused, ElementsAre("say", "dance"));
    EXPECT_EQ(channel.syncRequest("say")->errorCode(), closingNumber); // at once, from now on
    channel.thread().close();
}

TEST(CommandThread, RefusesWhatWaitsWhenItIsClosedUnstarted) {
    ThreadedChannel channel;
    std::vector<int> errors;
    channel.asyncRequest(
        say(1), [&](const std::shared_ptr<Reply>& reply) { errors.push_back(reply->errorCode()); });
    channel.thread().close();
    EXPECT_THAT(errors, ElementsAre(closingNumber));
}

TEST(CommandThread, CutsOffAChainThatGoesOnWhileItIsClosed) {
    ThreadedChannel channel;
    channel.thread().start();
    channel.asyncRequest("hold", [](const std::shared_ptr<Reply>& /*reply*/) {});
    channel.awaitHeld();
    int refused = 0;
    const auto kept = std::make_shared<int>();
    std::function<void()> ask = [&, kept] {
        channel.asyncRequest("say", [&, kept](const std::shared_ptr<Reply>& /*reply*/) {
            ++refused;
            ask();
        });
    };
    ask();
    channel.thread().close();
    EXPECT_EQ(refused, 17); // the one that waited, and 16 within each other
    ask = nullptr;
    EXPECT_EQ(kept.use_count(), 1); // nothing of the chain is left behind
}

TEST(CommandThreadThreads, AnswersEveryoneWhoAsksAtOnce) {
    constexpr int threads = 4;
    constexpr int requests = 500;
    ThreadedChannel channel;
    channel.thread().start();
    std::atomic<int> answered{0};
    std::vector<std::thread> askers;
    askers.reserve(threads);
    for (int i = 0; i < threads; ++i) {
        askers.emplace_back([&] {
            for (int number = 0; number < requests; ++number) {
                if (number % 2 == 0) {
                    EXPECT_EQ(channel.syncRequest(say(number))->dataAs<int>(), number);
                    ++answered;
                } else {
                    channel.asyncRequest(
                        say(number), [&](const std::shared_ptr<Reply>& /*reply*/) { ++answered; });
                }
            }
        });
    }
    for (std::thread& asker : askers) {
        asker.join();
    }
    channel.thread().close();
    EXPECT_EQ(answered, threads * requests);
}

TEST(CommandThreadThreads, AnswersACallerThatIsBlockedWhenItIsClosed) {
    ThreadedChannel channel; // not started: whoever asks is blocked
    std::shared_ptr<Reply> reply;
    std::thread caller([&] { reply = channel.syncRequest("say"); });
    channel.thread().close();
    caller.join();
    EXPECT_EQ(reply->errorCode(), closingNumber);
}

#ifndef NDEBUG
TEST(CommandThreadDeathTest, IsNotClosedOnItself) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto closeInACallback = [] {
        ThreadedChannel channel;
        Gate never;
        channel.asyncRequest(
            "say", [&](const std::shared_ptr<Reply>& /*reply*/) { channel.thread().close(); });
        channel.thread().start();
        never.wait();
    };
    EXPECT_DEATH(closeInACallback(), "isCurrent");
}
#endif

} // namespace
} // namespace tarn::kit
