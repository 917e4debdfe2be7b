// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn/SolverCalibrator.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace {

using ::testing::ElementsAre;

class Typed : public tarn::SolverCalibrator {
public:
    using SolverCalibrator::setSolverType;
};

TEST(SolverCalibrator, BindsNothingAtFirst) {
    tarn::SolverCalibrator calibrator;

    EXPECT_EQ(calibrator.solver(), nullptr);
    EXPECT_EQ(calibrator.solverType(), "");
    EXPECT_FALSE(calibrator.isAvailable());
    EXPECT_FALSE(calibrator.start());
    EXPECT_EQ(calibrator.calibrationData(), nullptr);
    EXPECT_FALSE(calibrator.isCalibrating());
    EXPECT_EQ(calibrator.currentCalibrateProgress(), 0.0F);
}

TEST(SolverCalibrator, BindsItsLatestSolverAsItsChild) {
    tarn::Solver first("", "");
    tarn::Solver second("", "");
    tarn::SolverCalibrator calibrator;

    calibrator.setSolver(&first);
    calibrator.setSolver(&second);

    EXPECT_EQ(calibrator.solver(), &second);
    EXPECT_THAT(calibrator.children(), ElementsAre(&second));
    EXPECT_TRUE(first.parents().empty());
}

TEST(SolverCalibrator, BindingTheSameSolverAgainRemovesAndAddsIt) {
    tarn::Solver solver("", "");
    tarn::SolverCalibrator calibrator;
    calibrator.setSolver(&solver);
    std::vector<std::string> heard;
    calibrator.onChildWillRemove().connect(
        [&](tarn::Object* child) { heard.emplace_back(child == &solver ? "removed" : "?"); });
    calibrator.onChildAdded().connect(
        [&](tarn::Object* child) { heard.emplace_back(child == &solver ? "added" : "?"); });

    calibrator.setSolver(&solver);

    EXPECT_THAT(heard, ElementsAre("removed", "added"));
    EXPECT_EQ(calibrator.solver(), &solver);
    EXPECT_EQ(calibrator.children().size(), 1U);
}

TEST(SolverCalibrator, PassesOverChildrenOfOtherTypes) {
    tarn::Object object;
    tarn::Calibrator other;
    tarn::Solver solver("", "");
    tarn::SolverCalibrator calibrator;
    calibrator.addChild(&object);
    calibrator.addChild(&other);
    calibrator.addChild(nullptr);
    EXPECT_EQ(calibrator.solver(), nullptr);

    calibrator.setSolver(&solver);

    EXPECT_EQ(calibrator.solver(), &solver);
    EXPECT_THAT(calibrator.children(), ElementsAre(&object, &other, nullptr, &solver));
}

TEST(SolverCalibrator, ReplacesOnlyTheFirstOfSeveral) {
    tarn::Solver first("", "");
    tarn::Solver byHand("", "");
    tarn::Solver third("", "");
    tarn::SolverCalibrator calibrator;
    calibrator.setSolver(&first);
    calibrator.addChild(&byHand);

    calibrator.setSolver(&third);

    EXPECT_EQ(calibrator.solver(), &byHand);
    EXPECT_THAT(calibrator.children(), ElementsAre(&byHand, &third));
}

TEST(SolverCalibrator, UnbindsByANullThatIsLinkedLikeAnyOther) {
    tarn::Solver solver("", "");
    tarn::SolverCalibrator calibrator;
    calibrator.setSolver(&solver);

    calibrator.setSolver(nullptr);

    EXPECT_EQ(calibrator.solver(), nullptr);
    EXPECT_THAT(calibrator.children(), ElementsAre(nullptr));
}

TEST(SolverCalibrator, NoLongerFindsWhatSomebodyElseUnlinked) {
    tarn::Solver solver("", "");
    tarn::SolverCalibrator calibrator;
    calibrator.setSolver(&solver);

    solver.removeParent(&calibrator);

    EXPECT_EQ(calibrator.solver(), nullptr);
}

TEST(SolverCalibrator, DoesNotCompareTypes) {
    tarn::Solver solver("optical", "1");
    Typed calibrator;
    calibrator.setSolverType("inertial");

    calibrator.setSolver(&solver);

    EXPECT_EQ(calibrator.solverType(), "inertial");
    EXPECT_EQ(calibrator.solver(), &solver);
}

/// Counts what it is asked to do.
class CountingSolver : public tarn::Solver {
public:
    CountingSolver() : Solver("", "") {}
    int calls = 0;

protected:
    using Solver::doEvaluate;
    bool doEvaluate() override {
        ++calls;
        return true;
    }
    void doBeginCalibrate() override { ++calls; }
    void doEndCalibrate() override { ++calls; }
    void doCancelCalibrate() override { ++calls; }
};

TEST(SolverCalibrator, LeavesItsSolverAlone) {
    CountingSolver solver;
    tarn::SolverCalibrator calibrator;
    calibrator.setSolver(&solver);

    calibrator.globalStart();
    calibrator.start();
    calibrator.onBegin().emit();
    calibrator.flushFrame(std::make_shared<tarn::Timeline>());
    calibrator.onEnd().emit();
    calibrator.finish();
    calibrator.cancel();
    calibrator.globalFinish();
    calibrator.globalCancel();

    EXPECT_EQ(solver.calls, 0);
    EXPECT_TRUE(solver.getOutputs().empty());
}

TEST(SolverCalibrator, KeepsEveryNullThatItWasGiven) {
    tarn::Solver solver("", "");
    tarn::SolverCalibrator calibrator;

    calibrator.setSolver(nullptr);
    calibrator.setSolver(nullptr);
    calibrator.setSolver(&solver);

    EXPECT_EQ(calibrator.solver(), &solver);
    EXPECT_THAT(calibrator.children(), ElementsAre(nullptr, nullptr, &solver));
}

} // namespace
