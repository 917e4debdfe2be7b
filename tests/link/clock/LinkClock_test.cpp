// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_link/clock/LinkClock.h>

#include "link/LinkTest.h"

#include <dds/dds.h>
#include <gtest/gtest.h>
#include <tarn_kit/devices/ClockDiscipline.h>
#include <tarn_link.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace tarn::link {
namespace {

using std::chrono::milliseconds;
using Instant = kit::Clock::Instant;

constexpr kit::Clock::Duration often = milliseconds(5);

// Both ends of these tests have one and the same clock: the offset is nothing, and so is the drift.

TEST(LinkClock, MeasuresTheClockOfAnotherLinkWithinItsBound) {
    const Link here(ownDomain());
    const Link there(ownDomain());
    const LinkClock clock(here, there.clock(), often);
    ASSERT_TRUE(eventually([&] { return clock.counts().exchanges >= 20; }));
    const std::optional<kit::ClockRelation> relation = clock.relation();
    ASSERT_TRUE(relation);
    EXPECT_LE(std::chrono::abs(relation->offset), relation->bound);
    EXPECT_LE(std::abs(relation->drift), relation->driftBound);
    EXPECT_GT(relation->roundTrip.count(), 0);
    const Instant now = kit::SteadyClock().now();
    const auto there1 = clock.toRemote(now);
    const auto back = clock.toLocal(now);
    ASSERT_TRUE(there1 && back);
    // What is known of it changes meanwhile.
    const auto bound = std::max(relation->boundAt(now), clock.relation()->boundAt(now));
    EXPECT_LE(std::chrono::abs(*there1 - now), bound + milliseconds(1));
    EXPECT_LE(std::chrono::abs(*back - now), bound + milliseconds(1));
    EXPECT_EQ(clock.clock(), there.clock());
}

TEST(LinkClock, AsksAgainAtOnceWhenItIsAnsweredAndThenRests) {
    const Link here(ownDomain());
    const Link there(ownDomain());
    const LinkClock clock(here, there.clock(), std::chrono::hours(1));
    ASSERT_TRUE(eventually([&] { return clock.counts().exchanges == 2; }));
    EXPECT_EQ(clock.asked(), 2);
}

TEST(LinkClock, KnowsNothingOfAClockThatNobodyHas) {
    const Link link(ownDomain());
    const LinkClock nobody(link, 12345, often);
    const LinkClock other(link, link.clock(), often);
    ASSERT_TRUE(eventually([&] { return other.counts().exchanges > 5 && nobody.asked() > 5; }));
    EXPECT_FALSE(nobody.relation());
    EXPECT_FALSE(nobody.toLocal(Instant()));
    EXPECT_FALSE(nobody.toRemote(Instant()));
    EXPECT_EQ(nobody.counts().exchanges, 0);
}

TEST(LinkClock, MeasuresOnWhenWhoWasAskedIsGone) {
    const Link here(ownDomain());
    auto there = std::make_unique<Link>(ownDomain());
    const LinkClock clock(here, there->clock(), often);
    ASSERT_TRUE(eventually([&] { return clock.counts().exchanges > 0; }));
    there.reset();
    ASSERT_TRUE(eventually([&] { return clock.asked() > clock.counts().exchanges + 20; }));
    EXPECT_TRUE(clock.relation()); // what was known, less and less certain
}

/// A place in a domain without this library, as a program of another maker has one.
class Foreign {
public:
    Foreign(std::uint32_t domain, std::uint64_t clock)
        : participant_(dds_create_participant(domain, nullptr, nullptr)) {
        dds_qos_t* const qos = dds_create_qos();
        dds_qset_partition1(qos, ("clock " + std::to_string(clock)).c_str());
        publisher_ = dds_create_publisher(participant_, qos, nullptr);
        subscriber_ = dds_create_subscriber(participant_, qos, nullptr);
        dds_delete_qos(qos);
        requests_ = topic(&tarn_wire_ClockRequest_desc, "tarn_clock_request_1");
        replies_ = topic(&tarn_wire_ClockReply_desc, "tarn_clock_reply_1");
    }
    Foreign(const Foreign&) = delete;
    Foreign& operator=(const Foreign&) = delete;
    ~Foreign() { dds_delete(participant_); }

protected:
    dds_entity_t reader(dds_entity_t topic) const {
        return dds_create_reader(subscriber_, topic, nullptr, nullptr);
    }
    dds_entity_t writer(dds_entity_t topic) const {
        return dds_create_writer(publisher_, topic, nullptr, nullptr);
    }
    /// What came next, if anything has.
    template <class T>
    static std::optional<T> next(dds_entity_t reader) {
        void* sample = nullptr;
        dds_sample_info_t info{};
        if (dds_take(reader, &sample, &info, 1, 1) <= 0) {
            return std::nullopt;
        }
        const T copy = *static_cast<const T*>(sample);
        dds_return_loan(reader, &sample, 1);
        return info.valid_data ? std::optional(copy) : std::nullopt;
    }
    dds_entity_t requests_ = 0;
    dds_entity_t replies_ = 0;

private:
    dds_entity_t topic(const dds_topic_descriptor_t* type, const char* name) const {
        return dds_create_topic(participant_, type, name, nullptr, nullptr);
    }

    dds_entity_t participant_;
    dds_entity_t publisher_ = 0;
    dds_entity_t subscriber_ = 0;
};

/// Answers what it likes.
class Liar : public Foreign {
public:
    Liar(std::uint32_t domain, std::uint64_t clock)
        : Foreign(domain, clock), clock_(clock), reader_(reader(requests_)),
          writer_(writer(replies_)) {}

    /// Answers each question that came with what `change` makes of an honest answer.
    template <class Change>
    void answer(Change change) {
        while (const auto question = next<tarn_wire_ClockRequest>(reader_)) {
            tarn_wire_ClockReply reply{};
            reply.asker = question->asker;
            reply.asked = clock_;
            reply.number = question->number;
            reply.sent = question->sent;
            reply.received = question->sent;
            reply.replied = question->sent;
            change(reply);
            dds_write(writer_, &reply);
        }
    }

private:
    std::uint64_t clock_;
    dds_entity_t reader_;
    dds_entity_t writer_;
};

class RawAsker : public Foreign {
public:
    RawAsker(std::uint32_t domain, std::uint64_t clock)
        : Foreign(domain, clock), clock_(clock), reader_(reader(replies_)),
          writer_(writer(requests_)) {}

    void ask(std::int64_t sent, std::uint64_t number, std::uint64_t asked = 0) const {
        tarn_wire_ClockRequest request{};
        request.asker = 1;
        request.asked = asked == 0 ? clock_ : asked;
        request.number = number;
        request.sent = sent;
        dds_write(writer_, &request);
    }
    std::optional<tarn_wire_ClockReply> reply() const {
        return next<tarn_wire_ClockReply>(reader_);
    }

private:
    std::uint64_t clock_;
    dds_entity_t reader_;
    dds_entity_t writer_;
};

TEST(LinkClock, RefusesAnswersThatNobodyAskedFor) {
    const LinkOptions options = ownDomain();
    const Link link(options);
    Liar liar(options.domain, 77);
    const LinkClock clock(link, 77, often);
    int kind = 0;
    ASSERT_TRUE(eventually([&] {
        liar.answer([&](tarn_wire_ClockReply& reply) {
            switch (kind++ % 4) {
            case 0:
                reply.sent -= 1; // so that the way there looks longer
                break;
            case 1:
                reply.number += 3;
                break;
            case 2:
                reply.asked = 78;
                break;
            default:
                reply.received = reply.replied + 1; // before it was heard
            }
        });
        return clock.counts().refused >= 20;
    }));
    EXPECT_EQ(clock.counts().exchanges, 0);
    EXPECT_FALSE(clock.relation());
}

TEST(LinkClock, TakesAnAnswerOnce) {
    const LinkOptions options = ownDomain();
    const Link link(options);
    Liar first(options.domain, 77);
    Liar second(options.domain, 77);
    const LinkClock clock(link, 77, often);
    const auto honest = [](tarn_wire_ClockReply&) {};
    ASSERT_TRUE(eventually([&] {
        first.answer(honest);
        second.answer(honest);
        return clock.counts().refused >= 20;
    }));
    EXPECT_GE(clock.counts().exchanges, 1);
    EXPECT_LE(clock.counts().exchanges, clock.asked());
}

TEST(LinkClock, TellsWhoAsksHowWellItsClockIsKeptRight) {
    const LinkOptions options = ownDomain();
    const Link link(options);
    RawAsker asker(options.domain, link.clock());
    std::optional<tarn_wire_ClockReply> reply;
    const auto before = kit::clockDiscipline();
    ASSERT_TRUE(eventually([&] {
        asker.ask(1000, 7);
        reply = asker.reply();
        return reply.has_value();
    }));
    EXPECT_EQ(reply->asked, link.clock());
    EXPECT_EQ(reply->number, 7U);
    EXPECT_EQ(reply->sent, 1000);
    EXPECT_LE(reply->received, reply->replied);
    EXPECT_EQ(reply->is_disciplined, before.isSynchronised);
    EXPECT_NEAR(static_cast<double>(reply->date_offset), static_cast<double>(before.toUtc.count()),
                1e9);
    EXPECT_GT(reply->date_bound, 0);
}

TEST(LinkClock, DoesNotAnswerWhoAsksForAnother) {
    const LinkOptions options = ownDomain();
    const Link link(options);
    RawAsker asker(options.domain, link.clock());
    ASSERT_TRUE(eventually([&] {
        asker.ask(1, 1);
        return asker.reply().has_value();
    }));
    while (asker.reply()) {
    }
    asker.ask(2, 2, link.clock() + 1);
    asker.ask(3, 3);
    std::optional<tarn_wire_ClockReply> reply;
    ASSERT_TRUE(eventually([&] { return (reply = asker.reply()).has_value(); }));
    while (reply && reply->number == 1) { // what was still on its way
        reply = asker.reply();
    }
    EXPECT_TRUE(!reply || reply->number == 3);
}

TEST(LinkClockThreads, IsReadAndEndedWhileItMeasures) {
    const Link here(ownDomain());
    const Link there(ownDomain());
    for (int i = 0; i < 5; ++i) {
        const LinkClock clock(here, there.clock(), milliseconds(1));
        std::vector<std::thread> readers;
        readers.reserve(3);
        for (int k = 0; k < 3; ++k) {
            readers.emplace_back([&clock] {
                while (clock.counts().exchanges < 10) {
                    const auto relation = clock.relation();
                    if (relation) {
                        EXPECT_LE(std::chrono::abs(relation->offset), relation->bound);
                    }
                    std::this_thread::yield();
                }
            });
        }
        for (std::thread& reader : readers) {
            reader.join();
        }
    }
}

} // namespace
} // namespace tarn::link
