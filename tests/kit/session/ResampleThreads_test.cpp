// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

// Functions on values and on takes that nobody changes, used by several threads at once.
#include "support/Polling.h"

#include <tarn_kit/body/LengthUnit.h>
#include <tarn_kit/body/Rotations.h>
#include <tarn_kit/files/Text.h>
#include <tarn_kit/session/Rate.h>
#include <tarn_kit/session/Resample.h>
#include <tarn_kit/session/Timecode.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace {

using namespace tarn;
using namespace tarn::kit;
using tarn::testing::whilePolling;

constexpr int rounds = 30;

/// Whether `isRight()` holds on two threads at once.
template <class IsRight>
bool holdsOnTwoThreads(IsRight isRight) {
    int right = 0;
    bool holds = true;
    whilePolling(
        [&] {
            for (int i = 0; i < rounds; ++i) {
                right += isRight() ? 1 : 0;
            }
        },
        [&] { holds = isRight() && holds; });
    return holds && right == rounds;
}

} // namespace

TEST(ResampleThreads, OneTakeMayBeResampledByManyAtOnce) {
    const auto take = std::make_shared<Tracks>();
    const auto track = std::make_shared<Track>(7);
    track->setFrameCount(10);
    for (int i = 0; i < 10; ++i) {
        track->setFrame(i, std::make_shared<Frame>(Time(static_cast<unsigned>(i), 60), 7, i));
    }
    take->addTrack(track, 0);
    EXPECT_TRUE(holdsOnTwoThreads([&take] {
        const ResampledTake result = resample({{take, Rate(60), {}}});
        return result.tracks->subTracks(0)->getFrame(9, 7)->dataAs<int>() == 9;
    }));
}

TEST(ValueThreads, RatesTimecodesRotationsAndTextsMayBeWorkedOutByManyAtOnce) {
    EXPECT_TRUE(holdsOnTwoThreads([] {
        const auto rate = Rate::parse("25");
        const auto timecode = parseTimecode("00:00:01:05");
        return rate && timecode && frameOf(*timecode, *rate) == 30 &&
               toEulerDegrees(fromEulerDegrees({10, 20, 30}, {2, 0, 1}), {2, 0, 1})[0] > 9.99 &&
               printable("left") == "left" && counted(2, "frame") == "2 frames" &&
               !describeGuess(guessLengthUnit(1.8), 1.8).empty();
    }));
}
