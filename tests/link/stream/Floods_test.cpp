// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "link/StrangeStream.h"

#include <gtest/gtest.h>
#include <tarn_link/clock/LinkClock.h>

#include <algorithm>
#include <future>
#include <malloc.h>

namespace tarn::link {
namespace {

using Steady = std::chrono::steady_clock;

/// How many of something are let in at most that began then.
double mostOf(double burst, double perSecond, Steady::time_point began) {
    const std::chrono::duration<double> since = Steady::now() - began;
    return burst + perSecond * since.count() + 1;
}

/// By the whole program; a sanitizer has an allocator of its own, of which this says nothing.
std::size_t allocated() {
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

/// Somebody sends far more than there can be, beside a publisher that does not.
class FloodsTest : public StrangeStream {
protected:
    FloodsTest() {
        publisher.addTrack(kit::bodyDataType, bodyDescription());
        source.tieTo(publisher);
        publisher.start();
    }
    static void ignoreRate(tarn_wire_Track& track) { track.rate_numerator = 0; }

    LinkPublisher publisher{std::make_shared<Link>(options), "yard"};
    Source source;
};

TEST_F(FloodsTest, OfFramesAreTurnedAwayCountedAndToldOnceAndTakeNothingFromOthers) {
    LinkDeviceOptions careful;
    careful.samplesPerSecond = 50;
    LinkDevice flooded(link, "hall", careful);
    LinkDevice other(link, "yard");
    Arrivals arrivals(other.oFramePort(0));
    offer(1);
    describe(ignoreRate);
    flooded.open("stage");
    flooded.start();
    other.open("yard");
    other.start();
    ASSERT_TRUE(flooded.awaitConnected(longEnough));
    ASSERT_TRUE(other.awaitConnected(longEnough));
    ASSERT_TRUE(frames.awaitReader());
    ASSERT_TRUE(publisher.awaitReceivers(1, longEnough));
    const auto began = Steady::now();
    for (unsigned i = 0; i < 2'000; ++i) {
        send();
        source.send(bodyFrame(i));
    }
    EXPECT_EQ(arrivals.await(2'000).size(), 2'000U);
    const LinkStatus status = flooded.status();
    const double most = mostOf(50, 50, began);
    EXPECT_LE(static_cast<double>(status.receivedFrames()), most);
    EXPECT_GE(static_cast<double>(status.turnedAway), 2'000 - most);
    ASSERT_TRUE(eventually([&] {
        const std::vector<LinkEvent> events = flooded.status().events;
        return std::any_of(events.begin(), events.end(), [](const LinkEvent& event) {
            return event.kind == LinkEvent::Kind::Flooded;
        });
    }));
    send();
    const std::vector<LinkEvent> events = flooded.status().events;
    EXPECT_EQ(std::count_if(
                  events.begin(), events.end(),
                  [](const LinkEvent& event) { return event.kind == LinkEvent::Kind::Flooded; }),
              1);
    EXPECT_EQ(other.status().turnedAway, 0U);
}

TEST_F(FloodsTest, OfLargeFramesForABusyHostDoNotFillItsMemory) {
    join();
    std::promise<void> isBusy;
    std::promise<void> mayGoOn;
    bool isFirst = true;
    device.oFramePort(0).connect(
        [&, goOn = mayGoOn.get_future().share()](const std::shared_ptr<Frame>&) {
            if (std::exchange(isFirst, false)) {
                isBusy.set_value();
                goOn.wait();
            }
        });
    send();
    isBusy.get_future().wait();
    const std::size_t before = allocated();
    std::vector<std::uint8_t> bytes(std::size_t(1) << 20);
    for (int i = 0; i < 150; ++i) {
        send([&](tarn_wire_Item& item) {
            item.bytes._length = item.bytes._maximum = static_cast<std::uint32_t>(bytes.size());
            item.bytes._buffer = bytes.data();
        });
    }
    const std::size_t during = allocated();
    mayGoOn.set_value();
    EXPECT_LE(during, before + (std::size_t(80) << 20));
    EXPECT_TRUE(eventually([&] { return device.status().turnedAway >= 150 - 64; }));
}

TEST_F(FloodsTest, OfEverNewStreamsUnderANameAreTurnedAwayAndForgotten) {
    join();
    const std::size_t before = allocated();
    for (std::uint64_t i = 0; i < 3'000; ++i) {
        std::array<std::uint8_t, 1'000> bytes{};
        tarn_wire_Item item{};
        item.codec = textOf("tarn.body");
        item.bytes._length = item.bytes._maximum = bytes.size();
        item.bytes._buffer = bytes.data();
        tarn_wire_Frame sample{};
        sample.stream = 1'000 + i;
        sample.items._length = sample.items._maximum = 1;
        sample.items._buffer = &item;
        frames.write(&sample);
    }
    Arrivals arrivals(device.oFramePort(0));
    ASSERT_TRUE(eventually([&] { // its own stream is one of those that it may have
        return device.status().turnedAway >= 3'000 - 16;
    }));
    device.stop();
    EXPECT_LE(allocated(), before + (std::size_t(8) << 20));
}

TEST_F(FloodsTest, OfDescriptionsAreReadOnlySoOften) {
    device.open("stage");
    offer(1);
    ASSERT_TRUE(descriptions.awaitReader());
    const auto began = Steady::now();
    for (int i = 0; i < 2'000; ++i) {
        describe([](tarn_wire_Track& track) { track.rate_denominator = 0; });
    }
    const LinkStatus status = device.status();
    const double most = mostOf(20, 5, began);
    EXPECT_LE(static_cast<double>(status.refused), most);
    EXPECT_GE(static_cast<double>(status.turnedAway), 2'000 - most);
    ASSERT_TRUE(eventually([&] { return link->whyNot("stage").empty(); }));
    const std::string why = device.status().why;
    EXPECT_EQ(why.find("'stage' has not described itself yet; "), 0U) << why;
    EXPECT_NE(why.find(" descriptions turned away: more are sent than are let in"),
              std::string::npos)
        << why;
    EXPECT_TRUE(eventually([&] { // what others than its thread are told comes with its next look
        return device.whyNotConnected().find(" descriptions turned away: ") != std::string::npos;
    })) << device.whyNotConnected();
    device.open("yard");
    ASSERT_TRUE(device.awaitConnected(longEnough));
    EXPECT_EQ(device.whyNotConnected(), "");
    device.open("nowhere");
    EXPECT_EQ(device.whyNotConnected().find("turned away"), std::string::npos);
}

TEST_F(FloodsTest, OfEverNewOffersLeaveRoomForOthers) {
    ASSERT_TRUE(offers.awaitReader());
    for (std::uint64_t i = 0; i < 3'000; ++i) {
        tarn_wire_Offer sample{};
        sample.stream = i + 1;
        sample.name = textOf("stage");
        sample.host = sample.program = textOf("stranger");
        offers.write(&sample);
    }
    EXPECT_TRUE(eventually([&] { return link->whyNot("yard").empty(); }));
    EXPECT_LE(link->offers().size(), 17U);
    EXPECT_TRUE(eventually([&] { // its own name may have been among them
        return link->whyNot("hall").find(" offers turned away: more are sent than are let in") !=
               std::string::npos;
    })) << link->whyNot("hall");
    EXPECT_EQ(link->whyNot("yard"), "");
}

TEST(Floods, OfQuestionsAreAnsweredOnlySoOften) {
    const LinkOptions options = ownDomain();
    const Link here(options);
    const Link there(options);
    const auto began = Steady::now();
    const LinkClock clock(here, there.clock(), std::chrono::microseconds(50));
    ASSERT_TRUE(eventually([&] { return clock.asked() >= 3'000; }));
    EXPECT_LE(static_cast<double>(clock.counts().exchanges), mostOf(500, 500, began));
    EXPECT_TRUE(clock.relation());
}

} // namespace
} // namespace tarn::link
