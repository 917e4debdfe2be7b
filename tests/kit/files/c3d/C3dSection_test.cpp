// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "kit/files/c3d/C3dSettling.h"

#include <gtest/gtest.h>

#include <string>

// Records of parameters as they are out there.

namespace tarn::kit {
namespace {

using namespace c3d_testing;

TEST(C3dSection, TheLastParameterMayBeMarkedByADistanceOfZero) {
    FileBuilder file;
    file.endsWithZero = true;
    file.behindParameters = std::string("\x05\x01STALE\x08\x00\x02\x00\x07\x00\x00", 14);
    const C3dTake take = readStrictly(file.standard().bytes());
    expectData(take);
    EXPECT_EQ(take.parameters.find("POINT", "STALE"), nullptr) << "bytes behind the last one";
}

TEST(C3dSection, ADistanceOfZeroBeforeTheEssentialsIsNotTheEnd) {
    FileBuilder file;
    file.standard();
    file.record("POINT").distance = 0;
    const C3dTake take = readBytes(file.bytes());
    expectData(take);
    EXPECT_FALSE(take.report.empty());
}

TEST(C3dSection, ADistanceThatLeadsNowhereIsIgnoredIfTheNextRecordFollows) {
    for (const int distance : {1, 5, 40000}) {
        FileBuilder file;
        file.standard();
        file.record("USED").distance = distance;
        const C3dTake take = readBytes(file.bytes());
        expectData(take);
        EXPECT_FALSE(take.report.empty()) << distance;
    }
}

TEST(C3dSection, GapsBetweenParametersAreSkipped) {
    FileBuilder file;
    file.standard();
    FileBuilder::Record& record = file.record("USED");
    record.distance = static_cast<int>(record.content.size()) + 2 + 3;
    record.content += "\x01\x02\x03";
    expectData(readStrictly(file.bytes()));
}

TEST(C3dSection, GroupsMayComeInAnyOrderAndAfterTheirParameters) {
    FileBuilder file;
    file.standard();
    std::rotate(file.records.begin(), file.records.begin() + 1, file.records.end());
    file.group(90, "FIRST").integer(90, "A", 1).group(7, "SECOND").integer(7, "A", 2);
    const C3dTake take = readStrictly(file.bytes());
    expectData(take);
    EXPECT_EQ(take.parameters.find("FIRST", "A")->number(), 1);
    EXPECT_EQ(take.parameters.find("SECOND", "A")->number(), 2);
}

TEST(C3dSection, ParametersOfNoGroupAreKeptUnderNoName) {
    FileBuilder file;
    file.standard().integer(50, "LOST", 17);
    const C3dTake take = readBytes(file.bytes());
    expectData(take);
    EXPECT_EQ(take.parameters.find("", "LOST")->number(), 17);
    EXPECT_TRUE(findingOn(take, "group 50"));
}

TEST(C3dSection, NegativeLengthsOfNamesAreLocks) {
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

TEST(C3dSection, NamesAreFoundInSmallLetters) {
    FileBuilder file;
    file.standard();
    for (FileBuilder::Record& record : file.records) {
        for (char& c : record.name) {
            c = static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
        }
    }
    expectData(readStrictly(file.bytes()));
}

TEST(C3dSection, ShapesWithAZeroHoldNothing) {
    FileBuilder file;
    file.standard().add(1, "NONE", -1, {16, 0}, "").add(1, "ALSO", 4, {0, 3}, "");
    const C3dTake take = readStrictly(file.bytes());
    expectData(take);
    EXPECT_EQ(take.parameters.find("POINT", "NONE")->count(), 0U);
    EXPECT_TRUE(take.parameters.find("POINT", "ALSO")->numbers().empty());
}

} // namespace
} // namespace tarn::kit
