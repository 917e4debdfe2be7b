// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "kit/files/C3dTesting.h"

#include <algorithm>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

// Files as they are out there: each states something strange, or twice and differently.

namespace tarn::kit {
namespace {

using namespace c3d_testing;

/// Expects the data of the builder to be read, whatever the file says.
void expectData(const C3dTake& take, int points = 3, int frames = 4) {
    ASSERT_EQ(take.frameCount, frames);
    ASSERT_EQ(take.markers.size(), static_cast<std::size_t>(points));
    for (int frame = 0; frame < frames; ++frame) {
        for (int i = 0; i < points; ++i) {
            const Marker marker = markersAt(take, frame)[static_cast<std::size_t>(i)];
            ASSERT_EQ(marker.hasPosition(), FileBuilder::isSeen(i, frame)) << i << " in " << frame;
            if (marker.hasPosition()) {
                ASSERT_EQ(marker.position.x, FileBuilder::coordinate(i, frame, 0));
                ASSERT_EQ(marker.position.z, FileBuilder::coordinate(i, frame, 2));
            }
        }
    }
}

/// Expects the data to be read, one place to be reported, and strict reading to refuse it there.
void expectSettled(const std::string& bytes, const std::string& place, const std::string& found,
                   const std::string& believed) {
    const C3dTake take = readBytes(bytes);
    expectData(take);
    const auto finding = findingOn(take, place);
    ASSERT_TRUE(finding) << place;
    EXPECT_EQ(finding->found, found);
    EXPECT_EQ(finding->believed, believed);
    EXPECT_TRUE(finding->isContradiction);
    EXPECT_FALSE(finding->reason.empty());
    const auto error = errorOf(bytes, C3dMode::Strict);
    ASSERT_TRUE(error) << place;
    EXPECT_EQ(error->offset(), finding->offset) << error->what();
}

/// A file whose frames are whole blocks, so that any other number of them leaves a gap.
FileBuilder large() {
    FileBuilder file;
    file.points = 32;
    file.frames = 4;
    return file;
}

// What is stated twice.

TEST(C3dOddities, TheNumberOfMarkersIsWhatFillsTheFile) {
    expectSettled(FileBuilder().standard().header(2, 200).bytes(), "header word 2", "200", "3");
    FileBuilder file;
    file.standard().without("USED").integer(1, "USED", 200);
    expectSettled(file.bytes(), "POINT:USED", "200", "3");
}

TEST(C3dOddities, TheNumberOfFramesIsWhatFillsTheFile) {
    FileBuilder file = large();
    file.standard().header(5, 90);
    const C3dTake take = readBytes(file.bytes());
    expectData(take, 32);
    EXPECT_EQ(findingOn(take, "header word 5")->found, "90");

    FileBuilder other = large();
    other.standard().without("FRAMES").integer(1, "FRAMES", 2);
    expectData(readBytes(other.bytes()), 32);
}

TEST(C3dOddities, TheParametersAreBelievedBeforeTheHeaderWhereTheFileTellsNothing) {
    FileBuilder file;
    file.standard().header(5, 3); // 3 and 4 frames take the same block
    const C3dTake take = readBytes(file.bytes());
    expectData(take);
    EXPECT_EQ(findingOn(take, "header word 5")->believed, "4");
}

TEST(C3dOddities, TheSignOfTheScaleIsWhatFillsTheFile) {
    FileBuilder file = large();
    expectData(readBytes(file.standard().headerReal(7, 0.25F).bytes()), 32);
    FileBuilder other = large();
    other.standard().without("SCALE").number(1, "SCALE", 0.25F);
    const C3dTake take = readBytes(other.bytes());
    expectData(take, 32);
    EXPECT_EQ(findingOn(take, "POINT:SCALE")->found, "0.25");
    EXPECT_EQ(findingOn(take, "POINT:SCALE")->believed, "-0.25");
}

TEST(C3dOddities, TheScaleOfTheParametersIsBelieved) {
    FileBuilder file(C3dEncoding::IntelInteger);
    expectSettled(file.standard().headerReal(7, 1).bytes(), "header word 7", "1", "0.25");
}

TEST(C3dOddities, AScaleThatIsNoneIsTakenFromTheOtherPlace) {
    FileBuilder file(C3dEncoding::IntelInteger);
    file.standard().without("SCALE").number(1, "SCALE", 0);
    expectSettled(file.bytes(), "POINT:SCALE", "0", "0.25");
    FileBuilder missing(C3dEncoding::IntelInteger);
    expectData(readBytes(missing.standard().without("SCALE").bytes()));
}

TEST(C3dOddities, TheRateOfTheParametersIsBelievedIfItIsOne) {
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

TEST(C3dOddities, ARateThatNoRecordingHasGivesWayToOneThatDoes) {
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

TEST(C3dOddities, AScaleThatNoRecordingHasGivesWayToOneThatDoes) {
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

TEST(C3dOddities, ARateThatIsNotWholeIsKeptExactlyAndRoundedForTheTake) {
    FileBuilder file;
    file.rate = 59.94F;
    const C3dTake take = readStrictly(file.standard().bytes());
    EXPECT_EQ(take.rate, static_cast<double>(59.94F));
    EXPECT_EQ(take.tracks->fps(), 60);
    EXPECT_EQ(take.tracks->getFrame(3, markerDataType)->time(), Time(3, 60));
}

// Where the data is.

TEST(C3dOddities, DataThatStartNowhereStartBehindTheParameters) {
    FileBuilder file;
    file.dataBlock = 3;
    file.standard().without("DATA_START").integer(1, "DATA_START", 0).header(9, 0);
    const C3dTake take = readBytes(file.bytes());
    expectData(take);
    EXPECT_EQ(findingOn(take, "POINT:DATA_START")->believed, "3");
    EXPECT_EQ(findingOn(take, "header word 9")->believed, "3");
}

TEST(C3dOddities, DataThatStartNowhereStartBehindTheStatedBlocksOfParametersIfThatFillsTheFile) {
    FileBuilder file; // with a block of parameters that holds none
    file.blocks = 2;
    file.standard().without("DATA_START").integer(1, "DATA_START", 0).header(9, 0);
    const C3dTake take = readBytes(file.bytes());
    expectData(take);
    EXPECT_EQ(findingOn(take, "POINT:DATA_START")->believed, "4");
    EXPECT_EQ(findingOn(take, "header word 9")->believed, "4");
}

TEST(C3dOddities, ADataStartOfZeroIsTakenFromTheOtherPlace) {
    expectSettled(FileBuilder().standard().header(9, 0).bytes(), "header word 9", "0", "4");
    FileBuilder file;
    file.standard().without("DATA_START").integer(1, "DATA_START", 0);
    expectSettled(file.bytes(), "POINT:DATA_START", "0", "4");
}

TEST(C3dOddities, DataDoNotStartAmongTheParametersOrBehindTheFile) {
    expectSettled(FileBuilder().standard().header(9, 2).bytes(), "header word 9", "2", "4");
    expectSettled(FileBuilder().standard().header(9, 9000).bytes(), "header word 9", "9000", "4");
}

TEST(C3dOddities, ParametersMayStartInAnyBlock) {
    FileBuilder file;
    file.parameterBlock = 5;
    file.dataBlock = 9;
    const C3dTake take = readStrictly(file.standard().bytes());
    expectData(take);
    EXPECT_EQ(take.parameters.find("POINT")->offset, 4U * 512 + 4);
}

TEST(C3dOddities, ParametersMayFollowTheData) {
    FileBuilder file;
    file.dataBlock = 2;
    std::string bytes = file.standard().header() + file.data();
    bytes.resize(1024, '\0');
    bytes[0] = 3;
    bytes += file.section();
    expectData(readBytes(bytes));
}

TEST(C3dOddities, ParametersAreFoundWhereTheHeaderIsWrongAboutThem) {
    FileBuilder file;
    std::string bytes = file.standard().bytes();
    for (const char wrong : {'\0', '\1', '\3', '\x7f'}) {
        bytes[0] = wrong;
        expectSettled(bytes, "header word 1",
                      "parameters in block " + std::to_string(static_cast<int>(wrong)), "block 2");
    }
}

TEST(C3dOddities, TheNumberOfParameterBlocksMayLie) {
    for (const int stated : {0, 1, 200}) {
        FileBuilder file;
        file.dataBlock = 8;
        file.standard();
        for (int i = 0; i < 20; ++i) {
            file.texts(1, "EXTRA" + std::to_string(i), {std::string(50, 'x')});
        }
        file.blocks = stated;
        const C3dTake take = readBytes(file.bytes());
        expectData(take);
        EXPECT_NE(take.parameters.find("POINT", "EXTRA19"), nullptr) << stated;
        EXPECT_EQ(findingOn(take, "the number of parameter blocks").has_value(), stated < 3);
    }
}

// How the parameters are written.

TEST(C3dOddities, TheLastParameterMayBeMarkedByADistanceOfZero) {
    FileBuilder file;
    file.endsWithZero = true;
    file.behindParameters = std::string("\x05\x01STALE\x08\x00\x02\x00\x07\x00\x00", 14);
    const C3dTake take = readStrictly(file.standard().bytes());
    expectData(take);
    EXPECT_EQ(take.parameters.find("POINT", "STALE"), nullptr) << "bytes behind the last one";
}

TEST(C3dOddities, ADistanceOfZeroBeforeTheEssentialsIsNotTheEnd) {
    FileBuilder file;
    file.standard();
    file.record("POINT").distance = 0;
    const C3dTake take = readBytes(file.bytes());
    expectData(take);
    EXPECT_FALSE(take.report.empty());
}

TEST(C3dOddities, ADistanceThatLeadsNowhereIsIgnoredIfTheNextRecordFollows) {
    for (const int distance : {1, 5, 40000}) {
        FileBuilder file;
        file.standard();
        file.record("USED").distance = distance;
        const C3dTake take = readBytes(file.bytes());
        expectData(take);
        EXPECT_FALSE(take.report.empty()) << distance;
    }
}

TEST(C3dOddities, GapsBetweenParametersAreSkipped) {
    FileBuilder file;
    file.standard();
    FileBuilder::Record& record = file.record("USED");
    record.distance = static_cast<int>(record.content.size()) + 2 + 3;
    record.content += "\x01\x02\x03";
    expectData(readStrictly(file.bytes()));
}

TEST(C3dOddities, GroupsMayComeInAnyOrderAndAfterTheirParameters) {
    FileBuilder file;
    file.standard();
    std::rotate(file.records.begin(), file.records.begin() + 1, file.records.end());
    file.group(90, "FIRST").integer(90, "A", 1).group(7, "SECOND").integer(7, "A", 2);
    const C3dTake take = readStrictly(file.bytes());
    expectData(take);
    EXPECT_EQ(take.parameters.find("FIRST", "A")->number(), 1);
    EXPECT_EQ(take.parameters.find("SECOND", "A")->number(), 2);
}

TEST(C3dOddities, ParametersOfNoGroupAreKeptUnderNoName) {
    FileBuilder file;
    file.standard().integer(50, "LOST", 17);
    const C3dTake take = readBytes(file.bytes());
    expectData(take);
    EXPECT_EQ(take.parameters.find("", "LOST")->number(), 17);
    EXPECT_TRUE(findingOn(take, "group 50"));
}

TEST(C3dOddities, NegativeLengthsOfNamesAreLocks) {
    FileBuilder file;
    file.standard();
    file.record("POINT").locked = true;
    file.record("RATE").locked = true;
    const C3dTake take = readStrictly(file.bytes());
    expectData(take);
    EXPECT_TRUE(take.parameters.find("POINT")->locked);
    EXPECT_TRUE(take.parameters.find("POINT", "RATE")->locked);
    EXPECT_FALSE(take.parameters.find("POINT", "USED")->locked);
}

TEST(C3dOddities, NamesAreFoundInSmallLetters) {
    FileBuilder file;
    file.standard();
    for (FileBuilder::Record& record : file.records) {
        for (char& c : record.name) {
            c = static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
        }
    }
    expectData(readStrictly(file.bytes()));
}

TEST(C3dOddities, ShapesWithAZeroHoldNothing) {
    FileBuilder file;
    file.standard().add(1, "NONE", -1, {16, 0}, "").add(1, "ALSO", 4, {0, 3}, "");
    const C3dTake take = readStrictly(file.bytes());
    expectData(take);
    EXPECT_EQ(take.parameters.find("POINT", "NONE")->count(), 0U);
    EXPECT_TRUE(take.parameters.find("POINT", "ALSO")->numbers().empty());
}

TEST(C3dOddities, WithoutParametersTheHeaderIsEnough) {
    for (const C3dEncoding encoding : allEncodings) {
        FileBuilder file(encoding);
        file.parameterBlock = 0;
        file.dataBlock = 2;
        const C3dTake take = readBytes(file.bytes());
        expectData(take);
        EXPECT_EQ(take.encoding, encoding);
        EXPECT_EQ(take.rate, 100);
        EXPECT_EQ(take.markers[2].name, "*3");
        EXPECT_TRUE(take.parameters.groups().empty());
    }
}

TEST(C3dOddities, AProcessorThatIsNoneIsTheOneThatMakesSense) {
    for (const C3dEncoding encoding : allEncodings) {
        FileBuilder file(encoding);
        std::string bytes = file.standard().bytes();
        bytes[515] = 0;
        const C3dTake take = readBytes(bytes);
        EXPECT_EQ(take.encoding, encoding);
        expectData(take);
        EXPECT_TRUE(findingOn(take, "the type of processor"));
    }
}

TEST(C3dOddities, ADamagedParameterIsNoReasonToDoubtTheProcessor) {
    // The number of the first group, then the length of the name of the first parameter.
    for (const auto& [offset, value] : {std::pair(517U, 0x80), {526U, 1}, {526U, 255}}) {
        for (const C3dEncoding encoding : allEncodings) {
            FileBuilder file(encoding);
            std::string bytes = file.standard().bytes();
            bytes[offset] = static_cast<char>(value);
            const C3dTake take = readBytes(bytes);
            expectData(take);
            EXPECT_EQ(take.encoding, encoding) << offset << ": " << value;
            EXPECT_EQ(take.rate, 100) << offset << ": " << value;
            EXPECT_FALSE(findingOn(take, "the type of processor")) << offset << ": " << value;
        }
    }
}

TEST(C3dOddities, OneEventMayBeAListOfItsMinutesAndSeconds) {
    const auto eventsOf = [](int used, const std::vector<float>& times) {
        FileBuilder file;
        file.standard().group(4, "EVENT").integer(4, "USED", used).numbers(4, "TIMES", times);
        return readBytes(file.bytes()).events;
    };
    const std::vector<C3dEvent> one = eventsOf(1, {1, 1.5F});
    ASSERT_EQ(one.size(), 1U);
    EXPECT_EQ(one[0].time, 61.5);
    const std::vector<C3dEvent> two = eventsOf(2, {1, 1.5F});
    ASSERT_EQ(two.size(), 2U);
    EXPECT_EQ(two[1].time, 1.5);
}

TEST(C3dOddities, AProcessorThatMakesNoSenseOfTheParametersIsNotBelieved) {
    FileBuilder file;
    std::string bytes = file.standard().bytes();
    bytes[515] = 86;
    const C3dTake take = readBytes(bytes);
    EXPECT_EQ(take.encoding, C3dEncoding::IntelReal);
    expectData(take);
}

TEST(C3dOddities, TheKeyOfTheHeaderMayBeMissingIfAllElseIsThere) {
    FileBuilder file;
    std::string bytes = file.standard().bytes();
    bytes[1] = 0;
    expectSettled(bytes, "header word 1", "0", "80");
}

// Long takes.

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

// Too little and too much.

TEST(C3dOddities, ATakeThatBreaksOffHasTheFramesThatAreThere) {
    const std::string bytes = large().standard().bytes();
    const C3dTake take = readBytes(bytes.substr(0, bytes.size() - 700));
    EXPECT_EQ(take.frameCount, 2);
    EXPECT_EQ(findingOn(take, "the size of the file")->found, "4 frames");
    EXPECT_EQ(findingOn(take, "the size of the file")->believed, "2");
}

TEST(C3dOddities, TheLastBlockNeedNotBePadded) {
    FileBuilder file;
    file.padded = false;
    expectData(readStrictly(file.standard().bytes()));
}

TEST(C3dOddities, BytesBehindTheDataAreReported) {
    FileBuilder file;
    const std::string bytes = file.standard().bytes() + std::string(5000, 'x');
    const C3dTake take = readBytes(bytes);
    expectData(take);
    EXPECT_TRUE(findingOn(take, "the size of the file"));
    expectData(readStrictly(file.bytes() + std::string(512, '\0')));
}

TEST(C3dOddities, AFileWithoutFramesHasItsMarkersAllTheSame) {
    FileBuilder file;
    file.frames = 0;
    file.firstFrame = 1;
    const C3dTake take = readBytes(file.standard().bytes());
    EXPECT_EQ(take.frameCount, 0);
    EXPECT_EQ(take.markers.size(), 3U);
    EXPECT_EQ(take.tracks->timeLength(), 0);
}

// Markers.

TEST(C3dMarkers, AreNotSeenIfTheFourthWordIsNegativeOrACoordinateIsNone) {
    FileBuilder file;
    std::string bytes = file.standard().bytes();
    const std::size_t data = std::size_t{3} * 512;
    const auto put = [&](std::size_t marker, std::size_t at, float value) {
        bytes.replace(data + marker * 16 + at * 4, 4, real(C3dEncoding::IntelReal, value));
    };
    put(0, 3, -0.5F);
    put(1, 1, std::numeric_limits<float>::quiet_NaN());
    put(2, 2, std::numeric_limits<float>::infinity());
    for (const Marker& marker : markersAt(readBytes(bytes), 0)) {
        EXPECT_FALSE(marker.hasPosition());
        EXPECT_TRUE(std::isnan(marker.position.x));
    }
}

TEST(C3dMarkers, AreSeenHoweverFarAwayTheyAre) {
    FileBuilder file;
    std::string bytes = file.standard().bytes();
    for (const std::size_t axis : {0U, 1U, 2U}) { // together too large for a number
        bytes.replace(std::size_t{3} * 512 + axis * 4, 4, real(C3dEncoding::IntelReal, 3e38F));
    }
    EXPECT_EQ(markersAt(readBytes(bytes), 0)[0].position, (Vector3f{3e38F, 3e38F, 3e38F}));
}

TEST(C3dMarkers, MayHaveAFourthWordThatIsNoWholeNumberOrLarge) {
    FileBuilder file;
    std::string bytes = file.standard().bytes();
    const auto put = [&](std::size_t marker, float value) {
        bytes.replace(std::size_t{3} * 512 + marker * 16 + 12, 4,
                      real(C3dEncoding::IntelReal, value));
    };
    put(0, 3.9F);
    put(1, 1e30F);
    put(2, -0.0F);
    const C3dTake take = readBytes(bytes);
    EXPECT_EQ(markersAt(take, 0)[0].residual, 0.75F) << "3 steps";
    EXPECT_EQ(markersAt(take, 0)[1].cameras, 0x7F);
    EXPECT_TRUE(markersAt(take, 0)[2].hasPosition());
}

TEST(C3dMarkers, AreNamedByTheirLabelsWithoutTheSubject) {
    FileBuilder file;
    file.points = 6;
    file.standard().without("LABELS");
    file.texts(1, "LABELS", {"Male:LFWT", "RFWT", ":x", "y:", "A:B:C"});
    file.texts(1, "DESCRIPTIONS", {"Left front waist", ""});
    const C3dTake take = readBytes(file.bytes());
    ASSERT_EQ(take.markers.size(), 6U);
    EXPECT_EQ(take.markers[0].subject, "Male");
    EXPECT_EQ(take.markers[0].name, "LFWT");
    EXPECT_EQ(take.markers[0].label(), "Male:LFWT");
    EXPECT_EQ(take.markers[0].description, "Left front waist");
    EXPECT_EQ(take.markers[1].subject, "");
    EXPECT_EQ(take.markers[1].label(), "RFWT");
    EXPECT_EQ(take.markers[2].name, ":x");
    EXPECT_EQ(take.markers[3].name, "y:");
    EXPECT_EQ(take.markers[4].subject, "A");
    EXPECT_EQ(take.markers[4].name, "B:C");
    EXPECT_EQ(take.markers[5].name, "*6");
    EXPECT_EQ(findingOn(take, "POINT:LABELS")->found, "5 labels");
}

TEST(C3dMarkers, MayShareALabelWhichIsReported) {
    FileBuilder file;
    file.standard().without("LABELS").texts(1, "LABELS", {"A", "B", "A"});
    const C3dTake take = readStrictly(file.bytes());
    EXPECT_EQ(take.markers[2].name, "A");
    ASSERT_TRUE(findingOn(take, "POINT:LABELS"));
    EXPECT_EQ(findingOn(take, "POINT:LABELS")->found, "labels that repeat: A");
    EXPECT_FALSE(findingOn(take, "POINT:LABELS")->isContradiction);
}

TEST(C3dMarkers, MayHaveLabelsBeyondAsciiAndPaddedWithNul) {
    FileBuilder file;
    file.standard().without("LABELS");
    file.add(1, "LABELS", -1, {6, 3},
             std::string("H\xfc"
                         "fte ",
                         6) +
                 std::string("B\0zzzz", 6) + std::string("C     ", 6));
    const C3dTake take = readStrictly(file.bytes());
    EXPECT_EQ(take.markers[0].name, "H\xfc"
                                    "fte");
    EXPECT_EQ(take.markers[1].name, "B");
    EXPECT_EQ(take.markers[2].name, "C");
}

TEST(C3dMarkers, BeyondTwoHundredAndFiftyFiveContinueTheirLabels) {
    FileBuilder file(C3dEncoding::MipsReal);
    file.points = 600;
    file.frames = 2;
    file.dataBlock = 40;
    std::vector<std::string> labels;
    labels.reserve(600);
    for (int i = 0; i < 600; ++i) {
        labels.push_back("M" + std::to_string(i));
    }
    const std::vector<std::string> none;
    file.points = 0;
    file.standard().without("LABELS").without("USED").integer(1, "USED", 600);
    file.points = 600;
    file.texts(1, "LABELS", {labels.begin(), labels.begin() + 255});
    file.texts(1, "LABELS2", {labels.begin() + 255, labels.begin() + 510});
    file.texts(1, "LABELS3", {labels.begin() + 510, labels.end()});
    const C3dTake take = readStrictly(file.bytes());
    expectData(take, 600, 2);
    EXPECT_EQ(take.markers[254].name, "M254");
    EXPECT_EQ(take.markers[255].name, "M255");
    EXPECT_EQ(take.markers[599].name, "M599");
}

TEST(C3dMarkers, HaveTheUnitOfTheFileHoweverItIsSpelled) {
    const auto unitOf = [](const std::string& text) {
        FileBuilder file;
        file.standard().without("UNITS").text(1, "UNITS", text);
        return readStrictly(file.bytes());
    };
    EXPECT_EQ(unitOf("mm").unit, "mm");
    EXPECT_EQ(unitOf(std::string("mm\0\0", 4)).unit, "mm");
    EXPECT_EQ(unitOf("MM  ").metresPerUnit, 0.001);
    EXPECT_EQ(unitOf("mete").unit, "m");
    EXPECT_EQ(unitOf("meters").unit, "m");
    EXPECT_EQ(unitOf("Metre").metresPerUnit, 1);
    EXPECT_EQ(unitOf("mill").unit, "mm");
    EXPECT_EQ(unitOf("cm").metresPerUnit, 0.01);
    EXPECT_EQ(unitOf("inch").unit, "in");
    EXPECT_EQ(unitOf("furlong").unit, "furlong");
    EXPECT_EQ(unitOf("furlong").metresPerUnit, 0);
    EXPECT_EQ(unitOf("").unit, "");
    FileBuilder file;
    EXPECT_EQ(readBytes(file.standard().without("UNITS").bytes()).unit, "");
}

// Analog channels.

FileBuilder analog(C3dEncoding encoding = C3dEncoding::IntelReal) {
    FileBuilder file(encoding);
    file.channels = 2;
    file.samples = 3;
    return file;
}

TEST(C3dAnalog, MayComeWithoutMarkers) {
    FileBuilder file = analog();
    file.points = 0;
    file.frames = 40;
    const C3dTake take = readStrictly(file.standard().bytes());
    EXPECT_TRUE(take.markers.empty());
    EXPECT_EQ(take.frameCount, 40);
    EXPECT_EQ(take.analogTracks->timeLength(), 120);
    EXPECT_EQ(samplesAt(take, 119)[1], static_cast<float>(FileBuilder::stored(1, 119) - 10));
    EXPECT_TRUE(markersAt(take, 39).empty());
}

TEST(C3dAnalog, HasNamesUnitsScalesAndOffsets) {
    FileBuilder file = analog();
    file.standard().without("OFFSET").integers(2, "OFFSET", {5, -7});
    file.texts(2, "DESCRIPTIONS", {"", "knee"});
    const C3dTake take = readStrictly(file.bytes());
    ASSERT_EQ(take.channels.size(), 2U);
    EXPECT_EQ(take.channels[0].name, "A1");
    EXPECT_EQ(take.channels[1].unit, "V");
    EXPECT_EQ(take.channels[1].description, "knee");
    EXPECT_EQ(take.channels[1].scale, 1);
    EXPECT_EQ(take.channels[1].offset, -7);
    EXPECT_EQ(samplesAt(take, 0)[1], 1007);
}

TEST(C3dAnalog, OfUnsignedIntegersReachesUpTo65535) {
    FileBuilder file = analog(C3dEncoding::DecInteger);
    file.standard().text(2, "FORMAT", "UNSIGNED").without("OFFSET");
    file.integers(2, "OFFSET", {32768 - 65536, 0});
    std::string bytes = file.bytes();
    bytes.replace(3U * 512 + 3 * 8, 4, std::string("\xff\xff\x00\x80", 4));
    const C3dTake take = readStrictly(bytes);
    EXPECT_EQ(take.channels[0].offset, 32768);
    EXPECT_EQ(samplesAt(take, 0)[0], 65535 - 32768);
    EXPECT_EQ(samplesAt(take, 0)[1], 32768);
    EXPECT_EQ(readStrictly(analog(C3dEncoding::DecInteger).standard().bytes()).channels[0].offset,
              10);
}

TEST(C3dAnalog, WithoutSamplesPerFrameIsThere) {
    FileBuilder file = analog();
    file.standard().header(10, 0);
    const C3dTake take = readBytes(file.bytes());
    EXPECT_EQ(take.samplesPerFrame, 3);
    EXPECT_EQ(take.channels.size(), 2U);
    EXPECT_TRUE(findingOn(take, "header word 10"));
}

TEST(C3dAnalog, IsAsMuchAsTheHeaderSaysIfThereIsNoGroupOfIt) {
    FileBuilder file = analog();
    file.standard();
    for (const char* name : {"ANALOG", "GEN_SCALE", "OFFSET"}) {
        file.without(name);
    }
    file.records.resize(8); // up to the labels of the markers
    const C3dTake take = readBytes(file.bytes());
    ASSERT_EQ(take.channels.size(), 2U);
    EXPECT_EQ(take.channels[1].name, "*2");
    EXPECT_EQ(samplesAt(take, 4)[1], static_cast<float>(FileBuilder::stored(1, 4)));
}

TEST(C3dAnalog, OfTheHeaderAloneIsNotThereIfTheFileIsFullWithoutIt) {
    FileBuilder file;
    file.frames = 100;
    for (const int words : {1, 2, 300}) {
        const C3dTake take = readBytes(FileBuilder(file).standard().header(3, words).bytes());
        EXPECT_TRUE(take.channels.empty());
        EXPECT_EQ(take.frameCount, 100);
        EXPECT_EQ(findingOn(take, "header word 3")->believed, "0");
    }
}

TEST(C3dAnalog, ThatTheGroupDeniesIsThereIfItFillsTheFile) {
    FileBuilder file = analog();
    file.frames = 60;
    file.standard();
    file.records.erase(file.records.begin() + 9); // its USED
    file.integer(2, "USED", 0);
    const C3dTake take = readBytes(file.bytes());
    EXPECT_EQ(take.channels.size(), 2U);
    EXPECT_EQ(findingOn(take, "ANALOG:USED")->believed, "2");
}

TEST(C3dAnalog, HasTheRateOfItsSamples) {
    FileBuilder file = analog();
    file.standard();
    file.records.erase(file.records.begin() + 10); // its RATE
    file.number(2, "RATE", 1000);
    const C3dTake take = readBytes(file.bytes());
    EXPECT_EQ(take.analogRate(), 300);
    EXPECT_EQ(findingOn(take, "ANALOG:RATE")->believed, "300");
}

// Events and rigid bodies.

TEST(C3dEvents, OfTheHeaderAreRead) {
    for (const C3dEncoding encoding : allEncodings) {
        FileBuilder file(encoding);
        file.header(150, 12345).header(151, 2).headerReal(153, 0.5F).headerReal(155, 1.25F);
        file.headerWords[189] = std::string("\0\1", 2);
        file.headerWords[199] = "RHS LTO ";
        const C3dTake take = readStrictly(file.standard().bytes());
        ASSERT_EQ(take.events.size(), 2U);
        EXPECT_EQ(take.events[0].label, "RHS");
        EXPECT_EQ(take.events[0].time, 0.5);
        EXPECT_TRUE(take.events[0].shown);
        EXPECT_TRUE(take.events[0].inHeader);
        EXPECT_EQ(take.events[1].label, "LTO");
        EXPECT_EQ(take.events[1].time, 1.25);
        EXPECT_FALSE(take.events[1].shown);
    }
}

TEST(C3dEvents, OfTheHeaderAreNoMoreThanEighteen) {
    FileBuilder many;
    many.header(150, 12345).header(151, 900);
    const C3dTake take = readBytes(many.standard().bytes());
    EXPECT_EQ(take.events.size(), 18U);
    EXPECT_TRUE(findingOn(take, "header word 151"));
}

TEST(C3dEvents, OfTheHeaderWithoutTheirKeyAreReadIfTheyMakeSense) {
    for (const C3dEncoding encoding : allEncodings) {
        FileBuilder old(encoding); // labels of two characters
        old.header(151, 2).headerReal(153, 0.5F).headerReal(155, 1.25F);
        old.headerWords[189] = std::string("\0\1", 2);
        old.headerWords[199] = "HSTO";
        const C3dTake take = readStrictly(old.standard().bytes());
        ASSERT_EQ(take.events.size(), 2U);
        EXPECT_EQ(take.events[0].label, "HS");
        EXPECT_EQ(take.events[0].time, 0.5);
        EXPECT_EQ(take.events[1].label, "TO");
        EXPECT_EQ(take.events[1].time, 1.25);
        EXPECT_FALSE(take.events[1].shown);
        EXPECT_EQ(findingOn(take, "header word 151")->believed, "2");
        FileBuilder forgotten(encoding); // labels of four, but no key
        forgotten.header(151, 2).headerReal(153, 0.5F).headerReal(155, 1.25F);
        forgotten.headerWords[199] = "RHS LTO ";
        EXPECT_EQ(readStrictly(forgotten.standard().bytes()).events[1].label, "LTO");
    }
}

TEST(C3dEvents, OfTheHeaderWithoutTheirKeyAreReportedIfTheyMakeNoSense) {
    FileBuilder unnamed;
    unnamed.header(151, 2).headerReal(153, 0.5F);
    FileBuilder early;
    early.header(151, 1).headerReal(153, -0.5F);
    early.headerWords[199] = "HS";
    FileBuilder many;
    many.header(151, 900);
    for (FileBuilder* const file : {&unnamed, &early, &many}) {
        const C3dTake take = readStrictly(file->standard().bytes());
        EXPECT_TRUE(take.events.empty());
        ASSERT_TRUE(findingOn(take, "header word 151"));
        EXPECT_EQ(findingOn(take, "header word 151")->believed, "0");
        EXPECT_FALSE(findingOn(take, "header word 151")->isContradiction);
    }
}

TEST(C3dEvents, OfTheParametersHaveContextsAndSubjects) {
    FileBuilder file;
    file.standard().group(4, "EVENT").integer(4, "USED", 2);
    file.texts(4, "LABELS", {"Foot Strike", "Foot Off"}).texts(4, "CONTEXTS", {"Left", "Right"});
    file.texts(4, "SUBJECTS", {"Anna", "Anna"}).numbers(4, "TIMES", {0, 1.5F, 2, 3.25F}, {2, 2});
    const C3dTake take = readStrictly(file.bytes());
    ASSERT_EQ(take.events.size(), 2U);
    EXPECT_EQ(take.events[0].label, "Foot Strike");
    EXPECT_EQ(take.events[0].context, "Left");
    EXPECT_EQ(take.events[0].subject, "Anna");
    EXPECT_EQ(take.events[0].time, 1.5);
    EXPECT_FALSE(take.events[0].inHeader);
    EXPECT_EQ(take.events[1].time, 2 * 60 + 3.25);
}

TEST(C3dEvents, ThatHaveNoTimeAreNone) {
    FileBuilder file;
    file.standard().group(4, "EVENT").integer(4, "USED", 5);
    file.texts(4, "LABELS", {"Foot Strike"}).numbers(4, "TIMES", {0, 1.5F}, {2, 1});
    const C3dTake take = readBytes(file.bytes());
    EXPECT_EQ(take.events.size(), 1U);
    EXPECT_EQ(findingOn(take, "EVENT:USED")->found, "5");
}

/// Two bodies, the first turned by a quarter about z and at (frame, 2, 3), the second not seen.
std::string bodyData(C3dEncoding encoding, int frames) {
    std::string bytes;
    for (int frame = 0; frame < frames; ++frame) {
        const auto x = static_cast<float>(frame);
        for (const float number : {0.F, 1.F, 0.F, 0.F, -1.F, 0.F, 0.F, 0.F, 0.F, 0.F, 1.F, 0.F, x,
                                   2.F, 3.F, 1.F, 0.125F}) {
            bytes += real(encoding, number);
        }
        for (int i = 0; i < 16; ++i) {
            bytes += real(encoding, 0);
        }
        bytes += real(encoding, -1);
    }
    return bytes;
}

TEST(C3dRigidBodies, AreReadFromTheRotationGroup) {
    for (const C3dEncoding encoding :
         {C3dEncoding::IntelReal, C3dEncoding::DecReal, C3dEncoding::MipsReal}) {
        FileBuilder file(encoding);
        file.standard().group(5, "ROTATION").integer(5, "USED", 2).integer(5, "DATA_START", 5);
        file.number(5, "RATE", 100).texts(5, "LABELS", {"pelvis", "thigh"});
        const C3dTake take = readStrictly(file.bytes() + bodyData(encoding, 4));
        expectData(take);
        ASSERT_EQ(take.bodies.size(), 2U);
        EXPECT_EQ(take.bodies[1].name, "thigh");
        ASSERT_EQ(take.bodyTracks->timeLength(), 4);
        const auto& bodies =
            take.bodyTracks->getFrame(3, rigidBodyDataType)->dataAs<RigidBodyFrame>();
        EXPECT_EQ(bodies[0].position.x, 3);
        EXPECT_EQ(bodies[0].position.z, 3);
        EXPECT_EQ(bodies[0].residual, 0.125F);
        EXPECT_NEAR(bodies[0].rotation.z, std::sqrt(0.5), 1e-6);
        EXPECT_NEAR(bodies[0].rotation.w, std::sqrt(0.5), 1e-6);
        EXPECT_FALSE(bodies[1].hasPosition());
    }
}

TEST(C3dRigidBodies, MayComeWithoutMarkersAndMoreOftenThanFrames) {
    FileBuilder file;
    file.points = 0;
    file.standard().group(5, "ROTATION").integer(5, "USED", 2).integer(5, "DATA_START", 4);
    file.number(5, "RATE", 200).texts(5, "LABELS", {"pelvis", "thigh"});
    std::string bytes = file.bytes();
    bytes.resize(std::size_t{3} * 512);
    const C3dTake take = readStrictly(bytes + bodyData(C3dEncoding::IntelReal, 8));
    EXPECT_EQ(take.frameCount, 4);
    EXPECT_EQ(take.bodiesPerFrame, 2);
    EXPECT_EQ(take.bodyTracks->timeLength(), 8);
    EXPECT_EQ(take.bodyTracks->fps(), 200);
}

TEST(C3dRigidBodies, AreReportedWhereTheirLabelsOrTheirRateDisagree) {
    FileBuilder file;
    file.standard().group(5, "ROTATION").integer(5, "USED", 2).integer(5, "DATA_START", 5);
    file.integer(5, "RATIO", 1).number(5, "RATE", 200).texts(5, "LABELS", {"pelvis"});
    const C3dTake take = readBytes(file.bytes() + bodyData(C3dEncoding::IntelReal, 4));
    ASSERT_EQ(take.bodies.size(), 2U);
    EXPECT_EQ(take.bodies[1].name, "*2");
    EXPECT_EQ(take.bodiesPerFrame, 1);
    EXPECT_EQ(findingOn(take, "ROTATION:LABELS")->found, "1 labels");
    EXPECT_EQ(findingOn(take, "ROTATION:RATE")->believed, "100");
}

// The report.

TEST(C3dReport, SaysOnOneLineWhatWhereAndWhy) {
    const C3dTake take = readBytes(FileBuilder().standard().header(2, 200).bytes());
    ASSERT_EQ(take.report.size(), 1U);
    EXPECT_EQ(to_string(take.report[0]),
              "header word 2 (byte 2): 200, believed 3: with that the data fills the file");
}

TEST(C3dReport, ExplainsEveryDecisionIfAsked) {
    const std::string bytes = FileBuilder().standard().bytes();
    C3dOptions options;
    options.mode = C3dMode::Explain;
    const C3dTake take = readBytes(bytes, options);
    expectData(take);
    ASSERT_TRUE(findingOn(take, "POINT:USED"));
    EXPECT_FALSE(findingOn(take, "POINT:USED")->isContradiction);
    EXPECT_EQ(findingOn(take, "POINT:USED")->offset, take.parameters.find("POINT", "USED")->offset);
    EXPECT_TRUE(readBytes(bytes).report.empty());
}

TEST(C3dReport, SaysWhereInTheFileAParameterLies) {
    FileBuilder file;
    file.standard().without("USED").integer(1, "USED", 200);
    const std::string bytes = file.bytes();
    const auto finding = findingOn(readBytes(bytes), "POINT:USED");
    ASSERT_TRUE(finding);
    EXPECT_EQ(bytes.substr(finding->offset + 2, 4), "USED");
}

// How many of what.

TEST(C3dOddities, FramesThatNobodyCountsAreThoseThatTheFileHolds) {
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

TEST(C3dOddities, ACountThatEndsAt32767MayBeThatOfALongerTake) {
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

TEST(C3dOddities, ALongTakeThatBreaksOffInAFrameIsReadToThere) {
    FileBuilder file(C3dEncoding::IntelInteger);
    file.points = 100; // frames of 800 bytes
    file.frames = 66000;
    file.padded = false;
    file.standard().without("FRAMES").integer(1, "FRAMES", 65535).header(5, 65535);
    std::string bytes = file.bytes();
    bytes.resize(bytes.size() - 100);
    EXPECT_EQ(readBytes(bytes).frameCount, 65999);
}

TEST(C3dOddities, UnsignedOffsetsAreThatInRealFilesToo) {
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

TEST(C3dOddities, ABlockOfPaddingTooManyIsNoReasonToDoubtWhatIsStated) {
    FileBuilder file = large();
    file.standard().headerReal(7, 0.25F); // as integers the data would fill half of the file
    const C3dTake take = readBytes(file.bytes() + std::string(512, '\0'));
    expectData(take, 32);
    EXPECT_FALSE(findingOn(take, "the size of the file"));
    FileBuilder integers = large(); // and the other way round: no reals at all
    integers.standard().without("SCALE").number(1, "SCALE", 0.25F);
    expectData(readBytes(integers.bytes() + std::string(512, '\0')), 32);
}

TEST(C3dOddities, ListsSayHowManyThereAreWhereNumbersDisagree) {
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

TEST(C3dOddities, DataEndWhereParametersBehindThemStart) {
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

TEST(C3dOddities, AStatedSectionWithItsHeaderIsBelievedWhateverItsFirstRecordIs) {
    FileBuilder file;
    file.standard();
    file.records.insert(file.records.begin(), {0, std::string("\1\2", 2), "junk"});
    const C3dTake take = readBytes(file.bytes());
    expectData(take);
    EXPECT_EQ(take.markers[0].name, "M1");
    EXPECT_FALSE(findingOn(take, "header word 1"));
}

} // namespace
} // namespace tarn::kit
