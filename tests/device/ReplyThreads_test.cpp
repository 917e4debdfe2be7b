// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

// A reply that is finished by threads other than its listeners' own.
#include "core/SignalTesting.h"
#include "device/DeviceTesting.h"

#include <tarn/Reply.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <memory>
#include <thread>
#include <utility>
#include <vector>

using device_testing::Gate;
using signal_testing::cargo;
using signal_testing::onAnotherThread;
using signal_testing::Trace;
using tarn::Reply;
using testing::ElementsAre;

namespace {

/// Runs every piece of work on a thread of its own, all released at the same moment.
void together(std::vector<std::function<void()>> work) {
    Gate start;
    std::vector<std::thread> threads;
    threads.reserve(work.size());
    for (auto& piece : work) {
        threads.emplace_back([&start, piece = std::move(piece)] {
            start.wait();
            piece();
        });
    }
    start.open();
    for (std::thread& thread : threads) {
        thread.join();
    }
}

} // namespace

TEST(ReplyThreads, ListenersRunOnTheThreadThatFinishes) {
    Reply reply("connect");
    std::thread::id listening;
    std::thread::id finishing;
    reply.onFinished().connect([&](int /*code*/) { listening = std::this_thread::get_id(); });
    onAnotherThread([&] {
        finishing = std::this_thread::get_id();
        reply.finished();
    });
    EXPECT_EQ(listening, finishing);
    EXPECT_NE(listening, std::this_thread::get_id());
}

TEST(ReplyThreads, ASecondThreadThatFinishesMeanwhileAddsNothing) {
    Reply reply("connect");
    Trace told;
    reply.onFinished().connect([&](int /*code*/) {
        told.emplace_back("first");
        onAnotherThread([&] { reply.finished(); }); // comes back, or this would wait for ever
        told.emplace_back("first is back");
    });
    reply.onFinished().connect([&](int /*code*/) { told.emplace_back("second"); });
    reply.finished();
    EXPECT_THAT(told, ElementsAre("first", "first is back", "second"));
}

TEST(ReplyThreads, ASecondThreadAddsNothingAfterTheSignalWasEmptiedEither) {
    Reply reply("connect");
    reply.onFinished().disconnectAll();
    Trace told;
    reply.onFinished().connect([&](int /*code*/) {
        told.emplace_back("first");
        onAnotherThread([&] { reply.finished(); });
    });
    reply.onFinished().connect([&](int /*code*/) { told.emplace_back("second"); });
    reply.finished();
    EXPECT_THAT(told, ElementsAre("first", "second"));
}

TEST(ReplyThreads, AListenerThatConnectsRightBehindTheTellingIsThereForTheNextCall) {
    // What a listener holds is released as soon as the signal is unlocked, so that is when the
    // other thread comes.
    Reply reply("connect");
    Trace told;
    const auto connectFromAnotherThread = [&] {
        onAnotherThread(
            [&] { reply.onFinished().connect([&](int /*code*/) { told.emplace_back("new"); }); });
    };
    reply.onFinished().connect([&, held = cargo(connectFromAnotherThread)](int /*code*/) {
        told.emplace_back("first");
        reply.onFinished().disconnectAll();
    });
    reply.finished();
    EXPECT_THAT(told, ElementsAre("first"));
    reply.finished();
    EXPECT_THAT(told, ElementsAre("first", "new"));
}

TEST(ReplyThreads, TwoThreadsThatFinishOneReplyTellEachListenerOnce) {
    for (int round = 0; round < 300; ++round) {
        Reply reply("connect");
        reply.setResultCode(round);
        std::vector<int> codes;
        reply.onFinished().connect([&](int code) { codes.push_back(code); });
        reply.onFinished().connect([&](int code) { codes.push_back(code); });
        together({[&] { reply.finished(); }, [&] { reply.finished(); }});
        ASSERT_THAT(codes, ElementsAre(round, round));
    }
}

TEST(ReplyThreads, AListenerThatConnectsAndFinishesWhileAnotherThreadFinishesIsToldOnce) {
    for (int round = 0; round < 300; ++round) {
        Reply reply("connect");
        int before = 0;
        int meanwhile = 0;
        reply.onFinished().connect([&](int /*code*/) { ++before; });
        together({[&] { reply.finished(); },
                  [&] {
                      reply.onFinished().connect([&](int /*code*/) { ++meanwhile; });
                      reply.finished();
                  }});
        ASSERT_EQ(before, 1);
        ASSERT_EQ(meanwhile, 1);
    }
}

TEST(ReplyThreads, TheLastReferenceMayGoWithTheListenersOfAnotherThread) {
    for (int round = 0; round < 300; ++round) {
        auto reply = std::make_shared<Reply>("connect");
        const std::weak_ptr<Reply> watched = reply;
        std::atomic<int> told{0};
        reply->onFinished().connect([&told, held = reply](int /*code*/) { ++told; });
        together({[mine = reply] { mine->finished(); },
                  [mine = std::move(reply)] { mine->finished(); }});
        ASSERT_EQ(told, 1);
        ASSERT_TRUE(watched.expired());
    }
}
