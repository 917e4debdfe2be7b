// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "kit/files/C3dTesting.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

// Habits of the programs that write C3D files: none of them is wrong, or costs what the file says
// otherwise.

namespace tarn::kit {
namespace {

using namespace c3d_testing;

/// Expects the samples of the markers to be those that a builder puts into its files.
void expectMarkers(const C3dTake& take, const FileBuilder& file) {
    ASSERT_EQ(take.frameCount, file.frames);
    ASSERT_EQ(take.markers.size(), static_cast<std::size_t>(file.points));
    for (int frame = 0; frame < file.frames; ++frame) {
        for (int marker = 0; marker < file.points; ++marker) {
            const Marker& one = markersAt(take, frame)[static_cast<std::size_t>(marker)];
            ASSERT_EQ(one.hasPosition(), FileBuilder::isSeen(marker, frame));
            if (one.hasPosition()) {
                ASSERT_EQ(one.position.x, FileBuilder::coordinate(marker, frame, 0));
                ASSERT_EQ(one.position.z, FileBuilder::coordinate(marker, frame, 2));
                ASSERT_EQ(one.residual, FileBuilder::residualSteps * 0.25F);
                ASSERT_EQ(one.cameras, FileBuilder::cameras);
            }
        }
    }
}

void expectSamples(const C3dTake& take, const FileBuilder& file) {
    ASSERT_EQ(take.channels.size(), static_cast<std::size_t>(file.channels));
    ASSERT_EQ(take.samplesPerFrame, file.samples);
    for (int sample = 0; sample < file.frames * file.samples; ++sample) {
        for (int channel = 0; channel < file.channels; ++channel) {
            const auto index = static_cast<std::size_t>(channel);
            const C3dChannel& one = take.channels[index];
            ASSERT_EQ(samplesAt(take, sample)[index],
                      (FileBuilder::stored(channel, sample) - one.offset) * one.scale);
        }
    }
}

FileBuilder analogFile(C3dEncoding encoding = C3dEncoding::IntelReal) {
    FileBuilder file(encoding);
    file.points = 6;
    file.frames = 50;
    file.channels = 4;
    file.samples = 5;
    file.dataBlock = 5;
    return file;
}

TEST(C3dMakers, MayLeaveTheFirstTwoBytesOfTheParametersOut) {
    FileBuilder file = analogFile();
    std::string bytes = file.standard().bytes();
    bytes[512] = '\0';
    bytes[513] = '\0';
    const C3dTake take = readBytes(bytes);
    expectMarkers(take, file);
    expectSamples(take, file);
    EXPECT_TRUE(take.report.empty()) << to_string(take.report.front());
}

TEST(C3dMakers, MayStateScaleAndRateAsWholeNumbers) {
    for (const C3dEncoding encoding : {C3dEncoding::IntelReal, C3dEncoding::MipsReal}) {
        FileBuilder file(encoding);
        file.scale = -1;
        file.standard().without("SCALE").integer(1, "SCALE", -1);
        file.without("RATE").integer(1, "RATE", 100);
        const C3dTake take = readStrictly(file.bytes());
        EXPECT_EQ(take.encoding, encoding);
        EXPECT_EQ(take.scale, 1);
        EXPECT_EQ(take.rate, 100);
    }
}

TEST(C3dMakers, MayStateAScaleOfTheWrongSignEverywhere) {
    FileBuilder reals = analogFile();
    reals.scale = 0.25F;
    const C3dTake asReals = readBytes(reals.standard().bytes());
    expectMarkers(asReals, reals);
    expectSamples(asReals, reals);
    ASSERT_TRUE(findingOn(asReals, "POINT:SCALE"));
    EXPECT_TRUE(findingOn(asReals, "header word 7"));
    FileBuilder integers = analogFile(C3dEncoding::MipsInteger);
    integers.scale = -0.25F;
    const C3dTake asIntegers = readBytes(integers.standard().bytes());
    expectMarkers(asIntegers, integers);
    expectSamples(asIntegers, integers);
    EXPECT_EQ(asIntegers.scale, 0.25);
    EXPECT_TRUE(findingOn(asIntegers, "POINT:SCALE"));
}

TEST(C3dMakers, MayStateOnlyTheRateOfTheChannels) {
    FileBuilder file = analogFile();
    file.points = 0;
    file.rate = 0;
    file.standard().without("RATE").number(1, "RATE", 0).number(2, "RATE", 1000);
    const C3dTake take = readBytes(file.bytes());
    expectSamples(take, file);
    EXPECT_EQ(take.rate, 200);
    EXPECT_EQ(take.analogRate(), 1000);
}

TEST(C3dMakers, MayHaveAnAnalogGroupWithoutChannels) {
    for (const int samples : {0, 1}) {
        FileBuilder file;
        file.standard().group(2, "ANALOG").integer(2, "USED", 0).number(2, "RATE", 0);
        file.add(2, "LABELS", -1, {0, 0}, "").add(2, "SCALE", 4, {0}, "");
        file.add(2, "OFFSET", 2, {0}, "").number(2, "GEN_SCALE", 1).header(10, samples);
        const C3dTake take = readStrictly(file.bytes());
        expectMarkers(take, file);
        EXPECT_EQ(take.samplesPerFrame, 0);
        EXPECT_EQ(take.analogTracks, nullptr);
    }
}

TEST(C3dMakers, MayDescribeMoreOrFewerThanThereAre) {
    FileBuilder file = analogFile();
    file.standard().texts(1, "DESCRIPTIONS", {"first", "second"});
    file.texts(2, "DESCRIPTIONS", {"a", "b", "c", "d", "e", "f"});
    const C3dTake take = readStrictly(file.bytes());
    EXPECT_EQ(take.markers[1].description, "second");
    EXPECT_EQ(take.markers[2].description, "");
    EXPECT_EQ(take.channels[3].description, "d");
}

TEST(C3dMakers, MayStateFewerOffsetsThanChannels) {
    FileBuilder file = analogFile();
    file.standard().without("OFFSET").integers(2, "OFFSET", {10, 20});
    const C3dTake take = readBytes(file.bytes());
    expectSamples(take, file);
    EXPECT_EQ(take.channels[1].offset, 20);
    EXPECT_EQ(take.channels[2].offset, 0);
    EXPECT_EQ(findingOn(take, "ANALOG:OFFSET")->found, "2 offsets");
}

TEST(C3dMakers, MayNumberWhatHasNoLabel) {
    FileBuilder file;
    file.standard().without("LABELS").texts(1, "LABELS", {"Ann:LFHD", "*1", "U_2"});
    const C3dTake take = readStrictly(file.bytes());
    EXPECT_EQ(take.markers[0].subject, "Ann");
    EXPECT_EQ(take.markers[1].label(), "*1");
    EXPECT_EQ(take.markers[2].label(), "U_2");
}

TEST(C3dMakers, MayFillNamesUpWithBlanks) {
    FileBuilder file = analogFile();
    file.standard();
    for (FileBuilder::Record& one : file.records) {
        one.name += "  ";
    }
    const C3dTake take = readStrictly(file.bytes());
    expectMarkers(take, file);
    expectSamples(take, file);
    EXPECT_EQ(take.unit, "mm");
}

TEST(C3dMakers, MayRoundTheRateOfTheChannels) {
    FileBuilder file = analogFile();
    file.rate = 59.94F;
    file.standard().without("RATE").number(1, "RATE", 59.94F).number(2, "RATE", 300);
    const C3dTake take = readBytes(file.bytes());
    expectSamples(take, file);
    EXPECT_NEAR(take.analogRate(), 299.7, 1e-4);
    EXPECT_TRUE(findingOn(take, "ANALOG:RATE"));
}

TEST(C3dMakers, MayCountFromAnyFrame) {
    for (const int first : {0, 1, 100, 32767, 40000, 65000}) {
        FileBuilder file;
        file.firstFrame = first;
        const C3dTake take = readStrictly(file.standard().bytes());
        expectMarkers(take, file);
        EXPECT_EQ(take.firstFrame, first);
    }
}

TEST(C3dMakers, MayStateMoreTimesThanEventsAndHideSomeInTheHeader) {
    FileBuilder file;
    file.header(150, 12345).header(151, 2).headerReal(153, 0.5F).headerReal(155, 1.5F);
    file.header(189, 256).header(199, 0x4852).header(200, 0x2053);
    file.standard().group(4, "EVENT").integer(4, "USED", 2);
    file.texts(4, "CONTEXTS", {"Right", "Left", "General"});
    file.texts(4, "LABELS", {"Foot Strike", "Foot Off", "Event"});
    file.numbers(4, "TIMES", {0, 1.5F, 1, 2.25F, 0, 0}, {2, 3});
    file.group(5, "EVENT_CONTEXT").integer(5, "USED", 1).texts(5, "LABELS", {"General"});
    const C3dTake take = readBytes(file.bytes());
    ASSERT_EQ(take.events.size(), 4U);
    EXPECT_TRUE(take.events[0].shown);
    EXPECT_FALSE(take.events[1].shown);
    EXPECT_EQ(take.events[0].label, "RHS");
    EXPECT_EQ(findingOn(take, "EVENT:TIMES")->found, "3 times");
    EXPECT_EQ(take.events[3].time, 62.25);
    EXPECT_EQ(take.events[3].context, "Left");
    EXPECT_NE(take.parameters.find("EVENT_CONTEXT", "LABELS"), nullptr);
}

TEST(C3dMakers, MayHaveMoreEventsThanOneParameterHolds) {
    FileBuilder file;
    file.dataBlock = 30;
    std::vector<float> times;
    for (int i = 0; i < 255; ++i) {
        times.insert(times.end(), {0, static_cast<float>(i)});
    }
    file.standard().group(4, "EVENT").integer(4, "USED", 257);
    file.texts(4, "LABELS", std::vector<std::string>(255, "Step"));
    file.texts(4, "LABELS2", {"Stop", "End"});
    file.numbers(4, "TIMES", times, {2, 255}).numbers(4, "TIMES2", {5, 0, 6, 1}, {2, 2});
    const C3dTake take = readStrictly(file.bytes());
    ASSERT_EQ(take.events.size(), 257U);
    EXPECT_EQ(take.events[254].time, 254);
    EXPECT_EQ(take.events[256].label, "End");
    EXPECT_EQ(take.events[256].time, 361);
}

TEST(C3dMakers, MayKeepForcePlatesAndTheirOwnGroups) {
    FileBuilder file = analogFile();
    file.standard().group(9, "FORCE_PLATFORM").integer(9, "USED", 1).integers(9, "TYPE", {2});
    file.numbers(9, "CORNERS", std::vector<float>(12, 1.5F), {3, 4, 1});
    file.integers(9, "ZERO", {1, 10}).group(20, "MANUFACTURER").text(20, "COMPANY", "Nobody");
    file.add(20, "BYTES", 1, {3}, "\x01\xff\x7f").add(20, "DEEP", 2, {1, 1, 1, 1, 1, 1, 1}, "\1\2");
    const C3dTake take = readStrictly(file.bytes());
    expectMarkers(take, file);
    const C3dParameter* const corners = take.parameters.find("FORCE_PLATFORM", "CORNERS");
    ASSERT_NE(corners, nullptr);
    EXPECT_EQ(corners->dimensions, (std::vector<std::uint8_t>{3, 4, 1}));
    EXPECT_EQ(corners->number(11), 1.5);
    EXPECT_EQ(take.parameters.find("MANUFACTURER", "BYTES")->numbers(),
              (std::vector<double>{1, -1, 127}));
    EXPECT_EQ(take.parameters.find("MANUFACTURER", "DEEP")->number(), 513);
}

} // namespace
} // namespace tarn::kit
