// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "kit/session/SessionTesting.h"

#include <tarn_kit/devices/Command.h>
#include <tarn_kit/processing/BodyDimensionCalibrator.h>
#include <tarn_kit/session/Performer.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>
#include <type_traits>

namespace tarn::kit {
namespace {

using namespace session_testing;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

static_assert(!std::is_copy_constructible_v<Performer>);

/// A performer on a sled, whose device sends what a script says.
class PerformerOnASled : public ::testing::Test {
protected:
    Performer& perform(std::vector<unsigned> script, int frames) {
        device_ = std::make_unique<ScriptedDevice>(std::move(script));
        return perform(sledSetup(*device_, &solver_, frames));
    }
    Performer& perform(const PerformerSetup& setup) {
        performer_ = std::make_unique<Performer>("1", setup);
        return *performer_;
    }
    ScriptedDevice& device(std::vector<unsigned> script) {
        device_ = std::make_unique<ScriptedDevice>(std::move(script));
        return *device_;
    }
    /// Streams, shows and records, as a host with a loop of its own does.
    void record() {
        performer_->beginRecord();
        performer_->start();
        for (int i = 0; i < performer_->setup().frameCount && !performer_->hasEnded(); ++i) {
            performer_->bring(i);
            performer_->live()->setCurrentTime(i);
        }
        performer_->stop();
        performer_->endRecord();
    }
    std::vector<int> recorded(int dataType) const {
        return shownIn(*performer_->recording(), dataType);
    }
    const PerformerStatistics& statistics() const { return performer_->statistics(); }

    ForwardKinematicsSolver solver_{"sled", sledRig()};
    BodyDimensionCalibrator dimensions_{"body", 3};
    std::unique_ptr<ScriptedDevice> device_;
    std::unique_ptr<Performer> performer_;
};

TEST_F(PerformerOnASled, KeepsARecordingUntilTheNextOneBegins) {
    perform({0, 1, 2, 3}, 4);
    record();
    const auto recording = performer_->recording();
    performer_->start(); // to calibrate once more, say
    performer_->bring(0);
    performer_->live()->setCurrentTime(0);
    performer_->stop();
    performer_->endRecord(); // which nobody began
    EXPECT_EQ(performer_->recording(), recording);
    EXPECT_THAT(recorded(bodyDataType), ElementsAre(0, 1, 2, 3));
    performer_->beginRecord();
    EXPECT_EQ(performer_->recording()->timeLength(), 0);
}

TEST_F(PerformerOnASled, RecordsWhatCameInAndWhatWasPutOut) {
    perform({0, 1, 2, 3}, 4);
    record();
    EXPECT_THAT(recorded(poseDataType), ElementsAre(0, 1, 2, 3));
    EXPECT_THAT(recorded(bodyDataType), ElementsAre(0, 1, 2, 3));
    const auto recording = performer_->recording();
    EXPECT_EQ(recording->fps(), rate);
    EXPECT_EQ(recording->tracksName(), "Ada");
    EXPECT_EQ(recording->getFrame(3, bodyDataType)->dataAs<BodyPose>().segments[0].position.x, 3);
    EXPECT_EQ(statistics().framesExpected, 4);
    EXPECT_EQ(statistics().framesIn, 4);
    EXPECT_EQ(statistics().framesOut, 4);
    EXPECT_EQ(statistics().framesLate, 0);
}

TEST_F(PerformerOnASled, KeepsEveryFrameAtItsIndexWhereOthersWereLost) {
    perform({1, 2, 5}, 8);
    record();
    EXPECT_THAT(recorded(poseDataType), ElementsAre(-1, 1, 2, -1, -1, 5, -1, -1));
    EXPECT_THAT(recorded(bodyDataType), ElementsAre(-1, 1, 2, -1, -1, 5, -1, -1));
    EXPECT_EQ(statistics().framesExpected, 8);
    EXPECT_EQ(statistics().framesIn, 3);
    EXPECT_EQ(statistics().framesOut, 3);
}

TEST_F(PerformerOnASled, PassesOverFramesThatComeTooLate) {
    perform({0, 2, 1, 3, 3}, 4);
    record();
    EXPECT_THAT(recorded(bodyDataType), ElementsAre(0, -1, 2, 3));
    EXPECT_EQ(statistics().framesLate, 1);
    EXPECT_EQ(statistics().framesIn, 3);
}

TEST_F(PerformerOnASled, PassesOverFramesOfOtherDataTypes) {
    ScriptedDevice mixed({0, 1, 2, 3}, [](unsigned index) -> FramePtr {
        if (index == 1) {
            return nullptr;
        }
        return index == 2 ? std::make_shared<Frame>(Time(index, rate), 77, std::any())
                          : poseAt(index);
    });
    perform(sledSetup(mixed, &solver_, 4));
    record();
    EXPECT_THAT(recorded(bodyDataType), ElementsAre(0, -1, -1, 3));
    performer_.reset(); // before the device
}

TEST_F(PerformerOnASled, CountsFromTheFirstFrameThatComesWhereTheDeviceCountsFromAnywhere) {
    PerformerSetup setup = sledSetup(device({4'000'000'000, 4'000'000'002}), &solver_, 3);
    setup.firstFrame.reset();
    perform(setup);
    for (int run = 0; run < 2; ++run) {
        record();
        const auto recording = performer_->recording();
        EXPECT_NE(recording->getFrame(0, bodyDataType), nullptr);
        EXPECT_EQ(recording->getFrame(1, bodyDataType), nullptr);
        EXPECT_NE(recording->getFrame(2, bodyDataType), nullptr);
    }
}

TEST_F(PerformerOnASled, CountsFromAnIndexThatIsGiven) {
    PerformerSetup setup = sledSetup(device({99, 101, 102}), &solver_, 3);
    setup.firstFrame = 100;
    perform(setup);
    record();
    EXPECT_THAT(recorded(bodyDataType), ElementsAre(-1, 101, 102));
    EXPECT_EQ(statistics().framesLate, 1);
}

TEST_F(PerformerOnASled, LosesNothingWhenAnOpenEndedStreamEnds) {
    PerformerSetup setup = sledSetup(device({0, 1, 3}), &solver_, 1'000);
    setup.isOpenEnded = true;
    perform(setup);
    record();
    EXPECT_THAT(recorded(bodyDataType), ElementsAre(0, 1, -1, 3));
    EXPECT_EQ(statistics().framesExpected, 4);
    EXPECT_EQ(statistics().framesIn, 3);
}

TEST_F(PerformerOnASled, DoesNotWaitForADeviceThatIsLost) {
    perform({0, 1}, 4);
    device_->endAs(Device::Lost);
    record();
    EXPECT_THAT(recorded(bodyDataType), ElementsAre(0, 1, -1, -1));
    EXPECT_EQ(statistics().framesExpected, 4);
}

TEST_F(PerformerOnASled, HearsARequestToStopWhileItWaits) {
    perform({}, 4);
    device_->endAs(Device::Busy); // nothing comes, and it never says that nothing will
    performer_->start();
    int asked = 0;
    EXPECT_FALSE(performer_->bring(0, [&] { return ++asked > 3; }));
    EXPECT_GT(asked, 3);
}

TEST_F(PerformerOnASled, DropsWhatIsOnItsWayWhenItIsStopped) {
    perform(upTo(1'000), 1'000); // more than are taken on the way
    performer_->start();
    EXPECT_TRUE(performer_->bring(0));
    performer_->stop();
    EXPECT_THAT(device_->commands(), ElementsAre("start", "stop"));
    EXPECT_TRUE(device_->isReady());
    performer_->start();
    EXPECT_EQ(performer_->live()->getFrame(0, poseDataType), nullptr);
    EXPECT_TRUE(performer_->bring(0));
    EXPECT_TRUE(performer_->bring(1));
}

TEST_F(PerformerOnASled, IsDestroyedWhileItsDeviceWaitsToBeHeard) {
    perform(upTo(1'000), 1'000);
    performer_->start();
    performer_.reset();
    EXPECT_EQ(device_->commands().back(), "stop");
    EXPECT_TRUE(device_->isReady());
}

TEST_F(PerformerOnASled, UndoesItsLinksAndConnectionsWhenItGoes) {
    ScriptedDevice camera({0});
    Performer& performer = perform(sledSetup(camera, &solver_, 1));
    performer.addCalibrator(dimensions_, true);
    const auto live = performer.live();
    EXPECT_THAT(performer.character().calibrators(), ElementsAre(&dimensions_));
    EXPECT_TRUE(performer.character().isCalibratorRequired(&dimensions_));
    EXPECT_THAT(performer.character().devices(), ElementsAre(&camera));
    EXPECT_EQ(performer.character().solver(), &solver_);
    EXPECT_EQ(performer.character().actor()->actorName(), "Ada");
    performer_.reset();
    EXPECT_THAT(camera.parents(), IsEmpty());
    EXPECT_THAT(solver_.parents(), IsEmpty());
    EXPECT_THAT(dimensions_.parents(), IsEmpty());
    live->setCurrentTime(0);
    camera.oFramePort(port).emit(poseAt(0));
    camera.setState(Device::Lost);
}

TEST_F(PerformerOnASled, TellsEveryFrameThatIsPutOut) {
    perform({0, 2}, 3);
    std::vector<unsigned> heard;
    performer_->onSolved().connect(
        [&](const FramePtr& frame) { heard.push_back(frame->time().frameIndex()); });
    record();
    EXPECT_THAT(heard, ElementsAre(0, 2));
}

TEST_F(PerformerOnASled, CountsAndKeepsWhatOneRecordingHad) {
    perform({0, 2, 3}, 4);
    performer_->start(); // not recorded
    for (int i = 0; i < 4; ++i) {
        performer_->bring(i);
        performer_->live()->setCurrentTime(i);
    }
    performer_->stop();
    EXPECT_EQ(statistics().framesExpected, 0);
    EXPECT_EQ(performer_->recording()->timeLength(), 0);
    for (int run = 0; run < 2; ++run) {
        record();
        EXPECT_EQ(statistics().framesExpected, 4);
        EXPECT_EQ(statistics().framesIn, 3);
        EXPECT_EQ(statistics().framesOut, 3);
        EXPECT_THAT(recorded(bodyDataType), ElementsAre(0, -1, 2, 3));
    }
    performer_->live()->setCurrentTime(2); // looked at again: solved, but not counted
    EXPECT_EQ(statistics().framesOut, 3);
}

TEST_F(PerformerOnASled, MeasuresEachStageOnItsOwn) {
    perform({0, 1}, 2);
    EXPECT_EQ(statistics().waiting + statistics().solving + statistics().recording, 0);
    performer_->start();
    performer_->bring(0);
    EXPECT_GT(statistics().waiting, 0);
    EXPECT_EQ(statistics().solving + statistics().recording, 0);
    performer_->live()->setCurrentTime(0);
    EXPECT_GT(statistics().solving, 0);
    EXPECT_GT(statistics().recording, 0);
}

TEST_F(PerformerOnASled, GivesARecordingOfItsOwn) {
    perform({0, 1}, 2);
    record();
    const auto recording = performer_->recording();
    recording->setFrame(0, bodyDataType, nullptr);
    record();
    EXPECT_THAT(shownIn(*recording, bodyDataType), ElementsAre(-1, 1));
    EXPECT_THAT(recorded(bodyDataType), ElementsAre(0, 1));
}

TEST_F(PerformerOnASled, ShowsAndRecordsUnsolvedWithoutASolver) {
    perform(sledSetup(device({0, 1}), nullptr, 2));
    record();
    EXPECT_THAT(recorded(poseDataType), ElementsAre(0, 1));
    EXPECT_EQ(statistics().framesOut, 0);
}

TEST_F(PerformerOnASled, RefusesToCalibrateWithoutASolver) {
    perform(sledSetup(device({0}), nullptr, 1));
    int begun = 0;
    performer_->character().onWillCalibrate().connect([&] { ++begun; });
    try {
        performer_->beginCalibrate();
        FAIL() << "calibrates";
    } catch (const std::logic_error& error) {
        EXPECT_STREQ(error.what(), "performer 'Ada' has no solver: there is nothing to calibrate");
    }
    EXPECT_EQ(begun, 0);
    EXPECT_FALSE(performer_->character().isCalibrating());
}

TEST_F(PerformerOnASled, HasSolvedAFrameWhenACalibratorHearsOfIt) {
    perform({0, 1, 2, 3}, 4);
    dimensions_.setSolver(&solver_);
    performer_->addCalibrator(dimensions_, true);
    performer_->beginCalibrate();
    record();
    performer_->endCalibrate();
    EXPECT_EQ(dimensions_.collectedFrames(), 3);
}

TEST_F(PerformerOnASled, SaysWhatIsWrongWithASetup) {
    const auto expectRefused = [](const PerformerSetup& setup, const char* reason) {
        try {
            const Performer performer("1", setup);
            FAIL() << "accepts what " << reason;
        } catch (const std::invalid_argument& error) {
            EXPECT_THAT(error.what(), HasSubstr(reason));
        }
    };
    PerformerSetup setup = sledSetup(device({}), &solver_, 1);
    setup.device = nullptr;
    expectRefused(setup, "'Ada' has no device");
    setup = sledSetup(*device_, &solver_, 1);
    setup.rate = 0;
    expectRefused(setup, "'Ada' has no frame rate");
    setup = sledSetup(*device_, &solver_, -1);
    expectRefused(setup, "'Ada' has fewer than 0 frames");
    setup = sledSetup(*device_, &solver_, 1);
    setup.outputType = setup.inputType;
    expectRefused(setup, "'Ada' has one data type for what goes in and what comes out");
}

TEST_F(PerformerOnASled, PassesOnWhatADeviceSaysThatRefuses) {
    perform({0}, 1);
    device_->refuse("start");
    try {
        performer_->start();
        FAIL() << "starts";
    } catch (const CommandError& error) {
        EXPECT_STREQ(error.what(), "the lens cap is on");
    }
}

TEST(PerformerWithATakeOfNoFrames, HasNothingToShow) {
    ScriptedDevice device({});
    Performer performer("1", sledSetup(device, nullptr, 0));
    performer.beginRecord();
    performer.start();
    EXPECT_FALSE(performer.bring(0));
    performer.stop();
    EXPECT_EQ(performer.recording()->timeLength(), 0);
    EXPECT_EQ(performer.statistics().framesExpected, 0);
}

/// A device that streams whenever it likes and takes no commands.
class Thermometer : public Device {
public:
    Thermometer() : Device("thermometer", "1") { addOFramePort(port); }
    void send(unsigned index, float celsius) {
        oFramePort(port).emit(std::make_shared<Frame>(Time(index, rate), 100, celsius));
    }
};

/// Puts out the mean of each value and the one before it, at the time of the latter.
class Smoother : public Solver {
public:
    Smoother() : Solver("smoother", "1") {}

protected:
    using Solver::doEvaluate;
    bool doEvaluate() override {
        const FramePtr frame = getInput(100)->getFrame(0);
        if (last_ != nullptr) {
            const float mean = (last_->dataAs<float>() + frame->dataAs<float>()) / 2;
            addOutput(std::make_shared<Frame>(last_->time(), 101, mean));
        }
        last_ = frame;
        return true;
    }

private:
    FramePtr last_;
};

TEST(PerformerWithAHostsOwnPayload, TakesAnyDeviceAndAnySolverAlsoOneThatIsBehind) {
    Thermometer device;
    Smoother solver;
    PerformerSetup setup = sledSetup(device, &solver, 3);
    setup.inputType = 100;
    setup.outputType = 101;
    Performer performer("1", setup);
    performer.beginRecord();
    performer.start();
    for (int i = 0; i < 3; ++i) {
        device.send(static_cast<unsigned>(i), 36 + static_cast<float>(i));
        EXPECT_TRUE(performer.bring(i));
        performer.live()->setCurrentTime(i);
    }
    performer.stop();
    const auto recording = performer.recording();
    EXPECT_EQ(recording->getFrame(2, 100)->dataAs<float>(), 38);
    EXPECT_EQ(recording->getFrame(0, 101)->dataAs<float>(), 36.5F);
    EXPECT_EQ(recording->getFrame(1, 101)->dataAs<float>(), 37.5F);
    EXPECT_EQ(recording->getFrame(2, 101), nullptr);
    EXPECT_EQ(performer.statistics().framesOut, 2);
}

} // namespace
} // namespace tarn::kit
