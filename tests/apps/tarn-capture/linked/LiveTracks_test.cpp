// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "linked/LiveTracks.h"

#include "link/LinkTest.h"

#include <tarn_kit/body/BodyPose.h>
#include <tarn_kit/body/Markers.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace tarn::capture {
namespace {

using link::bodyFrame;
using link::markerFrame;
using ::testing::SizeIs;

bool neverStopped() { return false; }

class LiveTracksTest : public ::testing::Test {
protected:
    const std::shared_ptr<link::Link> stage_ = std::make_shared<link::Link>(link::ownDomain());
};

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

} // namespace
} // namespace tarn::capture
