// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn/Reply.h>

#include <gtest/gtest.h>

#include <any>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>

using tarn::Reply;

namespace {

static_assert(!std::is_polymorphic_v<Reply>);
static_assert(!std::is_default_constructible_v<Reply>);
static_assert(!std::is_copy_constructible_v<Reply>);
static_assert(!std::is_copy_assignable_v<Reply>);
static_assert(!std::is_move_constructible_v<Reply>);
static_assert(!std::is_move_assignable_v<Reply>);
static_assert(!std::is_convertible_v<std::string, Reply>, "a text is not silently a reply");
static_assert(std::is_constructible_v<bool, const Reply&>);
static_assert(!std::is_convertible_v<const Reply&, bool>, "a reply is not silently a number");
static_assert(std::is_same_v<decltype(std::declval<Reply&>().onFinished()), tsignal::Signal<int>&>);

} // namespace

TEST(Reply, IsOpenWhenItIsNew) {
    const auto reply = std::make_shared<Reply>("connect");
    EXPECT_EQ(reply->id(), "connect");
    EXPECT_EQ(reply->resultCode(), -1);
    EXPECT_EQ(reply->errorCode(), 0);
    EXPECT_EQ(reply->errorString(), "");
    EXPECT_FALSE(reply->data().has_value());
    EXPECT_FALSE(*reply);
}

TEST(Reply, KeepsACopyOfTheIdentifier) {
    std::string id = "connect";
    const Reply reply(id);
    id = "other";
    EXPECT_EQ(reply.id(), "connect");
}

TEST(Reply, IsGoodExactlyWhenTheResultCodeIsZero) {
    Reply reply("connect");
    for (const int code : {1, 2, -1, -2, 1000000}) {
        reply.setResultCode(code);
        EXPECT_EQ(reply.resultCode(), code);
        EXPECT_FALSE(reply) << code;
    }
    reply.setResultCode(0);
    EXPECT_EQ(reply.resultCode(), 0);
    EXPECT_TRUE(reply);
}

TEST(Reply, AnErrorLeavesTheResultCodeAlone) {
    Reply reply("connect");
    reply.setError(5, "no such port");
    EXPECT_EQ(reply.resultCode(), -1);
    EXPECT_FALSE(reply);

    reply.setResultCode(0);
    reply.setError(6, "port busy");
    EXPECT_EQ(reply.resultCode(), 0);
    EXPECT_TRUE(reply);
    EXPECT_EQ(reply.errorCode(), 6);
    EXPECT_EQ(reply.errorString(), "port busy");
}

TEST(Reply, TheResultCodeLeavesTheErrorAlone) {
    Reply reply("connect");
    reply.setError(5, "no such port");
    reply.setResultCode(0);
    EXPECT_EQ(reply.errorCode(), 5);
    EXPECT_EQ(reply.errorString(), "no such port");
}

TEST(Reply, AnErrorReplacesCodeAndText) {
    Reply reply("connect");
    reply.setError(5, "no such port");
    reply.setError(0, "");
    EXPECT_EQ(reply.errorCode(), 0);
    EXPECT_EQ(reply.errorString(), "");
}

TEST(Reply, TheErrorTextIsGivenAsACopy) {
    Reply reply("connect");
    reply.setError(5, "no such port");
    std::string text = reply.errorString();
    text = "other";
    EXPECT_EQ(reply.errorString(), "no such port");
}

TEST(Reply, CarriesItsPayload) {
    Reply reply("firmware");
    reply.setData(std::string("1.4"));
    EXPECT_EQ(std::any_cast<std::string>(reply.data()), "1.4");
    EXPECT_EQ(reply.dataAs<std::string>(), "1.4");
    EXPECT_EQ(&reply.dataAs<std::string>(), std::any_cast<std::string>(&reply.data()));
}

TEST(Reply, KeepsACopyOfThePayload) {
    Reply reply("firmware");
    std::any payload = std::string("1.4");
    reply.setData(payload);
    payload.reset();
    EXPECT_EQ(reply.dataAs<std::string>(), "1.4");
    reply.setData(std::any());
    EXPECT_FALSE(reply.data().has_value());
}

TEST(Reply, ReadingThePayloadAsAnotherTypeThrows) {
    Reply reply("rate");
    EXPECT_THROW(static_cast<void>(reply.dataAs<int>()), std::bad_any_cast);
    reply.setData(120);
    EXPECT_THROW(static_cast<void>(reply.dataAs<float>()), std::bad_any_cast);
    EXPECT_EQ(reply.dataAs<int>(), 120);
}

TEST(Reply, SettingItsFieldsTellsNobody) {
    Reply reply("connect");
    int calls = 0;
    reply.onFinished().connect([&](int /*code*/) { ++calls; });
    reply.setResultCode(0);
    reply.setError(5, "no such port");
    reply.setData(1);
    EXPECT_EQ(calls, 0);
}

TEST(Reply, CanBeReadAndChangedAfterItWasFinished) {
    Reply reply("connect");
    reply.setResultCode(2);
    reply.setError(5, "no such port");
    reply.setData(7);
    reply.finished();
    EXPECT_EQ(reply.id(), "connect");
    EXPECT_EQ(reply.resultCode(), 2);
    EXPECT_EQ(reply.errorCode(), 5);
    EXPECT_EQ(reply.errorString(), "no such port");
    EXPECT_EQ(reply.dataAs<int>(), 7);

    reply.setResultCode(0);
    reply.setError(0, "");
    reply.setData(8);
    EXPECT_TRUE(reply);
    EXPECT_EQ(reply.errorCode(), 0);
    EXPECT_EQ(reply.dataAs<int>(), 8);
}

TEST(Reply, FinishingItLeavesItsFieldsAlone) {
    Reply reply("connect");
    reply.finished();
    EXPECT_EQ(reply.resultCode(), -1);
    EXPECT_EQ(reply.errorCode(), 0);
    EXPECT_EQ(reply.errorString(), "");
    EXPECT_FALSE(reply.data().has_value());
}

TEST(Reply, DestroyingItReleasesItsListenersAndTellsThemNothing) {
    int calls = 0;
    const auto held = std::make_shared<int>(1);
    const std::weak_ptr<int> watched = held;
    auto reply = std::make_unique<Reply>("connect");
    reply->onFinished().connect([&calls, held](int /*code*/) { ++calls; });
    EXPECT_EQ(watched.use_count(), 2);
    reply.reset();
    EXPECT_EQ(watched.use_count(), 1);
    EXPECT_EQ(calls, 0);
}
