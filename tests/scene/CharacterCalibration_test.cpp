#include <tarn/Character.h>

#include "support/Journal.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>

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

} // namespace
