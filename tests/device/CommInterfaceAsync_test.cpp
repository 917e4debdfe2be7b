// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

// Requests answered to a callback.
#include "core/SignalTesting.h"
#include "device/DeviceTesting.h"

#include <tarn/CommInterface.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

using device_testing::Callback;
using device_testing::Channel;
using device_testing::OneAtATime;
using signal_testing::onAnotherThread;
using signal_testing::Trace;
using tarn::CommInterface;
using tarn::Reply;
using tarn::Request;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class AsyncRequest : public testing::Test {
protected:
    /// A callback that notes the reply's identifier and result code.
    Callback note() {
        return [this](const std::shared_ptr<Reply>& reply) {
            told.push_back(reply->id() + ":" + std::to_string(reply->resultCode()));
        };
    }

    Trace told;
    std::shared_ptr<Reply> open; ///< the reply that `keeping` has not finished
    Channel keeping{[this](const std::shared_ptr<Request>& /*request*/,
                           std::shared_ptr<Reply> reply) { open = std::move(reply); }};
};

} // namespace

TEST_F(AsyncRequest, CallsBackBeforeItReturnsWhenTheHandlerFinishesAtOnce) {
    Channel channel(
        [this](const std::shared_ptr<Request>& /*request*/, const std::shared_ptr<Reply>& reply) {
            told.emplace_back("handling");
            reply->setResultCode(0);
            reply->finished();
            told.emplace_back("handled");
        });
    channel.asyncRequest("connect", note());
    EXPECT_THAT(told, ElementsAre("handling", "connect:0", "handled"));
}

TEST_F(AsyncRequest, CallsBackWhenTheHandlerFinishesLater) {
    keeping.asyncRequest("connect", note());
    EXPECT_THAT(told, IsEmpty());
    open->setResultCode(0);
    EXPECT_THAT(told, IsEmpty());
    open->finished();
    EXPECT_THAT(told, ElementsAre("connect:0"));
}

TEST_F(AsyncRequest, CallsBackOnTheThreadThatFinishes) {
    std::thread::id calling;
    std::thread::id finishing;
    keeping.asyncRequest("connect", [&](const std::shared_ptr<Reply>& /*reply*/) {
        calling = std::this_thread::get_id();
    });
    onAnotherThread([&] {
        finishing = std::this_thread::get_id();
        open->finished();
    });
    EXPECT_EQ(calling, finishing);
    EXPECT_NE(calling, std::this_thread::get_id());
}

TEST_F(AsyncRequest, CallsBackOnceWhenTheHandlerFinishesTwice) {
    Channel channel(
        [](const std::shared_ptr<Request>& /*request*/, const std::shared_ptr<Reply>& reply) {
            reply->finished();
            reply->setResultCode(0);
            reply->finished();
        });
    channel.asyncRequest("connect", note());
    EXPECT_THAT(told, ElementsAre("connect:-1"));

    keeping.asyncRequest("later", note());
    open->finished();
    onAnotherThread([this] { open->finished(); });
    EXPECT_THAT(told, ElementsAre("connect:-1", "later:-1"));
}

TEST_F(AsyncRequest, HandsOutTheReplyAsTheHandlerLeftIt) {
    std::shared_ptr<Reply> received;
    keeping.asyncRequest("connect",
                         [&](std::shared_ptr<Reply> reply) { received = std::move(reply); });
    open->setResultCode(7);
    open->setError(5, "no such port");
    open->setData(std::string("COM3"));
    open->finished();
    EXPECT_EQ(received, open);
    EXPECT_EQ(received->resultCode(), 7);
    EXPECT_EQ(received->errorCode(), 5);
    EXPECT_EQ(received->errorString(), "no such port");
    EXPECT_EQ(received->dataAs<std::string>(), "COM3");
}

TEST_F(AsyncRequest, KeepsTheReplyAndTheCallbackUntilTheReplyIsFinished) {
    auto held = std::make_shared<int>(1);
    const std::weak_ptr<int> heldByCallback = held;
    keeping.asyncRequest("connect",
                         [held = std::move(held)](const std::shared_ptr<Reply>& /*reply*/) {});
    const std::weak_ptr<Reply> watched = open;
    Reply& finishing = *open;
    open.reset();
    EXPECT_FALSE(watched.expired());
    EXPECT_FALSE(heldByCallback.expired());
    finishing.finished();
    EXPECT_TRUE(watched.expired());
    EXPECT_TRUE(heldByCallback.expired());
}

TEST_F(AsyncRequest, DoesNotKeepTheRequest) {
    auto request = std::make_shared<Request>("connect");
    const std::weak_ptr<Request> watched = request;
    keeping.asyncRequest(std::move(request), note());
    EXPECT_TRUE(watched.expired());
    open->finished();
    EXPECT_THAT(told, ElementsAre("connect:-1"));
}

TEST_F(AsyncRequest, IsTakenBackByDisconnectingTheRequest) {
    const auto request = std::make_shared<Request>("connect");
    auto held = std::make_shared<int>(1);
    const std::weak_ptr<int> watched = held;
    keeping.asyncRequest(request,
                         [this, held = std::move(held)](const std::shared_ptr<Reply>& /*reply*/) {
                             told.emplace_back("told");
                         });
    open->onFinished().disconnect(request.get());
    EXPECT_TRUE(watched.expired());
    open->finished();
    EXPECT_THAT(told, IsEmpty());
}

TEST_F(AsyncRequest, TellsTheCallbackBeforeTheListenersOfTheHandler) {
    Channel channel(
        [this](const std::shared_ptr<Request>& /*request*/, const std::shared_ptr<Reply>& reply) {
            reply->onFinished().connect([this](int /*code*/) { told.emplace_back("handler"); });
            reply->finished();
        });
    channel.asyncRequest("connect", note());
    EXPECT_THAT(told, ElementsAre("connect:-1", "handler"));
}

TEST_F(AsyncRequest, WithAnEmptyCallbackThrowsOutOfFinishing) {
    keeping.asyncRequest("connect", nullptr);
    EXPECT_THROW(open->finished(), std::bad_function_call);
    open->onFinished().disconnectAll(); // or reply and callback would keep each other for ever
}

TEST_F(AsyncRequest, WithAnEmptyCallbackThrowsItselfWhenTheHandlerFinishesAtOnce) {
    Channel channel(
        [this](const std::shared_ptr<Request>& /*request*/, std::shared_ptr<Reply> reply) {
            open = std::move(reply);
            open->finished();
        });
    EXPECT_THROW(channel.asyncRequest("connect", Callback()), std::bad_function_call);
    open->onFinished().disconnectAll();
}

TEST_F(AsyncRequest, WithAnEmptyCallbackThrowsNothingBeforeTheReplyIsFinished) {
    const auto request = std::make_shared<Request>("connect");
    keeping.asyncRequest(request, Callback());
    open->onFinished().disconnect(request.get());
    open->finished();
    EXPECT_EQ(open.use_count(), 1);
}

TEST_F(AsyncRequest, MayBeFinishedAfterTheHandlerHasThrown) {
    Channel channel(
        [this](const std::shared_ptr<Request>& /*request*/, std::shared_ptr<Reply> reply) {
            open = std::move(reply);
            throw std::runtime_error("no such port");
        });
    EXPECT_THROW(channel.asyncRequest("connect", note()), std::runtime_error);
    EXPECT_THAT(told, IsEmpty());
    onAnotherThread([this] { open->finished(); });
    EXPECT_THAT(told, ElementsAre("connect:-1"));
    EXPECT_EQ(open.use_count(), 1);
}

TEST_F(AsyncRequest, LeavesNothingBehindWhenTheHandlerThrows) {
    auto held = std::make_shared<int>(1);
    const std::weak_ptr<int> heldByCallback = held;
    std::weak_ptr<Reply> watched;
    Channel channel(
        [&](const std::shared_ptr<Request>& /*request*/, const std::shared_ptr<Reply>& reply) {
            watched = reply;
            throw std::runtime_error("no such port");
        });
    EXPECT_THROW(channel.asyncRequest("connect", [held = std::move(held)](
                                                     const std::shared_ptr<Reply>& /*reply*/) {}),
                 std::runtime_error);
    EXPECT_TRUE(watched.expired());
    EXPECT_TRUE(heldByCallback.expired());
}

TEST_F(AsyncRequest, LeavesNothingBehindWhenItsCallbackThrows) {
    std::weak_ptr<Reply> watched;
    Channel channel(
        [&](const std::shared_ptr<Request>& /*request*/, const std::shared_ptr<Reply>& reply) {
            watched = reply;
            reply->finished();
        });
    EXPECT_THROW(channel.asyncRequest("connect", Callback()), std::bad_function_call);
    EXPECT_TRUE(watched.expired());
}

TEST_F(AsyncRequest, ACallbackMayFinishTheReplyAgain) {
    keeping.asyncRequest("connect", [this](const std::shared_ptr<Reply>& reply) {
        told.emplace_back("told");
        reply->finished();
    });
    open->finished();
    EXPECT_THAT(told, ElementsAre("told"));
    EXPECT_EQ(open.use_count(), 1);
}

TEST_F(AsyncRequest, ACallbackMayIssueTheNextRequestAndSoDropTheReplyThatIsFinishing) {
    OneAtATime channel;
    std::weak_ptr<Reply> first;
    channel.onRequest([&](const std::shared_ptr<Reply>& reply) {
        if (first.expired()) {
            first = reply;
        }
    });
    channel.asyncRequest("first", [&](const std::shared_ptr<Reply>& reply) {
        note()(reply);
        channel.asyncRequest("second", note()); // the channel lets go of the first reply
    });
    channel.answer();
    EXPECT_TRUE(first.expired());
    EXPECT_THAT(told, ElementsAre("first:0"));
    channel.answer();
    EXPECT_THAT(told, ElementsAre("first:0", "second:0"));
}

TEST_F(AsyncRequest, AChainOfRequestsFromCallbacksReleasesEveryReply) {
    OneAtATime channel;
    std::vector<std::weak_ptr<Reply>> replies;
    channel.onRequest([&](const std::shared_ptr<Reply>& reply) { replies.push_back(reply); });
    Callback next = [&](const std::shared_ptr<Reply>& /*reply*/) {
        if (replies.size() < 100) {
            channel.asyncRequest("next", next);
        }
    };
    channel.asyncRequest("first", next);
    for (int i = 0; i < 100; ++i) {
        onAnotherThread([&] { channel.answer(); });
    }
    ASSERT_EQ(replies.size(), 100U);
    for (std::size_t i = 0; i + 1 < replies.size(); ++i) {
        EXPECT_TRUE(replies[i].expired()) << i;
    }
    EXPECT_EQ(replies.back().use_count(), 1) << "the channel's own reference";
}

TEST_F(AsyncRequest, ACallbackMayWaitForAnotherRequest) {
    CommInterface other("test", "other");
    keeping.asyncRequest("connect", [&](const std::shared_ptr<Reply>& /*reply*/) {
        told.push_back(std::to_string(other.syncRequest("inner")->resultCode()));
    });
    open->finished();
    EXPECT_THAT(told, ElementsAre("1"));
}

TEST_F(AsyncRequest, ACallbackMayDestroyTheChannelThatIsNoLongerHandling) {
    auto channel = std::make_unique<Channel>(
        [this](const std::shared_ptr<Request>& /*request*/, std::shared_ptr<Reply> reply) {
            open = std::move(reply);
        });
    channel->asyncRequest("connect", [&](const std::shared_ptr<Reply>& reply) {
        channel.reset();
        note()(reply);
    });
    open->finished();
    EXPECT_EQ(channel, nullptr);
    EXPECT_THAT(told, ElementsAre("connect:-1"));
}

TEST_F(AsyncRequest, RequestsMayBeFinishedInAnyOrder) {
    std::vector<std::shared_ptr<Reply>> replies;
    Channel channel([&](const std::shared_ptr<Request>& /*request*/, std::shared_ptr<Reply> reply) {
        replies.push_back(std::move(reply));
    });
    channel.asyncRequest("one", note());
    channel.asyncRequest("two", note());
    channel.asyncRequest("three", note());
    replies[2]->finished();
    replies[0]->finished();
    replies[1]->finished();
    EXPECT_THAT(told, ElementsAre("three:-1", "one:-1", "two:-1"));
}
