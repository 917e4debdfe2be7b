// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/session/Playback.h>
#include <tarn_kit/session/TakeOf.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <numeric>
#include <thread>
#include <utility>
#include <vector>

namespace tarn::kit {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr int rate = 25;

/// A take of empty slots, and what it has shown.
class Shown {
public:
    explicit Shown(int frames, int fps = rate)
        : take_(takeOf(1, std::vector<std::shared_ptr<Frame>>(static_cast<std::size_t>(frames)),
                       fps)) {
        take_->onCurrentTimeChanged().connect([this](int frame) { frames_.push_back(frame); });
    }
    Tracks& take() { return *take_; }
    const std::vector<int>& frames() const { return frames_; }

private:
    std::shared_ptr<Tracks> take_;
    std::vector<int> frames_;
};

std::vector<int> shownAt(const Rate& showRate, int frames) {
    Shown shown(frames);
    Playback playback(shown.take(), showRate);
    EXPECT_TRUE(playback.run());
    EXPECT_EQ(playback.stepCount(), static_cast<std::int64_t>(shown.frames().size()));
    return shown.frames();
}

TEST(Playback, ShowsEveryFrameOnceAtTheRateOfTheTake) {
    EXPECT_THAT(shownAt(Rate(rate), 4), ElementsAre(0, 1, 2, 3));
}

TEST(Playback, ShowsFramesMoreThanOnceAtAHigherRateAndSkipsThemAtALower) {
    EXPECT_THAT(shownAt(Rate(2 * rate), 3), ElementsAre(0, 0, 1, 1, 2, 2));
    EXPECT_THAT(shownAt(Rate(10), 5), ElementsAre(0, 2));
    EXPECT_THAT(shownAt(Rate(1, 1000), 5), ElementsAre(0));
}

TEST(Playback, ShowsNothingOfATakeWithoutFramesOrWithoutARate) {
    EXPECT_THAT(shownAt(Rate(rate), 0), IsEmpty());
    Shown shown(3, 0);
    Playback playback(shown.take(), Rate(rate), std::make_shared<ManualClock>());
    EXPECT_EQ(playback.stepCount(), 0);
    EXPECT_TRUE(playback.run());
    EXPECT_TRUE(playback.runInRealTime()); // takes no time
    EXPECT_THAT(shown.frames(), IsEmpty());
}

TEST(Playback, StopsWhenItIsAskedTo) {
    Shown shown(5);
    Playback playback(shown.take(), Rate(rate));
    EXPECT_FALSE(playback.run([&] { return shown.frames().size() == 2; }));
    EXPECT_THAT(shown.frames(), ElementsAre(0, 1));
}

/// Plays on a thread of its own by a clock that the test moves.
class RealTimeThreads : public ::testing::Test {
protected:
    using Instants = std::vector<std::pair<Clock::Duration, int>>; ///< what is shown from when on

    /// When each frame was shown and, with -1, when the playback was over.
    Instants play(int frames, const Rate& showRate, double speed = 1,
                  const Rate& exact = Rate(rate)) {
        Instants instants;
        const auto note = [&](int frame) {
            instants.emplace_back(clock_->now().time_since_epoch(), frame);
        };
        Shown shown(frames);
        shown.take().onCurrentTimeChanged().connect(note);
        Playback playback(shown.take(), exact, showRate, clock_);
        std::atomic<bool> over{false};
        std::thread player([&] {
            EXPECT_TRUE(speed == 1 ? playback.runInRealTime() : playback.runAtSpeed(speed));
            note(-1);
            over = true;
        });
        const std::int64_t waits = playback.stepCount(); // one after each frame
        for (std::int64_t i = 0; i < waits; ++i) {
            clock_->advanceTo(clock_->awaitWaiting());
        }
        player.join();
        return instants;
    }

    const std::shared_ptr<ManualClock> clock_ = std::make_shared<ManualClock>();
};

TEST_F(RealTimeThreads, EachFrameComesAtItsTimeAndTheLastOneLastsAsLongAsTheOthers) {
    EXPECT_THAT(play(3, Rate(rate)), ElementsAre(std::pair(0ms, 0), std::pair(40ms, 1),
                                                 std::pair(80ms, 2), std::pair(120ms, -1)));
}

TEST_F(RealTimeThreads, TheTakeKeepsItsSpeedAtAnyRate) {
    EXPECT_THAT(play(2, Rate(2 * rate)),
                ElementsAre(std::pair(0ms, 0), std::pair(20ms, 0), std::pair(40ms, 1),
                            std::pair(60ms, 1), std::pair(80ms, -1)));
    clock_->advanceTo(Clock::Instant(1s));
    EXPECT_THAT(play(4, Rate(rate, 2)),
                ElementsAre(std::pair(1000ms, 0), std::pair(1080ms, 2), std::pair(1160ms, -1)));
}

TEST_F(RealTimeThreads, AtAnotherSpeedTheTakeLastsAsMuchLonger) {
    EXPECT_THAT(play(2, Rate(rate), 0.5),
                ElementsAre(std::pair(0ms, 0), std::pair(80ms, 1), std::pair(160ms, -1)));
}

TEST(Playback, AtSpeedZeroShowsAllFramesAtOnce) {
    Shown shown(3);
    Playback playback(shown.take(), Rate(rate), std::make_shared<ManualClock>());
    EXPECT_TRUE(playback.runAtSpeed(0)); // by a clock that stands
    EXPECT_THAT(shown.frames(), ElementsAre(0, 1, 2));
}

TEST_F(RealTimeThreads, HearsARequestToStopWhileItWaitsForAFrame) {
    Shown shown(2, 1); // a frame per second
    Playback playback(shown.take(), Rate(1), clock_);
    std::atomic<bool> stop{false};
    std::thread player([&] { EXPECT_FALSE(playback.runInRealTime([&] { return stop.load(); })); });
    const Clock::Instant asked = clock_->awaitWaiting();
    stop = true;
    clock_->advanceTo(asked);
    player.join();
    EXPECT_LE(asked.time_since_epoch(), 50ms);
    EXPECT_THAT(shown.frames(), ElementsAre(0));
}

TEST_F(RealTimeThreads, ATakeOfAnExactRateLastsAsLongAsItsFrames) {
    const Rate film(30'000, 1'001); // counted as 30
    const auto exactly = [](std::int64_t frames) {
        return std::chrono::duration_cast<Clock::Duration>(
            std::chrono::duration<double>(static_cast<double>(frames) * 1'001 / 30'000));
    };
    EXPECT_THAT(play(3, film, 1, film),
                ElementsAre(std::pair(exactly(0), 0), std::pair(exactly(1), 1),
                            std::pair(exactly(2), 2), std::pair(exactly(3), -1)));
}

TEST(Playback, ShowsEveryFrameOnceAtAnExactRateHoweverLongTheTakeIs) {
    constexpr int frames = 3'000; // a whole rate would miss three of them
    const Rate film(30'000, 1'001);
    Shown shown(frames, 30);
    Playback playback(shown.take(), film, film);
    EXPECT_EQ(playback.stepCount(), frames);
    EXPECT_TRUE(playback.run());
    std::vector<int> all(frames);
    std::iota(all.begin(), all.end(), 0);
    EXPECT_EQ(shown.frames(), all);
}

} // namespace
} // namespace tarn::kit
