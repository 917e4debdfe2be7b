// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn/CommInterface.h>

#include "device/DeviceTesting.h"
#include "support/VirtualTable.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <any>
#include <functional>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

using device_testing::Channel;
using tarn::CommInterface;
using tarn::Reply;
using tarn::Request;
using testing::ElementsAre;

namespace {

static_assert(std::is_base_of_v<tarn::StreamNode, CommInterface>);
static_assert(std::is_convertible_v<CommInterface*, tarn::StreamNode*>);
static_assert(std::is_convertible_v<CommInterface*, tarn::Object*>);
static_assert(std::has_virtual_destructor_v<CommInterface>);
static_assert(!std::is_abstract_v<CommInterface>);
static_assert(!std::is_default_constructible_v<CommInterface>, "for subclasses only");
static_assert(!std::is_copy_constructible_v<CommInterface>);
static_assert(!std::is_copy_assignable_v<CommInterface>);
static_assert(sizeof(CommInterface) == sizeof(tarn::StreamNode) + sizeof(void*));

/// A channel that is told late what it is, and leaves every command to the library.
class LateChannel : public CommInterface {
public:
    LateChannel() = default;
    using CommInterface::init;
};

/// A channel that knows one command and leaves the others to the library.
class PingChannel : public CommInterface {
public:
    PingChannel() : CommInterface("test", "ping") {}

protected:
    void doRequest(std::shared_ptr<Request> request, std::shared_ptr<Reply> reply) override {
        if (request->id() != "ping") {
            CommInterface::doRequest(request, reply);
            return;
        }
        reply->setResultCode(0);
        reply->setData(std::string("pong"));
        reply->finished();
    }
};

#ifdef TARN_KNOWN_VIRTUAL_TABLE
struct VirtualProbe : CommInterface {
    using CommInterface::doRequest;
    virtual void next() {}
};

TEST(CommInterface, HasDoRequestRightBehindTheDestructorInItsTableAndNothingElse) {
    EXPECT_EQ(tarn::testing::tableIndex(&VirtualProbe::doRequest), 2U);
    EXPECT_EQ(tarn::testing::tableIndex(&VirtualProbe::next), 3U);
}
#endif

} // namespace

TEST(CommInterface, TakesItsTypeFirstAndItsIdentifierSecond) {
    const CommInterface channel("serial", "COM3");
    EXPECT_EQ(channel.type(), "serial");
    EXPECT_EQ(channel.id(), "COM3");
    EXPECT_EQ(channel.objectName(), "");
    EXPECT_TRUE(channel.supportIFramePorts().empty());
}

TEST(CommInterface, IsOfEmptyTypeAndIdentifierUntilASubclassSaysOtherwise) {
    LateChannel channel;
    EXPECT_EQ(channel.type(), "");
    EXPECT_EQ(channel.id(), "");
    channel.init("serial", "COM3");
    EXPECT_EQ(channel.type(), "serial");
    EXPECT_EQ(channel.id(), "COM3");
    channel.init("udp", "7001");
    EXPECT_EQ(channel.type(), "udp");
    EXPECT_EQ(channel.id(), "7001");
}

TEST(CommInterface, GivesTypeAndIdentifierAsCopies) {
    const CommInterface channel("serial", "COM3");
    std::string type = channel.type();
    std::string id = channel.id();
    type += "!";
    id += "!";
    EXPECT_EQ(channel.type(), "serial");
    EXPECT_EQ(channel.id(), "COM3");
}

TEST(CommInterface, OfNoParticularKindKnowsNoCommand) {
    CommInterface channel("serial", "COM3");
    const auto reply = channel.syncRequest("connect");
    ASSERT_NE(reply, nullptr);
    EXPECT_EQ(reply->id(), "connect");
    EXPECT_EQ(reply->resultCode(), 1);
    EXPECT_FALSE(*reply);
    EXPECT_EQ(reply->errorCode(), 0);
    EXPECT_EQ(reply->errorString(), "");
    EXPECT_FALSE(reply->data().has_value());
}

TEST(CommInterface, OfNoParticularKindCallsBackBeforeTheRequestReturns) {
    CommInterface channel("serial", "COM3");
    std::vector<int> codes;
    channel.asyncRequest("connect", [&](const std::shared_ptr<Reply>& reply) {
        EXPECT_EQ(reply->id(), "connect");
        codes.push_back(reply->resultCode());
    });
    EXPECT_THAT(codes, ElementsAre(1));
}

TEST(CommInterface, OfASubclassAnswersWhatItKnowsAndLeavesTheRestToItsBase) {
    PingChannel channel;
    const auto pong = channel.syncRequest("ping");
    EXPECT_TRUE(*pong);
    EXPECT_EQ(pong->dataAs<std::string>(), "pong");
    EXPECT_EQ(channel.syncRequest("connect")->resultCode(), 1);
}

TEST(CommInterface, HandsOverTheVeryRequestItIsGiven) {
    std::vector<Request*> handled;
    Channel channel(
        [&](const std::shared_ptr<Request>& request, const std::shared_ptr<Reply>& reply) {
            handled.push_back(request.get());
            EXPECT_EQ(reply->id(), request->id());
            EXPECT_EQ(reply->resultCode(), -1);
            reply->finished();
        });
    const auto first = std::make_shared<Request>("setRate", 120);
    const auto second = std::make_shared<Request>("setRate", 60);
    channel.syncRequest(first);
    channel.asyncRequest(second, [](const std::shared_ptr<Reply>& /*reply*/) {});
    EXPECT_THAT(handled, ElementsAre(first.get(), second.get()));
}

TEST(CommInterface, MakesARequestWithoutPayloadOfAnIdentifier) {
    std::vector<std::string> handled;
    Channel channel(
        [&](const std::shared_ptr<Request>& request, const std::shared_ptr<Reply>& reply) {
            EXPECT_FALSE(request->hasData());
            handled.push_back(request->id());
            reply->finished();
        });
    EXPECT_EQ(channel.syncRequest("one")->id(), "one");
    channel.asyncRequest(
        "two", [](const std::shared_ptr<Reply>& reply) { EXPECT_EQ(reply->id(), "two"); });
    EXPECT_EQ(channel.syncRequest("")->id(), "");
    EXPECT_THAT(handled, ElementsAre("one", "two", ""));
}

TEST(CommInterface, MakesANewReplyForEveryRequest) {
    CommInterface channel("serial", "COM3");
    const auto request = std::make_shared<Request>("connect");
    const auto first = channel.syncRequest(request);
    const auto second = channel.syncRequest(request);
    EXPECT_NE(first, second);
}

TEST(CommInterface, KeepsNeitherRequestNorReply) {
    CommInterface channel("serial", "COM3");
    auto request = std::make_shared<Request>("connect");
    auto reply = channel.syncRequest(request);
    channel.asyncRequest(request, [](const std::shared_ptr<Reply>& /*reply*/) {});
    EXPECT_EQ(request.use_count(), 1);
    EXPECT_EQ(reply.use_count(), 1);
}

TEST(CommInterface, IsFoundInTheObjectTree) {
    tarn::Object parent;
    CommInterface channel("serial", "COM3");
    parent.addChild(&channel);
    EXPECT_THAT(parent.children(), ElementsAre(&channel));
    parent.removeChild(&channel);
}

#ifndef NDEBUG
TEST(CommInterfaceDeathTest, ARequestMustNotBeEmpty) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    CommInterface channel("serial", "COM3");
    const std::shared_ptr<Request> none;
    EXPECT_DEATH(channel.syncRequest(none), "request != nullptr");
    EXPECT_DEATH(channel.asyncRequest(none, nullptr), "request != nullptr");
}
#endif
