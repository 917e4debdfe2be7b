// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "kit/files/c3d/C3dSettling.h"

#include <gtest/gtest.h>

#include <limits>
#include <sstream>
#include <string>

// Numbers that say what is where in the data, each of them strange, or stated twice and
// differently.

namespace tarn::kit {
namespace {

using namespace c3d_testing;

TEST(C3dLayout, TheNumberOfMarkersIsWhatFillsTheFile) {
    expectSettled(FileBuilder().standard().header(2, 200).bytes(), "header word 2", "200", "3");
    FileBuilder file;
    file.standard().without("USED").integer(1, "USED", 200);
    expectSettled(file.bytes(), "POINT:USED", "200", "3");
}

TEST(C3dLayout, TheNumberOfFramesIsWhatFillsTheFile) {
    FileBuilder file = large();
    file.standard().header(5, 90);
    const C3dTake take = readBytes(file.bytes());
    expectData(take, 32);
    EXPECT_EQ(findingOn(take, "header word 5")->found, "90");

    FileBuilder other = large();
    other.standard().without("FRAMES").integer(1, "FRAMES", 2);
    expectData(readBytes(other.bytes()), 32);
}

TEST(C3dLayout, TheParametersAreBelievedBeforeTheHeaderWhereTheFileTellsNothing) {
    FileBuilder file;
    file.standard().header(5, 3); // 3 and 4 frames take the same block
    const C3dTake take = readBytes(file.bytes());
    expectData(take);
    EXPECT_EQ(findingOn(take, "header word 5")->believed, "4");
}

TEST(C3dLayout, TheSignOfTheScaleIsWhatFillsTheFile) {
    FileBuilder file = large();
    expectData(readBytes(file.standard().headerReal(7, 0.25F).bytes()), 32);
    FileBuilder other = large();
    other.standard().without("SCALE").number(1, "SCALE", 0.25F);
    const C3dTake take = readBytes(other.bytes());
    expectData(take, 32);
    EXPECT_EQ(findingOn(take, "POINT:SCALE")->found, "0.25");
    EXPECT_EQ(findingOn(take, "POINT:SCALE")->believed, "-0.25");
}

TEST(C3dLayout, TheScaleOfTheParametersIsBelieved) {
    FileBuilder file(C3dEncoding::IntelInteger);
    expectSettled(file.standard().headerReal(7, 1).bytes(), "header word 7", "1", "0.25");
}

TEST(C3dLayout, AScaleThatIsNoneIsTakenFromTheOtherPlace) {
    FileBuilder file(C3dEncoding::IntelInteger);
    file.standard().without("SCALE").number(1, "SCALE", 0);
    expectSettled(file.bytes(), "POINT:SCALE", "0", "0.25");
    FileBuilder missing(C3dEncoding::IntelInteger);
    expectData(readBytes(missing.standard().without("SCALE").bytes()));
}

TEST(C3dLayout, TheRateOfTheParametersIsBelievedIfItIsOne) {
    FileBuilder file;
    EXPECT_EQ(readBytes(file.standard().headerReal(11, 50).bytes()).rate, 100);
    expectSettled(file.bytes(), "header word 11", "50", "100");
    for (const float broken : {0.0F, -100.0F, std::numeric_limits<float>::quiet_NaN(),
                               std::numeric_limits<float>::infinity()}) {
        FileBuilder other;
        other.standard().without("RATE").number(1, "RATE", broken);
        EXPECT_EQ(readBytes(other.bytes()).rate, 100) << broken;
    }
    FileBuilder missing;
    EXPECT_EQ(readBytes(missing.standard().without("RATE").bytes()).rate, 100);
    FileBuilder none;
    none.standard().without("RATE").headerReal(11, 0);
    const C3dTake take = readBytes(none.bytes());
    EXPECT_EQ(take.rate, 1);
    EXPECT_EQ(take.tracks->fps(), 1);
    EXPECT_TRUE(findingOn(take, "header word 11"));
}

TEST(C3dLayout, ARateThatNoRecordingHasGivesWayToOneThatDoes) {
    for (const float broken : {1e-20F, 1e20F}) {
        FileBuilder file;
        file.standard().without("RATE").number(1, "RATE", broken);
        const C3dTake take = readBytes(file.bytes());
        expectData(take);
        EXPECT_EQ(take.rate, 100) << broken;
        EXPECT_EQ(findingOn(take, "POINT:RATE")->believed, "100") << broken;
        file.headerReal(11, broken);
        EXPECT_EQ(readBytes(file.bytes()).rate, static_cast<double>(broken)) << "twice the same";
    }
}

TEST(C3dLayout, AScaleThatNoRecordingHasGivesWayToOneThatDoes) {
    for (const float broken : {1e-20F, 1e20F}) {
        FileBuilder file(C3dEncoding::IntelInteger);
        file.standard().without("SCALE").number(1, "SCALE", broken);
        const C3dTake take = readBytes(file.bytes());
        expectData(take);
        EXPECT_EQ(take.scale, 0.25) << broken;
        EXPECT_EQ(findingOn(take, "POINT:SCALE")->believed, "0.25") << broken;
        file.headerReal(7, broken);
        EXPECT_EQ(readBytes(file.bytes()).scale, static_cast<double>(broken)) << "twice the same";
    }
}

TEST(C3dLayout, ARateThatIsNotWholeIsKeptExactlyAndRoundedForTheTake) {
    FileBuilder file;
    file.rate = 59.94F;
    const C3dTake take = readStrictly(file.standard().bytes());
    EXPECT_EQ(take.rate, static_cast<double>(59.94F));
    EXPECT_EQ(take.tracks->fps(), 60);
    EXPECT_EQ(take.tracks->getFrame(3, markerDataType)->time(), Time(3, 60));
}

TEST(C3dLayout, DataThatStartNowhereStartBehindTheParameters) {
    FileBuilder file;
    file.dataBlock = 3;
    file.standard().without("DATA_START").integer(1, "DATA_START", 0).header(9, 0);
    const C3dTake take = readBytes(file.bytes());
    expectData(take);
    EXPECT_EQ(findingOn(take, "POINT:DATA_START")->believed, "3");
    EXPECT_EQ(findingOn(take, "header word 9")->believed, "3");
}

TEST(C3dLayout, DataThatStartNowhereStartBehindTheStatedBlocksOfParametersIfThatFillsTheFile) {
    FileBuilder file; // with a block of parameters that holds none
    file.blocks = 2;
    file.standard().without("DATA_START").integer(1, "DATA_START", 0).header(9, 0);
    const C3dTake take = readBytes(file.bytes());
    expectData(take);
    EXPECT_EQ(findingOn(take, "POINT:DATA_START")->believed, "4");
    EXPECT_EQ(findingOn(take, "header word 9")->believed, "4");
}

TEST(C3dLayout, ADataStartOfZeroIsTakenFromTheOtherPlace) {
    expectSettled(FileBuilder().standard().header(9, 0).bytes(), "header word 9", "0", "4");
    FileBuilder file;
    file.standard().without("DATA_START").integer(1, "DATA_START", 0);
    expectSettled(file.bytes(), "POINT:DATA_START", "0", "4");
}

TEST(C3dLayout, DataDoNotStartAmongTheParametersOrBehindTheFile) {
    expectSettled(FileBuilder().standard().header(9, 2).bytes(), "header word 9", "2", "4");
    expectSettled(FileBuilder().standard().header(9, 9000).bytes(), "header word 9", "9000", "4");
}

TEST(C3dLayout, ATakeThatBreaksOffHasTheFramesThatAreThere) {
    const std::string bytes = large().standard().bytes();
    const C3dTake take = readBytes(bytes.substr(0, bytes.size() - 700));
    EXPECT_EQ(take.frameCount, 2);
    EXPECT_EQ(findingOn(take, "the size of the file")->found, "4 frames");
    EXPECT_EQ(findingOn(take, "the size of the file")->believed, "2");
}

TEST(C3dLayout, TheLastBlockNeedNotBePadded) {
    FileBuilder file;
    file.padded = false;
    expectData(readStrictly(file.standard().bytes()));
}

TEST(C3dLayout, BytesBehindTheDataAreReported) {
    FileBuilder file;
    const std::string bytes = file.standard().bytes() + std::string(5000, 'x');
    const C3dTake take = readBytes(bytes);
    expectData(take);
    EXPECT_TRUE(findingOn(take, "the size of the file"));
    expectData(readStrictly(file.bytes() + std::string(512, '\0')));
}

TEST(C3dLayout, AFileWithoutFramesHasItsMarkersAllTheSame) {
    FileBuilder file;
    file.frames = 0;
    file.firstFrame = 1;
    const C3dTake take = readBytes(file.standard().bytes());
    EXPECT_EQ(take.frameCount, 0);
    EXPECT_EQ(take.markers.size(), 3U);
    EXPECT_EQ(take.tracks->timeLength(), 0);
}

TEST(C3dLayout, FramesThatNobodyCountsAreThoseThatTheFileHolds) {
    FileBuilder file = large();
    file.standard().without("FRAMES").header(4, 0).header(5, 0);
    const C3dTake missing = readBytes(file.bytes());
    expectData(missing, 32);
    EXPECT_EQ(findingOn(missing, "POINT:FRAMES")->found, "no number of frames");
    file.integer(1, "FRAMES", 0);
    const C3dTake none = readBytes(file.bytes());
    expectData(none, 32);
    EXPECT_EQ(findingOn(none, "POINT:FRAMES")->found, "0");
    FileBuilder empty; // with a block of padding
    empty.frames = 0;
    EXPECT_EQ(readBytes(empty.standard().bytes() + std::string(512, '\0')).frameCount, 0);
}

TEST(C3dLayout, UnsignedOffsetsAreThatInRealFilesToo) {
    FileBuilder file;
    file.channels = 1;
    file.samples = 1;
    file.standard().without("OFFSET").integers(2, "OFFSET", {32768}).text(2, "FORMAT", "UNSIGNED");
    C3dTake take = readBytes(file.bytes());
    EXPECT_EQ(take.channels[0].offset, 32768);
    take.channels[0].offset = 40000;
    std::ostringstream stream;
    writeC3d(take, stream);
    EXPECT_EQ(readBytes(stream.str()).channels[0].offset, 40000);
}

TEST(C3dLayout, ABlockOfPaddingTooManyIsNoReasonToDoubtWhatIsStated) {
    FileBuilder file = large();
    file.standard().headerReal(7, 0.25F); // as integers the data would fill half of the file
    const C3dTake take = readBytes(file.bytes() + std::string(512, '\0'));
    expectData(take, 32);
    EXPECT_FALSE(findingOn(take, "the size of the file"));
    FileBuilder integers = large(); // and the other way round: no reals at all
    integers.standard().without("SCALE").number(1, "SCALE", 0.25F);
    expectData(readBytes(integers.bytes() + std::string(512, '\0')), 32);
}

TEST(C3dLayout, ListsSayHowManyThereAreWhereNumbersDisagree) {
    FileBuilder file; // 3 and 4 markers fill the same block
    file.frames = 4;
    file.standard().without("USED").integer(1, "USED", 4);
    expectSettled(file.bytes(), "POINT:USED", "4", "3");
    FileBuilder analog;
    analog.channels = 2;
    analog.samples = 1;
    analog.rate = 50;
    analog.standard().without("RATE").number(1, "RATE", 50);
    for (FileBuilder::Record& record : analog.records) {
        if (record.name == "USED" && record.group == 2) {
            record.content[2] = 1; // of 2 samples each, it could be as well
        }
    }
    for (const char* const list : {"LABELS", "SCALE"}) { // each of the two says it by itself
        FileBuilder one = analog;
        const int group = 2;
        one.records.erase(std::remove_if(one.records.begin(), one.records.end(),
                                         [&](const FileBuilder::Record& record) {
                                             return record.group == group && record.name == list;
                                         }),
                          one.records.end());
        const C3dTake take = readBytes(one.bytes());
        EXPECT_EQ(take.channels.size(), 2U) << "without " << list;
        EXPECT_EQ(findingOn(take, "ANALOG:USED")->found, "1");
    }
}

TEST(C3dLayout, DataEndWhereParametersBehindThemStart) {
    FileBuilder file;
    file.dataBlock = 2;
    file.standard().without("FRAMES").integer(1, "FRAMES", 200).header(5, 200);
    std::string bytes = file.header() + file.data();
    bytes.resize(1024, '\0');
    bytes[0] = 3;
    const C3dTake take = readBytes(bytes + file.section());
    EXPECT_LE(take.frameCount, 512 / 48);
    EXPECT_EQ(findingOn(take, "the size of the file")->offset, 1024U);
}

} // namespace
} // namespace tarn::kit
