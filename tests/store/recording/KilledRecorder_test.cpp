// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_store/file/TakeCheck.h>
#include <tarn_store/file/TakeReader.h>
#include <tarn_store/recording/TakeRecorder.h>

#include "support/TemporaryDirectory.h"

#include <tarn_kit/body/Rig.h>

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <random>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace tarn::store {
namespace {

using tarn::testing::TemporaryDirectory;

kit::Pose poseAt(unsigned index) { return kit::Pose{{static_cast<float>(index), 0.5F, -1}}; }

/// Records until it is killed, and writes each index that is safe into a pipe.
[[noreturn]] void recordForEver(const std::string& file, int pipe) {
    tsignal::Signal<std::shared_ptr<Frame>> port;
    RecorderOptions options;
    options.maximumLoss = std::chrono::milliseconds(4);
    options.whenFull = WhenFull::Wait;
    TakeRecorder recorder(file, options);
    TrackDescription description;
    description.rate = kit::Rate(120);
    recorder.tieToIFramePort(recorder.addTrack(kit::poseDataType, description), port);
    recorder.onSafe().connect([pipe](std::int64_t index) {
        if (::write(pipe, &index, sizeof index) != sizeof index) {
            ::_exit(1);
        }
    });
    recorder.start();
    for (unsigned i = 0;; ++i) {
        port.emit(std::make_shared<Frame>(Time(i, 120), kit::poseDataType, poseAt(i)));
        std::this_thread::sleep_for(std::chrono::microseconds(50));
    }
}

/// Kills a recording after so many microseconds; returns the last index that was said to be safe.
std::int64_t killedAfter(const std::string& file, unsigned microseconds) {
    std::array<int, 2> pipe{};
    EXPECT_EQ(::pipe(pipe.data()), 0);
    const pid_t child = ::fork();
    if (child == 0) {
        ::close(pipe[0]);
        recordForEver(file, pipe[1]);
    }
    ::close(pipe[1]);
    std::int64_t safe = -1;
    std::int64_t index = -1;
    if (::read(pipe[0], &index, sizeof index) == sizeof index) { // it has begun
        safe = index;
    }
    ::usleep(microseconds);
    ::kill(child, SIGKILL);
    int status = 0;
    ::waitpid(child, &status, 0);
    while (::read(pipe[0], &index, sizeof index) == sizeof index) {
        safe = index;
    }
    ::close(pipe[0]);
    return safe;
}

int rounds() {
    const char* const asked = std::getenv("TARN_KILLS");
    return asked == nullptr ? 8 : std::atoi(asked);
}

TEST(KilledRecorder, LeavesEveryFrameThatWasAnnouncedAsSafe) {
    std::mt19937 random(14);
    for (int round = 0; round < rounds(); ++round) {
        const TemporaryDirectory directory;
        const std::string file = directory / "take.tarn";
        const std::int64_t safe = killedAfter(file, static_cast<unsigned>(random() % 40'000));
        ASSERT_GE(safe, 0);
        const TakeVerdict verdict = checkTakeFile(file);
        EXPECT_FALSE(verdict.isWhole);
        EXPECT_EQ(verdict.line.find("broken off at frame "), 0U) << verdict.line;
        TakeReader reader(file);
        EXPECT_FALSE(reader.facts().ended);
        const auto frames = reader.frames(1, 0, safe);
        ASSERT_EQ(frames.size(), static_cast<std::size_t>(safe) + 1) << "round " << round;
        for (const auto& [slot, frame] : frames) {
            ASSERT_EQ(frame->time(), Time(static_cast<unsigned>(slot), 120));
            ASSERT_EQ(frame->dataAs<kit::Pose>().values,
                      poseAt(static_cast<unsigned>(slot)).values);
        }
        const auto take = reader.load();
        EXPECT_GT(take->timeLength(), safe);
    }
}

} // namespace
} // namespace tarn::store
