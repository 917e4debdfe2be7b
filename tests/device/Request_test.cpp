// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn/Request.h>

#include <gtest/gtest.h>

#include <any>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

using tarn::Request;

namespace {

static_assert(!std::is_polymorphic_v<Request>);
static_assert(std::is_copy_constructible_v<Request>);
static_assert(std::is_copy_assignable_v<Request>);
static_assert(std::is_nothrow_move_constructible_v<Request>);
static_assert(std::is_nothrow_move_assignable_v<Request>);
static_assert(!std::is_default_constructible_v<Request>);
static_assert(!std::is_convertible_v<std::string, Request>, "a text is not silently a request");
static_assert(sizeof(Request) == sizeof(std::string) + sizeof(std::any));

/// Too long for the place that a string has in itself.
const std::string longId(100, 'c');

} // namespace

TEST(Request, MadeFromAnIdentifierAloneHasNoPayload) {
    const Request request("connect");
    EXPECT_EQ(request.id(), "connect");
    EXPECT_FALSE(request.hasData());
    EXPECT_FALSE(request.data().has_value());
}

TEST(Request, MadeWithAnEmptyPayloadHasNone) {
    const Request request("connect", std::any());
    EXPECT_EQ(request.id(), "connect");
    EXPECT_FALSE(request.hasData());
}

TEST(Request, CarriesItsPayload) {
    const Request request("setRate", 120);
    EXPECT_EQ(request.id(), "setRate");
    EXPECT_TRUE(request.hasData());
    EXPECT_EQ(std::any_cast<int>(request.data()), 120);
    EXPECT_EQ(request.dataAs<int>(), 120);
}

TEST(Request, KeepsCopiesOfWhatItIsMadeFrom) {
    std::string id = "setPorts";
    std::any payload = std::vector<int>{1, 2};
    const Request request(id, payload);
    id = "other";
    payload.reset();
    EXPECT_EQ(request.id(), "setPorts");
    EXPECT_EQ(request.dataAs<std::vector<int>>(), (std::vector<int>{1, 2}));
}

TEST(Request, ReadingThePayloadAsAnotherTypeThrows) {
    const Request request("setRate", 120);
    EXPECT_THROW(static_cast<void>(request.dataAs<float>()), std::bad_any_cast);
    EXPECT_THROW(static_cast<void>(Request("setRate").dataAs<int>()), std::bad_any_cast);
    EXPECT_EQ(request.dataAs<int>(), 120);
}

TEST(Request, ThePayloadIsReadInPlace) {
    const Request request("say", std::string("hello"));
    EXPECT_EQ(&request.dataAs<std::string>(), std::any_cast<std::string>(&request.data()));
}

TEST(Request, AnEmptyIdentifierIsOneLikeOthers) {
    const Request request("", 5);
    EXPECT_EQ(request.id(), "");
    EXPECT_EQ(request.dataAs<int>(), 5);
}

TEST(Request, ACopyHasItsOwnIdentifierAndPayload) {
    Request original("say", std::string("hello"));
    const Request copy(original);
    original = Request("other", 1);
    EXPECT_EQ(copy.id(), "say");
    EXPECT_EQ(copy.dataAs<std::string>(), "hello");
}

TEST(Request, CopyAssignmentTakesIdentifierAndPayload) {
    const Request original("say", std::string("hello"));
    Request copy("other", 1);
    copy = original;
    EXPECT_EQ(copy.id(), "say");
    EXPECT_EQ(copy.dataAs<std::string>(), "hello");
    EXPECT_EQ(original.id(), "say");
    EXPECT_EQ(original.dataAs<std::string>(), "hello");

    copy = Request("connect");
    EXPECT_EQ(copy.id(), "connect");
    EXPECT_FALSE(copy.hasData());
}

TEST(Request, AssigningItToItselfChangesNothing) {
    Request request("say", std::string("hello"));
    Request& same = request;
    request = same;
    EXPECT_EQ(request.id(), "say");
    EXPECT_EQ(request.dataAs<std::string>(), "hello");
    request = std::move(same);
    EXPECT_EQ(request.id(), "say");
    EXPECT_EQ(request.dataAs<std::string>(), "hello");
}

TEST(Request, MovingLeavesTheSourceWithAnEmptyIdentifier) {
    const auto payload = std::make_shared<int>(5);
    for (const std::string& id : {std::string("say"), longId}) {
        Request source(id, payload);
        const Request moved(std::move(source));
        EXPECT_EQ(moved.id(), id);
        EXPECT_EQ(moved.dataAs<std::shared_ptr<int>>(), payload);
        EXPECT_EQ(payload.use_count(), 2) << "the payload was copied";
        EXPECT_EQ(source.id(), ""); // NOLINT(bugprone-use-after-move): what is left is promised
    }
}

TEST(Request, MoveAssignmentLeavesTheSourceWithAnEmptyIdentifier) {
    const auto payload = std::make_shared<int>(5);
    for (const std::string& id : {std::string("say"), longId}) {
        Request source(id, payload);
        Request target("what was there before", 1);
        target = std::move(source);
        EXPECT_EQ(target.id(), id);
        EXPECT_EQ(target.dataAs<std::shared_ptr<int>>(), payload);
        EXPECT_EQ(payload.use_count(), 2) << "the payload was copied";
        EXPECT_EQ(source.id(), ""); // NOLINT(bugprone-use-after-move): what is left is promised
    }
}

TEST(Request, AMovedFromRequestCanBeGivenAnotherCommand) {
    Request source("say", 5);
    const Request moved(std::move(source));
    source = Request("connect", 6);
    EXPECT_EQ(source.id(), "connect");
    EXPECT_EQ(source.dataAs<int>(), 6);
    EXPECT_EQ(moved.dataAs<int>(), 5);
}
