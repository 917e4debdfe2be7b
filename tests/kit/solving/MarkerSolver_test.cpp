// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/solving/MarkerSolver.h>

#include "kit/solving/SolvingTesting.h"

#include <tarn_kit/files/Text.h>
#include <tarn_kit/solving/MarkerFit.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <thread>

using namespace solving_testing;

namespace {

/// Feeds a solver one frame.
bool feed(MarkerSolver& solver, const std::shared_ptr<Frame>& frame) {
    solver.clearInput();
    solver.addInput(frame);
    return solver.evaluate();
}

class MarkerSolverTest : public ::testing::Test {
protected:
    std::shared_ptr<Frame> frameAt(unsigned index, double noise = 0) {
        truth = truthAt(body, 0.01 * index, heading);
        markers = markersOf(truth, noise, random);
        return frameOf(markers, index);
    }

    MarkerBody body = someBody();
    Quaterniond heading;
    std::mt19937 random{7};
    Truth truth;
    std::vector<Marker> markers;
    MarkerSolver solver{"s", body, sourceOf(body)};
};

} // namespace

TEST_F(MarkerSolverTest, FindsABodyWhereverItIsTurnedWithoutHelp) {
    for (const Vector3d& turn : {Vector3d{0, 0, 0}, Vector3d{1.57, 0, 0}, Vector3d{0, 3.1, 0},
                                 Vector3d{2, 1, -1}, Vector3d{0, 0, 3.1}}) {
        heading = fromRotationVector(turn);
        solver.restart();
        ASSERT_TRUE(feed(solver, frameAt(20)));
        EXPECT_LT(worstMissOf(solver, truth), 5) << turn.x << " " << turn.y << " " << turn.z;
        EXPECT_TRUE(fitIn(solver).converged);
    }
}

TEST_F(MarkerSolverTest, FollowsABodyFromFrameToFrame) {
    for (unsigned i = 0; i < 60; ++i) {
        ASSERT_TRUE(feed(solver, frameAt(i, 1)));
        ASSERT_LT(worstMissOf(solver, truth), 12) << i;
    }
}

TEST_F(MarkerSolverTest, KeepsSegmentsAsLongAsTheBodyHasThem) {
    for (unsigned i = 0; i < 10; ++i) {
        feed(solver, frameAt(10 * i, 3));
        const auto& nodes = solver.rig()->nodes();
        for (std::size_t n = 1; n < nodes.size(); ++n) {
            const BodyPose& pose = poseIn(solver);
            const auto parent = static_cast<std::size_t>(nodes[n].parent);
            const double length = lengthOf(toDouble(pose.segments[n].position) -
                                           toDouble(pose.segments[parent].position));
            ASSERT_NEAR(length, lengthOf(toDouble(nodes[n].offset)), 5e-6) << nodes[n].name;
        }
    }
}

TEST_F(MarkerSolverTest, MakesTheSameBodiesLiveAndOverATake) {
    std::vector<std::shared_ptr<Frame>> frames;
    for (unsigned i = 0; i < 12; ++i) {
        frames.push_back(frameAt(i, 1));
    }
    MarkerSolver other("other", body, sourceOf(body));
    ASSERT_TRUE(other.evaluate(takeOf(markerDataType, frames, 100), 0, 11));
    for (const auto& frame : frames) {
        ASSERT_TRUE(feed(solver, frame));
    }
    for (int i = 0; i < 12; ++i) {
        const auto& live = solver.getOutput(bodyDataType)->getFrame(i)->dataAs<BodyPose>();
        const auto& taken = other.getOutput(bodyDataType)->getFrame(i)->dataAs<BodyPose>();
        for (std::size_t s = 0; s < live.segments.size(); ++s) {
            ASSERT_EQ(live.segments[s].position.x, taken.segments[s].position.x);
            ASSERT_EQ(live.segments[s].rotation.w, taken.segments[s].rotation.w);
        }
    }
}

TEST_F(MarkerSolverTest, PutsBodiesOutInTheUnitThatTheSourceAsksFor) {
    MarkerSource source = sourceOf(body);
    source.bodyUnitsPerMetre = 100;
    MarkerSolver inCentimetres("cm", body, source);
    const auto frame = frameAt(0);
    ASSERT_TRUE(feed(solver, frame));
    ASSERT_TRUE(feed(inCentimetres, frame));
    const BodyPose& metres = poseIn(solver);
    const BodyPose& centimetres = poseIn(inCentimetres);
    ASSERT_EQ(metres.segments.size(), centimetres.segments.size());
    for (std::size_t i = 0; i < metres.segments.size(); ++i) {
        const auto expected = 100 * toDouble(metres.segments[i].position);
        const auto found = toDouble(centimetres.segments[i].position);
        EXPECT_LT(lengthOf(found - expected), 1e-3) << solver.rig()->nodes()[i].name;
    }
    EXPECT_NEAR(inCentimetres.rig()->height(), 100 * solver.rig()->height(), 1e-2F);
    EXPECT_DOUBLE_EQ(fitIn(inCentimetres)[0].position.x, fitIn(solver)[0].position.x);
}

TEST_F(MarkerSolverTest, StatesInTheRigWhatIsKnownOfTheSpaceOfBodies) {
    const Space metres = solver.rig()->space();
    EXPECT_EQ(metres.unit.symbol, "m");
    EXPECT_EQ(metres.unitOrigin, Origin::Stated);
    EXPECT_EQ(metres.upOrigin, Origin::Guessed);
    MarkerSource source = sourceOf(body);
    source.up = UpAxis::Z;
    source.bodyUnitsPerMetre = 1 / 0.0254;
    MarkerSolver inInches("in", body, source);
    inInches.setBody(body); // a rig of its own, which states the same
    EXPECT_EQ(inInches.rig()->space().unit.symbol, "in");
    EXPECT_EQ(inInches.rig()->space().up, UpAxis::Z);
    EXPECT_EQ(inInches.rig()->space().upOrigin, Origin::Stated);
    source.bodyUnitsPerMetre = 17;
    EXPECT_FALSE(MarkerSolver("none", body, source).rig()->space().unit.known());
}

TEST_F(MarkerSolverTest, KnowsMarkersWhoseNamesAreWrittenInAnotherWay) {
    MarkerSource source = sourceOf(body);
    for (std::string& name : source.names) {
        name = name.substr(0, 1) + " " + lowered(name.substr(1));
    }
    MarkerSolver other("o", body, source);
    ASSERT_TRUE(feed(other, frameAt(5)));
    EXPECT_LT(worstMissOf(other, truth), 5);
}

TEST_F(MarkerSolverTest, SaysWhereAMarkerIsThatWasLeftOut) {
    ASSERT_TRUE(solver.leaveOut("LKNE"));
    EXPECT_FALSE(solver.leaveOut("NoSuchMarker"));
    ASSERT_TRUE(feed(solver, frameAt(5)));
    const int marker = MarkerSet::load("cmu41").markerOf("LKNE");
    const FittedMarker& fitted = fitIn(solver)[static_cast<std::size_t>(marker)];
    EXPECT_EQ(fitted.verdict, MarkerVerdict::Left);
    EXPECT_LT(lengthOf(fitted.position - 1000 * truth.markers[static_cast<std::size_t>(marker)]),
              15);
    EXPECT_LT(fitted.residual, 15) << "the measured one is known all the same";
    solver.leaveOut("LKNE", false);
    feed(solver, frameAt(6));
    EXPECT_EQ(fitIn(solver)[static_cast<std::size_t>(marker)].verdict, MarkerVerdict::Believed);
}

TEST_F(MarkerSolverTest, PutsLabelsRightThatWereSwappedAndSaysSo) {
    const MarkerSet set = MarkerSet::load("cmu41");
    const auto a = static_cast<std::size_t>(set.markerOf("LKNE"));
    const auto b = static_cast<std::size_t>(set.markerOf("RKNE"));
    feed(solver, frameAt(0));
    for (unsigned i = 1; i < 8; ++i) {
        frameAt(i);
        std::swap(markers[a], markers[b]);
        ASSERT_TRUE(feed(solver, frameOf(markers, i)));
        EXPECT_EQ(fitIn(solver)[a].verdict, MarkerVerdict::Swapped);
        EXPECT_EQ(fitIn(solver)[a].swappedWith, b);
        EXPECT_LT(worstMissOf(solver, truth), 5);
    }
}

TEST_F(MarkerSolverTest, TakesALabelForThatOfAMarkerThatIsHiddenUnlessItWasLeftOut) {
    const MarkerSet set = MarkerSet::load("cmu41");
    const auto a = static_cast<std::size_t>(set.markerOf("LKNE"));
    const auto b = static_cast<std::size_t>(set.markerOf("RKNE"));
    feed(solver, frameAt(0));
    for (unsigned i = 1; i < 8; ++i) {
        frameAt(i);
        std::swap(markers[a], markers[b]);
        markers[b] = Marker();
        solver.leaveOut("RKNE", i >= 6);
        ASSERT_TRUE(feed(solver, frameOf(markers, i)));
        const MarkerVerdict wrong = i < 6 ? MarkerVerdict::Swapped : MarkerVerdict::Doubted;
        EXPECT_EQ(fitIn(solver)[a].verdict, wrong) << i;
        EXPECT_EQ(fitIn(solver)[b].verdict, i < 6 ? wrong : MarkerVerdict::Left) << i;
        EXPECT_LT(worstMissOf(solver, truth), 5);
    }
    markers[a] = Marker::at(markers[a].position + Vector3f{0, 0, 300});
    solver.leaveOut("RKNE", false);
    ASSERT_TRUE(feed(solver, frameOf(markers, 8)));
    EXPECT_EQ(fitIn(solver)[a].verdict, MarkerVerdict::Doubted) << "a ghost is nobody's";
}

TEST_F(MarkerSolverTest, DoubtsAMarkerThatIsWhereItCannotBe) {
    feed(solver, frameAt(0));
    frameAt(1);
    markers[10].position.x += 400;
    ASSERT_TRUE(feed(solver, frameOf(markers, 1)));
    EXPECT_EQ(fitIn(solver)[10].verdict, MarkerVerdict::Doubted);
    EXPECT_NEAR(fitIn(solver)[10].residual, 400, 10);
    EXPECT_LT(worstMissOf(solver, truth), 5);
}

TEST_F(MarkerSolverTest, FindsTheBodyAgainThatTurnedRoundUnseen) {
    for (unsigned i = 0; i < 5; ++i) {
        feed(solver, frameAt(i));
    }
    heading = fromAxisAngle({0, 0, 1}, 3);
    for (unsigned i = 40; i < 50; ++i) {
        ASSERT_TRUE(feed(solver, frameAt(i)));
    }
    EXPECT_LT(worstMissOf(solver, truth), 5);
}

TEST_F(MarkerSolverTest, FindsTheBodyAgainAfterNonsense) {
    for (unsigned i = 0; i < 5; ++i) {
        feed(solver, frameAt(i));
    }
    std::uniform_real_distribution<float> anywhere(-2000, 2000);
    for (unsigned i = 5; i < 15; ++i) {
        for (Marker& marker : markers) {
            marker.position = {anywhere(random), anywhere(random), anywhere(random)};
        }
        feed(solver, frameOf(markers, i));
    }
    for (unsigned i = 15; i < 25; ++i) {
        feed(solver, frameAt(i));
    }
    EXPECT_LT(worstMissOf(solver, truth), 5);
}

TEST_F(MarkerSolverTest, StaysWhereItWasWhenNothingIsSeen) {
    feed(solver, frameAt(3));
    const Vector3f before = poseIn(solver).segments.front().position;
    ASSERT_TRUE(feed(solver, frameOf(std::vector<Marker>(body.markers.size()), 4)));
    EXPECT_EQ(poseIn(solver).segments.front().position.x, before.x);
    EXPECT_FALSE(fitIn(solver).converged);
    EXPECT_TRUE(std::isnan(fitIn(solver)[0].residual));
    EXPECT_EQ(fitIn(solver)[0].verdict, MarkerVerdict::NotSeen);
}

TEST_F(MarkerSolverTest, StaysFiniteWhateverComes) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float inf = std::numeric_limits<float>::infinity();
    std::vector<std::vector<Marker>> odd;
    odd.emplace_back(body.markers.size());                               // nothing
    odd.emplace_back(body.markers.size(), Marker::at({0, 0, 0}));        // all in one point
    odd.emplace_back(body.markers.size(), Marker::at({nan, 0, 0}));      // no numbers
    odd.emplace_back(body.markers.size(), Marker::at({inf, inf, -inf})); // no places
    odd.emplace_back(body.markers.size());                               // one marker
    odd.back()[3] = Marker::at({100, 200, 300});
    for (const std::vector<Marker>& frame : odd) {
        solver.restart();
        ASSERT_TRUE(feed(solver, frameOf(frame, 0)));
        for (const Segment& segment : poseIn(solver).segments) {
            ASSERT_TRUE(
                std::isfinite(segment.position.x + segment.position.y + segment.position.z));
            ASSERT_NEAR(lengthOf(toDouble(segment.rotation)), 1, 1e-5);
        }
    }
    ASSERT_TRUE(feed(solver, frameAt(0)));
}

TEST_F(MarkerSolverTest, RefusesFramesThatHoldSomethingElse) {
    EXPECT_FALSE(feed(solver, frameOf(std::vector<Marker>(3), 0)));
    EXPECT_FALSE(feed(solver, std::make_shared<Frame>(Time(0, 100), markerDataType, 7)));
    EXPECT_FALSE(solver.evaluate(nullptr, 0, 0));
    EXPECT_FALSE(solver.evaluate(takeOf(markerDataType, {frameAt(0)}, 100), 0, 1));
}

TEST_F(MarkerSolverTest, NamesTheMarkersThatASourceHasNoneOf) {
    try {
        const MarkerSolver none("none", body, {{"A", "", "B"}, 0.001});
        FAIL() << "took a source without markers";
    } catch (const MarkerBodyError& error) {
        EXPECT_NE(std::string(error.what()).find("LKNE"), std::string::npos) << error.what();
        EXPECT_NE(std::string(error.what()).find("; there are A, B"), std::string::npos);
    }
}

TEST_F(MarkerSolverTest, HasFactorsThatNoNonsenseChanges) {
    solver.setFactor(MarkerSolver::Threshold, 3);
    EXPECT_EQ(std::any_cast<double>(solver.queryFactor(MarkerSolver::Threshold)), 3);
    solver.setFactor(MarkerSolver::Iterations, 2.5);
    EXPECT_EQ(std::any_cast<int>(solver.queryFactor(MarkerSolver::Iterations)), 30);
    solver.setFactor(MarkerSolver::Limits, 0);
    solver.setFactor(MarkerSolver::Damping, std::string("much"));
    Settings status;
    solver.saveStatus(&status);
    MarkerSolver other("other", body, sourceOf(body));
    other.restoreStatus(&status);
    EXPECT_EQ(std::any_cast<int>(other.queryFactor(MarkerSolver::Limits)), 0);
    EXPECT_EQ(std::any_cast<double>(other.queryFactor(MarkerSolver::Threshold)), 3);
    EXPECT_EQ(std::any_cast<double>(other.queryFactor(MarkerSolver::Damping)), 1e-6);
}

TEST_F(MarkerSolverTest, KeepsItsFactorsWithANewBodyAndShowsItsSkeleton) {
    solver.setFactor(MarkerSolver::Threshold, 3);
    solver.setBody(someBody("gait16"));
    EXPECT_EQ(std::any_cast<double>(solver.queryFactor(MarkerSolver::Threshold)), 3);
    ASSERT_NE(solver.skeleton(), nullptr);
    EXPECT_NE(solver.skeleton()->findBoneByName("LeftForeArm"), nullptr);
}

TEST(MarkerSolverThreads, SolversOfOneBodyNeedNoCommonLock) {
    const MarkerBody body = someBody();
    std::mt19937 random(1);
    const auto frame = frameOf(markersOf(truthAt(body, 0.1), 0, random), 0);
    std::vector<std::thread> threads;
    threads.reserve(3);
    for (int i = 0; i < 3; ++i) {
        threads.emplace_back([&] {
            MarkerSolver solver("s", body, sourceOf(body));
            solver.addInput(frame);
            EXPECT_TRUE(solver.evaluate());
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}
