// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

// Some thousand requests, finished by threads of the channel's own, many of them twice.
#include "device/DeviceTesting.h"

#include <tarn/CommInterface.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

using device_testing::Workers;
using tarn::CommInterface;
using tarn::Reply;
using tarn::Request;

namespace {

/// Answers a number with the next one, on one of its threads; every third reply is finished by two
/// of them.
class Counter : public CommInterface {
public:
    Counter() : CommInterface("test", "counter") {}

    /// Waits until everything that was asked is answered.
    void close() { workers_.reset(); }

protected:
    void doRequest(std::shared_ptr<Request> request, std::shared_ptr<Reply> reply) override {
        const int number = request->dataAs<int>();
        reply->setResultCode(0);
        reply->setData(number + 1);
        const auto finish = [reply = std::move(reply)] { reply->finished(); };
        workers_->post(finish);
        if (number % 3 == 0) {
            workers_->post(finish);
        }
    }

private:
    std::optional<Workers> workers_{std::in_place, 3};
};

std::shared_ptr<Request> ask(int number) { return std::make_shared<Request>("next", number); }

bool allReleased(const std::vector<std::weak_ptr<Reply>>& replies) {
    return std::all_of(replies.begin(), replies.end(),
                       [](const std::weak_ptr<Reply>& reply) { return reply.expired(); });
}

} // namespace

TEST(CommInterfaceStress, EveryCallbackIsCalledOnceWithItsOwnReply) {
    constexpr int count = 4000;
    std::vector<std::atomic<int>> calls(count);
    std::vector<std::weak_ptr<Reply>> replies(count);
    std::atomic<int> wrong{0};
    Counter counter;
    for (int i = 0; i < count; ++i) {
        const auto index = static_cast<std::size_t>(i);
        counter.asyncRequest(ask(i), [&, i, index](const std::shared_ptr<Reply>& reply) {
            ++calls[index];
            replies[index] = reply;
            wrong += *reply && reply->dataAs<int>() == i + 1 ? 0 : 1;
        });
    }
    counter.close();
    EXPECT_TRUE(std::all_of(calls.begin(), calls.end(), [](const auto& n) { return n == 1; }));
    EXPECT_EQ(wrong, 0);
    EXPECT_TRUE(allReleased(replies));
}

TEST(CommInterfaceStress, EveryCallerGetsItsOwnReply) {
    constexpr int callers = 3;
    constexpr int count = 700;
    Counter counter;
    std::atomic<int> good{0};
    std::vector<std::thread> threads;
    threads.reserve(callers);
    for (int caller = 0; caller < callers; ++caller) {
        threads.emplace_back([&, caller] {
            for (int i = 0; i < count; ++i) {
                const int number = caller * count + i;
                const auto reply = counter.syncRequest(ask(number));
                good += *reply && reply->dataAs<int>() == number + 1 ? 1 : 0;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    counter.close();
    EXPECT_EQ(good, callers * count);
}

TEST(CommInterfaceStress, CallbacksThatIssueTheNextRequestReachTheEnd) {
    constexpr int chains = 4;
    constexpr int length = 500;
    Counter counter;
    std::atomic<int> ended{0};
    std::atomic<int> calls{0};
    const std::function<void(std::shared_ptr<Reply>)> next =
        [&](const std::shared_ptr<Reply>& reply) {
            ++calls;
            const int number = reply->dataAs<int>();
            if (number % length == 0) {
                ++ended;
            } else {
                counter.asyncRequest(ask(number), next);
            }
        };
    for (int chain = 0; chain < chains; ++chain) {
        counter.asyncRequest(ask(chain * length), next);
    }
    counter.close();
    EXPECT_EQ(ended, chains);
    EXPECT_EQ(calls, chains * length);
}
