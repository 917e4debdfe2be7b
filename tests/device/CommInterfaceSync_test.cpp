// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

// Requests whose caller waits for the answer.
#include "core/SignalTesting.h"
#include "device/DeviceTesting.h"

#include <tarn/CommInterface.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

using device_testing::Channel;
using device_testing::Gate;
using device_testing::OneAtATime;
using device_testing::Workers;
using signal_testing::onAnotherThread;
using signal_testing::Trace;
using tarn::Reply;
using tarn::Request;
using testing::ElementsAre;

TEST(SyncRequest, ReturnsWhatTheHandlerFinishedAtOnce) {
    Channel channel(
        [](const std::shared_ptr<Request>& request, const std::shared_ptr<Reply>& reply) {
            reply->setResultCode(0);
            reply->setData(request->dataAs<int>() + 1);
            reply->finished();
        });
    const auto reply = channel.syncRequest(std::make_shared<Request>("next", 4));
    EXPECT_TRUE(*reply);
    EXPECT_EQ(reply->dataAs<int>(), 5);
}

TEST(SyncRequest, ReturnsTheReplyThatTheHandlerWasGiven) {
    Reply* given = nullptr;
    Channel channel(
        [&](const std::shared_ptr<Request>& /*request*/, const std::shared_ptr<Reply>& reply) {
            given = reply.get();
            reply->finished();
        });
    const auto reply = channel.syncRequest("connect");
    EXPECT_EQ(reply.get(), given);
}

TEST(SyncRequest, BlocksUntilAnotherThreadHasFinishedTheReply) {
    Gate handled;
    Workers worker(1);
    std::atomic<bool> returned{false};
    bool returnedTooEarly = true;
    Channel channel([&](const std::shared_ptr<Request>& /*request*/, std::shared_ptr<Reply> reply) {
        worker.post([&, reply = std::move(reply)] {
            handled.wait(); // by now the handler has returned, and nothing but the reply is missing
            returnedTooEarly = returned;
            reply->setResultCode(0);
            reply->setError(5, "one port is missing");
            reply->setData(std::string("COM3"));
            reply->finished();
        });
        handled.open();
    });
    const auto reply = channel.syncRequest("connect");
    returned = true;
    EXPECT_FALSE(returnedTooEarly);
    EXPECT_TRUE(*reply);
    EXPECT_EQ(reply->errorCode(), 5);
    EXPECT_EQ(reply->errorString(), "one port is missing");
    EXPECT_EQ(reply->dataAs<std::string>(), "COM3");
}

TEST(SyncRequest, GoesOnAsSoonAsItIsToldWhileOtherListenersAreStillToldOnTheOtherThread) {
    Gate returned;
    Workers worker(1);
    Channel channel([&](const std::shared_ptr<Request>& /*request*/, std::shared_ptr<Reply> reply) {
        reply->onFinished().connect([&](int /*code*/) { returned.wait(); });
        worker.post([reply = std::move(reply)] { reply->finished(); });
    });
    EXPECT_EQ(channel.syncRequest("connect")->resultCode(), -1);
    returned.open();
}

TEST(SyncRequest, LeavesNoListenerOnAFinishedReply) {
    Trace told;
    Channel channel(
        [&](const std::shared_ptr<Request>& /*request*/, const std::shared_ptr<Reply>& reply) {
            reply->onFinished().connect([&](int /*code*/) { told.emplace_back("handler"); });
            reply->finished();
        });
    const auto reply = channel.syncRequest("connect");
    EXPECT_EQ(reply.use_count(), 1);
    reply->finished();
    EXPECT_THAT(told, ElementsAre("handler"));
}

TEST(SyncRequest, TheReplyGoesWithItsLastReference) {
    std::weak_ptr<Reply> watched;
    Channel channel(
        [&](const std::shared_ptr<Request>& /*request*/, const std::shared_ptr<Reply>& reply) {
            watched = reply;
            reply->finished();
        });
    channel.syncRequest("connect");
    EXPECT_TRUE(watched.expired());
}

TEST(SyncRequest, IsSafeWhenTheHandlerFinishesTwice) {
    Channel channel(
        [](const std::shared_ptr<Request>& /*request*/, const std::shared_ptr<Reply>& reply) {
            reply->setResultCode(0);
            reply->finished();
            reply->finished();
        });
    EXPECT_TRUE(*channel.syncRequest("connect"));
}

TEST(SyncRequest, IsSafeWhenTheReplyIsFinishedAgainAfterItHasReturned) {
    Gate returned;
    Workers worker(1);
    Channel channel([&](const std::shared_ptr<Request>& /*request*/, std::shared_ptr<Reply> reply) {
        worker.post([&, reply = std::move(reply)] {
            reply->finished();
            returned.wait();
            reply->finished();
        });
    });
    channel.syncRequest("connect");
    returned.open();
}

TEST(SyncRequest, IsSafeWhenTheHandlerFinishesAtOnceAndAnotherThreadLate) {
    Gate returned;
    Workers worker(1);
    Channel channel(
        [&](const std::shared_ptr<Request>& /*request*/, const std::shared_ptr<Reply>& reply) {
            reply->setResultCode(0);
            worker.post([&, reply] {
                returned.wait();
                reply->finished();
            });
            reply->finished();
        });
    EXPECT_TRUE(*channel.syncRequest("connect"));
    returned.open();
}

TEST(SyncRequest, IsSafeWhenTwoThreadsFinishTheReplyTogether) {
    Workers workers(2);
    Channel channel(
        [&](const std::shared_ptr<Request>& /*request*/, const std::shared_ptr<Reply>& reply) {
            reply->setResultCode(0);
            workers.post([reply] { reply->finished(); });
            workers.post([reply] { reply->finished(); });
        });
    for (int i = 0; i < 300; ++i) {
        ASSERT_TRUE(*channel.syncRequest("connect"));
    }
}

TEST(SyncRequest, LetsTheHandlersExceptionThroughAndForgetsTheReply) {
    std::weak_ptr<Reply> watched;
    Channel channel(
        [&](const std::shared_ptr<Request>& /*request*/, const std::shared_ptr<Reply>& reply) {
            watched = reply;
            throw std::runtime_error("no such port");
        });
    EXPECT_THROW(channel.syncRequest("connect"), std::runtime_error);
    EXPECT_TRUE(watched.expired());
}

TEST(SyncRequest, IsSafeWhenTheHandlerThrowsAndFinishesLater) {
    Gate caught;
    Workers worker(1);
    std::atomic<int> told{0};
    Channel channel(
        [&](const std::shared_ptr<Request>& /*request*/, const std::shared_ptr<Reply>& reply) {
            reply->onFinished().connect([&](int /*code*/) { ++told; });
            worker.post([&, reply] {
                caught.wait();
                reply->finished();
                reply->finished();
            });
            throw std::runtime_error("no such port");
        });
    EXPECT_THROW(channel.syncRequest("connect"), std::runtime_error);
    caught.open();
    // The worker is done once it has come to this.
    Gate done;
    worker.post([&] { done.open(); });
    done.wait();
    EXPECT_EQ(told, 1);
}

TEST(SyncRequest, IsSafeWhenTheHandlerFinishesAtOnceAndThenThrows) {
    std::shared_ptr<Reply> finished;
    Channel channel(
        [&](const std::shared_ptr<Request>& /*request*/, const std::shared_ptr<Reply>& reply) {
            finished = reply;
            reply->finished();
            throw std::runtime_error("no such port");
        });
    EXPECT_THROW(channel.syncRequest("connect"), std::runtime_error);
    EXPECT_EQ(finished.use_count(), 1);
    onAnotherThread([&] { finished->finished(); });
}

TEST(SyncRequest, DoesNotWaitForTheTellingWhenTheHandlerThrowsMeanwhile) {
    Gate telling;
    Gate caught;
    Workers worker(1);
    Channel channel(
        [&](const std::shared_ptr<Request>& /*request*/, const std::shared_ptr<Reply>& reply) {
            reply->onFinished().connect([&](int /*code*/) {
                telling.open();
                caught.wait();
            });
            worker.post([reply] { reply->finished(); });
            telling.wait();
            throw std::runtime_error("no such port");
        });
    EXPECT_THROW(channel.syncRequest("connect"), std::runtime_error);
    caught.open();
}

TEST(SyncRequest, TheNextRequestMayDropTheReplyThatIsStillTellingItsListeners) {
    OneAtATime channel;
    Gate second;
    std::optional<Workers> worker(std::in_place, 1);
    std::vector<std::weak_ptr<Reply>> replies;
    channel.onRequest([&](const std::shared_ptr<Reply>& reply) {
        replies.push_back(reply);
        if (replies.size() == 1) {
            // Behind the waiting caller: holds up the telling until the channel has let go.
            reply->onFinished().connect([&](int /*code*/) { second.wait(); });
            worker->post([&] { channel.answer(); });
        }
    });
    channel.syncRequest("first");
    channel.asyncRequest("second", [](const std::shared_ptr<Reply>& /*reply*/) {});
    second.open();
    worker.reset();
    EXPECT_TRUE(replies[0].expired());
    channel.answer();
}

TEST(SyncRequest, AHandlerMayAskAnotherChannelFirst) {
    tarn::CommInterface inner("test", "inner");
    Channel outer(
        [&](const std::shared_ptr<Request>& request, const std::shared_ptr<Reply>& reply) {
            reply->setResultCode(inner.syncRequest(request)->resultCode() + 1);
            reply->finished();
        });
    EXPECT_EQ(outer.syncRequest("connect")->resultCode(), 2);
}

TEST(SyncRequest, AListenerMayConnectForALaterCallAsSoonAsTheRequestHasReturned) {
    Workers worker(1);
    Channel channel([&](const std::shared_ptr<Request>& /*request*/, std::shared_ptr<Reply> reply) {
        worker.post([reply = std::move(reply)] { reply->finished(); });
    });
    for (int i = 0; i < 300; ++i) {
        const auto reply = channel.syncRequest("connect");
        int told = 0;
        reply->onFinished().connect([&](int /*code*/) { ++told; });
        reply->finished();
        ASSERT_EQ(told, 1);
    }
}
