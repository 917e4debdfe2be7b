// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "kit/devices/ReplayTesting.h"
#include "support/TemporaryDirectory.h"

#include <gmock/gmock.h>
#include <tarn_kit/files/C3d.h>
#include <tarn_kit/session/TakeOf.h>

#include <fstream>
#include <limits>

// Takes of markers: they go out of a port of their own, at their exact rate.

namespace tarn::kit {
namespace {

using namespace replay_testing;
using namespace std::chrono_literals;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

C3dTake takeOfMarkers(int frames, double rate) {
    C3dTake take;
    take.markers.resize(1);
    take.markers[0].name = "LFHD";
    take.rate = rate;
    take.unit = "mm";
    std::vector<std::shared_ptr<Frame>> all;
    for (int i = 0; i < frames; ++i) {
        const std::vector<Marker> markers(1, Marker::at({static_cast<float>(i), 0, 0}));
        all.push_back(std::make_shared<Frame>(Time(static_cast<unsigned>(i), 60), markerDataType,
                                              MarkerFrame(markers)));
    }
    take.tracks = takeOf(markerDataType, all, 60);
    return take;
}

TEST(ReplayMarkers, AreSentOutOfAPortOfTheirOwn) {
    const C3dTake take = takeOfMarkers(3, 60);
    Replay replay;
    const auto reply = replay.command("open", take);
    ASSERT_TRUE(*reply);
    EXPECT_EQ(reply->dataAs<C3dTake>().tracks, take.tracks);
    replay.command("rate", 0);
    replay.command("start");
    replay.awaitStates(3);
    EXPECT_THAT(replay.indexes(), ElementsAre(0, 1, 2));
    EXPECT_THAT(replay.ports(), Each(ReplayDevice::markerPort));
    EXPECT_EQ(replay.status().rate, 60);
}

TEST(ReplayMarkers, AreSentAtTheExactRateOfTheTake) {
    Replay replay;
    ASSERT_TRUE(*replay.command("open", takeOfMarkers(3, 59.94)));
    replay.command("start");
    replay.steps(2);
    replay.awaitStates(3);
    EXPECT_THAT(replay.sent(), ElementsAre(Sent{0, 0ns}, Sent{1, 16683350ns}, Sent{2, 33366700ns}));
}

TEST(ReplayMarkers, AreReadFromAFileByItsContent) {
    const tarn::testing::TemporaryDirectory directory;
    const std::string path = directory / "take.bvh"; // whatever it is called
    {
        std::ofstream file(path, std::ios::binary);
        writeC3d(takeOfMarkers(4, 60), file);
    }
    Replay replay;
    const auto reply = replay.command("open", path);
    ASSERT_TRUE(*reply) << reply->errorString();
    EXPECT_EQ(reply->dataAs<C3dTake>().markers.at(0).name, "LFHD");
    EXPECT_EQ(replay.status().frameCount, 4);
    EXPECT_EQ(replay.status().file, path);
}

TEST(ReplayMarkers, MayBeFollowedByATakeOfPoses) {
    const TakeFile file(2);
    Replay replay;
    ASSERT_TRUE(*replay.command("open", takeOfMarkers(2, 60)));
    replay.open(file);
    replay.command("rate", 0);
    replay.command("start");
    replay.awaitStates(3);
    EXPECT_THAT(replay.ports(), ElementsAre(ReplayDevice::posePort, ReplayDevice::posePort));
}

TEST(ReplayMarkers, OfATakeThatIsNotWholeAreRefused) {
    Replay replay;
    C3dTake none = takeOfMarkers(2, 60);
    none.tracks = nullptr;
    C3dTake noRate = takeOfMarkers(2, std::numeric_limits<double>::quiet_NaN());
    C3dTake gap = takeOfMarkers(2, 60);
    gap.tracks->setTimeLength(3);
    for (const C3dTake& take : {none, noRate, gap}) {
        const auto reply = replay.command("open", take);
        EXPECT_EQ(reply->errorCode(), ReplayDevice::BadPayload);
        EXPECT_FALSE(reply->data().has_value());
    }
    EXPECT_THAT(replay.states(), IsEmpty());
}

} // namespace
} // namespace tarn::kit
