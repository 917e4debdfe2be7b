// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/session/Resample.h>

#include <tarn_kit/body/Analog.h>
#include <tarn_kit/body/BodyPose.h>
#include <tarn_kit/body/ForwardKinematics.h>
#include <tarn_kit/body/Markers.h>
#include <tarn_kit/body/Rotations.h>

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace tarn;
using namespace tarn::kit;

constexpr int number = 77; // a data type of the tests' own: an `int`

const Rate ntsc(30'000, 1001);

template <class Payload>
std::shared_ptr<Tracks> takeOfFrames(const Rate& rate, int dataType,
                                     const std::vector<Payload>& payloads) {
    auto take = std::make_shared<Tracks>();
    auto track = std::make_shared<Track>(dataType);
    track->setFrameCount(static_cast<int>(payloads.size()));
    for (std::size_t i = 0; i < payloads.size(); ++i) {
        const auto index = static_cast<std::int64_t>(i);
        track->setFrame(static_cast<int>(i),
                        std::make_shared<Frame>(rate.time(index), dataType, payloads[i]));
    }
    take->addTrack(track, 0);
    return take;
}

/// Frames 0 to `count` - 1, each with its index.
std::shared_ptr<Tracks> counting(const Rate& rate, int count) {
    std::vector<int> numbers;
    numbers.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        numbers.push_back(i);
    }
    return takeOfFrames(rate, number, numbers);
}

/// What a source shows at an index; -1 for nothing.
int shown(const ResampledTake& result, int source, int index) {
    const auto frame = result.tracks->subTracks(source)->getFrame(index, number);
    return frame == nullptr ? -1 : frame->dataAs<int>();
}

std::vector<int> allShown(const ResampledTake& result, int source) {
    std::vector<int> all;
    all.reserve(result.moments.size());
    for (int i = 0; i < result.tracks->timeLength(); ++i) {
        all.push_back(shown(result, source, i));
    }
    return all;
}

ResampleOptions on(ResampleAxis axis, Filling filling = Filling::Hold) {
    ResampleOptions options;
    options.axis = axis;
    options.filling = filling;
    return options;
}

using Numbers = std::vector<int>;

TEST(Resample, PutsTheSlowTakeOnTheAxisOfTheFastOne) {
    const ResampledTake result =
        resample({{counting(Rate(60), 3), Rate(60), {}}, {counting(Rate(120), 5), Rate(120), {}}});
    EXPECT_EQ(result.rate, Rate(120));
    EXPECT_EQ(result.tracks->fps(), 120);
    EXPECT_EQ(result.tracks->timeLength(), 5);
    EXPECT_EQ(result.tracks->subTracksCount(), 2);
    EXPECT_EQ(allShown(result, 0), (Numbers{0, 0, 1, 1, 2}));
    EXPECT_EQ(allShown(result, 1), (Numbers{0, 1, 2, 3, 4}));
    EXPECT_EQ(result.tracks->subTracks(0)->getFrame(3, number)->time(), Time(3, 120));
    EXPECT_EQ(result.tracks->workRangeEnd(), 4);
}

TEST(Resample, HoldsOrTakesTheNearest) {
    const std::vector<ResampleSource> sources = {{counting(Rate(10), 3), Rate(10), {}}};
    EXPECT_EQ(allShown(resample(sources, on(Rate(40))), 0), (Numbers{0, 0, 0, 0, 1, 1, 1, 1, 2}));
    EXPECT_EQ(allShown(resample(sources, on(Rate(40), Filling::Nearest)), 0),
              (Numbers{0, 0, 0, 1, 1, 1, 1, 2, 2}));
}

TEST(Resample, TheUnionHasEachMomentOnce) {
    const ResampledTake result =
        resample({{counting(Rate(2), 3), Rate(2), {}}, {counting(Rate(3), 4), Rate(3), {}}},
                 on(UnionOfTimes{}));
    // 0, 1/3, 1/2, 2/3, 1
    ASSERT_EQ(result.moments.size(), 5U);
    EXPECT_EQ(result.moments[1], (Instant{1, 3}));
    EXPECT_EQ(result.moments[2], (Instant{1, 2}));
    EXPECT_EQ(result.rate, std::nullopt);
    EXPECT_EQ(allShown(result, 0), (Numbers{0, 0, 1, 1, 2}));
    EXPECT_EQ(allShown(result, 1), (Numbers{0, 1, 1, 2, 3}));
}

TEST(Resample, TheUnionOfRatesThatDivideEachOtherHasTheFasterRate) {
    const ResampledTake result = resample(
        {{counting(Rate(60), 61), Rate(60), {}}, {counting(Rate(120), 121), Rate(120), {}}},
        on(UnionOfTimes{}));
    EXPECT_EQ(result.moments.size(), 121U);
    EXPECT_EQ(result.rate, Rate(120));
}

TEST(Resample, AThousandHertzBesideAHundredAndTwentyStayTogetherForHours) {
    // Two seconds, five hours after the start of the clock that both share.
    const Instant late = {18'000, 1};
    const ResampledTake result = resample({{counting(Rate(1000), 2001), Rate(1000), late},
                                           {counting(Rate(120), 241), Rate(120), late}});
    ASSERT_EQ(result.moments.size(), 2001U);
    EXPECT_EQ(microsecondsOf(result.moments.front()), 18'000'000'000);
    EXPECT_EQ(microsecondsOf(result.moments.back()), 18'002'000'000);
    for (int i = 0; i <= 2000; ++i) {
        ASSERT_EQ(shown(result, 0, i), i);
        ASSERT_EQ(shown(result, 1, i), i * 120 / 1000);
    }
}

TEST(Resample, FractionsOfAWholeDayStayExact) {
    // The last frames of a day: stamps as high as there are, on an axis of video.
    auto take = std::make_shared<Tracks>();
    auto track = std::make_shared<Track>(number);
    track->setFrameCount(2);
    constexpr unsigned last = 86'400 * 1000;
    for (int i = 0; i < 2; ++i) {
        track->setFrame(i, std::make_shared<Frame>(
                               Time(last - 34 + 34 * static_cast<unsigned>(i), 1000), number, i));
    }
    take->addTrack(track, 0);
    auto video = std::make_shared<Tracks>();
    auto pictures = std::make_shared<Track>(number);
    pictures->setFrameCount(1);
    pictures->setFrame(0, std::make_shared<Frame>(ntsc.time(2'589'410), number, 5));
    video->addTrack(pictures, 0);
    const ResampledTake result =
        resample({{take, Rate(1000), {}}, {video, ntsc, {}}}, on(UnionOfTimes{}));
    ASSERT_EQ(result.moments.size(), 3U);
    EXPECT_EQ(microsecondsOf(result.moments[0]), 86'399'966'000);
    EXPECT_EQ(microsecondsOf(result.moments[1]), 86'399'980'333);
    EXPECT_EQ(microsecondsOf(result.moments[2]), 86'400'000'000);
}

TEST(Resample, ARateThatIsAFractionIsTheAxisToTheMicrosecond) {
    const ResampledTake result = resample({{counting(Rate(100), 1002), Rate(100), {}}}, on(ntsc));
    ASSERT_EQ(result.moments.size(), 301U);
    EXPECT_EQ(microsecondsOf(result.moments[300]), 10'010'000);
    EXPECT_EQ(shown(result, 0, 300), 1001);
    EXPECT_EQ(shown(result, 0, 1), 3);
    EXPECT_EQ(result.rate, ntsc);
    EXPECT_EQ(result.tracks->fps(), 30);
}

TEST(Resample, ASourceThatStartsLaterShowsNothingBefore) {
    const ResampledTake result = resample(
        {{counting(Rate(10), 4), Rate(10), {}}, {counting(Rate(10), 4), Rate(10), {2, 10}}});
    EXPECT_EQ(allShown(result, 0), (Numbers{0, 1, 2, 3, 3, 3}));
    EXPECT_EQ(allShown(result, 1), (Numbers{-1, -1, 0, 1, 2, 3}));
}

TEST(Resample, TheAxisOfTheFastestKeepsItsOwnMoments) {
    const ResampledTake result =
        resample({{counting(Rate(10), 3), Rate(10), {1, 40}}, {counting(Rate(5), 2), Rate(5), {}}});
    ASSERT_EQ(result.moments.size(), 3U);
    EXPECT_EQ(result.moments[0], (Instant{1, 40}));
    EXPECT_EQ(allShown(result, 0), (Numbers{0, 1, 2}));
    EXPECT_EQ(allShown(result, 1), (Numbers{0, 0, 1}));
}

TEST(Resample, AnOffsetMovesATrack) {
    const auto take = counting(Rate(10), 2);
    const auto track = take->getTrack(0);
    take->removeTrack(track);
    take->addTrack(track, 3);
    const ResampledTake result = resample({{take, Rate(10), {}}});
    EXPECT_EQ(result.moments.front(), (Instant{3, 10}));
    EXPECT_EQ(allShown(result, 0), (Numbers{0, 1}));
}

TEST(Resample, FramesCountedAtAnotherRateKeepTheirMoments) {
    auto take = std::make_shared<Tracks>();
    auto track = std::make_shared<Track>(number);
    track->setFrameCount(4);
    track->setFrame(0, std::make_shared<Frame>(Time(1, 60), number, 2));
    track->setFrame(1, std::make_shared<Frame>(Time(0, 120), number, 1));
    track->setFrame(2, std::make_shared<Frame>(Time(5, 0), number, 9));   // has no moment
    track->setFrame(3, std::make_shared<Frame>(Time(2, 120), number, 3)); // the same as the first
    take->addTrack(track, 0);
    const ResampledTake result = resample({{take, Rate(120), {}}});
    EXPECT_EQ(allShown(result, 0), (Numbers{1, 1, 3}));
}

TEST(Resample, AGapThatIsTooLongShowsNothing) {
    const auto take = counting(Rate(10), 6);
    const auto track = take->getTrack(0);
    for (const int lost : {2, 3}) {
        track->setFrame(lost, nullptr);
    }
    ResampleOptions options;
    EXPECT_EQ(allShown(resample({{take, Rate(10), {}}}, options), 0), (Numbers{0, 1, 1, 1, 4, 5}));
    options.longestGap = 0.25;
    EXPECT_EQ(allShown(resample({{take, Rate(10), {}}}, options), 0),
              (Numbers{0, 1, -1, -1, 4, 5}));
    options.longestGap = 0.35;
    EXPECT_EQ(allShown(resample({{take, Rate(10), {}}}, options), 0), (Numbers{0, 1, 1, 1, 4, 5}));
}

TEST(Resample, MarkersAreInterpolatedAndGapsStayGaps) {
    const Marker notSeen;
    const std::vector<MarkerFrame> frames = {
        MarkerFrame({Marker::at({0, 0, 0}, 1, 3), Marker::at({1, 1, 1})}),
        MarkerFrame({Marker::at({2, 4, 8}, 3, 6), notSeen}),
        MarkerFrame({Marker::at({2, 4, 8}, 3, 6), Marker::at({5, 5, 5})}),
    };
    const ResampledTake result =
        resample({{takeOfFrames(Rate(10), markerDataType, frames), Rate(10), {}}},
                 on(Rate(20), Filling::Interpolate));
    const auto take = result.tracks->subTracks(0);
    const auto& half = take->getFrame(1, markerDataType)->dataAs<MarkerFrame>();
    EXPECT_EQ(half[0].position.x, 1);
    EXPECT_EQ(half[0].position.y, 2);
    EXPECT_EQ(half[0].position.z, 4);
    EXPECT_EQ(half[0].residual, 2);
    EXPECT_EQ(half[0].cameras, 2);
    EXPECT_EQ(half[0].state, MarkerState::Seen);
    EXPECT_FALSE(half[1].hasPosition());
    EXPECT_TRUE(std::isnan(half[1].position.x));
    EXPECT_FALSE(take->getFrame(3, markerDataType)->dataAs<MarkerFrame>()[1].hasPosition());
    EXPECT_EQ(take->getFrame(4, markerDataType)->dataAs<MarkerFrame>()[1].position.x, 5);
}

TEST(Resample, BodiesMoveStraightAndTurnOnTheShortestWay) {
    const Quaternionf quarter = toSingle(fromAxisAngle({0, 1, 0}, pi / 2));
    const std::vector<BodyPose> bodies = {{{{{0, 0, 0}, {0, 0, 0, 1}}}},
                                          {{{{2, 0, 4}, toSingle(-toDouble(quarter))}}}};
    const ResampledTake result =
        resample({{takeOfFrames(Rate(1), bodyDataType, bodies), Rate(1), {}}},
                 on(Rate(4), Filling::Interpolate));
    const auto frame = result.tracks->subTracks(0)->getFrame(1, bodyDataType);
    const Segment& segment = frame->dataAs<BodyPose>().segments.at(0);
    EXPECT_FLOAT_EQ(segment.position.x, 0.5F);
    EXPECT_FLOAT_EQ(segment.position.z, 1.0F);
    EXPECT_LT(radiansBetween(toDouble(segment.rotation), fromAxisAngle({0, 1, 0}, pi / 8)), 1e-6);
}

TEST(Resample, AnalogSamplesAreInterpolated) {
    const std::vector<AnalogFrame> frames = {AnalogFrame({0.0F, 10.0F}),
                                             AnalogFrame({1.0F, 20.0F})};
    const ResampledTake result =
        resample({{takeOfFrames(Rate(1), analogDataType, frames), Rate(1), {}}},
                 on(Rate(4), Filling::Interpolate));
    const auto frame = result.tracks->subTracks(0)->getFrame(3, analogDataType);
    EXPECT_EQ(frame->dataAs<AnalogFrame>()[0], 0.75F);
    EXPECT_EQ(frame->dataAs<AnalogFrame>()[1], 17.5F);
}

TEST(Resample, PosesOfARigKeepTheirBonesAndTheirAngles) {
    auto rig = std::make_shared<Rig>();
    rig->addJoint("Hips", -1, {0, 1, 0},
                  {Channel::Xposition, Channel::Yposition, Channel::Zposition, Channel::Zrotation,
                   Channel::Xrotation, Channel::Yrotation});
    rig->addJoint("Leg", 0, {0, -1, 0},
                  {Channel::Zrotation, Channel::Xrotation, Channel::Yrotation});
    rig->addEndSite(1, {0, -1, 0});
    // From 170 to 190 degrees, written as -170: the way is 20 degrees long, not 340.
    const std::vector<Pose> poses = {{{0, 0, 0, 0, 0, 0, 170, 0, 0}},
                                     {{2, 0, 0, 0, 0, 0, -170, 0, 0}}};
    ResampleOptions options = on(Rate(2), Filling::Interpolate);
    options.interpolations[poseDataType] = poseInterpolation(rig);
    const ResampledTake result =
        resample({{takeOfFrames(Rate(1), poseDataType, poses), Rate(1), {}}}, options);
    const auto& half =
        result.tracks->subTracks(0)->getFrame(1, poseDataType)->dataAs<Pose>().values;
    EXPECT_NEAR(half[0], 1, 1e-6);
    EXPECT_NEAR(half[6], 180, 1e-4);
    const auto places = worldPositions(*rig, {half});
    EXPECT_NEAR(places[2].y, 1, 1e-5);
}

TEST(Resample, PayloadsOfTheHostAreInterpolatedByItsFunction) {
    ResampleOptions options = on(Rate(4), Filling::Interpolate);
    const std::vector<ResampleSource> sources = {{counting(Rate(1), 2), Rate(1), {}}};
    EXPECT_EQ(allShown(resample(sources, options), 0), (Numbers{0, 0, 0, 0, 1})) << "held";
    options.interpolations[number] = [](const Frame& before, const Frame& after, double fraction) {
        return std::any(100 * before.dataAs<int>() + 10 * after.dataAs<int>() +
                        static_cast<int>(fraction * 4));
    };
    EXPECT_EQ(allShown(resample(sources, options), 0), (Numbers{0, 11, 12, 13, 1}));
}

TEST(Resample, BeforeTheFirstAndAfterTheLastFrameNothingIsInterpolated) {
    const ResampledTake result = resample(
        {{counting(Rate(10), 2), Rate(10), {1, 10}}, {counting(Rate(10), 4), Rate(10), {}}},
        on(FastestSource{}, Filling::Interpolate));
    EXPECT_EQ(allShown(result, 0), (Numbers{-1, 0, 1, -1}));
}

TEST(Resample, OfNothingIsNothing) {
    EXPECT_EQ(resample({}).tracks->timeLength(), 0);
    const ResampledTake empty = resample({{std::make_shared<Tracks>(), Rate(30), {}}});
    EXPECT_EQ(empty.tracks->timeLength(), 0);
    EXPECT_EQ(empty.tracks->subTracksCount(), 1);
    EXPECT_TRUE(
        resample({{std::make_shared<Tracks>(), Rate(30), {}}}, on(Rate(30))).moments.empty());
    EXPECT_THROW(resample({{nullptr, Rate(30), {}}}), std::invalid_argument);
}

TEST(Resample, AnAxisThatNoTakeCanHaveIsRefused) {
    EXPECT_THROW(resample({{counting(Rate(1), 3000), Rate(1), {}}}, on(Rate(1'000'000))),
                 std::invalid_argument);
}

TEST(Resample, LeavesTheSourceAsItIs) {
    const auto take = counting(Rate(10), 3);
    const auto frame = take->getFrame(1, number);
    resample({{take, Rate(10), {}}}, on(Rate(7), Filling::Nearest));
    EXPECT_EQ(frame->time(), Time(1, 10));
    EXPECT_EQ(take->trackCount(), 1);
    EXPECT_EQ(take->getTrack(0)->frameCount(), 3);
}

} // namespace
