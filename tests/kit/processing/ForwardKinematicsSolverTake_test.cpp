// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "kit/body/BodyTesting.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <any>
#include <memory>
#include <string>
#include <vector>

namespace tarn::kit {
namespace {

using namespace body_testing;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr int window = ForwardKinematicsSolver::SmoothingWindow;

/// Poses that all differ.
std::vector<FramePtr> variousFrames(unsigned count) {
    std::vector<FramePtr> frames;
    for (unsigned i = 0; i < count; ++i) {
        const auto t = static_cast<float>(i);
        frames.push_back(poseFrame(i, {t, t * t, -t, 37 * t, -11 * t}));
    }
    return frames;
}

/// What a solver with such a window makes of a take in pieces that begin at these indexes.
std::vector<Values> solvedInPieces(const std::vector<FramePtr>& frames, int width,
                                   const std::vector<int>& begins) {
    ForwardKinematicsSolver solver("solver", smallRig());
    solver.setFactor(window, width);
    const auto take = takeOf(frames);
    for (std::size_t i = 0; i < begins.size(); ++i) {
        const int end = i + 1 < begins.size() ? begins[i + 1] : take->timeLength();
        EXPECT_TRUE(solver.evaluate(take, begins[i], end - 1));
    }
    return numbersOf(solver);
}

TEST(ForwardKinematicsSolverTake, SolvesFromFirstToLastBothIncluded) {
    ForwardKinematicsSolver solver("solver", smallRig());
    EXPECT_TRUE(solver.evaluate(takeOf(variousFrames(6)), 2, 4));
    EXPECT_THAT(timesOf(solver), ElementsAre(2, 3, 4));
    EXPECT_EQ(bodiesOf(solver).at(1).segments[0].position.x, 3);
}

TEST(ForwardKinematicsSolverTake, SolvesASingleIndex) {
    ForwardKinematicsSolver solver("solver", smallRig());
    const auto take = takeOf(variousFrames(3));
    EXPECT_TRUE(solver.evaluate(take, 2, 2));
    EXPECT_TRUE(solver.evaluate(take, 0, 0));
    EXPECT_THAT(timesOf(solver), ElementsAre(2, 0));
}

TEST(ForwardKinematicsSolverTake, RefusesARangeOutsideTheTake) {
    ForwardKinematicsSolver solver("solver", smallRig());
    const auto take = takeOf(variousFrames(3));
    EXPECT_FALSE(solver.evaluate(take, -1, 1));
    EXPECT_FALSE(solver.evaluate(take, 0, 3));
    EXPECT_FALSE(solver.evaluate(take, 3, 3));
    EXPECT_FALSE(solver.evaluate(take, 2, 1));
    EXPECT_FALSE(solver.evaluate(takeOf({}), 0, 0));
    EXPECT_FALSE(solver.evaluate(nullptr, 0, 0));
    EXPECT_THAT(solver.getOutputs(), IsEmpty());
}

TEST(ForwardKinematicsSolverTake, PassesOverIndexesWithoutAPose) {
    std::vector<FramePtr> frames = variousFrames(5);
    frames[1] = nullptr;
    frames[4] = nullptr;
    ForwardKinematicsSolver solver("solver", smallRig());
    EXPECT_TRUE(solver.evaluate(takeOf(frames), 0, 4));
    EXPECT_THAT(timesOf(solver), ElementsAre(0, 2, 3));
}

TEST(ForwardKinematicsSolverTake, ReadsTheTakeAtItsOffset) {
    const auto take = takeOf(variousFrames(3));
    const auto track = take->findTrack(poseDataType);
    take->removeTrack(track);
    take->addTrack(track, 2);
    take->setTimeLength(5);
    ForwardKinematicsSolver solver("solver", smallRig());
    EXPECT_TRUE(solver.evaluate(take, 0, 3));
    EXPECT_THAT(timesOf(solver), ElementsAre(0, 1));
}

TEST(ForwardKinematicsSolverTake, StopsAtAPoseThatDoesNotFit) {
    std::vector<FramePtr> frames = variousFrames(4);
    frames[2] = poseFrame(2, {1, 2});
    const auto take = takeOf(frames);
    ForwardKinematicsSolver solver("solver", smallRig());
    EXPECT_FALSE(solver.evaluate(take, 0, 3));
    EXPECT_THAT(timesOf(solver), ElementsAre(0, 1));
    EXPECT_TRUE(solver.evaluate(take, 3, 3));
    EXPECT_THAT(timesOf(solver), ElementsAre(0, 1, 3));
}

TEST(ForwardKinematicsSolverTake, GivesInPiecesWhatItGivesInOneGo) {
    const std::vector<FramePtr> frames = variousFrames(12);
    for (const int width : {1, 2, 3, 5, 12, 1000}) {
        SCOPED_TRACE(width);
        const auto whole = solvedInPieces(frames, width, {0});
        ASSERT_EQ(whole.size(), 12U);
        EXPECT_EQ(solvedInPieces(frames, width, {0, 1, 4, 9, 11}), whole);
        EXPECT_EQ(solvedInPieces(frames, width, {0, 6}), whole);
    }
}

TEST(ForwardKinematicsSolverTake, GivesInPiecesTheSameAcrossIndexesWithoutAPose) {
    std::vector<FramePtr> frames = variousFrames(12);
    frames[4] = frames[5] = frames[7] = nullptr;
    EXPECT_EQ(solvedInPieces(frames, 4, {0, 6, 8, 9}), solvedInPieces(frames, 4, {0}));
}

TEST(ForwardKinematicsSolverTake, GivesWhatItGivesLive) {
    const std::vector<FramePtr> frames = variousFrames(12);
    for (const int width : {1, 3, 12}) {
        ForwardKinematicsSolver live("live", smallRig());
        live.setFactor(window, width);
        solveLive(live, frames);
        EXPECT_EQ(numbersOf(live), solvedInPieces(frames, width, {0})) << width;
    }
}

TEST(ForwardKinematicsSolverTake, GivesWhatItGivesLiveForTheSamples) {
    for (const BvhTake& take : sampleTakes()) {
        SCOPED_TRACE(take.tracks->tracksName());
        ForwardKinematicsSolver live("live", take.rig);
        ForwardKinematicsSolver over("over", take.rig);
        live.setFactor(window, 5);
        over.setFactor(window, 5);
        solveLive(live, framesOf(*take.tracks));
        const int half = take.tracks->timeLength() / 2;
        ASSERT_TRUE(over.evaluate(take.tracks, 0, half));
        ASSERT_TRUE(over.evaluate(take.tracks, half + 1, take.tracks->timeLength() - 1));
        EXPECT_TRUE(numbersOf(live) == numbersOf(over));
    }
}

TEST(ForwardKinematicsSolverTake, LooksBackPastAPoseThatDoesNotFitAsItGoesOnLive) {
    std::vector<FramePtr> frames = variousFrames(6);
    frames[2] = poseFrame(2, {1, 2});
    ForwardKinematicsSolver live("live", smallRig());
    ForwardKinematicsSolver over("over", smallRig());
    for (ForwardKinematicsSolver* const solver : {&live, &over}) {
        solver->setFactor(window, 3);
    }
    for (const FramePtr& frame : frames) {
        live.addInput(frame);
        EXPECT_EQ(live.evaluate(), frame != frames[2]);
    }
    const auto take = takeOf(frames);
    EXPECT_FALSE(over.evaluate(take, 0, 5));
    EXPECT_TRUE(over.evaluate(take, 3, 5));
    EXPECT_EQ(numbersOf(live), numbersOf(over));
}

TEST(ForwardKinematicsSolverTake, LeavesTheTakeAndTheInputsAsTheyAre) {
    const std::vector<FramePtr> frames = variousFrames(4);
    const auto take = takeOf(frames);
    ForwardKinematicsSolver solver("solver", smallRig());
    solver.addInput(poseFrame(9, {0, 0, 0, 0, 0}));
    EXPECT_TRUE(solver.evaluate(take, 0, 3));
    EXPECT_EQ(framesOf(*take), frames);
    EXPECT_EQ(take->trackCount(), 1);
    EXPECT_TRUE(solver.evaluate());
    EXPECT_THAT(timesOf(solver), ElementsAre(0, 1, 2, 3, 9));
}

} // namespace
} // namespace tarn::kit
