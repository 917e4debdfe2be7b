// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "link/LinkTest.h"
#include "link/Stranger.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <tarn_link.h>
#include <tarn_link/stream/LinkDevice.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <optional>

namespace tarn::link {
namespace {

using testing::HasSubstr;

char* textOf(const char* text) { return const_cast<char*>(text); } // NOLINT(*-const-cast)

/// A stream by hand: one body of `smallRig`, and a device that has joined it.
class RefusalsTest : public testing::Test {
protected:
    static constexpr std::uint64_t stream = 77;

    RefusalsTest()
        : offers(options.domain, &tarn_wire_Offer_desc, "tarn_offer", nullptr, true),
          descriptions(options.domain, &tarn_wire_Description_desc, "tarn_description_1", "stage",
                       true),
          frames(options.domain, &tarn_wire_Frame_desc, "tarn_frame_1", "stage", false) {}

    /// `sent` is of a stream that has ended: how many frames of its track there were.
    void offer(std::uint32_t version, const char* name = "stage",
               std::optional<std::uint64_t> sent = {}) const {
        tarn_wire_Offer sample{};
        sample.stream = stream;
        sample.name = textOf(name);
        sample.version = version;
        sample.host = sample.program = textOf("stranger");
        if (sent) {
            sample.ended = true;
            sample.sent._length = sample.sent._maximum = 1;
            sample.sent._buffer = &*sent;
        }
        offers.write(&sample);
    }
    /// `change` makes something wrong of it.
    void describe(const std::function<void(tarn_wire_Track&)>& change = {}) const {
        std::array<tarn_wire_RigNode, 3> nodes{};
        for (std::size_t i = 0; i < nodes.size(); ++i) {
            nodes[i].name = textOf("joint");
            nodes[i].parent = static_cast<std::int32_t>(i) - 1;
        }
        nodes[2].is_end = true;
        tarn_wire_Rig rig{};
        rig.space.unit = rig.space.unit_name = textOf("");
        rig.nodes._length = rig.nodes._maximum = nodes.size();
        rig.nodes._buffer = nodes.data();
        tarn_wire_Track track{};
        track.subject = track.document = textOf("");
        track.data_type = kit::bodyDataType;
        track.rate_numerator = 120;
        track.rate_denominator = 1;
        track.rig._length = track.rig._maximum = 1;
        track.rig._buffer = &rig;
        if (change) {
            change(track);
        }
        tarn_wire_Description sample{};
        sample.stream = stream;
        sample.tracks._length = sample.tracks._maximum = 1;
        sample.tracks._buffer = &track;
        descriptions.write(&sample);
    }
    /// A frame of three segments whose first number is `first`.
    void send(const std::function<void(tarn_wire_Item&)>& change = {}, float first = 0.5F) {
        sendTo(frames, change, first);
    }
    void sendTo(const Stranger& writer, const std::function<void(tarn_wire_Item&)>& change = {},
                float first = 0.5F) {
        std::array<float, 21> numbers{};
        numbers[0] = first;
        numbers[6] = numbers[13] = numbers[20] = 1;
        std::array<std::uint8_t, sizeof numbers> bytes{};
        std::memcpy(bytes.data(), numbers.data(), bytes.size());
        tarn_wire_Item item{};
        item.number = next++;
        item.frame_index = static_cast<std::uint32_t>(item.number);
        item.fps = 120;
        item.codec = textOf("tarn.body");
        item.codec_version = 1;
        item.bytes._length = item.bytes._maximum = bytes.size();
        item.bytes._buffer = bytes.data();
        if (change) {
            change(item);
        }
        tarn_wire_Frame sample{};
        sample.stream = stream;
        sample.number = item.number;
        sample.items._length = sample.items._maximum = 1;
        sample.items._buffer = &item;
        writer.write(&sample);
    }
    void join() {
        offer(1);
        describe();
        device.open("stage");
        device.start();
        ASSERT_TRUE(device.awaitConnected(longEnough)) << device.whyNotConnected();
        ASSERT_TRUE(frames.awaitReader());
    }
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

    const LinkOptions options = ownDomain();
    const std::shared_ptr<Link> link = std::make_shared<Link>(options);
    Stranger offers;
    Stranger descriptions;
    Stranger frames;
    LinkDevice device{link, "hall"};
    std::uint64_t next = 0;
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
