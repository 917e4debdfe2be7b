// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "kit/files/C3dTesting.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <set>
#include <sstream>
#include <string>
#include <tuple>

// Files of which a byte has changed: what lies behind it is not lost, and what was lost is told.

namespace tarn::kit {
namespace {

using namespace c3d_testing;

/// A file with several groups, so that there is something behind everything.
FileBuilder file(C3dEncoding encoding = C3dEncoding::IntelReal) {
    FileBuilder builder(encoding);
    builder.channels = 2;
    builder.samples = 2;
    builder.dataBlock = 5;
    builder.standard().group(3, "TRIAL").integers(3, "ACTUAL_START_FIELD", {1, 0});
    builder.integers(3, "ACTUAL_END_FIELD", {4, 0});
    builder.group(4, "SUBJECTS").integer(4, "USED", 1).texts(4, "NAMES", {"Anna"});
    builder.texts(4, "MODELS", {"full"});
    return builder;
}

/// Every parameter with its elements, and the name of its group, which nothing but a letter of it
/// tells from that of another.
std::set<std::string> parametersOf(const C3dInfo& info, bool withGroups) {
    std::set<std::string> all;
    for (const C3dGroup& group : info.parameters.groups()) {
        for (const C3dParameter& parameter : group.parameters) {
            const std::string shape(parameter.dimensions.begin(), parameter.dimensions.end());
            all.insert((withGroups ? group.name : "") + ":" + parameter.name + "=" + shape + "=" +
                       parameter.data);
        }
    }
    return all;
}

/// How many parameters of a file are not in another, or not the same.
std::size_t lostOf(const C3dInfo& original, const C3dInfo& other, bool withGroups = true) {
    const auto was = parametersOf(original, withGroups);
    const auto now = parametersOf(other, withGroups);
    return static_cast<std::size_t>(std::count_if(
        was.begin(), was.end(), [&now](const std::string& one) { return now.count(one) == 0; }));
}

std::string written(const C3dTake& take) {
    std::ostringstream stream;
    writeC3d(take, stream);
    return stream.str();
}

/// Where the record of a parameter starts.
std::size_t startOf(const C3dInfo& info, const char* group, const char* name) {
    return static_cast<std::size_t>(info.parameters.find(group, name)->offset);
}

TEST(C3dDamage, ToAByteOfTheParametersCostsNoMoreThanOne) {
    const std::string bytes = file().bytes();
    const C3dTake whole = readBytes(bytes);
    ASSERT_TRUE(whole.report.empty());
    const std::size_t last = startOf(whole, "SUBJECTS", "MODELS") + 20;
    int costly = 0;
    for (std::size_t at = 516; at < last; ++at) {
        for (const int flip : {0x01, 0x80, 0xFF, static_cast<int>(bytes[at])}) {
            std::string changed = bytes;
            changed[at] = static_cast<char>(changed[at] ^ flip);
            const C3dTake take = readBytes(changed);
            costly += lostOf(whole, take, false) > 1 ? 1 : 0;
            if (at % 16 == 0) {
                EXPECT_EQ(written(take), changed) << at << " by " << flip;
            }
        }
    }
    EXPECT_EQ(costly, 0);
}

TEST(C3dDamage, ToTheLengthOfANameIsMended) {
    for (const C3dEncoding encoding : allEncodings) {
        std::string bytes = file(encoding).bytes();
        const C3dTake whole = readBytes(bytes);
        for (const int length : {0, 1, 6, 90, 128}) {
            const std::size_t at = startOf(whole, "POINT", "RATE");
            bytes[at] = static_cast<char>(length);
            const C3dTake take = readBytes(bytes);
            EXPECT_EQ(lostOf(whole, take), 0U) << length;
            EXPECT_EQ(findingOn(take, "the parameter record at byte " + std::to_string(at))->found,
                      "byte " + std::to_string(length));
            EXPECT_TRUE(errorOf(bytes, C3dMode::Strict)) << length;
            EXPECT_EQ(written(take), bytes);
        }
    }
}

TEST(C3dDamage, ToTheTypeOrTheShapeOfAParameterIsMended) {
    const std::string bytes = file().bytes();
    const C3dTake whole = readBytes(bytes);
    const std::size_t type = startOf(whole, "POINT", "LABELS") + 2 + 6 + 2;
    for (const auto& [offset, value] :
         {std::pair(type, 3), {type, 4}, {type + 1, 9}, {type + 2, 1}, {type + 3, 200}}) {
        std::string changed = bytes;
        changed[offset] = static_cast<char>(value);
        const C3dTake take = readBytes(changed);
        EXPECT_EQ(lostOf(whole, take), 0U) << offset - type << " as " << value;
        EXPECT_EQ(take.markers[2].name, "M3");
        EXPECT_FALSE(take.report.empty());
    }
}

TEST(C3dDamage, ARecordThatWasMendedIsWrittenWholeOnceSomethingElseChanges) {
    std::string bytes = file().bytes();
    bytes[startOf(readBytes(bytes), "POINT", "RATE")] = '\x06';
    C3dTake take = readBytes(bytes);
    take.parameters.set("POINT", C3dParameter::text("UNITS", "cm"));
    take.unit = "cm";
    const C3dTake again = readStrictly(written(take));
    EXPECT_EQ(again.rate, 100);
    EXPECT_EQ(again.unit, "cm");
}

TEST(C3dDamage, BeyondOneByteCostsOneRecord) {
    std::string bytes = file().bytes();
    const C3dTake whole = readBytes(bytes);
    const std::size_t at = startOf(whole, "ANALOG", "RATE");
    bytes.replace(at, 6, "\x7f\x7f\x01\x02\xf0\xf1");
    const C3dTake take = readBytes(bytes);
    EXPECT_EQ(lostOf(whole, take), 1U);
    EXPECT_EQ(take.parameters.find("ANALOG", "RATE"), nullptr);
    EXPECT_TRUE(findingOn(take, "the parameter record at byte " + std::to_string(at)));
    EXPECT_EQ(written(take), bytes);
}

TEST(C3dDamage, ADistanceThatLeadsPastRecordsDoesNotLoseThem) {
    std::string bytes = file().bytes();
    const C3dTake whole = readBytes(bytes);
    const std::size_t pointer = startOf(whole, "POINT", "USED") + 6;
    const std::size_t target = startOf(whole, "ANALOG", "USED");
    bytes.replace(pointer, 2, word(C3dEncoding::IntelReal, static_cast<int>(target - pointer)));
    const C3dTake take = readBytes(bytes);
    EXPECT_EQ(lostOf(whole, take), 0U);
    EXPECT_FALSE(take.report.empty());
}

TEST(C3dDamage, ADistanceOfZeroBeforeSeveralRecordsIsNotTheEnd) {
    std::string bytes = file().bytes();
    const C3dTake whole = readBytes(bytes);
    const std::size_t pointer = startOf(whole, "ANALOG", "USED") + 6;
    bytes.replace(pointer, 2, std::string(2, '\0'));
    const C3dTake take = readBytes(bytes);
    EXPECT_EQ(lostOf(whole, take), 0U);
    EXPECT_FALSE(take.report.empty());
}

TEST(C3dDamage, OfTheFirstRecordDoesNotHideTheParameters) {
    const std::string bytes = file().bytes();
    const C3dTake whole = readBytes(bytes);
    for (const int length : {0, 3, 100}) {
        std::string changed = bytes;
        changed[516] = static_cast<char>(length);
        const C3dTake take = readBytes(changed);
        EXPECT_EQ(lostOf(whole, take), 0U) << length;
        EXPECT_EQ(take.markers[0].name, "M1");
    }
    std::string changed = bytes;
    changed.replace(516, 6, std::string(6, '\xfe')); // more than can be mended
    const C3dTake take = readBytes(changed);
    EXPECT_NE(take.parameters.find("ANALOG", "LABELS"), nullptr);
    EXPECT_FALSE(take.report.empty());
}

TEST(C3dDamage, ToTheNumberOfAGroupKeepsItsParametersUnderItsName) {
    const std::string bytes = file().bytes();
    const C3dTake whole = readBytes(bytes);
    const auto group = static_cast<std::size_t>(whole.parameters.find("ANALOG")->offset);
    for (const int number : {-1, -3, -4, -50, -128}) { // those of others, one of none, and one past
        std::string changed = bytes;
        changed[group + 1] = static_cast<char>(number);
        const C3dTake take = readBytes(changed);
        EXPECT_EQ(lostOf(whole, take), 0U) << number;
        EXPECT_FALSE(take.report.empty()) << number;
        EXPECT_EQ(written(take), changed) << number;
    }
    for (const int number : {0, 1, 126}) { // those of parameters
        std::string changed = bytes;
        changed[group + 1] = static_cast<char>(number);
        const C3dTake take = readBytes(changed);
        EXPECT_EQ(lostOf(whole, take), 0U) << number;
        EXPECT_FALSE(take.report.empty()) << number;
        EXPECT_EQ(written(take), changed) << number;
    }
}

TEST(C3dDamage, ToTheGroupOfAParameterIsSeenByWhereItLies) {
    const std::string bytes = file().bytes();
    const C3dTake whole = readBytes(bytes);
    // In the middle of its group, and at its end; of none, of another one, and as a group itself.
    for (const auto& [group, name, number] : {std::tuple("POINT", "RATE", 0),
                                              {"POINT", "RATE", 9},
                                              {"POINT", "RATE", -2},
                                              {"POINT", "RATE", -127},
                                              {"POINT", "USED", -2},
                                              {"ANALOG", "GEN_SCALE", 3},
                                              {"ANALOG", "GEN_SCALE", -3},
                                              {"TRIAL", "ACTUAL_END_FIELD", 99},
                                              {"TRIAL", "ACTUAL_END_FIELD", -99}}) {
        std::string changed = bytes;
        changed[startOf(whole, group, name) + 1] = static_cast<char>(number);
        const C3dTake take = readBytes(changed);
        EXPECT_EQ(lostOf(whole, take), 0U) << group << ":" << name << " of " << number;
        EXPECT_FALSE(take.report.empty()) << number;
        EXPECT_EQ(written(take), changed) << number;
    }
}

TEST(C3dDamage, IsNotThatParametersOfTwoGroupsLieBetweenEachOther) {
    FileBuilder builder = file(); // both have such a parameter, but not in this file
    builder.text(2, "FIRST", "a").text(1, "DESCRIPTIONS", "b").text(2, "LAST", "c");
    const C3dTake take = readStrictly(builder.bytes());
    EXPECT_EQ(take.parameters.find("POINT", "DESCRIPTIONS")->text(), "b");
    EXPECT_EQ(take.parameters.find("ANALOG", "DESCRIPTIONS"), nullptr);
}

TEST(C3dDamage, ToALetterOfANameThatEveryFileHasIsSeenThrough) {
    const std::string bytes = file().bytes();
    const C3dTake whole = readBytes(bytes);
    std::string changed = bytes;
    changed[518] = 'Q'; // QOINT
    C3dTake take = readBytes(changed);
    EXPECT_EQ(lostOf(whole, take), 0U);
    EXPECT_EQ(findingOn(take, "QOINT")->believed, "POINT");
    EXPECT_EQ(written(take), changed);

    changed = bytes;
    changed[startOf(whole, "POINT", "LABELS") + 2] = '\x01';
    take = readBytes(changed);
    EXPECT_EQ(lostOf(whole, take), 0U);
    EXPECT_EQ(take.markers[1].name, "M2");
    EXPECT_EQ(written(take), changed);

    FileBuilder two = file(); // both names are there: neither is the other
    two.integer(1, "USEE", 7);
    EXPECT_EQ(readBytes(two.bytes()).parameters.find("POINT", "USEE")->number(), 7);
}

TEST(C3dDamage, NamesFilledUpWithNulsAreFound) {
    FileBuilder builder = file();
    for (FileBuilder::Record& record : builder.records) {
        record.name.resize(record.name.size() + 2, '\0');
    }
    const std::string bytes = builder.bytes();
    const C3dTake take = readStrictly(bytes);
    EXPECT_EQ(take.markers[0].name, "M1");
    EXPECT_EQ(take.channels[1].unit, "V");
    EXPECT_EQ(take.parameters.find("POINT", "USED")->name, std::string("USED\0\0", 6));
    EXPECT_EQ(written(take), bytes);
}

TEST(C3dDamage, WhatLiesBehindTheParametersIsNotOneOfThem) {
    FileBuilder builder = file();
    builder.behindParameters = std::string(3, '\0') + "\x05\x01STALE";
    builder.behindParameters += std::string("\x07\x00\x02\x00\x07\x00\x00", 7) + "and so on";
    const C3dTake take = readStrictly(builder.bytes());
    EXPECT_EQ(take.parameters.find("POINT", "STALE"), nullptr);
    EXPECT_TRUE(take.report.empty());
}

TEST(C3dDamage, TheZeroThatEndsTheParametersIsNotALengthThatWasLost) {
    // With a length of 5 it would start a record that is whole, the last one.
    FileBuilder builder = file();
    builder.behindParameters = std::string("\0\x01STALE\x07\0\x02\0\x07\0\0", 14);
    const C3dTake take = readStrictly(builder.bytes());
    EXPECT_EQ(take.parameters.find("POINT", "STALE"), nullptr);
    EXPECT_TRUE(take.report.empty());
}

TEST(C3dDamage, AShapeThatReachesBeyondTheNextRecordGetsNoMoreThanTheRoomBeforeIt) {
    FileBuilder builder = file();
    const C3dTake whole = readBytes(builder.bytes());
    const auto group = builder.records.begin() + 1; // behind that of POINT
    builder.records.insert(group, {1, "WIDE", std::string("\x02\x02\xc8\x28", 4) + "abcd"});
    const C3dTake take = readBytes(builder.bytes());
    const C3dParameter* const wide = take.parameters.find("POINT", "WIDE");
    ASSERT_NE(wide, nullptr);
    EXPECT_EQ(wide->count(), 200U * 40);
    EXPECT_EQ(wide->data, "abcd");
    EXPECT_EQ(findingOn(take, "POINT:WIDE")->reason, "the next parameter starts there");
    EXPECT_EQ(lostOf(whole, take), 0U);
    EXPECT_EQ(written(take), builder.bytes());
}

} // namespace
} // namespace tarn::kit
