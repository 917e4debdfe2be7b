// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_link/stream/LinkPublisher.h>

#include "link/LinkTest.h"
#include "link/Stranger.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>
#include <map>
#include <numeric>

namespace tarn::link {
namespace {

using testing::HasSubstr;

class LinkPublisherTest : public testing::Test {
protected:
    const LinkOptions options = ownDomain();
    const std::shared_ptr<Link> link = std::make_shared<Link>(options);
};

TEST_F(LinkPublisherTest, IsOfferedFromItsStartUntilItGoes) {
    const Link other(options);
    {
        LinkPublisher publisher(
            link, "stage",
            {"studio", kit::Codecs::standard(), std::make_shared<kit::SteadyClock>()});
        publisher.addTrack(kit::bodyDataType, bodyDescription());
        EXPECT_TRUE(other.offers().empty());
        publisher.start();
        ASSERT_TRUE(eventually([&] { return other.offers().size() == 1; }));
        const LinkOffer offer = other.offers().front();
        EXPECT_EQ(offer.name, "stage");
        EXPECT_EQ(offer.version, writtenVersion);
        EXPECT_EQ(offer.program, "studio");
        EXPECT_EQ(offer.process, static_cast<std::uint32_t>(getpid()));
        EXPECT_FALSE(offer.ended);
        EXPECT_EQ(other.whyNot("stage"), "");
    }
    EXPECT_TRUE(eventually([&] { return other.offers().empty(); }));
}

TEST_F(LinkPublisherTest, RefusesWhatIsNoName) {
    EXPECT_THROW(LinkPublisher(link, ""), LinkError);
    EXPECT_THROW(LinkPublisher(link, "stage*"), LinkError);
}

TEST_F(LinkPublisherTest, HasAPortForEachOf256TracksAndNoMore) {
    LinkPublisher publisher(link, "stage");
    for (int i = 0; i < 256; ++i) {
        EXPECT_EQ(publisher.addTrack(kit::bodyDataType, {}), i);
        EXPECT_TRUE(publisher.hasIFramePort(i));
    }
    EXPECT_THROW(publisher.addTrack(kit::bodyDataType, {}), LinkError);
}

TEST_F(LinkPublisherTest, CountsWhatItCannotSendAndSoDoesWhoReceives) {
    LinkPublisher publisher(link, "stage");
    publisher.addTrack(kit::bodyDataType, bodyDescription());
    Source source;
    source.tieTo(publisher);
    source.send(bodyFrame(0)); // before the start: nobody counts it
    publisher.start();
    LinkDevice device(std::make_shared<Link>(options), "hall");
    device.open("stage");
    device.start();
    ASSERT_TRUE(publisher.awaitReceivers(1, longEnough));
    source.send(bodyFrame(0));
    struct Unknown {};
    source.send(std::make_shared<Frame>(Time(1, 120), kit::bodyDataType, Unknown{}));
    source.send(std::make_shared<Frame>(Time(2, 120), kit::bodyDataType,
                                        std::vector<std::byte>(2'000'000)));
    source.send(nullptr);
    source.send(bodyFrame(3));
    EXPECT_EQ(publisher.sentFrames(), 2U);
    EXPECT_EQ(publisher.lostFrames(), 2U);
    EXPECT_THAT(publisher.lastProblem(), HasSubstr("2000000 bytes"));
    EXPECT_TRUE(publisher.end(longEnough));
    ASSERT_TRUE(device.awaitEnd(longEnough));
    const LinkStatus status = device.status();
    EXPECT_EQ(status.receivedFrames(), 2U);
    EXPECT_EQ(status.lostFrames(), 2U);
    ASSERT_FALSE(status.events.empty());
    const auto lost =
        std::find_if(status.events.begin(), status.events.end(),
                     [](const auto& event) { return event.kind == LinkEvent::Kind::Lost; });
    ASSERT_NE(lost, status.events.end());
    EXPECT_EQ(lost->first, 1U);
    EXPECT_EQ(lost->count, 2U);
    EXPECT_EQ(lost->track, 0);
    EXPECT_EQ(lost->text, "frames 1 to 2 did not come");
}

TEST_F(LinkPublisherTest, EndedIgnoresWhatComesLater) {
    Source source;
    {
        LinkPublisher publisher(link, "stage");
        publisher.addTrack(kit::bodyDataType, bodyDescription());
        source.tieTo(publisher);
        publisher.start();
        EXPECT_TRUE(publisher.end());
        source.send(bodyFrame(0));
        EXPECT_EQ(publisher.sentFrames(), 0U);
        EXPECT_TRUE(publisher.end());
    }
    source.send(bodyFrame(1)); // the tie is still there
}

TEST_F(LinkPublisherTest, WaitsForReceiversUntilItIsToldToStop) {
    LinkPublisher publisher(link, "stage");
    publisher.start();
    EXPECT_EQ(publisher.receivers(), 0);
    EXPECT_FALSE(publisher.awaitReceivers(1, longEnough, [] { return true; }));
    EXPECT_FALSE(publisher.awaitReceivers(1, std::chrono::milliseconds(0)));
    EXPECT_TRUE(publisher.awaitReceivers(0, std::chrono::milliseconds(0)));
}

TEST_F(LinkPublisherTest, CountsNobodyAsAReceiverBeforeItSaysThatItHears) {
    LinkPublisher publisher(link, "stage");
    publisher.addTrack(kit::bodyDataType, bodyDescription());
    Source source;
    source.tieTo(publisher);
    publisher.start();
    const SilentReader reader(options.domain, "stage");
    unsigned index = 0;
    ASSERT_TRUE(eventually([&] {
        source.send(bodyFrame(index++));
        return reader.hasHeard(); // both know of each other
    }));
    EXPECT_EQ(publisher.receivers(), 0);
    {
        const Stranger hearing(options.domain, &tarn_wire_Hearing_desc, "tarn_hearing_1", "stage",
                               true);
        ASSERT_TRUE(hearing.awaitReader());
        std::array<tarn_wire_WriterGuid, 2> writers{};
        tarn_wire_Hearing sample{};
        sample.writers._buffer = writers.data();
        sample.writers._length = sample.writers._maximum = 1;
        sample.receiver = 1;
        hearing.write(&sample); // somebody else's: within a process it has come when this returns
        EXPECT_EQ(publisher.receivers(), 0);
        writers[1] = reader.writer();
        sample.writers._length = sample.writers._maximum = 2;
        sample.receiver = 2;
        hearing.write(&sample);
        EXPECT_TRUE(publisher.awaitReceivers(1, longEnough));
        EXPECT_EQ(publisher.receivers(), 1);
    }
    EXPECT_TRUE(eventually([&] { return publisher.receivers() == 0; }));
}

TEST_F(LinkPublisherTest, SendsFromItsFirstFrameOnToWhomItHasWaitedFor) {
    for (int round = 0; round < 20; ++round) {
        LinkDevice device(std::make_shared<Link>(options), "hall");
        device.open("stage");
        device.start();
        LinkPublisher publisher(link, "stage");
        publisher.addTrack(kit::bodyDataType, bodyDescription());
        Source source;
        source.tieTo(publisher);
        publisher.start();
        ASSERT_TRUE(publisher.awaitReceivers(1, longEnough));
        source.send(bodyFrame(0));
        source.send(bodyFrame(1));
        EXPECT_TRUE(publisher.end(longEnough));
        ASSERT_TRUE(device.awaitEnd(longEnough));
        const LinkStatus status = device.status();
        ASSERT_EQ(status.receivedFrames(), 2U) << round;
    }
}

TEST_F(LinkPublisherTest, DoesNotWaitForATrackThatStaysAway) {
    Source both(2);
    LinkPublisher publisher(link, "stage");
    publisher.addTrack(kit::bodyDataType, bodyDescription());
    publisher.addTrack(kit::markerDataType, markerDescription());
    both.tieTo(publisher);
    publisher.start();
    both.send(bodyFrame(0), 0);
    EXPECT_EQ(publisher.sentFrames(), 0U); // its markers may come
    both.send(bodyFrame(1), 0);
    EXPECT_EQ(publisher.sentFrames(), 2U); // they have not, and are not awaited any more
    both.send(bodyFrame(2), 0);
    EXPECT_EQ(publisher.sentFrames(), 3U);
    both.send(markerFrame(3), 1);
    both.send(bodyFrame(3), 0);
    EXPECT_EQ(publisher.sentFrames(), 5U); // together again
}

TEST_F(LinkPublisherTest, SendsTheNewestInPartsThatFitAPacketEach) {
    constexpr int tracks = 30;
    Source all(tracks);
    LinkPublisher publisher(link, "stage");
    for (int i = 0; i < tracks; ++i) {
        publisher.addTrack(kit::bodyDataType, bodyDescription());
    }
    all.tieTo(publisher);
    publisher.start();
    const SilentReader reader(options.domain, "stage", "tarn_newest_1", false);
    unsigned next = 0;
    std::map<std::uint64_t, std::vector<int>> tracksOf; // by sample
    ASSERT_TRUE(eventually([&] {                        // nobody says when who only shows is there
        for (int i = 0; i < tracks; ++i) {
            all.send(bodyFrame(next), i);
        }
        ++next;
        reader.eachFrame([&](const tarn_wire_Frame& part) {
            std::size_t bytes = 0;
            for (std::uint32_t i = 0; i < part.items._length; ++i) {
                const tarn_wire_Item& item = part.items._buffer[i];
                bytes += item.bytes._length + std::strlen(item.codec);
                tracksOf[part.number].push_back(item.track);
            }
            EXPECT_GT(part.items._length, 1U); // as many as go into one
            EXPECT_LE(bytes, 1'200U);
        });
        return tracksOf.size() >= 3;
    }));
    std::vector<int> every(tracks);
    std::iota(every.begin(), every.end(), 0);
    EXPECT_EQ(std::next(tracksOf.begin())->second, every);
}

TEST(LinkPublisherThreads, TracksMayComeOnThreadsOfTheirOwn) {
    const LinkOptions options = ownDomain();
    LinkPublisher publisher(std::make_shared<Link>(options), "stage");
    constexpr int count = 4;
    for (int i = 0; i < count; ++i) {
        publisher.addTrack(kit::bodyDataType, bodyDescription());
    }
    std::array<Source, count> sources;
    for (int i = 0; i < count; ++i) {
        publisher.tieToIFramePort(i, sources[static_cast<std::size_t>(i)].oFramePort(0));
    }
    publisher.start();
    LinkDevice device(std::make_shared<Link>(options), "hall");
    device.open("stage");
    device.start();
    ASSERT_TRUE(publisher.awaitReceivers(1, longEnough));
    std::array<std::thread, count> threads;
    for (std::size_t i = 0; i < count; ++i) {
        threads[i] = std::thread([&source = sources[i]] {
            for (unsigned k = 0; k < 200; ++k) {
                source.send(bodyFrame(k));
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_TRUE(publisher.end(longEnough));
    ASSERT_TRUE(device.awaitEnd(longEnough));
    EXPECT_EQ(device.status().receivedFrames(), 800U);
    EXPECT_EQ(device.status().lostFrames(), 0U);
}

} // namespace
} // namespace tarn::link
