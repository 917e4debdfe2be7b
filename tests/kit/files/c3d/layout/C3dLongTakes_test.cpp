// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "kit/files/c3d/C3dSettling.h"

#include <gtest/gtest.h>

#include <string>

// Takes of more frames than 16 bits count.

namespace tarn::kit {
namespace {

using namespace c3d_testing;

/// A file of one marker in integers, as short as a long take can be.
FileBuilder longTake(int frames) {
    FileBuilder file(C3dEncoding::IntelInteger);
    file.points = 1;
    file.frames = frames;
    file.standard().without("FRAMES");
    return file;
}

int framesOf(const std::string& bytes) { return readBytes(bytes).frameCount; }

TEST(C3dLongTakes, AreStatedByActualStartAndEndFields) {
    FileBuilder file = longTake(70'000);
    file.integer(1, "FRAMES", 65535).group(3, "TRIAL");
    file.integers(3, "ACTUAL_START_FIELD", {65, 0})
        .integers(3, "ACTUAL_END_FIELD", {70064 - 65536, 1});
    file.header(4, 65).header(5, 65535);
    const C3dTake take = readStrictly(file.bytes());
    EXPECT_EQ(take.frameCount, 70'000);
    EXPECT_EQ(take.firstFrame, 65);
    EXPECT_TRUE(take.report.empty());
}

TEST(C3dLongTakes, AreStatedByLongFrames) {
    FileBuilder file = longTake(70'000);
    file.integer(1, "FRAMES", 65535).number(1, "LONG_FRAMES", 70'000).header(5, 65535);
    EXPECT_EQ(readStrictly(file.bytes()).frameCount, 70'000);
}

TEST(C3dLongTakes, AreStatedByFramesAsAReal) {
    FileBuilder file = longTake(70'000);
    file.number(1, "FRAMES", 70'000).header(5, 65535);
    EXPECT_EQ(readStrictly(file.bytes()).frameCount, 70'000);
}

TEST(C3dLongTakes, AreWhatTheFileHoldsIfTheCountsAreCutOff) {
    FileBuilder file = longTake(70'000);
    file.integer(1, "FRAMES", 65535).header(5, 65535);
    const int held = framesOf(file.bytes());
    EXPECT_GE(held, 70'000);
    EXPECT_LT(held, 70'000 + 64) << "no more than the last block has room for";
}

TEST(C3dLongTakes, AreWhatTheFileHoldsIfTheCountsStartedAgain) {
    FileBuilder file = longTake(70'000);
    file.integer(1, "FRAMES", 70'000 - 65536).header(5, 70'000 - 65536);
    EXPECT_EQ(framesOf(file.bytes()), 70'000);
}

TEST(C3dLongTakes, MayBeStatedByNegativeNumbers) {
    FileBuilder file = longTake(40'000);
    file.integer(1, "FRAMES", 40'000 - 65536);
    EXPECT_EQ(readStrictly(file.bytes()).frameCount, 40'000);
}

TEST(C3dLongTakes, MayStartAtAnyFrame) {
    for (const int first : {0, 2, 160, 60'000}) {
        FileBuilder file;
        file.firstFrame = first;
        const C3dTake take = readStrictly(file.standard().bytes());
        expectData(take);
        EXPECT_EQ(take.firstFrame, first);
        EXPECT_EQ(take.tracks->getFrame(0, markerDataType)->time(), Time(0, 100));
    }
}

TEST(C3dLongTakes, MayStartBeyondWhatTheHeaderCanSay) {
    FileBuilder file;
    file.standard().group(3, "TRIAL").integers(3, "ACTUAL_START_FIELD", {5, 2});
    file.integers(3, "ACTUAL_END_FIELD", {8, 2}).header(4, 5).header(5, 8);
    EXPECT_EQ(readStrictly(file.bytes()).firstFrame, 2 * 65536 + 5);
}

TEST(C3dLongTakes, TheUpperHalfOfAStartFieldIsNotBelievedAgainstTheEnd) {
    FileBuilder file;
    file.standard().group(3, "TRIAL").integers(3, "ACTUAL_START_FIELD", {1, 1});
    file.integers(3, "ACTUAL_END_FIELD", {4, 0});
    const C3dTake take = readBytes(file.bytes());
    EXPECT_EQ(take.frameCount, 4);
    EXPECT_EQ(take.firstFrame, 1);
    EXPECT_EQ(findingOn(take, "TRIAL:ACTUAL_START_FIELD")->found, "65537");
}

TEST(C3dLongTakes, AStaleStartFieldIsNotBelieved) {
    FileBuilder file = large();
    file.firstFrame = 11;
    file.standard().group(3, "TRIAL").integers(3, "ACTUAL_START_FIELD", {1, 0});
    file.integers(3, "ACTUAL_END_FIELD", {900, 0});
    const C3dTake take = readBytes(file.bytes());
    expectData(take, 32);
    EXPECT_EQ(take.firstFrame, 11);
    EXPECT_EQ(findingOn(take, "TRIAL:ACTUAL_START_FIELD")->believed, "11");
    EXPECT_EQ(findingOn(take, "TRIAL:ACTUAL_END_FIELD")->found, "900");
}

TEST(C3dLongTakes, ACountThatEndsAt32767MayBeThatOfALongerTake) {
    FileBuilder file(C3dEncoding::IntelInteger);
    file.points = 1;
    file.frames = 40000;
    file.standard().without("FRAMES").integer(1, "FRAMES", 32767).header(5, 32767);
    const C3dTake take = readStrictly(file.bytes());
    EXPECT_EQ(take.frameCount, 40000);
    const std::string bytes = file.bytes();
    EXPECT_EQ(readBytes(bytes.substr(0, bytes.size() - 1005)).frameCount, 39874)
        << "and broken off in a frame";
}

TEST(C3dLongTakes, ALongTakeThatBreaksOffInAFrameIsReadToThere) {
    FileBuilder file(C3dEncoding::IntelInteger);
    file.points = 100; // frames of 800 bytes
    file.frames = 66000;
    file.padded = false;
    file.standard().without("FRAMES").integer(1, "FRAMES", 65535).header(5, 65535);
    std::string bytes = file.bytes();
    bytes.resize(bytes.size() - 100);
    EXPECT_EQ(readBytes(bytes).frameCount, 65999);
}

} // namespace
} // namespace tarn::kit
