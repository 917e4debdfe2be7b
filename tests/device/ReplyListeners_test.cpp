// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

// Whom a finished reply tells, and what it leaves behind.
#include "core/SignalTesting.h"

#include <tarn/Reply.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

using signal_testing::cargo;
using signal_testing::isLockedForOthers;
using signal_testing::Trace;
using tarn::Reply;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class ReplyListeners : public testing::Test {
protected:
    /// Connects a listener that notes its name and the code it is told.
    tsignal::Disconnector listen(const std::string& name) {
        return listen(name, [] {});
    }

    /// As above, for a listener that then does something.
    tsignal::Disconnector listen(const std::string& name, std::function<void()> then) {
        return reply->onFinished().connect([this, name, then = std::move(then)](int code) {
            told.push_back(name + ":" + std::to_string(code));
            then();
        });
    }

    std::shared_ptr<Reply> reply = std::make_shared<Reply>("connect");
    Trace told;
};

} // namespace

TEST_F(ReplyListeners, AreEachToldTheResultCodeOnceInConnectionOrder) {
    listen("first");
    listen("second");
    reply->setResultCode(4);
    reply->finished();
    EXPECT_THAT(told, ElementsAre("first:4", "second:4"));
    reply->finished();
    EXPECT_THAT(told, ElementsAre("first:4", "second:4"));
}

TEST_F(ReplyListeners, SeeMinusOneWhenNoResultCodeWasSet) {
    listen("only");
    reply->finished();
    EXPECT_THAT(told, ElementsAre("only:-1"));
}

TEST_F(ReplyListeners, SeeTheResultCodeAndNotTheErrorCode) {
    listen("only");
    reply->setResultCode(0);
    reply->setError(5, "no such port");
    reply->finished();
    EXPECT_THAT(told, ElementsAre("only:0"));
}

TEST_F(ReplyListeners, AreAllToldTheCodeOfTheMomentOfFinishing) {
    listen("first", [this] { reply->setResultCode(9); });
    listen("second");
    reply->setResultCode(0);
    reply->finished();
    EXPECT_THAT(told, ElementsAre("first:0", "second:0"));
    EXPECT_EQ(reply->resultCode(), 9);
}

TEST_F(ReplyListeners, AReplyWithoutAnyIsFinishedAllTheSame) {
    reply->finished();
    EXPECT_FALSE(isLockedForOthers(reply->onFinished()));
    listen("later");
    reply->finished();
    EXPECT_THAT(told, ElementsAre("later:-1"));
}

TEST_F(ReplyListeners, ThatWantToHearALaterCallConnectAgain) {
    listen("before");
    reply->finished();
    listen("since", [this] { listen("in the call"); });
    reply->setResultCode(2);
    reply->finished();
    EXPECT_THAT(told, ElementsAre("before:-1", "since:2"));
    listen("third");
    reply->finished();
    EXPECT_THAT(told, ElementsAre("before:-1", "since:2", "third:2"));
}

TEST_F(ReplyListeners, ConnectedTwiceAreToldTwice) {
    const std::function<void(int)> listener = [this](int /*code*/) { told.emplace_back("told"); };
    reply->onFinished().connect(listener);
    reply->onFinished().connect(listener);
    reply->finished();
    EXPECT_THAT(told, ElementsAre("told", "told"));
}

TEST_F(ReplyListeners, AreNotToldOnceTheyAreDisconnected) {
    const auto disconnect = listen("gone");
    listen("stays");
    disconnect();
    reply->finished();
    EXPECT_THAT(told, ElementsAre("stays:-1"));
}

TEST_F(ReplyListeners, MayBelongToTheReplyItself) {
    reply->onFinished().connect(reply.get(), [this](int /*code*/) { told.emplace_back("gone"); });
    reply->onFinished().disconnect(reply.get());
    listen("stays", [this] { reply->finished(); });
    reply->onFinished().connect(reply.get(), [this](int /*code*/) { told.emplace_back("own"); });
    reply->finished();
    EXPECT_THAT(told, ElementsAre("stays:-1", "own"));
}

TEST_F(ReplyListeners, MayDisconnectThemselvesAndOneAnother) {
    tsignal::Disconnector disconnectFirst;
    tsignal::Disconnector disconnectSecond;
    disconnectFirst = listen("first", [&] {
        disconnectFirst();
        disconnectSecond();
    });
    disconnectSecond = listen("second");
    listen("third");
    reply->finished();
    EXPECT_THAT(told, ElementsAre("first:-1", "third:-1"));
}

TEST_F(ReplyListeners, ThatTheFirstOfTwoConnectsAreStillTold) {
    listen("first", [this] { listen("new"); });
    listen("second");
    reply->finished();
    EXPECT_THAT(told, ElementsAre("first:-1", "second:-1", "new:-1"));
    reply->finished();
    EXPECT_THAT(told, ElementsAre("first:-1", "second:-1", "new:-1"));
}

TEST_F(ReplyListeners, ThatTheLastOneConnectsAreDroppedUntold) {
    const auto held = std::make_shared<int>(1);
    const std::weak_ptr<int> watched = held;
    listen("first");
    listen("last", [this, watched] {
        reply->onFinished().connect(
            [this, held = watched.lock()](int /*code*/) { told.emplace_back("new"); });
    });
    reply->finished();
    EXPECT_THAT(told, ElementsAre("first:-1", "last:-1"));
    EXPECT_EQ(watched.use_count(), 1);
    reply->finished();
    EXPECT_THAT(told, ElementsAre("first:-1", "last:-1"));
}

TEST_F(ReplyListeners, ThatFinishTheReplyAgainAddNothing) {
    listen("first", [this] { reply->finished(); });
    listen("second", [this] {
        reply->setResultCode(3);
        reply->finished();
    });
    listen("third");
    reply->finished();
    EXPECT_THAT(told, ElementsAre("first:-1", "second:-1", "third:-1"));
    EXPECT_FALSE(isLockedForOthers(reply->onFinished()));
}

TEST_F(ReplyListeners, ThatEmptyTheSignalKeepTheRestFromBeingTold) {
    listen("first", [this] { reply->onFinished().disconnectAll(); });
    listen("second");
    reply->finished();
    EXPECT_THAT(told, ElementsAre("first:-1"));
    EXPECT_FALSE(isLockedForOthers(reply->onFinished()));

    listen("later");
    reply->finished();
    reply->finished();
    EXPECT_THAT(told, ElementsAre("first:-1", "later:-1"));
}

TEST_F(ReplyListeners, ConnectedAfterTheSignalWasEmptiedAreToldOnceAndReleased) {
    listen("before");
    reply->onFinished().disconnectAll();
    const auto held = std::make_shared<int>(1);
    const std::weak_ptr<int> watched = held;
    listen("first", [held, this] {
        reply->finished();
        listen("new", [held] {});
    });
    listen("second", [held] {});
    EXPECT_EQ(watched.use_count(), 3);
    reply->finished();
    EXPECT_THAT(told, ElementsAre("first:-1", "second:-1", "new:-1"));
    EXPECT_EQ(watched.use_count(), 1);
    reply->finished();
    EXPECT_THAT(told, ElementsAre("first:-1", "second:-1", "new:-1"));

    // And the reply is as good as new.
    told.clear();
    listen("third", [this] { listen("new"); });
    listen("fourth");
    reply->finished();
    EXPECT_THAT(told, ElementsAre("third:-1", "fourth:-1", "new:-1"));
}

TEST_F(ReplyListeners, StayConnectedWhenTheHostEmitsTheSignalItself) {
    listen("only");
    reply->onFinished().emit(7);
    EXPECT_THAT(told, ElementsAre("only:7"));
    reply->finished();
    reply->finished();
    EXPECT_THAT(told, ElementsAre("only:7", "only:-1"));
}

TEST_F(ReplyListeners, MayFinishTheReplyFromAnEmissionOfTheHost) {
    listen("first", [this] { reply->finished(); });
    listen("second");
    reply->onFinished().emit(7);
    EXPECT_THAT(told, ElementsAre("first:7", "first:-1", "second:-1"));
    EXPECT_FALSE(isLockedForOthers(reply->onFinished()));
    reply->finished();
    EXPECT_THAT(told, ElementsAre("first:7", "first:-1", "second:-1"));
}

TEST_F(ReplyListeners, AreReleasedWhenTheReplyIsFinished) {
    const auto held = std::make_shared<int>(1);
    const std::weak_ptr<int> watched = held;
    listen("first", [held] {});
    listen("second", [held] {});
    EXPECT_EQ(watched.use_count(), 3);
    reply->finished();
    EXPECT_EQ(watched.use_count(), 1);
}

TEST_F(ReplyListeners, AreKeptUntilTheLastOneWasTold) {
    std::weak_ptr<int> ofFirst;
    const auto connectFirst = [&] {
        const auto held = std::make_shared<int>(1);
        ofFirst = held;
        listen("first", [held] {});
    };
    connectFirst();
    bool keptForSecond = false;
    listen("second", [&] { keptForSecond = !ofFirst.expired(); });
    reply->finished();
    EXPECT_TRUE(keptForSecond);
    EXPECT_TRUE(ofFirst.expired());
}

TEST_F(ReplyListeners, AreReleasedAfterTheSignalIsUnlocked) {
    bool locked = true;
    listen("first", [held = cargo([&] { locked = isLockedForOthers(reply->onFinished()); })] {});
    reply->finished();
    EXPECT_FALSE(locked);
}

TEST_F(ReplyListeners, MayFinishTheReplyAgainWhileTheyAreReleased) {
    listen("first", [held = cargo([this] {
                         listen("from the grave");
                         reply->finished();
                     })] {});
    reply->finished();
    EXPECT_THAT(told, ElementsAre("first:-1", "from the grave:-1"));
}

TEST_F(ReplyListeners, MayHoldTheReply) {
    const std::weak_ptr<Reply> watched = reply;
    listen("first", [held = reply] {});
    listen("second", [held = reply] {});
    Reply& finishing = *reply;
    reply.reset();
    ASSERT_FALSE(watched.expired());
    finishing.finished();
    EXPECT_TRUE(watched.expired());
    EXPECT_THAT(told, ElementsAre("first:-1", "second:-1"));
}

TEST_F(ReplyListeners, MayDropTheLastReferenceOutsideTheSignal) {
    const std::weak_ptr<Reply> watched = reply;
    bool aliveInCall = false;
    listen("first", [this, held = reply, &watched, &aliveInCall] {
        reply.reset();
        aliveInCall = !watched.expired();
    });
    listen("second");
    reply->finished();
    EXPECT_TRUE(aliveInCall);
    EXPECT_TRUE(watched.expired());
    EXPECT_THAT(told, ElementsAre("first:-1", "second:-1"));
}

TEST_F(ReplyListeners, ThatHoldTheReplyMayBeReleasedByEmptyingTheSignal) {
    const std::weak_ptr<Reply> watched = reply;
    listen("first", [this, held = reply] {
        Reply& finishing = *reply;
        reply.reset();
        finishing.onFinished().disconnectAll();
    });
    reply->finished();
    EXPECT_TRUE(watched.expired());
    EXPECT_THAT(told, ElementsAre("first:-1"));
}

TEST_F(ReplyListeners, OfOneReplyMayFinishAnother) {
    const auto other = std::make_shared<Reply>("next");
    other->setResultCode(0);
    other->onFinished().connect(
        [this](int code) { told.push_back("other:" + std::to_string(code)); });
    listen("first", [other] { other->finished(); });
    listen("second");
    reply->finished();
    EXPECT_THAT(told, ElementsAre("first:-1", "other:0", "second:-1"));
}

TEST_F(ReplyListeners, ThatThrowReachWhoeverFinishesTheReply) {
    bool throws = true;
    listen("first");
    listen("second", [&throws] {
        if (throws) {
            throw std::runtime_error("against the rules");
        }
    });
    listen("third");
    EXPECT_THROW(reply->finished(), std::runtime_error);
    EXPECT_THAT(told, ElementsAre("first:-1", "second:-1"));

    throws = false;
    reply->setResultCode(3);
    reply->finished(); // tells all who are still connected
    reply->finished();
    EXPECT_THAT(told, ElementsAre("first:-1", "second:-1", "first:3", "second:3", "third:3"));
}

TEST_F(ReplyListeners, ThatThrowAgainAndAgainNeverSilenceTheReply) {
    listen("only", [] { throw std::runtime_error("against the rules"); });
    EXPECT_THROW(reply->finished(), std::runtime_error);
    EXPECT_THROW(reply->finished(), std::runtime_error);
    reply->onFinished().disconnectAll();
    listen("new");
    reply->finished();
    EXPECT_THAT(told, ElementsAre("only:-1", "only:-1", "new:-1"));
}

TEST_F(ReplyListeners, ThatAreEmptyThrowBadFunctionCall) {
    reply->onFinished().connect(std::function<void(int)>());
    EXPECT_THROW(reply->finished(), std::bad_function_call);
    EXPECT_THAT(told, IsEmpty());
}
