// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "kit/session/SessionTesting.h"

#include <tarn_kit/devices/Command.h>
#include <tarn_kit/devices/ReplayDevice.h>
#include <tarn_kit/processing/BodyDimensionCalibrator.h>
#include <tarn_kit/session/Session.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <type_traits>

namespace tarn::kit {
namespace {

using namespace session_testing;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

static_assert(!std::is_copy_constructible_v<Session>);

/// A body of two joints, to be measured.
std::shared_ptr<Rig> legRig() {
    auto rig = std::make_shared<Rig>();
    rig->addJoint("Hips", -1, {0, 2, 0}, {Channel::Xposition});
    rig->addEndSite(0, {0, -2, 0});
    return rig;
}

/// Two devices and their solvers, and a session of them.
class SessionOfTwo : public ::testing::Test {
protected:
    void add(ScriptedDevice& device, Solver* solver, int frames, const std::string& name = "Ada") {
        session_->addPerformer(sledSetup(device, solver, frames, name));
    }
    std::vector<int> recorded(std::size_t performer) const {
        return shownIn(*session_->performers()[performer]->recording(), bodyDataType);
    }

    ForwardKinematicsSolver first_{"first", legRig()};
    ForwardKinematicsSolver second_{"second", legRig()};
    BodyDimensionCalibrator dimensions_{"body", 3};
    ScriptedDevice left_{{0, 1, 2, 3}};
    ScriptedDevice right_{{1}};
    std::unique_ptr<Session> session_ = std::make_unique<Session>(); // goes first
};

TEST_F(SessionOfTwo, PutsItsPerformersIntoAScene) {
    EXPECT_EQ(session_->rate(), 0);
    EXPECT_EQ(session_->frameCount(), 0);
    add(left_, &first_, 4);
    add(right_, &second_, 2, "Bea");
    EXPECT_EQ(session_->rate(), rate);
    EXPECT_EQ(session_->frameCount(), 4);
    Scene& scene = session_->scene();
    EXPECT_EQ(scene.characters().size(), 2U);
    EXPECT_EQ(scene.currentCharacter(), scene.findCharacter("Ada"));
    EXPECT_EQ(scene.findCharacter("Bea")->characterId(), "2");
    EXPECT_EQ(scene.tracks()->subTracksCount(), 2);
    EXPECT_EQ(scene.tracks()->timeLength(), 4);
    EXPECT_EQ(scene.tracks()->workRangeEnd(), 3);
}

TEST_F(SessionOfTwo, PlaysAllToTheEndOfTheLongestAndRecordsByFrameIndex) {
    add(left_, &first_, 4);
    add(right_, &second_, 2);
    std::vector<unsigned> times;
    session_->scene().onSceneTimeChanged().connect(
        [&](const Time& time) { times.push_back(time.frameIndex()); });
    int steps = 0;
    EXPECT_TRUE(session_->play({}, [&] { ++steps; }));
    EXPECT_THAT(times, ElementsAre(0, 1, 2, 3));
    EXPECT_EQ(steps, 4);
    EXPECT_EQ(session_->framesShown(), 4);
    EXPECT_THAT(recorded(0), ElementsAre(0, 1, 2, 3));
    EXPECT_THAT(recorded(1), ElementsAre(-1, 1));
    EXPECT_EQ(session_->performers()[1]->statistics().framesExpected, 2);
    EXPECT_EQ(session_->performers()[1]->statistics().framesIn, 1);
}

TEST_F(SessionOfTwo, ShowsNothingWithoutFramesOrPerformers) {
    EXPECT_TRUE(session_->play());
    add(left_, &first_, 0);
    EXPECT_TRUE(session_->play());
    EXPECT_EQ(session_->framesShown(), 0);
}

TEST_F(SessionOfTwo, PlaysAgainFromTheFirstFrame) {
    add(left_, &first_, 4);
    for (int run = 0; run < 3; ++run) {
        EXPECT_TRUE(session_->play());
        EXPECT_THAT(recorded(0), ElementsAre(0, 1, 2, 3));
    }
}

TEST_F(SessionOfTwo, EndsWhenTheStreamsOfAllHaveEndedWhereTheyAreOpenEnded) {
    for (ScriptedDevice* const device : {&left_, &right_}) {
        PerformerSetup setup = sledSetup(*device, device == &left_ ? &first_ : &second_, 100'000);
        setup.isOpenEnded = true;
        session_->addPerformer(setup);
    }
    EXPECT_TRUE(session_->play());
    EXPECT_EQ(session_->framesShown(), 4);
    EXPECT_THAT(recorded(0), ElementsAre(0, 1, 2, 3));
    EXPECT_THAT(recorded(1), ElementsAre(-1, 1));
    EXPECT_EQ(session_->performers()[1]->statistics().framesExpected, 2);
}

TEST_F(SessionOfTwo, StopsWhenAskedAndKeepsWhatWasRecorded) {
    add(left_, &first_, 4);
    int shown = 0;
    EXPECT_FALSE(session_->play([&] { return shown == 2; }, [&] { ++shown; }));
    EXPECT_EQ(session_->framesShown(), 2);
    EXPECT_THAT(recorded(0), ElementsAre(0, 1));
    EXPECT_EQ(session_->performers()[0]->statistics().framesExpected, 2);
    EXPECT_EQ(session_->performers()[0]->statistics().framesOut, 2);
    EXPECT_THAT(left_.commands(), ElementsAre("start", "stop"));
}

TEST_F(SessionOfTwo, CalibratesOverTheFirstFramesAndIsReadyToPlay) {
    dimensions_.setSolver(&first_);
    add(left_, &first_, 4);
    Performer& ada = *session_->performers()[0];
    ada.addCalibrator(dimensions_, true);
    EXPECT_TRUE(session_->calibrate(3));
    EXPECT_EQ(dimensions_.collectedFrames(), 3);
    EXPECT_FLOAT_EQ(ada.actor().bodyDimension("Height", 0), 2);
    EXPECT_FALSE(ada.character().isCalibrating());
    EXPECT_EQ(ada.statistics().framesIn, 0); // nothing was recorded
    EXPECT_TRUE(session_->play());
    EXPECT_THAT(recorded(0), ElementsAre(0, 1, 2, 3));
}

TEST_F(SessionOfTwo, LeavesTheActorAsItWasWhenACalibrationIsStopped) {
    dimensions_.setSolver(&first_);
    add(left_, &first_, 4);
    Performer& ada = *session_->performers()[0];
    ada.addCalibrator(dimensions_, true);
    int shown = 0;
    EXPECT_FALSE(session_->calibrate(
        4, [&] { return shown == 3; }, [&] { ++shown; }));
    EXPECT_EQ(ada.actor().bodyDimension("Height", 0), 0);
    EXPECT_FALSE(ada.character().isCalibrating());
}

TEST_F(SessionOfTwo, BeginsNoCalibrationUnlessAllHaveASolver) {
    add(left_, &first_, 4);
    add(right_, nullptr, 4, "Bea");
    EXPECT_THROW(session_->calibrate(2), std::logic_error);
    EXPECT_FALSE(session_->performers()[0]->character().isCalibrating());
    EXPECT_THAT(left_.commands(), IsEmpty());
}

TEST_F(SessionOfTwo, StopsEverythingWhenADeviceRefuses) {
    right_.refuse("start");
    add(left_, &first_, 4);
    add(right_, &second_, 4);
    EXPECT_THROW(session_->calibrate(2), CommandError);
    EXPECT_FALSE(session_->performers()[0]->character().isCalibrating());
    EXPECT_THAT(left_.commands(), ElementsAre("start", "stop"));
    EXPECT_THROW(session_->play(), CommandError);
    EXPECT_TRUE(left_.isReady());
}

TEST(SessionSpace, IsThatOfTheFirstPerformerThatKnows) {
    ScriptedDevice device({});
    PerformerSetup setup;
    setup.device = &device;
    setup.port = port;
    setup.rate = rate;
    Session session;
    session.addPerformer(setup);
    EXPECT_FALSE(session.space().unit.known());
    setup.space = tarn::kit::Space{*tarn::kit::lengthUnitNamed("cm"), tarn::kit::Origin::Stated,
                                   tarn::kit::UpAxis::Z, tarn::kit::Origin::Stated};
    session.addPerformer(setup);
    EXPECT_EQ(session.space().unit.symbol, "cm");
    EXPECT_EQ(session.space().up, tarn::kit::UpAxis::Z);
    setup.space->unit = *tarn::kit::lengthUnitNamed("m");
    EXPECT_THAT([&] { session.addPerformer(setup); },
                ::testing::ThrowsMessage<std::invalid_argument>(
                    "m, Z up, but the others are in cm, Z up: performers of one session share a "
                    "space"));
    setup.space->unitOrigin = tarn::kit::Origin::Guessed;
    session.addPerformer(setup);
    EXPECT_EQ(session.performers().size(), 3U);
}

TEST(SessionRate, IsExact) {
    ScriptedDevice device({});
    PerformerSetup setup;
    setup.device = &device;
    setup.port = port;
    setup.rate = 30;
    setup.exactRate = tarn::kit::Rate(30000, 1001);
    Session session;
    EXPECT_EQ(session.exactRate(), std::nullopt);
    EXPECT_EQ(session.addPerformer(setup).exactRate(), tarn::kit::Rate(30000, 1001));
    EXPECT_EQ(session.exactRate(), tarn::kit::Rate(30000, 1001));
    EXPECT_EQ(session.rate(), 30);
    setup.exactRate.reset();
    EXPECT_THAT([&] { session.addPerformer(setup); },
                ::testing::ThrowsMessage<std::invalid_argument>(
                    "30 frames per second, but '' has 30000/1001: performers of one session share "
                    "a clock"));
    setup.exactRate = tarn::kit::Rate(25);
    EXPECT_THROW(session.addPerformer(setup), std::invalid_argument);
}

TEST_F(SessionOfTwo, RefusesAnotherRateAndStaysAsItIs) {
    add(left_, &first_, 4);
    PerformerSetup setup = sledSetup(right_, &second_, 9, "Bea");
    setup.rate = 2 * rate;
    try {
        session_->addPerformer(setup);
        FAIL() << "accepts two rates";
    } catch (const std::invalid_argument& error) {
        EXPECT_STREQ(error.what(), "100 frames per second, but 'Ada' has 50: performers of one "
                                   "session share a clock");
    }
    EXPECT_EQ(session_->performers().size(), 1U);
    EXPECT_EQ(session_->frameCount(), 4);
    EXPECT_THAT(right_.parents(), IsEmpty());
}

TEST(SessionThreads, DevicesOfSeveralThreadsStartAndStopOverAndOver) {
    constexpr int performers = 4;
    constexpr int frames = 300; // more than a queue holds
    std::vector<std::unique_ptr<ScriptedDevice>> devices;
    std::vector<std::unique_ptr<ForwardKinematicsSolver>> solvers;
    const auto rig = sledRig(); // one for all
    Session session;
    for (int i = 0; i < performers; ++i) {
        devices.push_back(std::make_unique<ScriptedDevice>(upTo(frames)));
        solvers.push_back(std::make_unique<ForwardKinematicsSolver>("sled", rig));
        session.addPerformer(sledSetup(*devices.back(), solvers.back().get(), frames));
    }
    for (int run = 0; run < 3; ++run) {
        int shown = 0;
        session.play([&] { return shown == 20; }, [&] { ++shown; }); // devices wait to be heard
    }
    ASSERT_TRUE(session.play());
    for (const auto& performer : session.performers()) {
        EXPECT_EQ(performer->statistics().framesIn, frames);
        EXPECT_EQ(performer->statistics().framesOut, frames);
    }
}

TEST(SessionThreads, GoesWhileItsDevicesStream) {
    for (int round = 0; round < 20; ++round) {
        ScriptedDevice device(upTo(1'000));
        ForwardKinematicsSolver solver("sled", sledRig());
        auto session = std::make_unique<Session>();
        Performer& performer = session->addPerformer(sledSetup(device, &solver, 1'000));
        performer.start();
        EXPECT_TRUE(performer.bring(round));
        session.reset();
        EXPECT_THAT(device.parents(), IsEmpty());
        EXPECT_THAT(solver.parents(), IsEmpty());
    }
}

} // namespace
} // namespace tarn::kit
