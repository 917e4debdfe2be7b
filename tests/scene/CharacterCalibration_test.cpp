// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn/Character.h>

#include "support/Journal.h"

#include <gtest/gtest.h>

#include <functional>
#include <iostream>
#include <list>
#include <memory>
#include <string>
#include <utility>

namespace {

using tarn::testing::Entries;
using tarn::testing::Journal;

/// Notes entries that say whether the character was calibrating at that moment.
struct CalibrationRun : Journal {
    tarn::Character character{"c", "Ada"};

    void noteNow(const std::string& what) {
        note(what + (character.isCalibrating() ? " (calibrating)" : ""));
    }
};

class RunSolver : public tarn::Solver {
public:
    explicit RunSolver(CalibrationRun& run) : Solver("", ""), run_(run) {
        onWillCalibrate().connect([this] { run_.noteNow("solver will"); });
        onCalibrateFinished().connect([this] { run_.noteNow("solver finished"); });
        onCalibrateCanceled().connect([this] { run_.noteNow("solver canceled"); });
    }

protected:
    void doBeginCalibrate() override { run_.noteNow("solver begin"); }
    void doEndCalibrate() override { run_.noteNow("solver end"); }
    void doCancelCalibrate() override { run_.noteNow("solver cancel"); }

private:
    CalibrationRun& run_;
};

class RunCalibrator : public tarn::Calibrator {
public:
    RunCalibrator(CalibrationRun& run, std::string name) : run_(run), name_(std::move(name)) {}

    std::shared_ptr<tarn::Timeline> last;
    std::function<void()> onFlush;

protected:
    void doGlobalStart() override { run_.noteNow(name_ + " start"); }
    void doGlobalFinish() override { run_.noteNow(name_ + " finish"); }
    void doGlobalCancel() override { run_.noteNow(name_ + " cancel"); }
    void doRawFlushFrame(std::shared_ptr<tarn::Timeline> timeline) override {
        run_.noteNow(name_ + " frame");
        last = std::move(timeline);
        if (onFlush) {
            onFlush();
        }
    }

private:
    CalibrationRun& run_;
    std::string name_;
};

class CharacterCalibration : public ::testing::Test {
protected:
    CharacterCalibration() {
        character.setSolver(&solver);
        character.addCalibrator(&first, true);
        character.addCalibrator(&second, false);
        character.setTracks(take);
        character.onWillCalibrate().connect([this] { run.noteNow("will"); });
        character.onCalibrateFinished().connect([this] { run.noteNow("finished"); });
        character.onCalibrateCanceled().connect([this] { run.noteNow("canceled"); });
    }
    ~CharacterCalibration() override { character.setTracks(nullptr); }

    void move() { take->setCurrentTime(take->currentTime() + 1); }

    CalibrationRun run;
    tarn::Character& character = run.character;
    RunSolver solver{run};
    RunCalibrator first{run, "first"};
    RunCalibrator second{run, "second"};
    std::shared_ptr<tarn::Tracks> take = std::make_shared<tarn::Tracks>();
};

TEST_F(CharacterCalibration, RunsFromBeginToEndInOrder) {
    move();
    EXPECT_EQ(run.take(), Entries{});

    character.beginCalibrate();
    EXPECT_EQ(run.take(),
              (Entries{"will", "solver will", "solver begin", "first start", "second start"}));
    EXPECT_TRUE(character.isCalibrating());

    move();
    EXPECT_EQ(run.take(), (Entries{"first frame (calibrating)", "second frame (calibrating)"}));
    EXPECT_EQ(first.last, second.last);

    character.endCalibrate();
    EXPECT_EQ(run.take(), (Entries{"first finish (calibrating)", "second finish (calibrating)",
                                   "solver end (calibrating)", "solver finished (calibrating)",
                                   "finished (calibrating)"}));
    EXPECT_FALSE(character.isCalibrating());
    move();
    EXPECT_EQ(run.take(), Entries{});
}

TEST_F(CharacterCalibration, IsCanceledInOrder) {
    character.beginCalibrate();
    run.take();

    character.cancelCalibrate();

    EXPECT_EQ(run.take(), (Entries{"first cancel (calibrating)", "second cancel (calibrating)",
                                   "solver cancel (calibrating)", "solver canceled (calibrating)",
                                   "canceled (calibrating)"}));
    EXPECT_FALSE(character.isCalibrating());
    move();
    EXPECT_EQ(run.take(), Entries{});
}

TEST_F(CharacterCalibration, BegunTwiceFeedsTwiceUntilOneEnd) {
    character.beginCalibrate();
    character.beginCalibrate();
    run.take();

    move();
    EXPECT_EQ(run.take().size(), 4U);
    character.endCalibrate();
    run.take();
    move();
    EXPECT_EQ(run.take(), Entries{});
}

TEST_F(CharacterCalibration, EndedWithoutABeginStillTellsEveryone) {
    character.endCalibrate();
    EXPECT_EQ(run.take(), (Entries{"first finish", "second finish", "solver end", "solver finished",
                                   "finished"}));
    character.cancelCalibrate();
    EXPECT_EQ(run.take(), (Entries{"first cancel", "second cancel", "solver cancel",
                                   "solver canceled", "canceled"}));
}

TEST_F(CharacterCalibration, TakesItsCalibratorsAnewForEachFrame) {
    character.beginCalibrate();
    run.take();
    RunCalibrator third(run, "third");
    character.removeCalibrator(&first);
    character.addCalibrator(&third, false);

    move();

    EXPECT_EQ(run.take(), (Entries{"second frame (calibrating)", "third frame (calibrating)"}));
    character.removeCalibrator(&third);
}

TEST_F(CharacterCalibration, LetsASlotOfTheFrameEndIt) {
    // Connected before the run begins, so it hears each frame before the calibrators do.
    character.onFrame().connect([this](const std::shared_ptr<tarn::Timeline>&) {
        if (character.isCalibrating()) {
            character.endCalibrate();
        }
    });
    character.beginCalibrate();
    run.take();

    move();

    EXPECT_EQ(run.take().back(), "finished (calibrating)");
    EXPECT_FALSE(character.isCalibrating());
    EXPECT_EQ(first.last, nullptr);
}

TEST_F(CharacterCalibration, LetsACalibratorEndItWhileItIsFed) {
    character.beginCalibrate();
    run.take();
    first.onFlush = [this] { character.endCalibrate(); };

    move();

    // The list of this frame was taken before: the second calibrator still gets it.
    EXPECT_EQ(run.take().back(), "second frame");
    move();
    EXPECT_EQ(run.take(), Entries{});
}

TEST_F(CharacterCalibration, LetsACalibratorTakeItselfAwayWhileItIsFed) {
    character.beginCalibrate();
    run.take();
    first.onFlush = [this] { character.removeCalibrator(&first); };

    move();
    EXPECT_EQ(run.take(), (Entries{"first frame (calibrating)", "second frame (calibrating)"}));
    move();
    EXPECT_EQ(run.take(), Entries{"second frame (calibrating)"});
}

TEST_F(CharacterCalibration, LetsASlotOfTheFrameTakeTheTakeAway) {
    std::weak_ptr<tarn::Tracks> watched = take;
    character.onFrame().connect(
        [this](const std::shared_ptr<tarn::Timeline>&) { character.setTracks(nullptr); });

    move();
    EXPECT_EQ(character.tracks(), nullptr);
    move();
    take.reset();
    EXPECT_TRUE(watched.expired());
}

TEST_F(CharacterCalibration, DoesNotForgetSlotsOfTheHost) {
    int hostFrames = 0;
    character.onFrame().connect([&](const std::shared_ptr<tarn::Timeline>&) { ++hostFrames; });
    int bound = 0;
    character.onFrame().connect(&character,
                                [&](const std::shared_ptr<tarn::Timeline>&) { ++bound; });

    character.beginCalibrate();
    character.endCalibrate();
    move();

    EXPECT_EQ(hostFrames, 1);
    EXPECT_EQ(bound, 0); // slots bound to the character itself go with the run
}

/// Moves the take in each of its steps, so that being fed tells when the feed is connected.
class MovingCalibrator : public tarn::Calibrator {
public:
    MovingCalibrator(CalibrationRun& run, tarn::Tracks& moved) : run_(run), moved_(moved) {}

protected:
    void doGlobalStart() override { step("start"); }
    void doGlobalFinish() override { step("finish"); }
    void doGlobalCancel() override { step("cancel"); }
    void doRawFlushFrame(std::shared_ptr<tarn::Timeline> /*timeline*/) override {
        run_.note("fed");
    }

private:
    void step(const char* what) {
        run_.note(what);
        moved_.setCurrentTime(0);
    }

    CalibrationRun& run_;
    tarn::Tracks& moved_;
};

/// Takes itself away when the run ends.
class LeavingCalibrator : public tarn::Calibrator {
public:
    explicit LeavingCalibrator(tarn::Character& owner) : owner_(owner) {}

protected:
    void doGlobalFinish() override { owner_.removeCalibrator(this); }
    void doGlobalCancel() override { owner_.removeCalibrator(this); }

private:
    tarn::Character& owner_;
};

using CharacterFeed = CharacterCalibration;

TEST_F(CharacterFeed, IsThereFromAfterTheLastStartUntilAfterTheLastFinish) {
    MovingCalibrator moving(run, *take);
    character.removeCalibrator(&first);
    character.removeCalibrator(&second);
    character.addCalibrator(&moving, false);
    const auto moves = [this] { move(); };
    character.onWillCalibrate().connect(moves);
    solver.onWillCalibrate().connect(moves);
    solver.onCalibrateFinished().connect(moves);
    solver.onCalibrateCanceled().connect(moves);
    character.onCalibrateFinished().connect(moves);
    character.onCalibrateCanceled().connect(moves);

    character.beginCalibrate();
    EXPECT_EQ(run.take(), (Entries{"will", "solver will", "solver begin", "start"}));
    character.endCalibrate();
    EXPECT_EQ(run.take(), (Entries{"finish", "fed", "solver end (calibrating)",
                                   "solver finished (calibrating)", "finished (calibrating)"}));
    character.beginCalibrate();
    run.take();
    character.cancelCalibrate();
    EXPECT_EQ(run.take(), (Entries{"cancel", "fed", "solver cancel (calibrating)",
                                   "solver canceled (calibrating)", "canceled (calibrating)"}));
    character.removeCalibrator(&moving);
}

TEST_F(CharacterFeed, BegunAgainIsCalibratingAllTheWayUntilOneCancel) {
    character.beginCalibrate();
    run.take();

    character.beginCalibrate();
    EXPECT_EQ(run.take(), (Entries{"will (calibrating)", "solver will (calibrating)",
                                   "solver begin (calibrating)", "first start (calibrating)",
                                   "second start (calibrating)"}));
    move();
    EXPECT_EQ(run.take(), (Entries{"first frame (calibrating)", "second frame (calibrating)",
                                   "first frame (calibrating)", "second frame (calibrating)"}));
    character.cancelCalibrate();
    run.take();
    EXPECT_FALSE(character.isCalibrating());
    move();
    EXPECT_EQ(run.take(), Entries{});
}

TEST_F(CharacterFeed, LeavesTheSolverToBeTheOneOfThatMoment) {
    tarn::Solver other("", "");
    other.onCalibrateFinished().connect([this] { run.noteNow("other finished"); });
    character.beginCalibrate();
    run.take();

    character.setSolver(&other);
    character.endCalibrate();
    EXPECT_EQ(run.take(), (Entries{"first finish (calibrating)", "second finish (calibrating)",
                                   "other finished (calibrating)", "finished (calibrating)"}));

    character.onWillCalibrate().connect([this] { character.setSolver(&solver); });
    character.beginCalibrate();
    EXPECT_EQ(run.take(),
              (Entries{"will", "solver will", "solver begin", "first start", "second start"}));
}

TEST_F(CharacterFeed, LetsASlotOfTheFrameChangeWhoGetsThatFrame) {
    RunCalibrator third(run, "third");
    const auto disconnect =
        character.onFrame().connect([&](const std::shared_ptr<tarn::Timeline>&) {
            character.removeCalibrator(&first);
            character.addCalibrator(&third, false);
        });
    character.beginCalibrate();
    run.take();

    move(); // the slot hears the frame before the calibrators get it
    EXPECT_EQ(run.take(), (Entries{"second frame (calibrating)", "third frame (calibrating)"}));
    disconnect();
    character.removeCalibrator(&third);
}

TEST_F(CharacterFeed, ServesEachFrameToThoseWhoWereThereWhenItCame) {
    RunCalibrator third(run, "third");
    character.beginCalibrate();
    run.take();
    first.onFlush = [&] {
        character.removeCalibrator(&second);
        character.addCalibrator(&third, false);
    };

    move();
    first.onFlush = nullptr;
    EXPECT_EQ(run.take(), (Entries{"first frame (calibrating)", "second frame (calibrating)"}));
    move();
    EXPECT_EQ(run.take(), (Entries{"first frame (calibrating)", "third frame (calibrating)"}));
    character.removeCalibrator(&third);
}

TEST_F(CharacterFeed, BegunByTheLastSlotOfTheFrameStartsWithTheNextOne) {
    character.onFrame().connect([this](const std::shared_ptr<tarn::Timeline>&) {
        if (!character.isCalibrating()) {
            character.beginCalibrate();
        }
    });

    move();
    EXPECT_EQ(run.take().back(), "second start");
    move();
    EXPECT_EQ(run.take(), (Entries{"first frame (calibrating)", "second frame (calibrating)"}));
}

TEST_F(CharacterFeed, BegunByAnEarlierSlotOfTheFrameStartsWithThatFrame) {
    character.onFrame().connect(
        [this](const std::shared_ptr<tarn::Timeline>&) { character.beginCalibrate(); });
    character.onFrame().connect([](const std::shared_ptr<tarn::Timeline>&) {});

    move();
    EXPECT_EQ(run.take().back(), "second frame (calibrating)");
}

TEST_F(CharacterFeed, ServesTheFrameInWhoseAnnouncementTheTakeIsTakenAway) {
    int heard = 0;
    character.onFrame().connect([&](const std::shared_ptr<tarn::Timeline>&) {
        ++heard;
        character.setTracks(nullptr);
    });
    character.beginCalibrate();
    run.take();

    move();
    EXPECT_EQ(run.take(), (Entries{"first frame (calibrating)", "second frame (calibrating)"}));
    EXPECT_TRUE(character.isCalibrating());
    move();
    EXPECT_EQ(heard, 1);
    EXPECT_EQ(run.take(), Entries{});
}

TEST_F(CharacterFeed, ServesWhateverIsAnnouncedAsAFrame) {
    character.setTracks(nullptr);
    character.beginCalibrate();
    const auto timeline = std::make_shared<tarn::Timeline>();

    character.onFrame().emit(timeline);
    EXPECT_EQ(first.last, timeline);
    EXPECT_EQ(second.last, timeline);
    character.onFrame().emit(nullptr);
    EXPECT_EQ(first.last, nullptr);
}

TEST_F(CharacterFeed, ServesAnyNumberOfCalibrators) {
    std::list<RunCalibrator> more;
    for (int i = 0; i < 40; ++i) {
        more.emplace_back(run, "more");
        character.addCalibrator(&more.back(), false);
    }
    character.beginCalibrate();
    run.take();

    move();
    EXPECT_EQ(run.take().size(), 42U);
    for (RunCalibrator& each : more) {
        EXPECT_NE(each.last, nullptr);
        character.removeCalibrator(&each);
    }
}

TEST_F(CharacterFeed, PassesOverANullCalibratorAndServesOneThatWasAddedTwiceTwice) {
    character.addCalibrator(nullptr, true);
    character.addCalibrator(&first, true);

    character.beginCalibrate();
    EXPECT_EQ(run.take(), (Entries{"will", "solver will", "solver begin", "first start",
                                   "second start", "first start"}));
    move();
    EXPECT_EQ(run.take(), (Entries{"first frame (calibrating)", "second frame (calibrating)",
                                   "first frame (calibrating)"}));
}

TEST_F(CharacterFeed, LetsACalibratorTakeItselfAwayAtTheEnd) {
    LeavingCalibrator leaving(character);
    character.removeCalibrator(&second);
    character.addCalibrator(&leaving, false);
    character.addCalibrator(&second, false);
    character.beginCalibrate();
    run.take();

    character.endCalibrate();
    EXPECT_EQ(run.take(), (Entries{"first finish (calibrating)", "second finish (calibrating)",
                                   "solver end (calibrating)", "solver finished (calibrating)",
                                   "finished (calibrating)"}));
    EXPECT_EQ(character.calibrators(), (std::list<tarn::Calibrator*>{&first, &second}));
}

TEST_F(CharacterCalibration, TakesTheSolverOfTheMomentItNeedsIt) {
    character.setSolver(nullptr);
    character.onWillCalibrate().connect([this] { character.setSolver(&solver); });
    character.beginCalibrate();
    EXPECT_EQ(run.take(),
              (Entries{"will", "solver will", "solver begin", "first start", "second start"}));
}

#ifndef NDEBUG

using CharacterCalibrationDeathTest = CharacterCalibration;

TEST_F(CharacterCalibrationDeathTest, AMissingSolverIsCaughtWhenItIsNeeded) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    character.setSolver(nullptr);
    character.onWillCalibrate().connect([] { std::cerr << "will\n"; });
    EXPECT_DEATH(character.beginCalibrate(), "will\n(.|\n)*solver != nullptr");
    EXPECT_DEATH(character.endCalibrate(), "solver != nullptr");
    EXPECT_DEATH(character.cancelCalibrate(), "solver != nullptr");
}

#endif

} // namespace
