// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_link/stream/LinkDevice.h>

#include "link/LinkTest.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <any>
#include <atomic>
#include <future>
#include <map>
#include <mutex>

namespace tarn::link {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

/// A publisher and a device in one program, on the network of this machine.
class LinkDeviceTest : public testing::Test {
protected:
    /// A stream of one body that has begun.
    std::unique_ptr<LinkPublisher> publishBody(const std::string& name = "stage") {
        auto publisher = std::make_unique<LinkPublisher>(std::make_shared<Link>(options), name);
        publisher->addTrack(kit::bodyDataType, bodyDescription());
        source.tieTo(*publisher);
        publisher->start();
        return publisher;
    }
    /// Lets the device's frames come.
    static void join(LinkDevice& device, const LinkPublisher& publisher,
                     const std::string& name = "stage") {
        device.open(name);
        ASSERT_TRUE(device.awaitConnected(longEnough)) << device.whyNotConnected();
        device.start();
        ASSERT_TRUE(publisher.awaitReceivers(1, longEnough));
    }

    const LinkOptions options = ownDomain();
    const std::shared_ptr<Link> link = std::make_shared<Link>(options);
    Source source;
};

TEST_F(LinkDeviceTest, SaysWhenASampleWasCapturedByItsOwnClock) {
    const auto publisher = publishBody();
    std::promise<LinkSample> sample;
    std::atomic<bool> isFirst{true};
    LinkDevice device(link, "hall");
    EXPECT_FALSE(device.clock());
    device.onSample().connect([&](const LinkSample& came) {
        if (isFirst.exchange(false)) {
            sample.set_value(came);
        }
    });
    join(device, *publisher);
    const auto before = kit::SteadyClock().now();
    source.send(bodyFrame(0));
    const auto after = kit::SteadyClock().now();
    const LinkSample came = sample.get_future().get();
    ASSERT_TRUE(eventually([&] { return device.clock().has_value(); }));
    const kit::ClockRelation clock = *device.clock();
    const auto captured = clock.toLocal(kit::Clock::Instant(kit::Clock::Duration(came.captured)));
    const auto bound = clock.boundAt(captured);
    EXPECT_GE(captured, before - bound);
    EXPECT_LE(captured, after + bound);
}

TEST_F(LinkDeviceTest, PutsOutWhatThePublisherGets) {
    const auto publisher = publishBody();
    LinkDevice device(link, "hall");
    Arrivals arrivals(device.oFramePort(0));
    join(device, *publisher);
    for (unsigned i = 0; i < 100; ++i) {
        source.send(bodyFrame(i));
    }
    const auto frames = arrivals.await(100);
    ASSERT_EQ(frames.size(), 100U);
    for (unsigned i = 0; i < 100; ++i) {
        EXPECT_EQ(frames[i]->time(), Time(i, 120));
        EXPECT_EQ(frames[i]->dataType(), kit::bodyDataType);
        const auto& body = frames[i]->dataAs<kit::BodyPose>();
        ASSERT_EQ(body.segments.size(), 3U);
        EXPECT_EQ(body.segments[2].position, (Vector3f{static_cast<float>(i), 2, 0.25F}));
    }
    EXPECT_TRUE(publisher->end());
    EXPECT_TRUE(device.awaitEnd(longEnough));
    const LinkStatus status = device.status();
    EXPECT_TRUE(status.hasEnded);
    EXPECT_EQ(status.receivedFrames(), 100U);
    EXPECT_EQ(status.lostFrames(), 0U);
    EXPECT_EQ(status.refused, 0U);
    EXPECT_EQ(status.samples, 100U);
    EXPECT_TRUE(device.isReady());
}

TEST_F(LinkDeviceTest, SaysWhatTheFramesOfAStreamMean) {
    const auto publisher = publishBody();
    LinkDevice device(link, "hall");
    device.open("stage");
    ASSERT_TRUE(device.awaitConnected(longEnough));
    const auto tracks = device.tracks();
    ASSERT_EQ(tracks.size(), 1U);
    EXPECT_EQ(tracks[0].dataType, kit::bodyDataType);
    EXPECT_EQ(tracks[0].description.subject, "Ada");
    EXPECT_EQ(tracks[0].description.rate, kit::Rate(120));
    const kit::Rig& rig = *tracks[0].description.rig;
    ASSERT_EQ(rig.nodes().size(), 3U);
    EXPECT_EQ(rig.nodes()[1].name, "Head");
    EXPECT_EQ(rig.nodes()[1].parent, 0);
    EXPECT_EQ(rig.nodes()[0].channels, smallRig()->nodes()[0].channels);
    EXPECT_TRUE(rig.nodes()[2].isEndSite());
    EXPECT_EQ(rig.nodes()[2].offset, (Vector3f{0, 20, 0.5F}));
    EXPECT_EQ(rig.space().unit.symbol, "cm");
    EXPECT_EQ(rig.space().unitOrigin, kit::Origin::Stated);
    EXPECT_EQ(rig.space().up, kit::UpAxis::Z);
    EXPECT_EQ(rig.standing(), kit::UpAxis::Y);
    EXPECT_TRUE(device.isReady());
}

TEST_F(LinkDeviceTest, IsLostUntilItsStreamIsOfferedAndSaysWhy) {
    LinkDevice device(link, "hall");
    EXPECT_TRUE(device.isLost());
    EXPECT_EQ(device.whyNotConnected(), "no stream is open");
    device.open("stage");
    device.start();
    EXPECT_TRUE(device.isLost());
    EXPECT_EQ(device.whyNotConnected(), "nobody offers 'stage' in domain " +
                                            std::to_string(options.domain) + " on this machine");
    const auto other = publishBody("yard");
    EXPECT_TRUE(eventually(
        [&] { return device.whyNotConnected().find("; offered: 'yard'") != std::string::npos; }));
    const auto publisher = publishBody();
    EXPECT_TRUE(device.awaitConnected(longEnough));
    EXPECT_TRUE(eventually([&] { return device.isBusy(); }));
    EXPECT_EQ(device.whyNotConnected(), "");
}

TEST_F(LinkDeviceTest, ConnectsAgainToAPublisherThatCameBack) {
    auto publisher = publishBody();
    LinkDevice device(link, "hall");
    Arrivals arrivals(device.oFramePort(0));
    join(device, *publisher);
    source.send(bodyFrame(7));
    ASSERT_EQ(arrivals.await(1).size(), 1U);
    source.oFramePort(0).disconnectAll();
    publisher.reset();
    EXPECT_TRUE(eventually([&] { return device.isLost(); }));
    publisher = publishBody();
    ASSERT_TRUE(publisher->awaitReceivers(1, longEnough));
    source.send(bodyFrame(3));
    const auto frames = arrivals.await(2);
    ASSERT_EQ(frames.size(), 2U);
    EXPECT_EQ(frames[1]->time().frameIndex(), 3U);
    const LinkStatus status = device.status();
    EXPECT_EQ(status.reconnects, 1U);
    EXPECT_EQ(status.receivedFrames(), 2U);
    EXPECT_EQ(status.lostFrames(), 0U);
}

TEST_F(LinkDeviceTest, ThatJoinsLateHasTheDescriptionAndTheFramesFromThenOn) {
    const auto publisher = publishBody();
    for (unsigned i = 0; i < 50; ++i) {
        source.send(bodyFrame(i));
    }
    LinkDevice device(link, "hall");
    Arrivals arrivals(device.oFramePort(0));
    join(device, *publisher);
    for (unsigned i = 50; i < 60; ++i) {
        source.send(bodyFrame(i));
    }
    publisher->end();
    ASSERT_TRUE(device.awaitEnd(longEnough));
    EXPECT_EQ(arrivals.await(10).size(), 10U);
    const LinkStatus status = device.status();
    ASSERT_EQ(status.tracks.size(), 1U);
    EXPECT_EQ(status.tracks[0].first, 50U);
    EXPECT_EQ(status.tracks[0].received, 10U);
    EXPECT_EQ(status.lostFrames(), 0U);
}

TEST_F(LinkDeviceTest, KeepsWhatBelongsTogetherTogether) {
    Source both(2);
    LinkPublisher publisher(std::make_shared<Link>(options), "stage");
    publisher.addTrack(kit::bodyDataType, bodyDescription());
    publisher.addTrack(kit::markerDataType, markerDescription());
    both.tieTo(publisher);
    publisher.start();
    LinkDevice device(link, "hall");
    Arrivals bodies(device.oFramePort(0));
    Arrivals markers(device.oFramePort(1));
    join(device, publisher);
    for (unsigned i = 0; i < 20; ++i) {
        both.send(markerFrame(i), 1);
        both.send(bodyFrame(i), 0);
    }
    ASSERT_EQ(bodies.await(20).size(), 20U);
    const auto frames = markers.await(20);
    ASSERT_EQ(frames.size(), 20U);
    const auto& last = frames[19]->dataAs<kit::MarkerFrame>();
    EXPECT_EQ(last[0].position, (Vector3f{19, 1, 2}));
    EXPECT_EQ(last[0].cameras, 3);
    EXPECT_FALSE(last[1].hasPosition());
    EXPECT_EQ(device.status().samples, 20U);
}

struct Glove {
    float bend = 0;
};

std::shared_ptr<kit::Codecs> withGloves() {
    auto codecs = std::make_shared<kit::Codecs>();
    codecs->add<Glove>(
        "studio.glove", 1, [](const Glove& glove, kit::PayloadWriter& to) { to.put(glove.bend); },
        [](kit::PayloadReader& from, std::uint32_t) { return Glove{from.get<float>()}; });
    return codecs;
}

TEST_F(LinkDeviceTest, CarriesAHostsOwnPayloadsByTheirCodec) {
    constexpr int gloveType = 1000;
    PublisherOptions sending;
    sending.codecs = withGloves();
    LinkPublisher publisher(std::make_shared<Link>(options), "stage", sending);
    publisher.addTrack(gloveType, {});
    source.tieTo(publisher);
    publisher.start();
    LinkDeviceOptions knowing;
    knowing.codecs = withGloves();
    LinkDevice device(link, "hall", knowing);
    LinkDevice stranger(link, "yard");
    Arrivals arrivals(device.oFramePort(0));
    Arrivals bytes(stranger.oFramePort(0));
    join(device, publisher);
    stranger.open("stage");
    stranger.start();
    ASSERT_TRUE(publisher.awaitReceivers(2, longEnough));
    ASSERT_TRUE(stranger.awaitConnected(longEnough));
    source.send(std::make_shared<Frame>(Time(4, 60), gloveType, Glove{0.5F}));
    const auto frames = arrivals.await(1);
    ASSERT_EQ(frames.size(), 1U);
    EXPECT_EQ(frames[0]->dataAs<Glove>().bend, 0.5F);
    EXPECT_EQ(frames[0]->dataType(), gloveType);
    const auto unknown = bytes.await(1);
    ASSERT_EQ(unknown.size(), 1U);
    EXPECT_EQ(unknown[0]->dataAs<kit::EncodedPayload>().codec.name, "studio.glove");
}

TEST_F(LinkDeviceTest, OfNewestFramesSkipsThoseThatCameWhileItsHostWasBusy) {
    const auto publisher = publishBody();
    LinkDeviceOptions showing;
    showing.wanted = Wanted::NewestFrame;
    LinkDevice device(link, "hall", showing);
    std::atomic<bool> isShowing{false};
    std::promise<void> mayGoOn;
    device.oFramePort(0).connect(
        [&, goOn = mayGoOn.get_future().share()](const std::shared_ptr<Frame>&) {
            isShowing = true;
            goOn.wait();
        });
    device.open("stage");
    device.start();
    unsigned next = 0;
    ASSERT_TRUE(eventually([&] { // nobody counts those who only show
        source.send(bodyFrame(next++));
        return isShowing.load();
    }));
    EXPECT_EQ(publisher->receivers(), 0);
    for (int i = 0; i < 30; ++i) {
        source.send(bodyFrame(next++));
    }
    publisher->end();
    mayGoOn.set_value();
    ASSERT_TRUE(device.awaitEnd(longEnough));
    const LinkTrackStatus track = device.status().tracks.at(0);
    EXPECT_EQ(track.first + track.received + track.skipped + track.lost, next);
    EXPECT_GT(track.skipped, 0U);
}

TEST_F(LinkDeviceTest, TellsOfAMomentOnceThoughItsNewestFramesComeInParts) {
    constexpr int tracks = 30;
    Source all(tracks);
    LinkPublisher publisher(std::make_shared<Link>(options), "stage");
    for (int i = 0; i < tracks; ++i) {
        publisher.addTrack(kit::bodyDataType, bodyDescription());
    }
    all.tieTo(publisher);
    publisher.start();
    LinkDeviceOptions showing;
    showing.wanted = Wanted::NewestFrame;
    LinkDevice device(link, "hall", showing);
    std::mutex mutex;
    std::map<std::uint64_t, int> told; // how often of each sample
    unsigned newest = 0;               // what is shown of which frame
    int shown = 0;
    device.onSample().connect([&](const LinkSample& sample) {
        const std::lock_guard<std::mutex> lock(mutex);
        ++told[sample.number];
    });
    for (int i = 0; i < tracks; ++i) {
        device.oFramePort(i).connect([&](const std::shared_ptr<Frame>& frame) {
            const std::lock_guard<std::mutex> lock(mutex);
            shown = frame->time().frameIndex() == newest ? shown + 1 : 1;
            newest = frame->time().frameIndex();
        });
    }
    device.open("stage");
    device.start();
    unsigned next = 0;
    ASSERT_TRUE(eventually([&] { // nobody counts those who only show
        for (int i = 0; i < tracks; ++i) {
            all.send(bodyFrame(next), i);
        }
        ++next;
        const std::lock_guard<std::mutex> lock(mutex);
        return told.size() >= 3;
    }));
    ASSERT_TRUE(eventually([&] { // the last one is never passed over
        const std::lock_guard<std::mutex> lock(mutex);
        return newest == next - 1 && shown == tracks;
    }));
    for (const auto& [number, count] : told) {
        EXPECT_EQ(count, 1) << "sample " << number;
    }
    EXPECT_EQ(device.status().samples, told.size());
}

TEST_F(LinkDeviceTest, StoppedPutsOutNothing) {
    const auto publisher = publishBody();
    LinkDevice device(link, "hall");
    Arrivals arrivals(device.oFramePort(0));
    join(device, *publisher);
    device.stop();
    EXPECT_TRUE(device.isReady());
    ASSERT_TRUE(eventually([&] { return publisher->receivers() == 0; }));
    source.send(bodyFrame(1));
    device.start();
    ASSERT_TRUE(publisher->awaitReceivers(1, longEnough));
    source.send(bodyFrame(2));
    const auto frames = arrivals.await(1);
    ASSERT_EQ(frames.size(), 1U);
    EXPECT_EQ(frames[0]->time().frameIndex(), 2U);
}

TEST_F(LinkDeviceTest, CanBeStoppedInASlotOfItsFrames) {
    const auto publisher = publishBody();
    LinkDevice device(link, "hall");
    Arrivals arrivals(device.oFramePort(0));
    device.oFramePort(0).connect([&](const std::shared_ptr<Frame>&) { device.stop(); });
    join(device, *publisher);
    source.send(bodyFrame(0));
    source.send(bodyFrame(1));
    EXPECT_TRUE(eventually([&] { return device.isReady(); }));
    EXPECT_EQ(arrivals.await(1).size(), 1U);
}

TEST_F(LinkDeviceTest, AnswersWhatItCannotDoWithWhy) {
    LinkDevice device(link, "hall");
    const auto errorOf = [&device](const std::string& id, const std::any& data = {}) {
        const auto reply = device.syncRequest(std::make_shared<Request>(id, data));
        EXPECT_EQ(reply->resultCode(), LinkDevice::failed);
        EXPECT_FALSE(reply->errorString().empty());
        return reply->errorCode();
    };
    EXPECT_EQ(errorOf("start"), LinkDevice::NotOpen);
    EXPECT_EQ(errorOf("stop"), LinkDevice::NotOpen);
    EXPECT_EQ(errorOf("open", 7), LinkDevice::BadPayload);
    EXPECT_EQ(errorOf("open", std::string("a*b")), LinkDevice::BadName);
    EXPECT_EQ(device.syncRequest("rewind")->resultCode(), 1);
}

TEST_F(LinkDeviceTest, OfAStreamThatHasEndedTellsSoAtOnce) {
    const auto publisher = publishBody();
    source.send(bodyFrame(0));
    publisher->end();
    LinkDevice device(link, "hall");
    device.open("stage");
    device.start();
    EXPECT_TRUE(device.awaitEnd(longEnough));
    EXPECT_TRUE(device.status().hasEnded);
    EXPECT_EQ(device.status().lostFrames(), 0U);
}

TEST_F(LinkDeviceTest, PutsOutAllOfAStreamThatEndedAndWentWhileItsHostWasBusy) {
    auto publisher = publishBody();
    LinkDevice device(link, "hall");
    Arrivals arrivals(device.oFramePort(0));
    std::promise<void> isBusy;
    std::promise<void> mayGoOn;
    device.oFramePort(0).connect(
        [&, goOn = mayGoOn.get_future().share()](const std::shared_ptr<Frame>& frame) {
            if (frame->time().frameIndex() == 0) {
                isBusy.set_value();
                goOn.wait();
            }
        });
    join(device, *publisher);
    source.send(bodyFrame(0));
    isBusy.get_future().wait();
    for (unsigned i = 1; i < 200; ++i) {
        source.send(bodyFrame(i));
    }
    EXPECT_TRUE(publisher->end(longEnough));
    source.oFramePort(0).disconnectAll();
    publisher.reset();
    ASSERT_TRUE(eventually([&] { return link->offers().empty(); }));
    mayGoOn.set_value();
    ASSERT_TRUE(device.awaitEnd(longEnough));
    const LinkStatus status = device.status();
    EXPECT_TRUE(status.hasEnded);
    EXPECT_EQ(status.receivedFrames(), 200U);
    EXPECT_EQ(status.lostFrames(), 0U);
}

TEST_F(LinkDeviceTest, PutsOutAllBeforeItIsLost) {
    auto publisher = publishBody();
    LinkDevice device(link, "hall");
    Arrivals arrivals(device.oFramePort(0));
    join(device, *publisher);
    for (unsigned i = 0; i < 500; ++i) {
        source.send(bodyFrame(i));
    }
    source.oFramePort(0).disconnectAll();
    publisher.reset(); // ends it, too
    EXPECT_TRUE(eventually([&] { return device.isLost(); }));
    EXPECT_EQ(arrivals.frames().size(), 500U);
}

TEST(LinkDeviceThreads, StartsAndStopsTenTimesWhileFramesCome) {
    const LinkOptions options = ownDomain();
    std::atomic<bool> isOver{false};
    Source source;
    LinkPublisher publisher(std::make_shared<Link>(options), "stage");
    publisher.addTrack(kit::bodyDataType, bodyDescription());
    source.tieTo(publisher);
    publisher.start();
    std::thread sender([&] {
        for (unsigned i = 0; !isOver; ++i) {
            source.send(bodyFrame(i % 100000));
            std::this_thread::sleep_for(std::chrono::milliseconds(3));
        }
    });
    for (int i = 0; i < 10; ++i) {
        LinkDevice device(std::make_shared<Link>(options), "hall");
        Arrivals arrivals(device.oFramePort(0));
        device.open("stage");
        device.start();
        EXPECT_GE(arrivals.await(5).size(), 5U);
        EXPECT_EQ(device.status().lostFrames(), 0U);
        EXPECT_TRUE(device.whyNotConnected().empty());
        if (i % 2 == 0) {
            device.stop();
        }
    }
    isOver = true;
    sender.join();
}

} // namespace
} // namespace tarn::link
