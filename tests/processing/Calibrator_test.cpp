// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn/Calibrator.h>
#include <tarn/DeviceCalibrator.h>
#include <tarn/SolverCalibrator.h>

#include "support/Journal.h"
#include "support/VirtualTable.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <utility>
#include <vector>

namespace {

using tarn::testing::Entries;
using tarn::testing::Journal;

/// Makes the protected operations callable and notes every virtual call.
class RecordingCalibrator : public tarn::Calibrator {
public:
    using Calibrator::addFactor;
    using Calibrator::setCalibratorType;
    using Calibrator::setId;

    Journal journal;
    std::function<void()> onRaw;
    std::shared_ptr<tarn::Timeline> lastRaw;
    std::shared_ptr<tarn::Timeline> last;
    std::shared_ptr<tarn::Tracks> data = std::make_shared<tarn::Tracks>();

protected:
    bool doCheckAvaialbe() override { return noted("available"); }
    bool doCalibrate() override { return noted("start"); }
    void doCancelCalibrate() override { journal.note("cancel"); }
    void doFinishCalibrate() override { journal.note("finish"); }
    void doFlushFrame(std::shared_ptr<tarn::Timeline> timeline) override {
        last = std::move(timeline);
        journal.note("flush");
    }
    void doRawFlushFrame(std::shared_ptr<tarn::Timeline> timeline) override {
        lastRaw = std::move(timeline);
        journal.note("raw");
        if (onRaw) {
            onRaw();
        }
    }
    std::shared_ptr<tarn::Tracks> doGetCalibrationData() override {
        journal.note("get data");
        return data;
    }
    void doSetCalibrationData(std::shared_ptr<tarn::Tracks> given) override {
        data = std::move(given);
        journal.note("set data");
    }
    void doTruncCalibrationData() override { journal.note("trunc data"); }
    void doGlobalStart() override { journal.note("global start"); }
    void doGlobalCancel() override { journal.note("global cancel"); }
    void doGlobalFinish() override { journal.note("global finish"); }

private:
    bool noted(const char* what) {
        journal.note(what);
        return true;
    }
};

TEST(Calibrator, DoesNothingByItself) {
    tarn::Calibrator calibrator;
    const auto take = std::make_shared<tarn::Tracks>();
    const auto timeline = std::make_shared<tarn::Timeline>();

    EXPECT_FALSE(calibrator.isCalibrating());
    EXPECT_EQ(calibrator.currentCalibrateProgress(), 0.0F);
    EXPECT_FALSE(calibrator.isAvailable());
    EXPECT_FALSE(calibrator.start());
    EXPECT_EQ(calibrator.calibrationData(), nullptr);
    EXPECT_EQ(calibrator.id() + calibrator.calibratorType() + calibrator.objectName(), "");
    calibrator.finish();
    calibrator.cancel();
    calibrator.globalStart();
    calibrator.globalFinish();
    calibrator.globalCancel();
    calibrator.truncCalibrationData();
    calibrator.setCalibrationData(take);
    calibrator.onBegin().emit();
    calibrator.flushFrame(timeline);
    EXPECT_EQ(take.use_count(), 1);
    EXPECT_EQ(timeline.use_count(), 1);
    EXPECT_EQ(calibrator.calibrationData(), nullptr);
}

TEST(Calibrator, TurnsEachOperationIntoOneOfTheConcreteCalibrator) {
    RecordingCalibrator calibrator;
    const auto given = std::make_shared<tarn::Tracks>();

    EXPECT_TRUE(calibrator.isAvailable());
    EXPECT_TRUE(calibrator.start());
    calibrator.finish();
    calibrator.cancel();
    calibrator.globalStart();
    calibrator.globalFinish();
    calibrator.globalCancel();
    calibrator.setCalibrationData(given);
    EXPECT_EQ(calibrator.calibrationData(), given);
    calibrator.truncCalibrationData();

    EXPECT_EQ(calibrator.journal.take(),
              (Entries{"available", "start", "finish", "cancel", "global start", "global finish",
                       "global cancel", "set data", "get data", "trunc data"}));
    EXPECT_FALSE(calibrator.isCalibrating());
}

TEST(Calibrator, TakesItsNamesFromItsSubclass) {
    RecordingCalibrator calibrator;

    calibrator.setId("a");
    calibrator.setCalibratorType("b");

    EXPECT_EQ(calibrator.id(), "a");
    EXPECT_EQ(calibrator.calibratorType(), "b");
}

TEST(Calibrator, UsesFramesOnlyBetweenBeginAndEnd) {
    RecordingCalibrator calibrator;
    const auto timeline = std::make_shared<tarn::Timeline>();

    calibrator.flushFrame(timeline);
    EXPECT_EQ(calibrator.journal.take(), Entries{"raw"});
    calibrator.onBegin().emit();
    calibrator.onBegin().emit();
    calibrator.flushFrame(timeline);
    EXPECT_EQ(calibrator.journal.take(), (Entries{"raw", "flush"}));
    EXPECT_EQ(calibrator.lastRaw, timeline);
    EXPECT_EQ(calibrator.last, timeline);
    calibrator.onEnd().emit();
    calibrator.flushFrame(timeline);
    EXPECT_EQ(calibrator.journal.take(), Entries{"raw"});
    calibrator.onEnd().emit();
    EXPECT_FALSE(calibrator.isCalibrating());
}

TEST(Calibrator, DecidesAfterTheRawFrameWhetherThatFrameIsUsed) {
    RecordingCalibrator calibrator;

    calibrator.onRaw = [&] { calibrator.onBegin().emit(); };
    calibrator.flushFrame(std::make_shared<tarn::Timeline>());
    EXPECT_EQ(calibrator.journal.take(), (Entries{"raw", "flush"}));
    calibrator.onRaw = [&] { calibrator.onEnd().emit(); };
    calibrator.flushFrame(std::make_shared<tarn::Timeline>());
    EXPECT_EQ(calibrator.journal.take(), Entries{"raw"});
}

TEST(Calibrator, PassesAFrameOnOnlyIfTheRawFrameDidNotThrow) {
    RecordingCalibrator calibrator;
    calibrator.onBegin().emit();
    calibrator.onRaw = [] { throw std::runtime_error("broken frame"); };

    EXPECT_THROW(calibrator.flushFrame(std::make_shared<tarn::Timeline>()), std::runtime_error);
    EXPECT_EQ(calibrator.journal.take(), Entries{"raw"});
}

TEST(Calibrator, KnowsItsStateBeforeAnySlotOfTheHostRuns) {
    tarn::Calibrator calibrator;
    Entries seen;
    const auto note = [&](const char* what) {
        seen.push_back(std::string(what) + (calibrator.isCalibrating() ? " on " : " off ") +
                       std::to_string(calibrator.currentCalibrateProgress()).substr(0, 4));
    };
    calibrator.onBegin().connect([&] { note("begin"); });
    calibrator.onEnd().connect([&] { note("end"); });
    calibrator.onProgress().connect([&](float /*progress*/) { note("progress"); });

    calibrator.onBegin().emit();
    calibrator.onProgress().emit(0.5F);
    calibrator.onEnd().emit();
    calibrator.onBegin().emit();

    // Progress stays what it was last announced to be.
    EXPECT_EQ(seen,
              (Entries{"begin on 0.00", "progress on 0.50", "end off 0.50", "begin on 0.50"}));
    EXPECT_EQ(calibrator.currentCalibrateProgress(), 0.5F);
}

TEST(Calibrator, OnlyAnnouncesAPreparation) {
    RecordingCalibrator calibrator;
    std::vector<std::pair<int, int>> heard;
    calibrator.onPrepare().connect(
        [&](int first, int second) { heard.emplace_back(first, second); });

    calibrator.prepare(10, 20);

    EXPECT_EQ(heard, (std::vector<std::pair<int, int>>{{10, 20}}));
    EXPECT_EQ(calibrator.journal.take(), Entries{});
    EXPECT_FALSE(calibrator.isCalibrating());
}

TEST(Calibrator, ForgetsItsOwnSlotsWhenAHostDisconnectsThemAll) {
    // Documented by the signals: whoever empties them takes the calibrator's own slots away too.
    tarn::Calibrator calibrator;
    calibrator.onBegin().disconnectAll();

    calibrator.onBegin().emit();

    EXPECT_FALSE(calibrator.isCalibrating());
}

TEST(CalibratorFactors, FollowTheRulesOfASolversFactors) {
    RecordingCalibrator calibrator;
    int value = 1;
    std::vector<int> announced;
    calibrator.onFactorChanged().connect([&](int id) { announced.push_back(id); });
    calibrator.addFactor(2, {}, [&](const std::any& given) { value = std::any_cast<int>(given); });
    EXPECT_TRUE(calibrator.isFactorSettable(2));
    EXPECT_FALSE(calibrator.isFactorQueriable(2));

    calibrator.setFactor(2, 5);
    EXPECT_EQ(value, 5);
    EXPECT_TRUE(announced.empty());
    EXPECT_FALSE(calibrator.queryFactor(2).has_value());

    calibrator.addFactor(2, [&] { return std::any(value); }, {});
    calibrator.setFactor(2, 5);
    EXPECT_EQ(announced, std::vector<int>{2});
    EXPECT_EQ(std::any_cast<int>(calibrator.queryFactor(2)), 5);

    calibrator.setFactor(3, 5);
    EXPECT_FALSE(calibrator.queryFactor(3).has_value());
    EXPECT_EQ(announced.size(), 1U);
}

TEST(CalibratorFactors, MayReplaceThemselvesWhileTheyRun) {
    RecordingCalibrator calibrator;
    const auto held = std::make_shared<int>(3);
    calibrator.addFactor(
        4,
        [&calibrator, held] {
            calibrator.addFactor(4, [] { return std::any(0); }, {});
            return std::any(*held); // still there, though replaced
        },
        [&calibrator, held](const std::any& value) {
            calibrator.addFactor(4, {}, [](const std::any&) {});
            *held = std::any_cast<int>(value);
        });

    calibrator.setFactor(4, 7);

    EXPECT_EQ(std::any_cast<int>(calibrator.queryFactor(4)), 7);
    EXPECT_EQ(std::any_cast<int>(calibrator.queryFactor(4)), 0);
    EXPECT_EQ(held.use_count(), 1);
}

#ifdef TARN_KNOWN_VIRTUAL_TABLE
/// The places of the operations in the table of a calibrator class.
template <class Base>
struct CalibratorTable : Base {
    virtual void next() {}

    static std::vector<std::size_t> places() {
        using Table = CalibratorTable;
        using tarn::testing::tableIndex;
        return {tableIndex(&Table::doCheckAvaialbe),
                tableIndex(&Table::doCalibrate),
                tableIndex(&Table::doCancelCalibrate),
                tableIndex(&Table::doFinishCalibrate),
                tableIndex(&Table::doFlushFrame),
                tableIndex(&Table::doRawFlushFrame),
                tableIndex(&Table::doGetCalibrationData),
                tableIndex(&Table::doSetCalibrationData),
                tableIndex(&Table::doTruncCalibrationData),
                tableIndex(&Table::doGlobalStart),
                tableIndex(&Table::doGlobalCancel),
                tableIndex(&Table::doGlobalFinish),
                tableIndex(&Table::next)};
    }
};

TEST(Calibrator, KeepsItsOperationsInTheOrderThatPlugInsAreBuiltWith) {
    const auto inOrder = testing::ElementsAre(2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14);
    EXPECT_THAT(CalibratorTable<tarn::Calibrator>::places(), inOrder);
    EXPECT_THAT(CalibratorTable<tarn::DeviceCalibrator>::places(), inOrder);
    EXPECT_THAT(CalibratorTable<tarn::SolverCalibrator>::places(), inOrder);
}
#endif

TEST(Calibrator, KeepsItsOwnSlotsWhenAHostDisconnectsTheCalibrator) {
    tarn::Calibrator calibrator;
    int heard = 0;
    calibrator.onBegin().connect(&calibrator, [&] { ++heard; });

    calibrator.onBegin().disconnect(&calibrator);
    calibrator.onBegin().emit();

    EXPECT_EQ(heard, 0);
    EXPECT_TRUE(calibrator.isCalibrating());
}

TEST(Calibrator, PassesAnEmptyPointerOnLikeAnyFrame) {
    RecordingCalibrator calibrator;
    calibrator.last = calibrator.lastRaw = std::make_shared<tarn::Timeline>();
    calibrator.onBegin().emit();

    calibrator.flushFrame(nullptr);

    EXPECT_EQ(calibrator.journal.take(), (Entries{"raw", "flush"}));
    EXPECT_EQ(calibrator.lastRaw, nullptr);
    EXPECT_EQ(calibrator.last, nullptr);
}

int flush(int what) { return what; }

/// A calibrator whose author has a function of the same name as nothing in its base.
class FlushingCalibrator : public tarn::Calibrator {
public:
    static int callsItsOwn() { return flush(7); }
};

TEST(Calibrator, LeavesTheNameFlushToThoseWhoDeriveFromIt) {
    EXPECT_EQ(FlushingCalibrator::callsItsOwn(), 7);
}

} // namespace
