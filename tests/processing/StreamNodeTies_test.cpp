// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

// What flows through tied ports, and what unties them.
#include "core/SignalTesting.h"
#include "processing/StreamNodeTesting.h"

#include <tarn/StreamNode.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

using processing_testing::Node;
using signal_testing::cargo;
using signal_testing::onAnotherThread;
using signal_testing::Trace;
using tarn::Frame;
using tarn::Sequence;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using FrameSignal = tsignal::Signal<std::shared_ptr<Frame>>;
using SequenceSignal = tsignal::Signal<std::shared_ptr<Sequence>>;

/// Frames and sequences take the same road, by operations of their own.
struct Frames {
    using Data = std::shared_ptr<Frame>;
    using Signal = FrameSignal;
    static void addInput(Node& node, int id, std::function<void(Data)> handler) {
        node.addIFramePort(id, std::move(handler));
    }
    static Signal& output(Node& node, int id) { return node.addOFramePort(id); }
    static bool tie(Node& node, int id, Signal& signal) { return node.tieToIFramePort(id, signal); }
    static void untie(Node& node, int id, Signal& signal) { node.untieFromIFramePort(id, signal); }
    static bool hasInput(const Node& node, int id) { return node.hasIFramePort(id); }
    static Data data() { return std::make_shared<Frame>(); }
};

struct Sequences {
    using Data = std::shared_ptr<Sequence>;
    using Signal = SequenceSignal;
    static void addInput(Node& node, int id, std::function<void(Data)> handler) {
        node.addISequencePort(id, std::move(handler));
    }
    static Signal& output(Node& node, int id) { return node.addOSequencePort(id); }
    static bool tie(Node& node, int id, Signal& signal) {
        return node.tieToISequencePort(id, signal);
    }
    static void untie(Node& node, int id, Signal& signal) {
        node.untieFromISequencePort(id, signal);
    }
    static bool hasInput(const Node& node, int id) { return node.hasISequencePort(id); }
    static Data data() { return std::make_shared<Sequence>(3); }
};

template <class Kind>
class StreamNodeTies : public testing::Test {
protected:
    /// Makes an input port whose handler notes its name.
    void input(int id, const std::string& name) {
        Kind::addInput(node, id,
                       [this, name](const typename Kind::Data& /*data*/) { told.push_back(name); });
    }

    Trace told;
    typename Kind::Signal signal;
    typename Kind::Signal other;
    Node node;
};

struct KindName {
    template <class Kind>
    static std::string GetName(int /*index*/) {
        return std::is_same_v<Kind, Frames> ? "Frames" : "Sequences";
    }
};

using Kinds = testing::Types<Frames, Sequences>;
TYPED_TEST_SUITE(StreamNodeTies, Kinds, KindName);

} // namespace

TYPED_TEST(StreamNodeTies, ToAnInputThatDoesNotExistAreRefused) {
    this->input(1, "one");
    TypeParam::output(this->node, 7);
    EXPECT_FALSE(TypeParam::tie(this->node, 7, this->signal));
    EXPECT_FALSE(TypeParam::hasInput(this->node, 7));
    this->signal.emit(nullptr);
    this->input(7, "seven");
    this->signal.emit(nullptr);
    EXPECT_THAT(this->told, IsEmpty());
}

TYPED_TEST(StreamNodeTies, HandOverTheVeryDataThatWasEmitted) {
    std::vector<typename TypeParam::Data> received;
    TypeParam::addInput(
        this->node, 1, [&](typename TypeParam::Data data) { received.push_back(std::move(data)); });
    EXPECT_TRUE(TypeParam::tie(this->node, 1, this->signal));
    const auto data = TypeParam::data();
    this->signal.emit(data);
    this->signal.emit(nullptr);
    EXPECT_THAT(received, ElementsAre(data, nullptr));
}

TYPED_TEST(StreamNodeTies, RunTheHandlerOnTheEmittingThread) {
    std::thread::id handling;
    TypeParam::addInput(this->node, 1,
                        [&](const auto& /*data*/) { handling = std::this_thread::get_id(); });
    TypeParam::tie(this->node, 1, this->signal);
    std::thread::id emitting;
    onAnotherThread([&] {
        emitting = std::this_thread::get_id();
        this->signal.emit(nullptr);
    });
    EXPECT_EQ(handling, emitting);
}

TYPED_TEST(StreamNodeTies, JoinTheOutputOfOneNodeToTheInputOfAnother) {
    Node source;
    this->input(4, "four");
    auto& output = TypeParam::output(source, 9);
    EXPECT_TRUE(TypeParam::tie(this->node, 4, output));
    output.emit(nullptr);
    EXPECT_THAT(this->told, ElementsAre("four"));
}

TYPED_TEST(StreamNodeTies, FormChains) {
    Node last;
    auto& between = TypeParam::output(this->node, 1);
    TypeParam::addInput(this->node, 1,
                        [&](const typename TypeParam::Data& data) { between.emit(data); });
    TypeParam::addInput(last, 1, [this](const auto& /*data*/) { this->told.emplace_back("last"); });
    TypeParam::tie(this->node, 1, this->signal);
    TypeParam::tie(last, 1, between);
    this->signal.emit(nullptr);
    EXPECT_THAT(this->told, ElementsAre("last"));
}

TYPED_TEST(StreamNodeTies, AreIndependentOfEachOther) {
    this->input(1, "one");
    this->input(2, "two");
    TypeParam::tie(this->node, 1, this->signal);
    TypeParam::tie(this->node, 2, this->other);
    this->other.emit(nullptr);
    this->signal.emit(nullptr);
    EXPECT_THAT(this->told, ElementsAre("two", "one"));
}

TYPED_TEST(StreamNodeTies, OfOneSignalRunInTheOrderInWhichTheyWereMade) {
    this->input(1, "one");
    this->input(2, "two");
    TypeParam::tie(this->node, 2, this->signal);
    TypeParam::tie(this->node, 1, this->signal);
    this->signal.emit(nullptr);
    EXPECT_THAT(this->told, ElementsAre("two", "one"));
}

TYPED_TEST(StreamNodeTies, KeepTheHandlerTheyWereMadeWith) {
    this->input(1, "old");
    TypeParam::tie(this->node, 1, this->signal);
    this->input(1, "new");
    this->signal.emit(nullptr);
    EXPECT_THAT(this->told, ElementsAre("old"));
    TypeParam::tie(this->node, 1, this->other);
    this->other.emit(nullptr);
    EXPECT_THAT(this->told, ElementsAre("old", "new"));
    this->signal.emit(nullptr);
    EXPECT_THAT(this->told, ElementsAre("old", "new", "old"));
}

TYPED_TEST(StreamNodeTies, LetAHandlerReplaceItself) {
    TypeParam::addInput(this->node, 1, [this, text = std::string(100, 'x')](const auto& /*data*/) {
        this->input(1, "new");
        this->told.push_back(text);
    });
    TypeParam::tie(this->node, 1, this->signal);
    this->signal.emit(nullptr);
    this->signal.emit(nullptr);
    const std::string old(100, 'x');
    EXPECT_THAT(this->told, ElementsAre(old, old));
    TypeParam::tie(this->node, 1, this->other);
    this->other.emit(nullptr);
    EXPECT_THAT(this->told, ElementsAre(old, old, "new"));
}

TYPED_TEST(StreamNodeTies, MadeTwiceToOneSignalDeliverTwice) {
    this->input(1, "one");
    EXPECT_TRUE(TypeParam::tie(this->node, 1, this->signal));
    EXPECT_TRUE(TypeParam::tie(this->node, 1, this->signal));
    this->signal.emit(nullptr);
    EXPECT_THAT(this->told, ElementsAre("one", "one"));
}

TYPED_TEST(StreamNodeTies, OfOnePortToTwoSignalsBothDeliver) {
    this->input(1, "one");
    TypeParam::tie(this->node, 1, this->signal);
    TypeParam::tie(this->node, 1, this->other);
    this->signal.emit(nullptr);
    this->other.emit(nullptr);
    EXPECT_THAT(this->told, ElementsAre("one", "one"));
}

TYPED_TEST(StreamNodeTies, WithAnEmptyHandlerThrowOutOfTheEmission) {
    TypeParam::addInput(this->node, 1, nullptr);
    EXPECT_TRUE(TypeParam::tie(this->node, 1, this->signal));
    EXPECT_THROW(this->signal.emit(nullptr), std::bad_function_call);
}

TYPED_TEST(StreamNodeTies, LetTheHandlersExceptionThroughToTheEmitter) {
    TypeParam::addInput(this->node, 1,
                        [](const auto& /*data*/) { throw std::runtime_error("broken"); });
    TypeParam::tie(this->node, 1, this->signal);
    EXPECT_THROW(this->signal.emit(nullptr), std::runtime_error);
}

TYPED_TEST(StreamNodeTies, OutliveTheirNode) {
    bool released = false;
    {
        Node shortLived;
        TypeParam::addInput(shortLived, 1,
                            [this, held = cargo([&] { released = true; })](const auto& /*data*/) {
                                this->told.emplace_back("still here");
                            });
        TypeParam::tie(shortLived, 1, this->signal);
    }
    EXPECT_FALSE(released);
    this->signal.emit(nullptr);
    EXPECT_THAT(this->told, ElementsAre("still here"));
    this->signal.disconnectAll();
    EXPECT_TRUE(released);
}

TYPED_TEST(StreamNodeTies, AreForgottenWhenTheirSignalIsGone) {
    this->input(1, "one");
    auto shortLived = std::make_unique<typename TypeParam::Signal>();
    TypeParam::tie(this->node, 1, *shortLived);
    shortLived.reset();
    EXPECT_TRUE(TypeParam::tie(this->node, 1, this->signal));
    this->signal.emit(nullptr);
    EXPECT_THAT(this->told, ElementsAre("one"));
}

TYPED_TEST(StreamNodeTies, AreNotTouchedByUntyingAPortThatHasNone) {
    this->input(1, "one");
    this->input(2, "two");
    TypeParam::tie(this->node, 1, this->signal);
    TypeParam::untie(this->node, 2, this->signal);
    TypeParam::untie(this->node, 3, this->signal);
    EXPECT_FALSE(TypeParam::hasInput(this->node, 3));
    this->signal.emit(nullptr);
    EXPECT_THAT(this->told, ElementsAre("one"));
    EXPECT_TRUE(TypeParam::tie(this->node, 2, this->signal));
    this->signal.emit(nullptr);
    EXPECT_THAT(this->told, ElementsAre("one", "one", "two"));
}

using StreamNodeFrameTies = StreamNodeTies<Frames>;
using StreamNodeSequenceTies = StreamNodeTies<Sequences>;

TEST_F(StreamNodeFrameTies, StayWhenTheyAreUntied) {
    input(1, "one");
    node.tieToIFramePort(1, signal);
    node.untieFromIFramePort(1, signal);
    node.untieFromIFramePort(1, signal);
    signal.emit(nullptr);
    EXPECT_THAT(told, ElementsAre("one"));
}

TEST_F(StreamNodeFrameTies, MadeAfterAnUntieStayAsWell) {
    input(1, "one");
    node.untieFromIFramePort(1, signal);
    EXPECT_TRUE(node.tieToIFramePort(1, signal));
    node.untieFromIFramePort(1, signal);
    signal.emit(nullptr);
    EXPECT_THAT(told, ElementsAre("one"));
}

TEST_F(StreamNodeFrameTies, EndWithDisconnectAllOfTheSignal) {
    input(1, "one");
    node.tieToIFramePort(1, signal);
    signal.disconnectAll();
    signal.emit(nullptr);
    EXPECT_THAT(told, IsEmpty());
    node.untieFromIFramePort(1, signal);
    EXPECT_TRUE(node.tieToIFramePort(1, signal));
    signal.emit(nullptr);
    EXPECT_THAT(told, ElementsAre("one"));
}

TEST_F(StreamNodeFrameTies, AreNotTouchedByUntyingTheSequencePortOfTheSameNumber) {
    SequenceSignal sequences;
    input(1, "frame");
    node.addISequencePort(1, [this](const auto& /*sequence*/) { told.emplace_back("sequence"); });
    node.tieToIFramePort(1, signal);
    node.tieToISequencePort(1, sequences);
    node.untieFromISequencePort(1, sequences);
    signal.emit(nullptr);
    sequences.emit(nullptr);
    EXPECT_THAT(told, ElementsAre("frame"));
}

TEST_F(StreamNodeSequenceTies, EndWhenTheyAreUntied) {
    input(1, "one");
    node.tieToISequencePort(1, signal);
    signal.emit(nullptr);
    EXPECT_THAT(told, ElementsAre("one"));
    node.untieFromISequencePort(1, signal);
    signal.emit(nullptr);
    EXPECT_THAT(told, ElementsAre("one"));
    EXPECT_TRUE(node.hasISequencePort(1));
    node.untieFromISequencePort(1, signal);
}

TEST_F(StreamNodeSequenceTies, EndByThePortAloneWhateverSignalIsNamed) {
    input(1, "one");
    node.tieToISequencePort(1, signal);
    node.untieFromISequencePort(1, other);
    signal.emit(nullptr);
    EXPECT_THAT(told, IsEmpty());
}

TEST_F(StreamNodeSequenceTies, OfOtherPortsStay) {
    input(1, "one");
    input(2, "two");
    node.tieToISequencePort(1, signal);
    node.tieToISequencePort(2, signal);
    node.untieFromISequencePort(1, signal);
    signal.emit(nullptr);
    EXPECT_THAT(told, ElementsAre("two"));
}

TEST_F(StreamNodeSequenceTies, MadeTwiceLoseTheSecondOneOnly) {
    input(1, "first");
    node.tieToISequencePort(1, signal);
    input(1, "second");
    node.tieToISequencePort(1, signal);
    node.untieFromISequencePort(1, signal);
    signal.emit(nullptr);
    EXPECT_THAT(told, ElementsAre("first"));
    node.untieFromISequencePort(1, signal); // the first can no longer be undone through the node
    signal.emit(nullptr);
    EXPECT_THAT(told, ElementsAre("first", "first"));
}

TEST_F(StreamNodeSequenceTies, CanBeMadeAgain) {
    input(1, "one");
    node.tieToISequencePort(1, signal);
    node.untieFromISequencePort(1, signal);
    EXPECT_TRUE(node.tieToISequencePort(1, signal));
    signal.emit(nullptr);
    EXPECT_THAT(told, ElementsAre("one"));
    node.untieFromISequencePort(1, signal);
    signal.emit(nullptr);
    EXPECT_THAT(told, ElementsAre("one"));
}

TEST_F(StreamNodeSequenceTies, MayBeUntiedByTheirOwnHandler) {
    node.addISequencePort(1, [this, text = std::string(100, 'x')](const auto& /*sequence*/) {
        node.untieFromISequencePort(1, signal);
        told.push_back(text);
    });
    node.tieToISequencePort(1, signal);
    signal.emit(nullptr);
    signal.emit(nullptr);
    EXPECT_THAT(told, ElementsAre(std::string(100, 'x')));
}

TEST_F(StreamNodeSequenceTies, LetGoOfTheHandlerWhenTheyEnd) {
    bool released = false;
    node.addISequencePort(1, [held = cargo([&] {
                                  released = true;
                                  node.untieFromISequencePort(1, signal); // finds the port untied
                              })](const auto& /*sequence*/) {});
    node.tieToISequencePort(1, signal);
    node.addISequencePort(1, nullptr);
    EXPECT_FALSE(released);
    node.untieFromISequencePort(1, signal);
    EXPECT_TRUE(released);
}
