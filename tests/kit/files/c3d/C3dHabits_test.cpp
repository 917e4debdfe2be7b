// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "kit/files/C3dTesting.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <sstream>
#include <string>
#include <vector>

// More habits of the programs that write C3D files: types and shapes that nobody else chooses, and
// statements that are left out.

namespace tarn::kit {
namespace {

using namespace c3d_testing;

std::vector<std::string> labelsOf(const C3dTake& take) {
    std::vector<std::string> labels;
    for (const C3dMarker& marker : take.markers) {
        labels.push_back(marker.label());
    }
    return labels;
}

/// Expects the take to be whole: the frames and markers of the builder, each where it put it.
void expectWhole(const C3dTake& take, const FileBuilder& file) {
    ASSERT_EQ(take.frameCount, file.frames);
    ASSERT_EQ(take.markers.size(), static_cast<std::size_t>(file.points));
    const int last = file.frames - 1;
    for (int marker = 0; marker < file.points; ++marker) {
        const Marker& one = markersAt(take, last)[static_cast<std::size_t>(marker)];
        ASSERT_EQ(one.hasPosition(), FileBuilder::isSeen(marker, last));
        if (one.hasPosition()) {
            EXPECT_EQ(one.position.x, FileBuilder::coordinate(marker, last, 0));
        }
    }
    std::ostringstream again;
    writeC3d(take, again);
    EXPECT_EQ(again.str(), file.bytes());
}

FileBuilder frames(int count, C3dEncoding encoding = C3dEncoding::IntelReal) {
    FileBuilder file(encoding);
    file.frames = count;
    file.standard();
    return file;
}

FileBuilder analog(C3dEncoding encoding, int points, int samples) {
    FileBuilder file(encoding);
    file.points = points;
    file.frames = 200;
    file.channels = 3;
    file.samples = samples;
    file.standard();
    return file;
}

TEST(C3dHabits, OneLabelMayBeAPlainText) {
    FileBuilder file;
    file.points = 1;
    file.frames = 60;
    file.standard().without("LABELS").text(1, "LABELS", "LFHD");
    const C3dTake take = readStrictly(file.bytes());
    EXPECT_EQ(labelsOf(take), std::vector<std::string>{"LFHD"});
    expectWhole(take, file);
}

TEST(C3dHabits, LabelsMayHaveAThirdDimension) {
    FileBuilder file = frames(60);
    file.without("LABELS").add(1, "LABELS", -1, {4, 3, 1}, "LFHDRFHDLBHD");
    const C3dTake take = readStrictly(file.bytes());
    EXPECT_EQ(labelsOf(take), (std::vector<std::string>{"LFHD", "RFHD", "LBHD"}));
    expectWhole(take, file);
}

TEST(C3dHabits, LabelsMayBeginWithNulsAndBlanks) {
    FileBuilder file = frames(60);
    file.without("LABELS").add(1, "LABELS", -1, {4, 3}, std::string("\0\0\0\0  L \t\r\n ", 12));
    const C3dTake take = readBytes(file.bytes());
    EXPECT_EQ(take.markers[0].name, "*1");
    EXPECT_EQ(take.markers[1].name, "  L");
    EXPECT_EQ(take.markers[2].name, "*3");
    expectWhole(take, file);
}

TEST(C3dHabits, LabelsMayHaveNoLengthAtAll) {
    FileBuilder file = frames(60);
    file.without("LABELS").add(1, "LABELS", -1, {0, 3}, "");
    expectWhole(readBytes(file.bytes()), file);
}

TEST(C3dHabits, CountsMayBeRealsOrBytes) {
    for (const C3dEncoding encoding : allEncodings) {
        FileBuilder reals = frames(60, encoding);
        reals.without("USED").number(1, "USED", 3).without("FRAMES").number(1, "FRAMES", 60);
        reals.without("DATA_START").number(1, "DATA_START", 4);
        expectWhole(readStrictly(reals.bytes()), reals);
        FileBuilder bytes;
        bytes.points = 200;
        bytes.dataBlock = 8;
        bytes.standard().without("USED").add(1, "USED", 1, {}, std::string(1, '\xC8'));
        expectWhole(readStrictly(bytes.bytes()), bytes);
    }
}

TEST(C3dHabits, UnitsMayBeStatedForEachAxis) {
    FileBuilder file = frames(60);
    file.without("UNITS").texts(1, "UNITS", {"mm", "mm", "mm"});
    EXPECT_EQ(readStrictly(file.bytes()).unit, "mm");
}

TEST(C3dHabits, LongFramesMayBeTwoWords) {
    FileBuilder file;
    file.points = 1;
    file.frames = 70'000;
    file.standard().without("FRAMES").integer(1, "FRAMES", 65'535);
    file.integers(1, "LONG_FRAMES", {70'000 - 65'536, 1}).header(5, 65'535);
    expectWhole(readStrictly(file.bytes()), file);
}

TEST(C3dHabits, StartAndEndFieldsMayBeSingleReals) {
    FileBuilder file;
    file.points = 1;
    file.frames = 70'000;
    file.standard().without("FRAMES").integer(1, "FRAMES", 65'535).header(5, 65'535);
    file.group(9, "TRIAL").number(9, "ACTUAL_START_FIELD", 1);
    file.number(9, "ACTUAL_END_FIELD", 70'000);
    expectWhole(readStrictly(file.bytes()), file);
}

TEST(C3dHabits, StartAndEndFieldsMayHaveTheirUpperWordFirst) {
    FileBuilder file(C3dEncoding::MipsReal);
    file.points = 1;
    file.frames = 70'000;
    file.standard().without("FRAMES").integer(1, "FRAMES", 65'535).header(5, 65'535);
    file.group(9, "TRIAL").integers(9, "ACTUAL_START_FIELD", {0, 1});
    file.integers(9, "ACTUAL_END_FIELD", {1, 70'000 - 65'536});
    const C3dTake take = readBytes(file.bytes());
    expectWhole(take, file);
    EXPECT_EQ(take.firstFrame, 1);
    EXPECT_EQ(findingOn(take, "TRIAL:ACTUAL_END_FIELD")->believed, "70000");
}

TEST(C3dHabits, TheHeaderMayNumberNoFrames) {
    for (const int last : {0, 1}) {
        FileBuilder file = frames(60);
        file.header(4, 1).header(5, last);
        expectWhole(readBytes(file.bytes()), file);
    }
}

TEST(C3dHabits, TheNumberOfFramesMayBeThatOfTheLastOne) {
    FileBuilder file;
    file.frames = 60;
    file.firstFrame = 161;
    file.standard().without("FRAMES").integer(1, "FRAMES", 220);
    const C3dTake take = readBytes(file.bytes());
    expectWhole(take, file);
    EXPECT_EQ(take.firstFrame, 161);
}

TEST(C3dHabits, TheRateOfTheChannelsMayBeMissing) {
    FileBuilder none = analog(C3dEncoding::IntelReal, 3, 5);
    none.records.erase(std::find_if(none.records.begin(), none.records.end(), [](const auto& one) {
        return one.group == 2 && one.name == "RATE";
    }));
    const C3dTake take = readStrictly(none.bytes());
    expectWhole(take, none);
    EXPECT_EQ(take.samplesPerFrame, 5);
    EXPECT_EQ(take.analogRate(), 500);
}

TEST(C3dHabits, ScalesMayBeEmptyLists) {
    FileBuilder file = analog(C3dEncoding::IntelReal, 3, 5);
    file.records.erase(std::find_if(file.records.begin(), file.records.end(), [](const auto& one) {
        return one.group == 2 && one.name == "SCALE";
    }));
    file.numbers(2, "SCALE", {}, {0});
    const C3dTake take = readBytes(file.bytes());
    expectWhole(take, file);
    ASSERT_EQ(take.channels.size(), 3U);
    EXPECT_EQ(take.channels[0].scale, 0.5) << "the general one";
}

TEST(C3dHabits, PlatesAloneMayCountTheirSamplesAsFrames) {
    for (const C3dEncoding encoding : allEncodings) {
        FileBuilder file = analog(encoding, 0, 1);
        file.rate = 1000;
        const C3dTake take = readBytes(file.bytes());
        EXPECT_EQ(take.frameCount, 200);
        ASSERT_EQ(take.channels.size(), 3U);
        EXPECT_EQ(take.analogTracks->timeLength(), 200);
        EXPECT_EQ(samplesAt(take, 199)[2],
                  static_cast<float>((FileBuilder::stored(2, 199) - 10) * 2 * 0.5));
    }
}

TEST(C3dHabits, NoScaleAtAllLeavesItToTheSizeOfTheFile) {
    for (const C3dEncoding encoding : allEncodings) {
        FileBuilder file = analog(encoding, 0, 4);
        file.scale = 0;
        file.records.erase(
            std::find_if(file.records.begin(), file.records.end(),
                         [](const auto& one) { return one.group == 1 && one.name == "SCALE"; }));
        const C3dTake take = readBytes(file.bytes());
        EXPECT_EQ(take.encoding, encoding);
        EXPECT_EQ(take.frameCount, 200);
    }
}

TEST(C3dHabits, TheFourthWordMayBeTheBitsOfAnInteger) {
    FileBuilder file = frames(60);
    std::string bytes = file.bytes();
    const auto put = [&bytes](std::size_t marker, std::int32_t number) {
        std::memcpy(&bytes[std::size_t{3} * 512 + marker * 16 + 12], &number, sizeof number);
    };
    put(0, 0x1503); // hardly more than 0 as a real
    put(1, -1);     // no number as a real
    const C3dTake take = readBytes(bytes);
    EXPECT_TRUE(markersAt(take, 0)[0].hasPosition());
    EXPECT_FALSE(markersAt(take, 0)[1].hasPosition());
}

TEST(C3dHabits, EventsMayHaveFewerContextsAndSubjectsThanLabels) {
    FileBuilder file = frames(60);
    file.group(4, "EVENT").number(4, "USED", 3).texts(4, "CONTEXTS", {"Left"});
    file.texts(4, "LABELS", {"Foot Strike", "Foot Off", "General"});
    file.numbers(4, "TIMES", {0, 1, 0, 61.5F, 1, 2}, {2, 3});
    const C3dTake take = readStrictly(file.bytes());
    ASSERT_EQ(take.events.size(), 3U);
    EXPECT_EQ(take.events[0].context, "Left");
    EXPECT_EQ(take.events[1].context, "");
    EXPECT_EQ(take.events[1].time, 61.5);
    EXPECT_EQ(take.events[2].time, 62);
}

TEST(C3dHabits, GroupsMayHaveAnyNumbersAndShareAName) {
    FileBuilder file = frames(60);
    file.group(127, "POINT").text(127, "UNITS2", "deg").group(99, "");
    file.integer(99, "X", 1);
    const C3dTake take = readBytes(file.bytes());
    expectWhole(take, file);
    EXPECT_TRUE(take.parameters.find("POINT", "UNITS2"));
    EXPECT_TRUE(take.parameters.find("POINT", "USED"));
}

TEST(C3dHabits, AParameterStatedTwiceCountsOnce) {
    FileBuilder file = frames(60);
    file.integer(1, "USED", 7);
    const C3dTake take = readBytes(file.bytes());
    expectWhole(take, file);
}

TEST(C3dHabits, ARateMayBeThatOfTelevision) {
    FileBuilder file;
    file.rate = 60'000.0F / 1001;
    file.standard();
    EXPECT_EQ(readStrictly(file.bytes()).rate, static_cast<double>(60'000.0F / 1001));
}

} // namespace
} // namespace tarn::kit
