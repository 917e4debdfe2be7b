// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "kit/files/BvhTesting.h"
#include "support/Samples.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace tarn::kit {
namespace {

using namespace bvh_testing;
using ::testing::ElementsAre;
using ::testing::SizeIs;

BvhTake readSample(const std::string& name) { return readBvh(tarn::testing::samplePath(name)); }

BvhTake readWithFrameTime(const std::string& frameTime) {
    return readText(smallBvhWith(18, "Frame Time: " + frameTime));
}

/// All that a host sees of a take: its times, and its values.
struct Visible {
    std::vector<Time> times;
    std::vector<std::vector<float>> values;
    int timeLength;
    int workRangeBegin;
    int workRangeEnd;
};

Visible visible(const BvhTake& take) {
    Visible seen{{},
                 valuesOf(take),
                 take.tracks->timeLength(),
                 take.tracks->workRangeBegin(),
                 take.tracks->workRangeEnd()};
    for (int i = 0; i < take.tracks->timeLength(); ++i) {
        seen.times.push_back(take.tracks->getTime(i));
    }
    return seen;
}

TEST(Bvh, ReadsTheHierarchyInFileOrder) {
    const BvhTake take = readText(joined(smallBvh()));
    EXPECT_THAT(namesOf(*take.rig), ElementsAre("Hips", "Leg", "Leg_End"));
    EXPECT_EQ(take.rig->nodes()[0].parent, -1);
    EXPECT_EQ(take.rig->nodes()[1].parent, 0);
    EXPECT_EQ(take.rig->nodes()[2].parent, 1);
    EXPECT_FALSE(take.rig->nodes()[1].isEndSite());
    EXPECT_TRUE(take.rig->nodes()[2].isEndSite());
}

TEST(Bvh, ReadsOffsets) {
    const BvhTake take = readText(joined(smallBvh()));
    const Vector3f offset = take.rig->nodes()[1].offset;
    EXPECT_EQ(offset.x, 0.5F);
    EXPECT_EQ(offset.y, -1.0F);
    EXPECT_EQ(offset.z, 0.0F);
    EXPECT_EQ(take.rig->nodes()[2].offset.y, -1.0F);
}

TEST(Bvh, ReadsChannelsInTheirOrder) {
    const BvhTake take = readText(joined(smallBvh()));
    EXPECT_THAT(take.rig->nodes()[0].channels,
                ElementsAre(Channel::Xposition, Channel::Yposition, Channel::Yrotation));
    EXPECT_THAT(take.rig->nodes()[1].channels, ElementsAre(Channel::Zrotation));
    EXPECT_EQ(take.rig->valueCount(), 4U);
}

TEST(Bvh, GivesASkeletonOfBones) {
    const BvhTake take = readText(joined(smallBvh()));
    ASSERT_THAT(take.rig->skeletons(), SizeIs(1));
    EXPECT_EQ(take.rig->skeletons()[0]->skeletonName(), "Hips");
    EXPECT_THAT(take.rig->skeletons()[0]->bones(),
                ElementsAre(take.rig->nodes()[0].bone, take.rig->nodes()[1].bone));
}

TEST(Bvh, ReadsAPosePerFrame) {
    const BvhTake take = readText(joined(smallBvh()));
    EXPECT_THAT(valuesOf(take), ElementsAre(ElementsAre(1, 2, 3, 4), ElementsAre(5, 6, 7, 8)));
}

TEST(Bvh, GivesOneTrackOfPosesAtOffsetZero) {
    const BvhTake take = readText(joined(smallBvh()));
    ASSERT_EQ(take.tracks->trackCount(), 1);
    const std::shared_ptr<Track> track = take.tracks->getTrack(0);
    EXPECT_EQ(track->dataType(), poseDataType);
    EXPECT_EQ(track->frameCount(), 2);
    EXPECT_EQ(take.tracks->trackOffset(track), 0);
    EXPECT_EQ(track->getFrame(1)->dataType(), poseDataType);
    EXPECT_EQ(track->getFrame(1)->time(), Time(1, 50));
}

TEST(Bvh, FillsInWhatATakeNeedsToPlay) {
    const BvhTake take = readText(joined(smallBvh()));
    EXPECT_EQ(take.tracks->fps(), 50);
    EXPECT_EQ(take.tracks->timeLength(), 2);
    EXPECT_EQ(take.tracks->frameCount(), 2);
    EXPECT_EQ(take.tracks->workRangeBegin(), 0);
    EXPECT_EQ(take.tracks->workRangeEnd(), 1);
    EXPECT_EQ(take.tracks->currentTime(), 0);
    EXPECT_EQ(take.tracks->getTime(1), Time(1, 50));
}

TEST(Bvh, PlaysAtOnce) {
    const BvhTake take = readText(joined(smallBvh()));
    std::vector<float> played;
    take.tracks->onCurrentTimeChanged().connect([&](int) {
        const std::shared_ptr<Timeline> now = take.tracks->currentFrame();
        played.push_back(now->time().toSecond());
        played.push_back(now->frame(poseDataType)->dataAs<Pose>().values.at(0));
    });
    take.tracks->setCurrentTime(1);
    take.tracks->setCurrentTime(0);
    EXPECT_THAT(played, ElementsAre(0.02F, 5.0F, 0.0F, 1.0F));
}

TEST(Bvh, HasNothingLeftToAlign) {
    const BvhTake take = readSample("cmu_131_01_walk.bvh");
    const Visible before = visible(take);
    take.tracks->alignTracksByTime();
    const Visible after = visible(take);
    EXPECT_EQ(after.times, before.times);
    EXPECT_EQ(after.values, before.values);
    EXPECT_EQ(after.timeLength, before.timeLength);
    EXPECT_EQ(after.workRangeBegin, before.workRangeBegin);
    EXPECT_EQ(after.workRangeEnd, before.workRangeEnd);
}

TEST(Bvh, WithoutFramesIsAnEmptyTake) {
    Lines lines(smallBvh().begin(), smallBvh().end() - 2);
    lines[16] = "Frames: 0";
    const BvhTake take = readText(joined(lines));
    EXPECT_EQ(take.rig->jointCount(), 2);
    EXPECT_EQ(take.tracks->fps(), 50);
    EXPECT_EQ(take.tracks->timeLength(), 0);
    EXPECT_EQ(take.tracks->frameCount(), 0);
    EXPECT_EQ(take.tracks->workRangeBegin(), 0);
    EXPECT_EQ(take.tracks->workRangeEnd(), 0);
    ASSERT_EQ(take.tracks->trackCount(), 1);
    EXPECT_EQ(take.tracks->getTrack(0)->frameCount(), 0);
    EXPECT_EQ(take.tracks->getFrame(0, poseDataType), nullptr);
}

TEST(Bvh, TakesItsRateFromTheFrameTime) {
    EXPECT_EQ(readWithFrameTime("0.0083333").tracks->fps(), 120);
    EXPECT_EQ(readWithFrameTime("0.0333333").tracks->fps(), 30);
    EXPECT_EQ(readWithFrameTime("0.01").tracks->fps(), 100);
    EXPECT_EQ(readWithFrameTime("1").tracks->fps(), 1);
}

TEST(Bvh, KeepsTheFrameTimeAsStated) {
    EXPECT_EQ(readWithFrameTime(".0083333").frameTime, .0083333);
    EXPECT_EQ(readWithFrameTime("4.1666667e-2").frameTime, 4.1666667e-2);
}

TEST(Bvh, DoesNotCallARateRoundedForItsMissingDigits) {
    EXPECT_FALSE(readWithFrameTime("0.02").rateRounded);
    EXPECT_FALSE(readWithFrameTime("0.0083333").rateRounded);
    EXPECT_FALSE(readWithFrameTime("0.033333").rateRounded);
    EXPECT_FALSE(readWithFrameTime("0.01666667").rateRounded);
}

TEST(Bvh, RoundsARateThatIsNotWholeAndSaysSo) {
    const BvhTake ntsc = readWithFrameTime("0.0333667");
    EXPECT_EQ(ntsc.tracks->fps(), 30);
    EXPECT_TRUE(ntsc.rateRounded);
    const BvhTake fewDigits = readWithFrameTime("0.0083");
    EXPECT_EQ(fewDigits.tracks->fps(), 120);
    EXPECT_TRUE(fewDigits.rateRounded);
    const BvhTake up = readWithFrameTime("0.4");
    EXPECT_EQ(up.tracks->fps(), 3);
    EXPECT_TRUE(up.rateRounded);
}

TEST(Bvh, AcceptsTheShortestAndTheLongestFrameTime) {
    EXPECT_EQ(readWithFrameTime("1e-6").tracks->fps(), 1'000'000);
    const BvhTake slow = readWithFrameTime("2");
    EXPECT_EQ(slow.tracks->fps(), 1);
    EXPECT_TRUE(slow.rateRounded);
}

TEST(Bvh, StampsEachFrameWithItsIndexAndTheRate) {
    const BvhTake take = readSample("cmu_60_12_salsa_a.bvh");
    for (int i = 0; i < 423; ++i) {
        ASSERT_EQ(take.tracks->getFrame(i, poseDataType)->time(),
                  Time(static_cast<unsigned>(i), 30));
    }
}

TEST(Bvh, ReadsTheSampleWalk) {
    const BvhTake take = readSample("cmu_131_01_walk.bvh");
    EXPECT_EQ(take.tracks->tracksName(), "cmu_131_01_walk");
    EXPECT_EQ(take.rig->jointCount(), 31);
    EXPECT_THAT(take.rig->nodes(), SizeIs(38));
    EXPECT_EQ(take.rig->valueCount(), 96U);
    EXPECT_EQ(take.tracks->timeLength(), 994);
    EXPECT_EQ(take.tracks->fps(), 120);
    EXPECT_FALSE(take.rateRounded);
    EXPECT_EQ(poseAt(take, 0).values[0], 5.23F);
    EXPECT_EQ(poseAt(take, 0).values[5], 10.4956F);
}

TEST(Bvh, ReadsBothSampleDancers) {
    for (const char* const name : {"cmu_60_12_salsa_a.bvh", "cmu_61_12_salsa_b.bvh"}) {
        const BvhTake take = readSample(name);
        EXPECT_EQ(take.rig->jointCount(), 43) << name;
        EXPECT_THAT(take.rig->nodes(), SizeIs(57)) << name;
        EXPECT_EQ(take.rig->valueCount(), 132U) << name;
        EXPECT_EQ(take.tracks->timeLength(), 423) << name;
        EXPECT_EQ(take.tracks->fps(), 30) << name;
    }
}

TEST(Bvh, ReadsTheSameFromAStreamAsFromAFile) {
    std::ifstream stream(tarn::testing::samplePath("cmu_60_12_salsa_a.bvh"), std::ios::binary);
    const BvhTake fromStream = readBvh(stream, "dance.bvh");
    const BvhTake fromFile = readSample("cmu_60_12_salsa_a.bvh");
    EXPECT_EQ(valuesOf(fromStream), valuesOf(fromFile));
    EXPECT_EQ(namesOf(*fromStream.rig), namesOf(*fromFile.rig));
}

TEST(BvhRate, IsTheExactFractionThatTheFrameTimeMeans) {
    EXPECT_EQ(readWithFrameTime("0.0333667").exactRate(), Rate(30000, 1001));
    EXPECT_EQ(readWithFrameTime("0.0166833").exactRate(), Rate(60000, 1001));
    EXPECT_EQ(readWithFrameTime("0.0083333").exactRate(), Rate(120));
    EXPECT_EQ(readWithFrameTime("0.08").exactRate(), Rate(25, 2));
}

TEST(BvhSpace, IsGuessedFromTheRestPose) {
    const auto take = readBvh(tarn::testing::samplePath("cmu_60_12_salsa_a.bvh"));
    EXPECT_EQ(take.rig->space().unit.symbol, "cm");
    EXPECT_EQ(take.rig->space().unitOrigin, Origin::Guessed);
    EXPECT_EQ(take.rig->space().up, UpAxis::Y);
}

} // namespace
} // namespace tarn::kit
