// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "link/StrangeStream.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace tarn::link {
namespace {

using testing::HasSubstr;

class RefusalsTest : public StrangeStream {
protected:
    /// Sends something wrong between two frames that are right: those come, it does not.
    void expectRefused(const std::function<void(tarn_wire_Item&)>& change, const std::string& why,
                       float first = 0.5F) {
        Arrivals arrivals(device.oFramePort(0));
        const std::uint64_t before = device.status().refused;
        send();
        send(change, first);
        send();
        EXPECT_EQ(arrivals.await(2).size(), 2U);
        const LinkStatus status = device.status();
        EXPECT_EQ(status.refused, before + 1);
        ASSERT_FALSE(status.events.empty());
        const auto refused =
            std::find_if(status.events.rbegin(), status.events.rend(),
                         [](const auto& event) { return event.kind == LinkEvent::Kind::Refused; });
        ASSERT_NE(refused, status.events.rend());
        EXPECT_THAT(refused->text, HasSubstr(why));
    }
};

TEST_F(RefusalsTest, WhatAnotherProgramSendsRightComes) {
    join();
    Arrivals arrivals(device.oFramePort(0));
    send();
    const auto came = arrivals.await(1);
    ASSERT_EQ(came.size(), 1U);
    EXPECT_EQ(came[0]->dataAs<kit::BodyPose>().segments[0].position.x, 0.5F);
}

TEST_F(RefusalsTest, APayloadOfAnotherSizeThanDescribedIsNoFrame) {
    join();
    expectRefused([](tarn_wire_Item& item) { item.bytes._length -= 28; }, "described");
    expectRefused([](tarn_wire_Item& item) { item.bytes._length -= 1; }, "broken");
}

TEST_F(RefusalsTest, NumbersThatAreNotFiniteAreNoFrame) {
    join();
    expectRefused({}, "described", std::numeric_limits<float>::quiet_NaN());
    expectRefused({}, "described", std::numeric_limits<float>::infinity());
}

TEST_F(RefusalsTest, APayloadOfAnotherKindThanDescribedIsNoFrame) {
    join();
    expectRefused([](tarn_wire_Item& item) { item.codec = textOf("tarn.bytes"); }, "described");
}

TEST_F(RefusalsTest, ACodecWithoutAUsableNameIsNoFrame) {
    join();
    expectRefused([](tarn_wire_Item& item) { item.codec = textOf(""); }, "codec");
    expectRefused([](tarn_wire_Item& item) { item.codec = textOf("a\nb"); }, "codec");
    const std::string longName(101, 'a');
    expectRefused([&](tarn_wire_Item& item) { item.codec = textOf(longName.c_str()); }, "codec");
}

TEST_F(RefusalsTest, AFrameIndexThatNoTakeHasIsNoFrame) {
    join();
    expectRefused([](tarn_wire_Item& item) { item.frame_index = 0x80000000U; }, "time");
    expectRefused([](tarn_wire_Item& item) { item.fps = 1'000'001; }, "time");
}

TEST_F(RefusalsTest, ATrackThatIsNotDescribedIsNoFrame) {
    join();
    expectRefused([](tarn_wire_Item& item) { item.track = 1; }, "track 1");
    expectRefused([](tarn_wire_Item& item) { item.track = 65535; }, "track");
}

TEST_F(RefusalsTest, ANumberThatWasThereBeforeOrIsFarAwayIsNoFrame) {
    join();
    expectRefused([](tarn_wire_Item& item) { item.number = 0; }, "there before");
    expectRefused(
        [](tarn_wire_Item& item) { item.number = std::numeric_limits<std::uint64_t>::max(); },
        "far from all others");
}

TEST_F(RefusalsTest, FramesThatComeOutOfOrderAreCountedAndNotLost) {
    join();
    Arrivals arrivals(device.oFramePort(0));
    const auto numbered = [](std::uint64_t number) {
        return [number](tarn_wire_Item& item) { item.number = number; };
    };
    for (const std::uint64_t number : {0U, 3U, 1U}) {
        send(numbered(number));
    }
    EXPECT_EQ(arrivals.await(3).size(), 3U);
    const LinkTrackStatus track = device.status().tracks.at(0);
    EXPECT_EQ(track.received, 3U);
    EXPECT_EQ(track.outOfOrder, 1U);
    EXPECT_EQ(track.lost, 1U); // number 2
}

TEST_F(RefusalsTest, WhoShowsHearsOfTheEndThoughTheLastFramesNeverCame) {
    const Stranger newest(options.domain, &tarn_wire_Frame_desc, "tarn_newest_1", "stage", false);
    LinkDeviceOptions showing;
    showing.wanted = Wanted::NewestFrame;
    LinkDevice viewer(link, "yard", showing);
    Arrivals arrivals(viewer.oFramePort(0));
    offer(1);
    describe();
    viewer.open("stage");
    viewer.start();
    ASSERT_TRUE(viewer.awaitConnected(longEnough));
    ASSERT_TRUE(newest.awaitReader());
    sendTo(newest);
    ASSERT_EQ(arrivals.await(1).size(), 1U);
    offer(1, "stage", 5);
    ASSERT_TRUE(viewer.awaitEnd(longEnough));
    const LinkStatus status = viewer.status();
    EXPECT_TRUE(status.hasEnded);
    EXPECT_EQ(status.lostFrames(), 4U);
}

TEST_F(RefusalsTest, WhoHearsOfALossMayOpenAnotherStream) {
    join();
    device.onEvent().connect([&](const LinkEvent& event) {
        if (event.kind == LinkEvent::Kind::Lost) {
            device.open("yard");
        }
    });
    Arrivals arrivals(device.oFramePort(0));
    send();
    send([](tarn_wire_Item& item) { item.number = 5; });
    EXPECT_TRUE(eventually([&] { return device.status().name == "yard"; }));
    const LinkStatus status = device.status();
    EXPECT_TRUE(status.tracks.empty());
    EXPECT_FALSE(status.hasEnded);
    EXPECT_EQ(arrivals.frames().size(), 1U);
}

TEST_F(RefusalsTest, ADescriptionThatCannotBeIsNone) {
    const std::vector<std::function<void(tarn_wire_Track&)>> wrongs = {
        [](tarn_wire_Track& track) { track.rig._buffer->nodes._buffer[1].parent = 5; },
        [](tarn_wire_Track& track) { track.rig._buffer->nodes._buffer[1].parent = -2; },
        [](tarn_wire_Track& track) { track.rig._buffer->nodes._buffer[1].is_end = true; },
        [](tarn_wire_Track& track) { track.rig._buffer->nodes._buffer[1].offset[2] = NAN; },
        [](tarn_wire_Track& track) { track.rig._buffer->space.up = 3; },
        [](tarn_wire_Track& track) { track.rig._buffer->space.metres = -1; },
        [](tarn_wire_Track& track) { track.rate_denominator = 0; },
    };
    device.open("stage");
    offer(1);
    ASSERT_TRUE(descriptions.awaitReader());
    for (const auto& wrong : wrongs) {
        const std::uint64_t before = device.status().refused;
        describe(wrong);
        EXPECT_TRUE(eventually([&] { return device.status().refused == before + 1; }));
        EXPECT_EQ(device.whyNotConnected(), "'stage' has not described itself yet");
    }
    describe();
    EXPECT_TRUE(device.awaitConnected(longEnough));
}

TEST_F(RefusalsTest, AStreamOfAnotherVersionIsNotConnectedToAndSaysWhy) {
    offer(3);
    describe();
    device.open("stage");
    EXPECT_TRUE(eventually([&] {
        return device.whyNotConnected() == "'stage' is offered in version 3, here are read 1";
    })) << device.whyNotConnected();
    EXPECT_TRUE(device.isLost());
}

TEST_F(RefusalsTest, AnOfferThatCannotBeIsNone) {
    offer(1, "a*b");
    offer(1, "");
    offer(1, std::string(300, 'a').c_str());
    ASSERT_TRUE(offers.awaitReader());
    EXPECT_TRUE(link->offers().empty());
    offer(1);
    EXPECT_TRUE(eventually([&] { return link->offers().size() == 1; }));
}

} // namespace
} // namespace tarn::link
