// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

// The scene of a live capture: a device's thread brings frames, the host's thread moves the take,
// another one shows how things are.
#include "support/Polling.h"

#include <tarn/Actor.h>
#include <tarn/Character.h>
#include <tarn/Scene.h>

#include <gtest/gtest.h>

#include <memory>
#include <mutex>
#include <string>

using tarn::Actor;
using tarn::Character;
using tarn::Frame;
using tarn::Scene;
using tarn::Settings;
using tarn::Time;
using tarn::Timeline;
using tarn::Tracks;
using tarn::testing::whilePolling;

namespace {

constexpr int length = 100;

/// Reports how many frames it was given.
class CountingCalibrator : public tarn::Calibrator {
protected:
    void doGlobalStart() override { onBegin().emit(); }
    void doFlushFrame(std::shared_ptr<Timeline> /*timeline*/) override {
        ++frames_;
        onProgress().emit(static_cast<float>(frames_) / length);
    }
    void doGlobalFinish() override { onEnd().emit(); }

private:
    int frames_ = 0;
};

class SceneThreads : public testing::Test {
protected:
    SceneThreads() {
        scene.addCharacter(&ada);
        ada.setActor(&actor);
        ada.setSolver(&solver);
        ada.addCalibrator(&calibrator, true);
        take->setTimeLength(length);
        ada.setTracks(take);
    }
    ~SceneThreads() override { ada.setTracks(nullptr); }

    void play() {
        for (int i = 0; i < length; ++i) {
            const std::lock_guard<std::mutex> lock(host);
            take->setFrame(i, 1, std::make_shared<Frame>(Time(static_cast<unsigned>(i), 60), 1, i));
            take->setCurrentTime(i);
            scene.setSceneTime(take->getTime(i));
            actor.setBodyDimension("Height", 1.0F + static_cast<float>(i));
        }
    }

    std::mutex host; ///< the host's lock of its model
    Scene scene;
    Character ada{"1", "Ada"};
    Actor actor;
    tarn::Solver solver{"test", "1"};
    CountingCalibrator calibrator;
    std::shared_ptr<Tracks> take = std::make_shared<Tracks>();
};

} // namespace

TEST_F(SceneThreads, CalibratorsMayBePolledWithoutTheHostsLockWhileTheTakePlays) {
    ada.beginCalibrate();
    float last = 0;
    whilePolling([&] { play(); },
                 [&] {
                     const float progress = calibrator.currentCalibrateProgress();
                     EXPECT_GE(progress, last) << "it only ever grows";
                     last = progress;
                     EXPECT_TRUE(calibrator.isCalibrating());
                 });
    ada.endCalibrate();
    EXPECT_EQ(calibrator.currentCalibrateProgress(), 1.0F);
    EXPECT_FALSE(calibrator.isCalibrating());
}

TEST_F(SceneThreads, TheModelIsLookedAtUnderTheHostsLock) {
    int heard = 0;
    ada.onFrame().connect([&heard](const std::shared_ptr<Timeline>&) { ++heard; });
    whilePolling([&] { play(); },
                 [&] {
                     const std::lock_guard<std::mutex> lock(host);
                     Character* const shown = scene.characters().front();
                     EXPECT_EQ(shown->characterName(), "Ada");
                     EXPECT_EQ(shown->tracks()->currentFrame()->time(),
                               Time(scene.sceneTime().frameIndex(), 0));
                     EXPECT_FALSE(shown->isCalibrating());
                     EXPECT_EQ(shown->actor()->bodyDimension("Height", 0) > 0, heard > 0);
                     EXPECT_EQ(shown->solver()->getOutputs().size(), 0U);
                 });
    EXPECT_EQ(heard, length);
}

TEST(SettingsThreads, EachThreadMayHaveStoresOfItsOwn) {
    const std::string document = "<MocapActor><BodyDimension><Height>1.8</Height></BodyDimension>"
                                 "</MocapActor>";
    const auto isRead = [&document] {
        Actor actor;
        std::string saved;
        return actor.loadSettingsFromString(document) && actor.bodyDimension("Height", 0) == 1.8F &&
               actor.saveSettingsToString(saved) && !saved.empty();
    };
    int read = 0;
    whilePolling(
        [&] {
            for (int i = 0; i < 50; ++i) {
                read += isRead() ? 1 : 0;
            }
        },
        [&] { EXPECT_TRUE(isRead()); });
    EXPECT_EQ(read, 50);
}

TEST(SettingsThreads, AStoreAndItsViewsAreSharedUnderTheHostsLock) {
    std::mutex host;
    Settings settings;
    settings.setValue("port.name", "COM3");
    const auto view = settings.subSettings("port");
    whilePolling(
        [&] {
            for (int i = 0; i < 200; ++i) {
                const std::lock_guard<std::mutex> lock(host);
                view->setValue("rate", std::to_string(i));
            }
        },
        [&] {
            const std::lock_guard<std::mutex> lock(host);
            EXPECT_EQ(settings.value("port.name", ""), "COM3");
            EXPECT_EQ(settings.value("port.rate", "none"), view->value("rate", "none"));
        });
    EXPECT_EQ(settings.value("port.rate", ""), "199");
}
