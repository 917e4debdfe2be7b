// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "kit/body/BodyTesting.h"

#include <tarn_kit/body/ForwardKinematics.h>

#include <tarn/Settings.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <any>
#include <cmath>
#include <limits>
#include <memory>
#include <string>
#include <vector>

namespace tarn::kit {
namespace {

using namespace body_testing;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr int scale = ForwardKinematicsSolver::Scale;
constexpr int window = ForwardKinematicsSolver::SmoothingWindow;

float scaleOf(Solver& solver) { return std::any_cast<float>(solver.queryFactor(scale)); }

int windowOf(Solver& solver) { return std::any_cast<int>(solver.queryFactor(window)); }

TEST(ForwardKinematicsSolver, HasTypeIdAndRig) {
    const auto rig = smallRig();
    const ForwardKinematicsSolver solver("solver 1", rig);
    EXPECT_EQ(solver.type(), "forward-kinematics");
    EXPECT_EQ(solver.id(), "solver 1");
    EXPECT_EQ(&solver.rig(), rig.get());
}

TEST(ForwardKinematicsSolver, HasASkeletonOfItsOwnOverTheBonesOfTheRigsFirst) {
    const auto rig = smallRig();
    rig->addJoint("Prop", -1, {}, {});
    const Skeleton& ofRig = *rig->skeletons().front();
    const ForwardKinematicsSolver solver("solver", rig);
    const ForwardKinematicsSolver other("other", rig);
    ASSERT_NE(solver.skeleton(), nullptr);
    EXPECT_NE(solver.skeleton(), other.skeleton());
    EXPECT_EQ(solver.skeleton()->skeletonName(), ofRig.skeletonName());
    EXPECT_EQ(solver.skeleton()->bones(), ofRig.bones());
    EXPECT_THAT(ofRig.parents(), IsEmpty()) << "the rig is only read";
}

TEST(ForwardKinematicsSolver, HasNoSkeletonForARigWithoutNodes) {
    ForwardKinematicsSolver solver("solver", std::make_shared<Rig>());
    EXPECT_EQ(solver.skeleton(), nullptr);
    solver.addInput(poseFrame(0, {}));
    EXPECT_TRUE(solver.evaluate());
    EXPECT_THAT(bodiesOf(solver).at(0).segments, IsEmpty());
}

TEST(ForwardKinematicsSolver, KeepsTheRigAlive) {
    std::weak_ptr<Rig> rig;
    {
        auto owned = smallRig();
        rig = owned;
        const ForwardKinematicsSolver solver("solver", std::move(owned));
        EXPECT_FALSE(rig.expired());
    }
    EXPECT_TRUE(rig.expired());
}

TEST(ForwardKinematicsSolver, PlacesAndTurnsEachSegment) {
    ForwardKinematicsSolver solver("solver", smallRig());
    solveLive(solver, {poseFrame(0, {1, 2, 3, 90, 90})});
    const std::vector<Segment> segments = bodiesOf(solver).at(0).segments;
    ASSERT_EQ(segments.size(), 3U);
    expectNear(segments[0].position, {1, 6, 3});
    expectNear(segments[1].position, {1, 4, 3});
    expectNear(segments[2].position, {1, 4, 1.5F}); // down, turned to x, turned to -z
    expectNear(segments[0].rotation * Vector3f{1, 2, 3}, {3, 2, -1});
    expectNear(segments[1].rotation * Vector3f{1, 0, 0}, {0, 1, 0});
    expectNear(segments[1].rotation * Vector3f{0, 0, 1}, {1, 0, 0});
}

TEST(ForwardKinematicsSolver, TurnsAnEndSiteAsItsParent) {
    ForwardKinematicsSolver solver("solver", smallRig());
    solveLive(solver, {poseFrame(0, {0, 0, 0, 30, 40})});
    const BodyPose body = bodiesOf(solver).at(0);
    EXPECT_EQ(numbersOf({{{{}, body.segments[2].rotation}}}),
              numbersOf({{{{}, body.segments[1].rotation}}}));
}

TEST(ForwardKinematicsSolver, AgreesWithWorldPositionsInEveryFrameOfTheSamples) {
    for (const BvhTake& take : sampleTakes()) {
        SCOPED_TRACE(take.tracks->tracksName());
        ForwardKinematicsSolver solver("solver", take.rig);
        ASSERT_TRUE(solver.evaluate(take.tracks, 0, take.tracks->timeLength() - 1));
        const std::vector<BodyPose> bodies = bodiesOf(solver);
        ASSERT_EQ(bodies.size(), static_cast<std::size_t>(take.tracks->timeLength()));
        for (std::size_t i = 0; i < bodies.size(); ++i) {
            const auto positions =
                worldPositions(*take.rig, bvh_testing::poseAt(take, static_cast<int>(i)));
            ASSERT_EQ(bodies[i].segments.size(), positions.size());
            for (std::size_t node = 0; node < positions.size(); ++node) {
                ASSERT_EQ(bodies[i].segments[node].position.x, positions[node].x);
                ASSERT_EQ(bodies[i].segments[node].position.y, positions[node].y);
                ASSERT_EQ(bodies[i].segments[node].position.z, positions[node].z);
            }
        }
    }
}

TEST(ForwardKinematicsSolver, GivesRotationsOfLengthOneThatCarryTheOffsets) {
    const BvhTake take = sampleTakes().front();
    ForwardKinematicsSolver solver("solver", take.rig);
    ASSERT_TRUE(solver.evaluate(take.tracks, 0, take.tracks->timeLength() - 1));
    const float tolerance = 1e-5F * take.rig->height();
    for (const BodyPose& body : bodiesOf(solver)) {
        for (std::size_t i = 0; i < body.segments.size(); ++i) {
            const auto& [x, y, z, w] = body.segments[i].rotation;
            ASSERT_NEAR(x * x + y * y + z * z + w * w, 1, 1e-6);
            const RigNode& node = take.rig->nodes()[i];
            if (node.parent >= 0) {
                const Segment& parent = body.segments[static_cast<std::size_t>(node.parent)];
                expectNear(body.segments[i].position,
                           parent.position + parent.rotation * node.offset, tolerance);
            }
        }
    }
}

TEST(ForwardKinematicsSolver, AddsAnOutputWithTheTimeOfEachInput) {
    ForwardKinematicsSolver solver("solver", smallRig());
    solver.addInput(poseFrame(7, {0, 0, 0, 0, 0}));
    solver.addInput(poseFrame(5, {1, 0, 0, 0, 0}));
    EXPECT_TRUE(solver.evaluate());
    const auto outputs = outputsOf(solver);
    ASSERT_EQ(outputs.size(), 2U);
    EXPECT_EQ(outputs[0]->time(), Time(7, 100));
    EXPECT_EQ(outputs[1]->time(), Time(5, 100));
    EXPECT_EQ(outputs[1]->dataType(), bodyDataType);
    EXPECT_EQ(outputs[1]->dataAs<BodyPose>().segments[0].position.x, 1);
}

TEST(ForwardKinematicsSolver, SolvesEachInputOnce) {
    ForwardKinematicsSolver solver("solver", smallRig());
    solver.addInput(poseFrame(0, {0, 0, 0, 0, 0}));
    EXPECT_TRUE(solver.evaluate());
    EXPECT_TRUE(solver.evaluate());
    solver.addInput(poseFrame(1, {0, 0, 0, 0, 0}));
    EXPECT_TRUE(solver.evaluate());
    EXPECT_THAT(timesOf(solver), ElementsAre(0, 1));
}

TEST(ForwardKinematicsSolver, SucceedsWithoutInputs) {
    ForwardKinematicsSolver solver("solver", smallRig());
    EXPECT_TRUE(solver.evaluate());
    solver.addInput(std::make_shared<Frame>(Time(0, 100), 17, 5));
    EXPECT_TRUE(solver.evaluate());
    EXPECT_THAT(solver.getOutputs(), IsEmpty());
}

TEST(ForwardKinematicsSolver, SolvesWhatComesAfterInputsWereCleared) {
    ForwardKinematicsSolver solver("solver", smallRig());
    for (unsigned i = 0; i < 3; ++i) {
        solver.addInput(poseFrame(10 * i, {0, 0, 0, 0, 0}));
        solver.addInput(poseFrame(10 * i + 1, {0, 0, 0, 0, 0}));
        EXPECT_TRUE(solver.evaluate());
        solver.clearInput();
        EXPECT_TRUE(solver.evaluate());
    }
    EXPECT_THAT(timesOf(solver), ElementsAre(0, 1, 10, 11, 20, 21));
}

TEST(ForwardKinematicsSolver, RefusesAPoseThatDoesNotFitAndGoesOnBehindIt) {
    const std::vector<FramePtr> misfits = {
        poseFrame(1, {0, 0, 0, 0}), poseFrame(1, {0, 0, 0, 0, 0, 0}),
        std::make_shared<Frame>(Time(1, 100), poseDataType, std::string("pose")),
        std::make_shared<Frame>(Time(1, 100), poseDataType, std::any())};
    for (const FramePtr& misfit : misfits) {
        ForwardKinematicsSolver solver("solver", smallRig());
        solver.addInput(poseFrame(0, {0, 0, 0, 0, 0}));
        solver.addInput(misfit);
        solver.addInput(poseFrame(2, {0, 0, 0, 0, 0}));
        EXPECT_FALSE(solver.evaluate());
        EXPECT_THAT(timesOf(solver), ElementsAre(0));
        EXPECT_TRUE(solver.evaluate());
        EXPECT_THAT(timesOf(solver), ElementsAre(0, 2));
    }
}

TEST(ForwardKinematicsSolver, ScalesPositionsAndNothingElse) {
    ForwardKinematicsSolver solver("solver", smallRig());
    solver.addInput(poseFrame(0, {1, 2, 3, 90, 90}));
    EXPECT_TRUE(solver.evaluate());
    solver.setFactor(scale, 2.5F);
    solver.addInput(poseFrame(1, {1, 2, 3, 90, 90}));
    EXPECT_TRUE(solver.evaluate());
    const std::vector<BodyPose> bodies = bodiesOf(solver);
    for (std::size_t i = 0; i < 3; ++i) {
        expectNear(bodies[1].segments[i].position, bodies[0].segments[i].position * 2.5F);
        EXPECT_EQ(numbersOf({{{{}, bodies[1].segments[i].rotation}}}),
                  numbersOf({{{{}, bodies[0].segments[i].rotation}}}));
    }
}

TEST(ForwardKinematicsSolver, HasItsFactorsAtNeutralValues) {
    ForwardKinematicsSolver solver("solver", smallRig());
    EXPECT_EQ(scaleOf(solver), 1);
    EXPECT_EQ(windowOf(solver), 1);
}

TEST(ForwardKinematicsSolver, TakesNumbersOfAnyTypeForItsFactors) {
    ForwardKinematicsSolver solver("solver", smallRig());
    for (const std::any& value : {std::any(3), std::any(3.0F), std::any(3.0)}) {
        solver.setFactor(scale, 1);
        solver.setFactor(window, 1);
        solver.setFactor(scale, value);
        solver.setFactor(window, value);
        EXPECT_EQ(scaleOf(solver), 3);
        EXPECT_EQ(windowOf(solver), 3);
    }
    solver.setFactor(scale, 0.1);
    solver.setFactor(window, 1000);
    EXPECT_EQ(scaleOf(solver), 0.1F);
    EXPECT_EQ(windowOf(solver), 1000);
}

TEST(ForwardKinematicsSolver, LeavesItsFactorsForValuesThatAreNone) {
    ForwardKinematicsSolver solver("solver", smallRig());
    solver.setFactor(scale, 2);
    solver.setFactor(window, 2);
    const double infinity = std::numeric_limits<double>::infinity();
    for (const std::any& value : {std::any(0), std::any(-1), std::any(-0.5), std::any(std::nan("")),
                                  std::any(infinity), std::any(1e300), std::any(1e-300), std::any(),
                                  std::any(std::string("3")), std::any(3U)}) {
        solver.setFactor(scale, value);
        solver.setFactor(window, value);
    }
    for (const std::any& value : {std::any(1001), std::any(2.5), std::any(0.999F)}) {
        solver.setFactor(window, value);
    }
    EXPECT_EQ(scaleOf(solver), 2);
    EXPECT_EQ(windowOf(solver), 2);
}

TEST(ForwardKinematicsSolver, RestoresTheStatusItSaved) {
    for (const float value : {1.0F, 0.1F, 1e-38F, 3.4e38F, 56.444F, 1.0F / 3}) {
        Settings settings;
        ForwardKinematicsSolver saved("saved", smallRig());
        saved.setFactor(scale, value);
        saved.setFactor(window, 12);
        saved.saveStatus(&settings);
        ForwardKinematicsSolver restored("restored", smallRig());
        restored.restoreStatus(&settings);
        EXPECT_EQ(scaleOf(restored), value) << settings.value("scale", "");
        EXPECT_EQ(windowOf(restored), 12);
    }
}

TEST(ForwardKinematicsSolver, SavesItsStatusUnderNamesThatLast) {
    Settings settings;
    ForwardKinematicsSolver solver("solver", smallRig());
    solver.setFactor(scale, 2.5);
    solver.setFactor(window, 7);
    solver.saveStatus(&settings);
    EXPECT_EQ(settings.value("scale", ""), "2.5");
    EXPECT_EQ(settings.value("smoothingWindow", ""), "7");
}

TEST(ForwardKinematicsSolver, LeavesWhatAStatusDoesNotSay) {
    ForwardKinematicsSolver solver("solver", smallRig());
    solver.setFactor(scale, 2);
    solver.setFactor(window, 3);
    Settings settings;
    solver.restoreStatus(&settings);
    for (const std::string text : {"", "two", "4x", "0", "-4", "nan", "inf", "1e999"}) {
        settings.setValue("scale", text);
        settings.setValue("smoothingWindow", text);
        solver.restoreStatus(&settings);
    }
    EXPECT_EQ(scaleOf(solver), 2);
    EXPECT_EQ(windowOf(solver), 3);
}

TEST(ForwardKinematicsSolver, TellsOfFactorsThatAStatusSets) {
    ForwardKinematicsSolver solver("solver", smallRig());
    Settings settings;
    solver.saveStatus(&settings);
    std::vector<int> changed;
    solver.onFactorChanged().connect([&changed](int id) { changed.push_back(id); });
    solver.restoreStatus(&settings);
    EXPECT_THAT(changed, ElementsAre(scale, window));
}

TEST(ForwardKinematicsSolver, TurnsByHugeAnglesAsByWhatIsLeftOfThem) {
    ForwardKinematicsSolver solver("solver", smallRig());
    solveLive(solver, {poseFrame(0, {0, 0, 0, 30, -60}),
                       poseFrame(1, {0, 0, 0, 30 + 360 * 5000, -60 - 360 * 3001})});
    const std::vector<BodyPose> bodies = bodiesOf(solver);
    for (std::size_t i = 0; i < 3; ++i) {
        expectNear(bodies[1].segments[i].position, bodies[0].segments[i].position);
    }
}

TEST(ForwardKinematicsSolver, SpoilsOnlyWhatAValueThatIsNotFiniteMoves) {
    const float infinity = std::numeric_limits<float>::infinity();
    const float largest = std::numeric_limits<float>::max();
    ForwardKinematicsSolver solver("solver", smallRig());
    solver.setFactor(scale, 10);
    solveLive(solver,
              {poseFrame(0, {0, 0, 0, 0, std::nanf("")}), poseFrame(1, {0, 0, 0, 0, infinity}),
               poseFrame(2, {largest, -largest, 0, largest, 0})});
    const std::vector<BodyPose> bodies = bodiesOf(solver);
    ASSERT_EQ(bodies.size(), 3U);
    for (std::size_t i = 0; i < 2; ++i) {
        expectNear(bodies[i].segments[1].position, {0, 20, 0});
        EXPECT_TRUE(std::isnan(bodies[i].segments[1].rotation.w));
        EXPECT_TRUE(std::isnan(bodies[i].segments[2].position.x));
    }
    EXPECT_EQ(bodies[2].segments[0].position.x, infinity);
    EXPECT_EQ(bodies[2].segments[0].position.y, -infinity);
}

#ifndef NDEBUG
TEST(ForwardKinematicsSolverDeathTest, AssertsThatThereIsARig) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(ForwardKinematicsSolver("solver", nullptr), "rig");
}
#endif

} // namespace
} // namespace tarn::kit
