// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "linked/LiveTracks.h"

#include "link/LinkTest.h"

#include <tarn_kit/body/BodyPose.h>
#include <tarn_kit/body/Markers.h>
#include <tarn_kit/devices/ReplayDevice.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <cstddef>
#include <future>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace tarn::capture {
namespace {

using link::bodyFrame;
using link::markerFrame;
using ::testing::ElementsAre;
using ::testing::SizeIs;

bool neverStopped() { return false; }

class LiveTracksTest : public ::testing::Test {
protected:
    const std::shared_ptr<link::Link> stage_ = std::make_shared<link::Link>(link::ownDomain());
};

/// A stream of a body whose frames are captured when the test says so, by a clock of its own.
class Stage {
public:
    Stage(std::shared_ptr<link::Link> link, const std::string& name)
        : publisher_(std::move(link), name, on(clock_)) {
        publisher_.addTrack(kit::bodyDataType, link::bodyDescription());
        source_.tieTo(publisher_);
        publisher_.start();
    }
    void awaitReceiver() { ASSERT_TRUE(publisher_.awaitReceivers(1, link::longEnough)); }
    void send(unsigned index, kit::Clock::Instant captured) {
        clock_->advanceTo(captured);
        source_.send(bodyFrame(index));
    }
    void end() { publisher_.end(); }

private:
    static link::PublisherOptions on(const std::shared_ptr<kit::ManualClock>& clock) {
        link::PublisherOptions options;
        options.clock = clock;
        return options;
    }

    const std::shared_ptr<kit::ManualClock> clock_ = std::make_shared<kit::ManualClock>();
    link::LinkPublisher publisher_;
    link::Source source_;
};

/// The indexes of the frames that a session gets, up to one.
std::vector<unsigned> framesOf(const TakeDevice& body, unsigned last) {
    link::Arrivals arrivals(body.device->oFramePort(kit::ReplayDevice::posePort));
    EXPECT_TRUE(static_cast<bool>(*body.device->syncRequest("start")));
    std::vector<unsigned> indexes;
    for (std::size_t count = 1; indexes.empty() || indexes.back() != last; ++count) {
        const auto frames = arrivals.await(count);
        if (frames.size() < count) {
            ADD_FAILURE() << "frame " << last << " did not come";
            break;
        }
        indexes.push_back(frames[count - 1]->time().frameIndex());
    }
    body.device->syncRequest("stop");
    return indexes;
}

TEST_F(LiveTracksTest, CountTheFramesOfAStreamThatIsJoinedLateFromTheFirstThatCame) {
    link::LinkPublisher publisher(stage_, "stage");
    publisher.addTrack(kit::bodyDataType, link::bodyDescription());
    publisher.addTrack(kit::markerDataType, link::markerDescription());
    link::Source source(2);
    source.tieTo(publisher);
    publisher.start();
    ReceivedStreams streams(link::ownDomain(), {"stage"});
    ASSERT_TRUE(streams.connect(60, neverStopped));
    LiveTracks tracks(streams, 1);
    streams.start();
    ASSERT_TRUE(publisher.awaitReceivers(1, link::longEnough));
    for (unsigned index = 5000; index < 5010; ++index) {
        if (index > 5002) { // the body comes later than the markers
            source.send(bodyFrame(index), 0);
        }
        source.send(markerFrame(index), 1);
    }
    ASSERT_TRUE(tracks.start(neverStopped));
    const std::vector<SessionSource> sources = tracks.sources({});
    ASSERT_THAT(sources, SizeIs(2));
    const TakeDevice body = sources[0].body("Ada");
    ASSERT_TRUE(body.live);
    EXPECT_EQ(body.live->first, 5000U);
    ASSERT_TRUE(sources[1].live);
    EXPECT_EQ(sources[1].live->first, 5000U);
    EXPECT_EQ(sources[1].markers->firstFrame, 5001); // the number of the frame of index 5000
}

TEST_F(LiveTracksTest, HaveNoMoreRoomThanIsInMemoryWhateverRateAStreamStates) {
    link::LinkPublisher publisher(stage_, "stage");
    kit::TrackDescription description = link::bodyDescription();
    description.rate = kit::Rate(1000000);
    publisher.addTrack(kit::bodyDataType, description);
    link::Source source(1);
    source.tieTo(publisher);
    publisher.start();
    ReceivedStreams streams(link::ownDomain(), {"stage"});
    ASSERT_TRUE(streams.connect(60, neverStopped));
    LiveTracks tracks(streams, 24 * 60);
    streams.start();
    ASSERT_TRUE(publisher.awaitReceivers(1, link::longEnough));
    source.send(bodyFrame(0), 0);
    ASSERT_TRUE(tracks.start(neverStopped));
    const std::vector<SessionSource> sources = tracks.sources({});
    ASSERT_THAT(sources, SizeIs(1));
    const TakeDevice body = sources[0].body("Ada");
    ASSERT_TRUE(body.live);
    EXPECT_EQ(body.live->most, 20'000'000);
}

TEST_F(LiveTracksTest, BeginSeveralStreamsWithTheFramesOfOneInstant) {
    Stage left(stage_, "left");
    Stage right(stage_, "right");
    ReceivedStreams streams(link::ownDomain(), {"left", "right"});
    ASSERT_TRUE(streams.connect(60, neverStopped));
    LiveTracks tracks(streams, 1);
    streams.start();
    left.awaitReceiver();
    right.awaitReceiver();
    // A second from frame to frame, so that it does not matter how well the clocks are known. The
    // later stream has come first, and the earlier one is not yet where the later one begins.
    const kit::Clock::Instant start = kit::SteadyClock().now();
    const auto after = [start](double seconds) {
        return start + std::chrono::milliseconds(std::llround(1000 * seconds));
    };
    right.send(7, after(3.2));
    for (unsigned i = 0; i < 3; ++i) {
        left.send(100 + i, after(i));
    }
    auto isStarted =
        std::async(std::launch::async, [&tracks] { return tracks.start(neverStopped); });
    for (unsigned i = 3; i < 6; ++i) {
        left.send(100 + i, after(i));
        right.send(5 + i, after(1.2 + i));
    }
    ASSERT_TRUE(isStarted.get());

    const std::vector<SessionSource> sources = tracks.sources({});
    ASSERT_THAT(sources, SizeIs(2));
    const TakeDevice ada = sources[0].body("Ada");
    const TakeDevice bo = sources[1].body("Bo");
    EXPECT_EQ(ada.live->first, 103U);
    EXPECT_EQ(bo.live->first, 7U);
    EXPECT_THAT(framesOf(ada, 105), ElementsAre(103U, 104U, 105U)) << "those before are left out";
    EXPECT_THAT(framesOf(bo, 10), ElementsAre(7U, 8U, 9U, 10U));
}

TEST_F(LiveTracksTest, PassOverAStreamThatHadEndedBeforeTheOthersBegan) {
    Stage left(stage_, "left");
    Stage right(stage_, "right");
    ReceivedStreams streams(link::ownDomain(), {"left", "right"});
    ASSERT_TRUE(streams.connect(60, neverStopped));
    LiveTracks tracks(streams, 1);
    streams.start();
    left.awaitReceiver();
    right.awaitReceiver();
    const kit::Clock::Instant start = kit::SteadyClock().now();
    left.send(0, start);
    left.send(1, start + std::chrono::seconds(1));
    left.end();
    right.send(0, start + std::chrono::seconds(100));
    ASSERT_TRUE(tracks.start(neverStopped));
    EXPECT_THAT(tracks.sources({}), SizeIs(1));
    EXPECT_THAT(tracks.passedOver(),
                ElementsAre("'Ada' of 'left' had ended before the others began"));
}

} // namespace
} // namespace tarn::capture
