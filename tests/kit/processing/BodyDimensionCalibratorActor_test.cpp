// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "kit/processing/BodyDimensionTesting.h"

#include <tarn/Actor.h>
#include <tarn/Character.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <string>
#include <vector>

// What calibrations leave in the actor, and the run that a character drives.

namespace tarn::kit {
namespace {

using namespace body_dimension_testing;
using ::testing::ElementsAre;

std::string textOf(Actor& actor) {
    std::string text;
    EXPECT_TRUE(actor.saveSettingsToString(text));
    return text;
}

/// A calibrator on its solver, in a character with an actor.
struct Studio : Bench {
    explicit Studio(int frameCount = 4) : Bench(frameCount) {
        character.setActor(&actor);
        character.addCalibrator(&calibrator, true);
    }
    ~Studio() {
        character.removeCalibrator(&calibrator);
        character.setActor(nullptr);
    }
    Studio(const Studio&) = delete;
    Studio& operator=(const Studio&) = delete;

    float dimension(const std::string& name) { return actor.bodyDimension(name, -1); }

    Actor actor;
    Character character{"1", "Dancer"};
};

TEST(BodyDimensionCalibratorActor, GetsTheDimensionsWhenItFinishes) {
    Studio studio;
    const std::string before = textOf(studio.actor);
    studio.calibrator.start();
    studio.give(0, {1, 2, 3, 4, 5});
    studio.give(1, {5, 4, 3, 2, 1});
    EXPECT_EQ(textOf(studio.actor), before);
    studio.calibrator.finish();
    EXPECT_FLOAT_EQ(studio.dimension("Hips"), 2); // from the hips to the leg
    EXPECT_FLOAT_EQ(studio.dimension("Leg"), 1.5F);
    EXPECT_FLOAT_EQ(studio.dimension("Height"), 3.5F);
    EXPECT_EQ(studio.actor.bodyDimensionSettings()->values().size(), 3U);
}

TEST(BodyDimensionCalibratorActor, HasThemWhenTheEndIsAnnounced) {
    Studio studio;
    float height = 0;
    studio.calibrator.onEnd().connect([&] { height = studio.dimension("Height"); });
    studio.calibrator.globalStart();
    studio.give(0);
    studio.calibrator.globalFinish();
    EXPECT_FLOAT_EQ(height, 3.5F);
}

TEST(BodyDimensionCalibratorActor, IsLeftAsItWasByACancelledRun) {
    Studio studio;
    studio.actor.setActorName("Ada");
    studio.actor.setBodyDimension("Height", 1.8F);
    const std::string before = textOf(studio.actor);
    const Announced announced(studio.calibrator);
    studio.calibrator.start();
    studio.give(0);
    studio.calibrator.cancel();
    EXPECT_THAT(announced.all(), ElementsAre("begin", "0.00", "0.25", "end"));
    EXPECT_FALSE(studio.calibrator.isCalibrating());
    EXPECT_EQ(studio.calibrator.collectedFrames(), 0);
    EXPECT_TRUE(studio.calibrator.segments().empty());
    studio.calibrator.finish();
    EXPECT_EQ(textOf(studio.actor), before);
}

TEST(BodyDimensionCalibratorActor, IsLeftAsItWasWithoutAFrame) {
    Studio studio;
    const std::string before = textOf(studio.actor);
    const Announced announced(studio.calibrator);
    studio.calibrator.start();
    studio.calibrator.finish();
    EXPECT_EQ(textOf(studio.actor), before);
    EXPECT_THAT(announced.all(), ElementsAre("begin", "0.00", "end"));
}

TEST(BodyDimensionCalibratorActor, IsNotNeeded) {
    Bench alone(4);
    alone.calibrator.start();
    alone.give(0);
    alone.calibrator.finish();
    EXPECT_FALSE(alone.calibrator.isCalibrating());
    Studio studio;
    studio.character.setActor(nullptr);
    studio.calibrator.start();
    studio.give(0);
    studio.calibrator.finish();
    EXPECT_EQ(studio.calibrator.collectedFrames(), 1);
}

TEST(BodyDimensionCalibratorActor, KeepsItsDimensionsWhenNothingRunsThatCouldBeCancelled) {
    Studio studio;
    studio.calibrator.start();
    studio.give(0);
    studio.calibrator.finish();
    const Announced announced(studio.calibrator);
    studio.calibrator.cancel();
    EXPECT_EQ(studio.calibrator.collectedFrames(), 1);
    EXPECT_TRUE(announced.all().empty());
}

TEST(BodyDimensionCalibratorActor, GetsTheUnitOfTheRigAndAllDimensionsInIt) {
    const auto rig = std::make_shared<Rig>();
    rig->addJoint("Hips", -1, {}, {});
    rig->addJoint("Spine", 0, {0, 50, 0}, {});
    Space space;
    space.unit = *lengthUnitNamed("cm");
    rig->setSpace(space);
    Studio studio;
    studio.actor.setBodyDimension("Shoe", 0.3F);
    stateUnitOfDimensions(studio.actor, *lengthUnitNamed("m"));
    ForwardKinematicsSolver solver("solver", rig);
    studio.calibrator.setSolver(&solver);
    studio.calibrator.start();
    solver.addInput(poseFrame(0, {}));
    ASSERT_TRUE(solver.evaluate());
    studio.flush(0);
    studio.calibrator.finish();
    studio.calibrator.setSolver(&studio.solver);
    EXPECT_EQ(unitOfDimensions(studio.actor)->symbol, "cm");
    EXPECT_FLOAT_EQ(studio.dimension("Hips"), 50);
    EXPECT_NEAR(studio.dimension("Shoe"), 30, 1e-4);
}

TEST(BodyDimensionCalibratorActor, GetsTheDimensionsOfFramesThatWereKept) {
    Studio first;
    first.calibrator.start();
    first.give(0);
    Studio second;
    second.calibrator.setCalibrationData(first.calibrator.calibrationData());
    const Announced announced(second.calibrator);
    second.calibrator.finish();
    EXPECT_FLOAT_EQ(second.dimension("Height"), 3.5F);
    EXPECT_TRUE(announced.all().empty());
}

TEST(BodyDimensionCalibratorActor, GetsDimensionsUnderNamesThatADocumentCarries) {
    const auto rig = std::make_shared<Rig>();
    rig->addJoint("Hips", -1, {}, {});
    rig->addJoint("Left Leg.upper/lower?", 0, {0, -1, 0}, {});
    rig->addJoint("rig:Knie-gr\xc3\xb6\xc3\x9f"
                  "e",
                  1, {0, -2, 0}, {});
    rig->addJoint("Height", 0, {0, 3, 0}, {});
    rig->addJoint("!>", 0, {0, 0, 7}, {});
    rig->addJoint("9th", 0, {0, 0, 9}, {});
    rig->addJoint("\xe5\xb7\xa6\xff\xc0\xaf\xef\xbf\xbf\x01", 0, {0, 0, 10}, {});
    rig->addJoint("", 0, {0, 0, 8}, {});
    rig->addJoint("Twin", 0, {0, 0, 1}, {});
    rig->addJoint("Twin", 0, {0, 0, 2}, {});
    Studio studio;
    ForwardKinematicsSolver solver("solver", rig);
    studio.calibrator.setSolver(&solver);
    studio.calibrator.start();
    solver.addInput(poseFrame(0, {}));
    ASSERT_TRUE(solver.evaluate());
    studio.flush(0);
    studio.calibrator.finish();
    studio.calibrator.setSolver(&studio.solver);
    Actor loaded;
    ASSERT_TRUE(loaded.loadSettingsFromString(textOf(studio.actor)));
    EXPECT_FLOAT_EQ(loaded.bodyDimension("Hips-Left_Leg_upper_lower_", -1), 1);
    EXPECT_FLOAT_EQ(loaded.bodyDimension("Left_Leg_upper_lower_", -1), 2);
    EXPECT_FLOAT_EQ(loaded.bodyDimension("Hips-__", -1), 7);
    EXPECT_FLOAT_EQ(loaded.bodyDimension("Hips-9th", -1), 9);
    EXPECT_FLOAT_EQ(loaded.bodyDimension("Hips-\xe5\xb7\xa6_____", -1), 10);
    EXPECT_FLOAT_EQ(loaded.bodyDimension("Hips-Twin", -1), 2);
    EXPECT_FLOAT_EQ(loaded.bodyDimension("Height", -1), 6);
    EXPECT_EQ(loaded.bodyDimensionSettings()->values().size(), 8U);
}

TEST(BodyDimensionCalibratorActor, GetsDimensionsUnderNamesInAnyScript) {
    // Letters of three and four bytes, at the start, inside and at the end; and one cut off.
    const std::vector<std::string> names{"\xE5\xB7\xA6", "Arm\xE6\x89\x8B", "\xF0\xA0\xAE\xB7Knie",
                                         "Fu\xF0\xA0\xAE\xB7", "x\xF0\xA0\xAE"};
    const auto rig = std::make_shared<Rig>();
    rig->addJoint("Hips", -1, {}, {});
    for (const std::string& name : names) {
        rig->addJoint(name, 0, {0, static_cast<float>(rig->nodes().size()), 0}, {});
    }
    Studio studio;
    ForwardKinematicsSolver solver("solver", rig);
    studio.calibrator.setSolver(&solver);
    studio.calibrator.start();
    solver.addInput(poseFrame(0, {}));
    ASSERT_TRUE(solver.evaluate());
    studio.flush(0);
    studio.calibrator.finish();
    studio.calibrator.setSolver(&studio.solver);
    for (std::size_t i = 0; i + 1 < names.size(); ++i) {
        EXPECT_FLOAT_EQ(studio.dimension("Hips-" + names[i]), static_cast<float>(i + 1))
            << names[i];
    }
    EXPECT_FLOAT_EQ(studio.dimension("Hips-x___"), 5);
}

/// A character that plays a take, whose host feeds and evaluates a solver on each frame.
struct Session {
    explicit Session(const BvhTake& sample) : take(sample), solver("solver", sample.rig) {
        character.setActor(&actor);
        character.setSolver(&solver);
        calibrator.setSolver(&solver);
        character.addCalibrator(&calibrator, true);
        character.setTracks(take.tracks);
        character.onFrame().connect([this](const std::shared_ptr<Timeline>& timeline) {
            solver.addInput(timeline->frame(poseDataType));
            EXPECT_TRUE(solver.evaluate());
        });
    }
    ~Session() {
        character.setTracks(nullptr);
        character.removeCalibrator(&calibrator);
        calibrator.removeChild(&solver);
        character.setSolver(nullptr);
        character.setActor(nullptr);
    }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    void play(int first, int last) const {
        for (int i = first; i <= last; ++i) {
            take.tracks->setCurrentTime(i);
        }
    }

    BvhTake take;
    Actor actor;
    ForwardKinematicsSolver solver;
    BodyDimensionCalibrator calibrator{"dimensions", 50};
    Character character{"1", "Dancer"};
};

TEST(BodyDimensionCalibratorActor, IsMeasuredInARunThatTheCharacterDrives) {
    for (const BvhTake& take : sampleTakes()) {
        SCOPED_TRACE(take.tracks->tracksName());
        Session session(take);
        session.play(0, 9);
        session.character.beginCalibrate();
        session.play(10, 99);
        EXPECT_EQ(session.calibrator.collectedFrames(), 50);
        EXPECT_EQ(session.calibrator.currentCalibrateProgress(), 1);
        session.character.endCalibrate();
        EXPECT_FALSE(session.calibrator.isCalibrating());
        const float height = take.rig->height();
        EXPECT_NEAR(session.actor.bodyDimension("Height", 0), height, 0.01F * height);
        int segments = 0;
        const auto names = boneLengthNames(*take.rig, BodyNames().match(*take.rig));
        for (const RigNode& node : take.rig->nodes()) {
            const float length = std::hypot(node.offset.x, node.offset.y, node.offset.z);
            if (node.parent >= 0 && length > 0) {
                ++segments;
                const auto& name =
                    names.at(static_cast<std::size_t>(&node - take.rig->nodes().data()));
                EXPECT_NEAR(session.actor.bodyDimension(name, 0), length, 0.01F * length) << name;
            }
        }
        EXPECT_GT(segments, 20);
        const auto data = session.calibrator.calibrationData();
        ASSERT_NE(data, nullptr);
        EXPECT_EQ(data->getFrame(0, bodyDataType)->time().frameIndex(), 10U);
    }
}

TEST(BodyDimensionCalibratorActor, IsLeftAsItWasByARunThatTheCharacterCancels) {
    Session session(sampleTakes().front());
    session.actor.setBodyDimension("Height", 1.75F);
    const std::string before = textOf(session.actor);
    session.character.beginCalibrate();
    session.play(0, 20);
    EXPECT_EQ(session.calibrator.collectedFrames(), 21);
    session.character.cancelCalibrate();
    EXPECT_EQ(textOf(session.actor), before);
    EXPECT_EQ(session.calibrator.calibrationData(), nullptr);
    EXPECT_FALSE(session.calibrator.isCalibrating());
}

TEST(BodyDimensionCalibratorActor, IsMeasuredOnceInARunThatWasBegunTwice) {
    Session session(sampleTakes().front());
    session.character.beginCalibrate();
    session.character.beginCalibrate();
    session.play(0, 9);
    EXPECT_EQ(session.calibrator.collectedFrames(), 10);
    session.character.endCalibrate();
}

} // namespace
} // namespace tarn::kit
