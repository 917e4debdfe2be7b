// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "kit/devices/ReplayTesting.h"
#include "kit/processing/BodyDimensionTesting.h"
#include "support/Polling.h"

#include <tarn_kit/processing/ClockCalibrator.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <any>
#include <chrono>
#include <cmath>
#include <memory>
#include <random>
#include <thread>
#include <vector>

namespace tarn::kit {
namespace {

using namespace std::chrono_literals;
using body_dimension_testing::Announced;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Duration = Clock::Duration;

constexpr int port = 3;

/// A device that sends what the test tells it to.
class Sensor : public Device {
public:
    Sensor() : Device("sensor", "sensor 1") {
        addOFramePort(port);
        setState(Ready);
    }
    void send(unsigned index, unsigned rate = 100) {
        oFramePort(port).emit(std::make_shared<Frame>(Time(index, rate)));
    }
};

/// A sensor and its calibrator on a clock that stands still until the test moves it.
struct Bench {
    explicit Bench(int frameCount = 4) : calibrator("clock 1", port, frameCount, clock) {
        calibrator.setDevice(&sensor);
    }
    Bench(const Bench&) = delete;
    Bench& operator=(const Bench&) = delete;
    ~Bench() {
        calibrator.finish();
        calibrator.removeChild(&sensor);
    }

    /// Sends frames one after the other, each so long after the one before.
    void send(const std::vector<unsigned>& indexes, Duration interval = 10ms) {
        for (const unsigned index : indexes) {
            clock->advance(interval);
            sensor.send(index);
        }
    }
    /// Sends frames 0, 1, ... at these instants, which begin at 0.
    void sendAt(const std::vector<Duration>& instants) {
        const Clock::Instant start = clock->now();
        for (unsigned i = 0; i < instants.size(); ++i) {
            clock->advanceTo(start + instants[i]);
            sensor.send(i);
        }
    }

    std::shared_ptr<ManualClock> clock = std::make_shared<ManualClock>();
    Sensor sensor;
    ClockCalibrator calibrator;
};

TEST(ClockCalibrator, SaysWhatItIs) {
    const ClockCalibrator calibrator("clock 1", port);
    EXPECT_EQ(calibrator.id(), "clock 1");
    EXPECT_EQ(calibrator.calibratorType(), "clock");
}

TEST(ClockCalibrator, IsAvailableWithADeviceThatIsNotLost) {
    Bench bench;
    EXPECT_TRUE(bench.calibrator.isAvailable());
    bench.sensor.setState(Device::Lost);
    EXPECT_FALSE(bench.calibrator.isAvailable());
    ClockCalibrator unbound("clock", port);
    EXPECT_FALSE(unbound.isAvailable());
}

TEST(ClockCalibrator, DoesNotBeginWithoutADevice) {
    ClockCalibrator calibrator("clock", port);
    const Announced announced(calibrator);
    EXPECT_FALSE(calibrator.start());
    calibrator.globalStart();
    calibrator.finish();
    calibrator.cancel();
    EXPECT_FALSE(calibrator.isCalibrating());
    EXPECT_THAT(announced.all(), IsEmpty());
}

TEST(ClockCalibrator, AnnouncesBeginProgressAndEnd) {
    Bench bench(4);
    const Announced announced(bench.calibrator);
    EXPECT_TRUE(bench.calibrator.start());
    EXPECT_TRUE(bench.calibrator.isCalibrating());
    bench.send({0, 1, 2, 3, 4, 5});
    bench.calibrator.finish();
    EXPECT_FALSE(bench.calibrator.isCalibrating());
    EXPECT_THAT(announced.all(),
                ElementsAre("begin", "0.00", "0.25", "0.50", "0.75", "1.00", "end"));
    EXPECT_EQ(bench.calibrator.quality().frames, 6);
}

TEST(ClockCalibrator, GoesOnWhenItIsStartedAgain) {
    Bench bench;
    bench.calibrator.start();
    bench.send({0, 1});
    const Announced announced(bench.calibrator);
    EXPECT_TRUE(bench.calibrator.start());
    bench.calibrator.globalStart();
    EXPECT_THAT(announced.all(), IsEmpty());
    bench.send({2});
    EXPECT_EQ(bench.calibrator.quality().frames, 3);
}

TEST(ClockCalibrator, ListensOnlyWhileItRuns) {
    Bench bench;
    bench.send({0});
    bench.calibrator.globalStart();
    bench.send({1, 2});
    bench.calibrator.globalFinish();
    bench.send({3});
    EXPECT_EQ(bench.calibrator.quality().frames, 2);
    const Announced announced(bench.calibrator);
    bench.calibrator.finish();
    bench.calibrator.cancel();
    EXPECT_THAT(announced.all(), IsEmpty());
    EXPECT_EQ(bench.calibrator.quality().frames, 2);
}

TEST(ClockCalibrator, BeginsAnewWithTheNextRun) {
    Bench bench;
    bench.calibrator.start();
    bench.send({0, 5, 6});
    bench.calibrator.finish();
    bench.calibrator.start();
    EXPECT_EQ(bench.calibrator.quality().frames, 0);
    bench.send({7, 8, 9});
    EXPECT_EQ(bench.calibrator.quality().missing, 0);
    EXPECT_NEAR(bench.calibrator.quality().measuredRate, 100, 1e-6);
}

TEST(ClockCalibrator, LeavesNothingOfACancelledRun) {
    for (const bool global : {false, true}) {
        Bench bench;
        const Announced announced(bench.calibrator);
        bench.calibrator.start();
        bench.send({0, 5});
        if (global) {
            bench.calibrator.globalCancel();
        } else {
            bench.calibrator.cancel();
        }
        bench.send({6});
        EXPECT_THAT(announced.all(), ElementsAre("begin", "0.00", "0.25", "0.50", "end"));
        EXPECT_EQ(bench.calibrator.quality().frames, 0);
        EXPECT_EQ(bench.calibrator.quality().missing, 0);
        EXPECT_EQ(bench.calibrator.quality().statedRate, 0);
    }
}

TEST(ClockCalibrator, ListensToTheDeviceItBeganWithUntilTheEnd) {
    Bench bench;
    Sensor other;
    bench.calibrator.start();
    bench.calibrator.setDevice(&other);
    bench.send({0});
    other.send(1);
    EXPECT_EQ(bench.calibrator.quality().frames, 1);
    bench.calibrator.finish();
    bench.send({1});
    EXPECT_EQ(bench.calibrator.quality().frames, 1);
    bench.calibrator.start();
    other.send(2);
    EXPECT_EQ(bench.calibrator.quality().frames, 1);
    bench.calibrator.finish();
    bench.calibrator.setDevice(&bench.sensor);
}

TEST(ClockCalibrator, StopsListeningWhenItGoes) {
    Sensor sensor;
    {
        ClockCalibrator calibrator("clock", port);
        calibrator.setDevice(&sensor);
        calibrator.start();
        sensor.send(0);
        calibrator.removeChild(&sensor);
    }
    sensor.send(1);
    EXPECT_TRUE(sensor.parents().empty());
}

TEST(ClockCalibrator, MayBeEndedBySlotsOfItsOwn) {
    Bench bench(2);
    bench.calibrator.onProgress().connect([&bench](float progress) {
        if (progress >= 1) {
            bench.calibrator.finish();
        }
    });
    bench.calibrator.start();
    bench.send({0, 1, 2, 3});
    EXPECT_EQ(bench.calibrator.quality().frames, 2);
    EXPECT_FALSE(bench.calibrator.isCalibrating());
}

TEST(ClockCalibrator, DoesNotListenOnceASlotHasEndedItAtItsBeginning) {
    Bench bench;
    bench.calibrator.onBegin().connect([&bench] { bench.calibrator.cancel(); });
    EXPECT_TRUE(bench.calibrator.start());
    bench.send({0, 1});
    EXPECT_FALSE(bench.calibrator.isCalibrating());
    EXPECT_EQ(bench.calibrator.quality().frames, 0);
}

TEST(ClockCalibrator, MeasuresNothingBelowTwoFrames) {
    Bench bench;
    bench.calibrator.start();
    EXPECT_EQ(bench.calibrator.quality().measuredRate, 0);
    EXPECT_EQ(bench.calibrator.quality().statedRate, 0);
    bench.send({7});
    const StreamQuality quality = bench.calibrator.quality();
    EXPECT_EQ(quality.frames, 1);
    EXPECT_EQ(quality.missing, 0);
    EXPECT_EQ(quality.duration, 0);
    EXPECT_EQ(quality.statedRate, 100);
    EXPECT_EQ(quality.measuredRate, 0);
    EXPECT_EQ(quality.jitter, 0);
}

TEST(ClockCalibrator, MeasuresNoRateWithoutDuration) {
    Bench bench(2);
    bench.calibrator.start();
    bench.send({0, 1, 2}, 0ms);
    EXPECT_EQ(bench.calibrator.quality().frames, 3);
    EXPECT_EQ(bench.calibrator.quality().measuredRate, 0);
    EXPECT_EQ(bench.calibrator.quality().jitter, 0);
    EXPECT_FALSE(bench.calibrator.isTrusted());
}

TEST(ClockCalibrator, MeasuresAnEvenStream) {
    Bench bench;
    bench.calibrator.start();
    bench.send({40, 41, 42, 43, 44}, 8ms);
    const StreamQuality quality = bench.calibrator.quality();
    EXPECT_EQ(quality.frames, 5);
    EXPECT_EQ(quality.missing, 0);
    EXPECT_NEAR(quality.duration, 0.032, 1e-12);
    EXPECT_EQ(quality.statedRate, 100);
    EXPECT_NEAR(quality.measuredRate, 125, 1e-6);
    EXPECT_NEAR(quality.jitter, 0, 1e-12);
}

TEST(ClockCalibrator, CountsTheFramesThatTheIndexesSkipAndKeepsTheBeat) {
    Bench bench;
    bench.calibrator.start();
    bench.sensor.send(0);
    bench.send({1});
    bench.send({3}, 20ms);
    bench.send({4});
    bench.send({8}, 40ms);
    const StreamQuality quality = bench.calibrator.quality();
    EXPECT_EQ(quality.frames, 5);
    EXPECT_EQ(quality.missing, 4);
    EXPECT_NEAR(quality.measuredRate, 100, 1e-6);
    EXPECT_NEAR(quality.jitter, 0, 1e-12);
}

TEST(ClockCalibrator, KeepsTheBeatWhenIndexesStartOverOrRepeat) {
    Bench bench(6);
    bench.calibrator.start();
    bench.send({8, 9, 0, 1, 1, 2});
    const StreamQuality quality = bench.calibrator.quality();
    EXPECT_EQ(quality.missing, 0);
    EXPECT_NEAR(quality.measuredRate, 100, 1e-6);
    EXPECT_NEAR(quality.jitter, 0, 1e-12);
    EXPECT_TRUE(bench.calibrator.isTrusted());
}

TEST(ClockCalibrator, MeasuresTheJitterAroundTheBeat) {
    // About the line 10.8 ms x - 0.2 ms the four arrivals are off by 0.2, -0.6, 0.6 and -0.2 ms.
    Bench bench;
    bench.calibrator.start();
    bench.sendAt({0ms, 10ms, 22ms, 32ms});
    EXPECT_NEAR(bench.calibrator.quality().measuredRate, 1 / 0.0108, 1e-6);
    EXPECT_NEAR(bench.calibrator.quality().jitter, 1e-3 * std::sqrt(0.8 / 4), 1e-12);
}

struct Fit {
    double rate;
    double jitter;
};

/// The textbook's line through instants over their indexes, pass after pass, in extended precision.
Fit fitOf(const std::vector<Duration>& instants) {
    const auto count = static_cast<long double>(instants.size());
    const auto x = [&](std::size_t i) { return static_cast<long double>(i) - (count - 1) / 2; };
    const auto y = [&](std::size_t i) { return static_cast<long double>(instants[i].count()); };
    long double mean = 0;
    for (std::size_t i = 0; i < instants.size(); ++i) {
        mean += y(i) / count;
    }
    long double squares = 0;
    long double products = 0;
    for (std::size_t i = 0; i < instants.size(); ++i) {
        squares += x(i) * x(i);
        products += x(i) * (y(i) - mean);
    }
    const long double slope = products / squares;
    long double residuals = 0;
    for (std::size_t i = 0; i < instants.size(); ++i) {
        const long double residual = y(i) - mean - slope * x(i);
        residuals += residual * residual;
    }
    return {static_cast<double>(1e9L / slope),
            static_cast<double>(1e-9L * std::sqrt(residuals / count))};
}

TEST(ClockCalibrator, MeasuresAsASecondComputationDoesOverALongStream) {
    constexpr int count = 200'000;
    std::mt19937 random(3U); // NOLINT(cert-msc51-cpp): the same stream every time
    Bench bench;
    bench.calibrator.start();
    std::vector<Duration> instants;
    instants.reserve(count);
    for (int i = 0; i < count; ++i) {
        instants.push_back(i * 8333333ns + Duration(i == 0 ? 0 : random() % 1000000U));
    }
    bench.sendAt(instants);
    const Fit fit = fitOf(instants);
    EXPECT_NEAR(bench.calibrator.quality().measuredRate, fit.rate, 1e-9 * fit.rate);
    EXPECT_NEAR(bench.calibrator.quality().jitter, fit.jitter, 1e-9 * fit.jitter);
}

TEST(ClockCalibrator, PassesOverEmptyFrames) {
    Bench bench;
    bench.calibrator.start();
    bench.sensor.oFramePort(port).emit(nullptr);
    EXPECT_EQ(bench.calibrator.quality().frames, 0);
}

TEST(ClockCalibrator, DoesNotMeasureFlushedFrames) {
    Bench bench;
    bench.calibrator.start();
    bench.calibrator.flushFrame(std::make_shared<Timeline>(Time(0, 100)));
    EXPECT_EQ(bench.calibrator.quality().frames, 0);
}

/// Whether a stream with such arrivals, stated at 100 frames per second, is trusted.
bool isTrusted(int frameCount, const std::vector<Duration>& instants) {
    Bench bench(frameCount);
    bench.calibrator.start();
    bench.sendAt(instants);
    return bench.calibrator.isTrusted();
}

TEST(ClockCalibrator, TrustsAnEvenStreamOfEnoughFrames) {
    EXPECT_TRUE(isTrusted(4, {0ms, 10ms, 20ms, 30ms}));
    EXPECT_TRUE(isTrusted(2, {0ms, 10ms, 20ms, 30ms}));
    EXPECT_FALSE(isTrusted(5, {0ms, 10ms, 20ms, 30ms}));
    EXPECT_FALSE(isTrusted(2, {}));
}

TEST(ClockCalibrator, TakesAsManyFramesToTrustAsItsFactorSays) {
    Bench bench(2);
    bench.calibrator.setFactor(ClockCalibrator::frameCountFactor, 5.0);
    bench.calibrator.setFactor(ClockCalibrator::frameCountFactor, 1);
    bench.calibrator.setFactor(ClockCalibrator::frameCountFactor, std::any());
    EXPECT_EQ(std::any_cast<int>(bench.calibrator.queryFactor(ClockCalibrator::frameCountFactor)),
              5);

    bench.calibrator.start();
    bench.send({0, 1, 2, 3});
    EXPECT_FALSE(bench.calibrator.isTrusted());
    EXPECT_FLOAT_EQ(bench.calibrator.currentCalibrateProgress(), 0.8F);
    bench.send({4});
    EXPECT_TRUE(bench.calibrator.isTrusted());
}

TEST(ClockCalibrator, TrustsARateWithinAHundredthOfTheStatedOne) {
    EXPECT_TRUE(isTrusted(3, {0us, 9910us, 19820us}));
    EXPECT_TRUE(isTrusted(3, {0us, 10090us, 20180us}));
    EXPECT_FALSE(isTrusted(3, {0us, 9890us, 19780us}));
    EXPECT_FALSE(isTrusted(3, {0us, 10110us, 20220us}));
}

TEST(ClockCalibrator, TrustsAJitterUpToAQuarterOfAFrame) {
    // Off the beat by d, -d, -d, d: no effect on the rate.
    EXPECT_TRUE(isTrusted(4, {0us, 5200us, 15200us, 30000us}));  // d = 2.4 ms
    EXPECT_FALSE(isTrusted(4, {0us, 4800us, 14800us, 30000us})); // d = 2.6 ms
}

TEST(ClockCalibrator, DoesNotTrustAStreamWithMissingFrames) {
    Bench bench(2);
    bench.calibrator.start();
    bench.send({0, 1, 2});
    EXPECT_TRUE(bench.calibrator.isTrusted());
    bench.send({4}, 20ms);
    EXPECT_FALSE(bench.calibrator.isTrusted());
}

TEST(ClockCalibrator, DoesNotTrustAStreamThatStatesNoRate) {
    Bench bench(2);
    bench.calibrator.start();
    for (unsigned i = 0; i < 4; ++i) {
        bench.clock->advance(10ms);
        bench.sensor.send(i, 0);
    }
    EXPECT_FALSE(bench.calibrator.isTrusted());
}

TEST(ClockCalibrator, MeasuresAReplayOnTheReplaysThread) {
    const replay_testing::TakeFile file(20);
    replay_testing::Replay replay;
    std::shared_ptr<Clock> clock(&replay.clock(), [](Clock*) {});
    ClockCalibrator calibrator("clock", ReplayDevice::posePort, 20, clock);
    calibrator.setDevice(&replay.device());
    replay.open(file);
    ASSERT_TRUE(calibrator.isAvailable());
    ASSERT_TRUE(calibrator.start());
    replay.command("start");
    replay.steps(19);
    replay.awaitStates(3); // Ready, Busy, Ready: the take is at its end
    calibrator.finish();
    const StreamQuality quality = calibrator.quality();
    EXPECT_EQ(quality.frames, 20);
    EXPECT_EQ(quality.missing, 0);
    EXPECT_NEAR(quality.duration, 0.19, 1e-9);
    EXPECT_EQ(quality.statedRate, 100);
    EXPECT_NEAR(quality.measuredRate, 100, 1e-6);
    EXPECT_NEAR(quality.jitter, 0, 1e-9);
    EXPECT_TRUE(calibrator.isTrusted());
    calibrator.removeChild(&replay.device());
}

TEST(ClockCalibrator, CountsNoFrameOnceItWasEndedWhileAnotherThreadSends) {
    Bench bench(2);
    for (int round = 0; round < 50; ++round) {
        bench.calibrator.start();
        std::thread sender([&bench] {
            for (unsigned i = 0; i < 200; ++i) {
                bench.sensor.send(i);
            }
        });
        bench.calibrator.quality();
        bench.calibrator.finish();
        const auto frames = bench.calibrator.quality().frames;
        bench.calibrator.isTrusted();
        sender.join();
        EXPECT_EQ(bench.calibrator.quality().frames, frames);
    }
}

TEST(ClockCalibratorThreads, FlagProgressAndQualityMayBePolledWhileADevicesThreadSends) {
    Bench bench(200);
    ASSERT_TRUE(bench.calibrator.start());
    float last = 0;
    testing::whilePolling(
        [&] {
            for (unsigned i = 0; i < 200; ++i) {
                bench.send({i});
            }
            bench.sensor.setState(Device::Lost);
        },
        [&] {
            const float progress = bench.calibrator.currentCalibrateProgress();
            EXPECT_GE(progress, last);
            last = progress;
            EXPECT_TRUE(bench.calibrator.isCalibrating());
            EXPECT_EQ(bench.calibrator.quality().missing, 0);
            static_cast<void>(bench.calibrator.isTrusted());
            static_cast<void>(bench.calibrator.isAvailable()); // looks at the device's state
        });
    EXPECT_EQ(bench.calibrator.currentCalibrateProgress(), 1.0F);
    EXPECT_TRUE(bench.calibrator.isTrusted());
    EXPECT_FALSE(bench.calibrator.isAvailable());
}

TEST(ClockCalibratorThreads, ASlotOnTheDevicesThreadMayEndTheRunWhileTheHostLooks) {
    Bench bench(20);
    bench.calibrator.onProgress().connect([&bench](float progress) {
        if (progress >= 1) {
            bench.calibrator.finish();
        }
    });
    ASSERT_TRUE(bench.calibrator.start());
    testing::whilePolling(
        [&] {
            for (unsigned i = 0; i < 40; ++i) {
                bench.send({i});
            }
        },
        [&] {
            const bool wasCalibrating = bench.calibrator.isCalibrating();
            EXPECT_TRUE(wasCalibrating || bench.calibrator.currentCalibrateProgress() == 1.0F);
        });
    EXPECT_FALSE(bench.calibrator.isCalibrating());
    EXPECT_EQ(bench.calibrator.quality().frames, 20);
}

#ifndef NDEBUG
TEST(ClockCalibratorDeathTest, AssertsItsPreconditions) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(ClockCalibrator("clock", port, 1), "frameCount");
    EXPECT_DEATH(ClockCalibrator("clock", port, 2, nullptr), "clock");
}
#endif

} // namespace
} // namespace tarn::kit
