// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

// Motion data that a device's thread makes and a host's threads look at.
#include "data/MotionData.h"
#include "support/Polling.h"

#include <tarn/Sequence.h>
#include <tarn/Timeline.h>
#include <tarn/Tracks.h>

#include <gtest/gtest.h>

#include <memory>
#include <mutex>
#include <vector>

using motion::frameAt;
using motion::FramePtr;
using motion::trackOf;
using tarn::Sequence;
using tarn::Time;
using tarn::Timeline;
using tarn::Tracks;
using tarn::testing::whilePolling;

namespace {

constexpr int length = 50;
constexpr int rounds = 20;

std::shared_ptr<Tracks> take() {
    std::vector<FramePtr> frames;
    for (unsigned i = 0; i < length; ++i) {
        frames.push_back(frameAt(Time(i, 60), 1));
    }
    auto made = std::make_shared<Tracks>();
    made->setFps(60);
    made->setTimeLength(length);
    made->addTrack(trackOf(frames, 1), 0);
    return made;
}

/// How many indexes show what they should, read without moving the take.
int rightIndexes(Tracks& tracks) {
    int right = 0;
    for (int i = 0; i < tracks.timeLength(); ++i) {
        const auto timeline = tracks.getFrame(i);
        const Time time(static_cast<unsigned>(i), 60);
        const bool isRight = timeline->time() == time && tracks.getTime(i) == time &&
                             timeline->frame(1) == tracks.getFrame(i, 1);
        right += isRight ? 1 : 0;
    }
    return right;
}

} // namespace

TEST(MotionDataThreads, AFrameMayBeReadByManyAtOnce) {
    const std::shared_ptr<const tarn::Frame> frame = frameAt(Time(7, 60), 1);
    int wrong = 0;
    whilePolling(
        [&] {
            for (int i = 0; i < 1000; ++i) {
                wrong += frame->dataType() == 1 && frame->time() == Time(7, 60) ? 0 : 1;
            }
        },
        [&] {
            auto copy = *frame;
            copy.setTime(Time(8, 60)); // nobody else's
            EXPECT_EQ(copy.time().toSmpte().first.frames, 8);
            EXPECT_EQ(to_string(frame->time()), "0:0:0 7.0");
        });
    EXPECT_EQ(wrong, 0);
}

TEST(MotionDataThreads, ATakeThatNobodyChangesMayBeReadByManyAtOnce) {
    const auto tracks = take();
    int right = 0;
    whilePolling(
        [&] {
            for (int i = 0; i < rounds; ++i) {
                right += rightIndexes(*tracks);
            }
        },
        [&] { EXPECT_EQ(rightIndexes(*tracks), length); });
    EXPECT_EQ(right, rounds * length);
}

TEST(MotionDataThreads, ASequenceThatNobodyChangesMayBeReadByManyAtOnce) {
    Sequence sequence(1);
    for (unsigned i = 0; i < length; ++i) {
        sequence.addFrame(frameAt(Time(i, 60), 1));
    }
    const auto isWhole = [&sequence] {
        return sequence.findFrame(Time(9, 60)) == sequence.getFrame(9) &&
               sequence.subSequence(Time(10, 60))->frameCount() == length - 10 &&
               sequence.getTimeRange().second == Time(length - 1, 60);
    };
    int whole = 0;
    whilePolling(
        [&] {
            for (int i = 0; i < rounds; ++i) {
                whole += isWhole() ? 1 : 0;
            }
        },
        [&] { EXPECT_TRUE(isWhole()); });
    EXPECT_EQ(whole, rounds);
}

TEST(MotionDataThreads, ATimelineIsHandedToAnotherThreadAsACopy) {
    Timeline shown(Time(3, 60));
    shown.addFrame(frameAt(Time(3, 60), 1));
    const Timeline copy = shown;
    whilePolling(
        [&] {
            for (int i = 0; i < 1000; ++i) {
                shown.frame(i);
            }
        },
        [&] { EXPECT_EQ(copy.frames().size(), 1U); });
    EXPECT_EQ(shown.frames().size(), 1000U);
}

TEST(MotionDataThreads, ATakeThatGrowsIsSharedUnderTheHostsLock) {
    std::mutex mutex;
    Tracks tracks;
    whilePolling(
        [&] {
            for (int i = 0; i < length; ++i) {
                const std::lock_guard<std::mutex> lock(mutex);
                tracks.setTimeLength(length);
                tracks.setFrame(i, 1, frameAt(Time(static_cast<unsigned>(i), 60), 1));
                tracks.setCurrentTime(i);
            }
        },
        [&] {
            const std::lock_guard<std::mutex> lock(mutex);
            const int now = tracks.currentTime();
            EXPECT_EQ(tracks.getFrame(now, 1) == nullptr, tracks.trackCount() == 0);
            EXPECT_EQ(tracks.currentFrame()->frames().size(),
                      static_cast<std::size_t>(tracks.trackCount()));
        });
    EXPECT_EQ(tracks.currentTime(), length - 1);
}
