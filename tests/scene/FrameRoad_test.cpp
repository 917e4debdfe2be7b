// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn/tarn.h>

#include "support/Journal.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>

// What one frame meets on its way from the take through the characters to calibrators and solver,
// and everything that is announced on that way.

namespace {

using tarn::testing::Entries;
using tarn::testing::Journal;

constexpr int sensorType = 3;
constexpr int motionType = 8;

/// Makes of each sensor frame a motion frame whose payload is greater by 100.
class RoadSolver : public tarn::Solver {
public:
    explicit RoadSolver(Journal& journal) : Solver("adding", "solver"), journal_(journal) {
        onWillCalibrate().connect([this] { journal_.note("solver onWillCalibrate"); });
        onCalibrateFinished().connect([this] { journal_.note("solver onCalibrateFinished"); });
        onCalibrateCanceled().connect([this] { journal_.note("solver onCalibrateCanceled"); });
    }

protected:
    using Solver::doEvaluate;
    bool doEvaluate() override {
        const auto inputs = getInput(sensorType);
        const auto frame = inputs->getFrame(inputs->frameCount() - 1);
        journal_.note("doEvaluate " + std::to_string(frame->dataAs<int>()));
        addOutput(
            std::make_shared<tarn::Frame>(frame->time(), motionType, frame->dataAs<int>() + 100));
        return true;
    }
    void doBeginCalibrate() override { journal_.note("doBeginCalibrate"); }
    void doEndCalibrate() override { journal_.note("doEndCalibrate"); }
    void doCancelCalibrate() override { journal_.note("doCancelCalibrate"); }

private:
    Journal& journal_;
};

/// A calibrator of a device or a solver that uses frames from its global start to its global end.
template <class Base>
class RoadCalibrator : public Base {
public:
    RoadCalibrator(Journal& journal, std::string name) : journal_(journal), name_(std::move(name)) {
        this->onBegin().connect([this] { note("onBegin"); });
        this->onEnd().connect([this] { note("onEnd"); });
        this->onProgress().connect(
            [this](float part) { note("onProgress " + std::to_string(part).substr(0, 3)); });
    }

protected:
    void doGlobalStart() override {
        note("doGlobalStart");
        this->onBegin().emit();
    }
    void doGlobalFinish() override {
        note("doGlobalFinish");
        this->onEnd().emit();
    }
    void doGlobalCancel() override {
        note("doGlobalCancel");
        this->onEnd().emit();
    }
    void doRawFlushFrame(std::shared_ptr<tarn::Timeline> timeline) override {
        note("doRawFlushFrame " + std::to_string(timeline->frame(sensorType)->dataAs<int>()));
    }
    void doFlushFrame(std::shared_ptr<tarn::Timeline> timeline) override {
        note("doFlushFrame " + std::to_string(timeline->frame(sensorType)->dataAs<int>()));
        this->onProgress().emit(0.5F);
    }

private:
    void note(const std::string& what) { journal_.note(name_ + " " + what); }

    Journal& journal_;
    std::string name_;
};

class FrameRoad : public ::testing::Test {
protected:
    FrameRoad() {
        character.setSolver(&solver);
        deviceCalibrator.setDevice(&device);
        solverCalibrator.setSolver(&solver);
        character.addDevice(&device);
        character.addCalibrator(&deviceCalibrator, true);
        character.addCalibrator(&solverCalibrator, true);
        scene.addCharacter(&character);
        take->setFps(60);
        take->setTimeLength(4);
        nested->setTimeLength(3);
        take->addSubTracks(nested, -1);
        character.setTracks(take);
        listen();
    }
    ~FrameRoad() override {
        character.setTracks(nullptr);
        scene.removeCharacter(&character);
    }

    /// The host: it writes down what it hears and feeds the solver.
    void listen() {
        take->onCurrentTimeChanged().connect(
            [this](int t) { journal.note("take onCurrentTimeChanged " + std::to_string(t)); });
        nested->onCurrentTimeChanged().connect(
            [this](int t) { journal.note("nested onCurrentTimeChanged " + std::to_string(t)); });
        character.onWillCalibrate().connect([this] { journal.note("character onWillCalibrate"); });
        character.onCalibrateFinished().connect(
            [this] { journal.note("character onCalibrateFinished"); });
        character.onCalibrateCanceled().connect(
            [this] { journal.note("character onCalibrateCanceled"); });
        character.onFrame().connect([this](const std::shared_ptr<tarn::Timeline>& timeline) {
            const auto frame = timeline->frame(sensorType);
            journal.note("character onFrame " + std::to_string(frame->dataAs<int>()));
            solver.addInput(frame);
            journal.note(solver.evaluate() ? "evaluated" : "not evaluated");
        });
    }

    /// The device delivers a frame, and the host shows it.
    void arrive(int index, int payload) {
        const tarn::Time time(static_cast<unsigned>(index), 60);
        take->setFrame(index, sensorType, std::make_shared<tarn::Frame>(time, sensorType, payload));
        take->setCurrentTime(index);
    }

    int lastMotion() {
        const auto motion = solver.getOutput(motionType);
        return motion->getFrame(motion->frameCount() - 1)->dataAs<int>();
    }

    Journal journal;
    tarn::Device device{"suit", "left"};
    RoadSolver solver{journal};
    RoadCalibrator<tarn::DeviceCalibrator> deviceCalibrator{journal, "clock"};
    RoadCalibrator<tarn::SolverCalibrator> solverCalibrator{journal, "body"};
    tarn::Character character{"1", "Ada"};
    tarn::Scene scene;
    std::shared_ptr<tarn::Tracks> take = std::make_shared<tarn::Tracks>();
    std::shared_ptr<tarn::Tracks> nested = std::make_shared<tarn::Tracks>();
};

TEST_F(FrameRoad, LeadsFromTheTakeToTheHostAndItsSolver) {
    arrive(0, 5);

    // The character was told before the host, since it was connected first; the nested take is not
    // moved to index -1 + 0 by anything but its own rule, which knows an upper bound only.
    EXPECT_EQ(journal.take(),
              (Entries{"character onFrame 5", "doEvaluate 5", "evaluated",
                       "take onCurrentTimeChanged 0", "nested onCurrentTimeChanged -1"}));
    EXPECT_EQ(lastMotion(), 105);
}

TEST_F(FrameRoad, PassesEveryCalibratorWhileTheCharacterCalibrates) {
    arrive(0, 5);
    journal.take();

    character.beginCalibrate();
    EXPECT_EQ(journal.take(), (Entries{"character onWillCalibrate", "solver onWillCalibrate",
                                       "doBeginCalibrate", "clock doGlobalStart", "clock onBegin",
                                       "body doGlobalStart", "body onBegin"}));

    arrive(1, 6);
    EXPECT_EQ(journal.take(),
              (Entries{"character onFrame 6", "doEvaluate 6", "evaluated",
                       "clock doRawFlushFrame 6", "clock doFlushFrame 6", "clock onProgress 0.5",
                       "body doRawFlushFrame 6", "body doFlushFrame 6", "body onProgress 0.5",
                       "take onCurrentTimeChanged 1", "nested onCurrentTimeChanged 0"}));
    EXPECT_EQ(lastMotion(), 106);

    character.endCalibrate();
    EXPECT_EQ(journal.take(), (Entries{"clock doGlobalFinish", "clock onEnd", "body doGlobalFinish",
                                       "body onEnd", "doEndCalibrate", "solver onCalibrateFinished",
                                       "character onCalibrateFinished"}));

    arrive(2, 7);
    EXPECT_EQ(journal.take(),
              (Entries{"character onFrame 7", "doEvaluate 7", "evaluated",
                       "take onCurrentTimeChanged 2", "nested onCurrentTimeChanged 1"}));
}

TEST_F(FrameRoad, PassesACalibratorThatHasItsFramesUnusedUntilTheCharacterEnds) {
    character.beginCalibrate();
    solverCalibrator.onEnd().emit();
    journal.take();

    arrive(3, 9);
    EXPECT_EQ(
        journal.take(),
        (Entries{"character onFrame 9", "doEvaluate 9", "evaluated", "clock doRawFlushFrame 9",
                 "clock doFlushFrame 9", "clock onProgress 0.5", "body doRawFlushFrame 9",
                 "take onCurrentTimeChanged 3", "nested onCurrentTimeChanged 2"}));

    character.cancelCalibrate();
    EXPECT_EQ(journal.take(),
              (Entries{"clock doGlobalCancel", "clock onEnd", "body doGlobalCancel", "body onEnd",
                       "doCancelCalibrate", "solver onCalibrateCanceled",
                       "character onCalibrateCanceled"}));
}

TEST_F(FrameRoad, IsTakenAgainWhenAnUpdateCoversTheCurrentTime) {
    arrive(1, 6);
    journal.take();

    take->beginUpdateTracks(0, 2);
    take->setFrame(1, sensorType, std::make_shared<tarn::Frame>(tarn::Time(1, 60), sensorType, 16));
    take->endUpdateTracks();

    EXPECT_EQ(journal.take(), (Entries{"character onFrame 16", "doEvaluate 16", "evaluated",
                                       "take onCurrentTimeChanged 1"}));
    EXPECT_EQ(lastMotion(), 116);
}

} // namespace
