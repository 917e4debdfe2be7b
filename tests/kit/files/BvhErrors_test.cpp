// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "kit/files/BvhTesting.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>

// What is refused, with the place and what was expected there.

namespace tarn::kit {
namespace {

using namespace bvh_testing;

void expectError(const std::string& text, std::size_t line, std::size_t column,
                 const std::string& reason) {
    const auto error = errorOf(text);
    ASSERT_TRUE(error) << "accepted, not refused with: " << reason;
    EXPECT_EQ(error->file(), "text");
    EXPECT_EQ(error->line(), line) << error->what();
    EXPECT_EQ(error->column(), column) << error->what();
    EXPECT_EQ(error->what(),
              "text:" + std::to_string(line) + ":" + std::to_string(column) + ": " + reason);
}

/// Expects an error on the line that is replaced.
void expectErrorIn(std::size_t line, const std::string& replacement, std::size_t column,
                   const std::string& reason) {
    expectError(smallBvhWith(line, replacement), line, column, reason);
}

/// The small file without the lines from `first` to `last` (from 1, both included).
std::string smallBvhWithout(std::size_t first, std::size_t last) {
    Lines lines = smallBvh();
    lines.erase(lines.begin() + static_cast<std::ptrdiff_t>(first - 1),
                lines.begin() + static_cast<std::ptrdiff_t>(last));
    return joined(lines);
}

std::string quoted(const std::string& token) { return "'" + token + "'"; }

const std::string inJoint = "expected OFFSET, CHANNELS, JOINT, End Site or }, found ";
const std::string frameCount = "expected a number of frames from 0 to 2147483647, found ";
const std::string frameTime = "expected a frame time from 0.000001 to 2 seconds, found ";

TEST(BvhErrors, AFileBeginsWithHierarchy) {
    expectError("", 1, 1, "expected HIERARCHY, found the end of the file");
    expectError("\n \n  ", 3, 3, "expected HIERARCHY, found the end of the file");
    expectErrorIn(1, "  HIERARCHIE", 3, "expected HIERARCHY, found 'HIERARCHIE'");
    expectErrorIn(1, "HIERARCHY:", 10, "expected ROOT, found ':'");
}

TEST(BvhErrors, AHierarchyHasARoot) {
    expectError("HIERARCHY\nMOTION\n", 2, 1, "expected ROOT, found 'MOTION'");
    expectError("HIERARCHY", 1, 10, "expected ROOT, found the end of the file");
    expectErrorIn(2, "JOINT Hips", 1, "expected ROOT, found 'JOINT'");
    expectErrorIn(2, "ROOTHips", 1, "expected ROOT, found 'ROOTHips'");
}

TEST(BvhErrors, AJointHasAName) {
    expectErrorIn(2, "ROOT", 5, "expected the name of the joint, found the end of the line");
    expectErrorIn(6, "  JOINT  ", 10, "expected the name of the joint, found the end of the line");
    expectErrorIn(6, "  JOINT {", 9, "expected the name of the joint, found '{'");
    expectError("HIERARCHY\nROOT ", 2, 6,
                "expected the name of the joint, found the end of the file");
}

TEST(BvhErrors, AJointHasANameOfReasonableLength) {
    const std::string longest(bvhMaxNameLength, 'n');
    EXPECT_FALSE(errorOf(smallBvhWith(6, "JOINT " + longest)));
    expectErrorIn(6, "JOINT " + longest + "n", 7,
                  "expected a name of at most 1000 bytes, found " +
                      quoted(longest.substr(0, 40) + "..."));
}

TEST(BvhErrors, ANodeOpensWithABrace) {
    expectError(smallBvhWith(3, ""), 4, 3, "expected {, found 'OFFSET'");
    expectError(smallBvhWith(11, ""), 12, 7, "expected {, found 'OFFSET'");
    expectErrorIn(3, "{{", 2, inJoint + "'{'");
}

TEST(BvhErrors, ANodeHoldsOnlyWhatItMay) {
    expectErrorIn(4, "  OFSET 0 2 0", 3, inJoint + "'OFSET'");
    expectErrorIn(6, "  ROOT Leg", 3, inJoint + "'ROOT'");
    expectErrorIn(9, "    17", 5, inJoint + "'17'");
    expectErrorIn(12, "      CHANNELS 1 Xrotation", 7, "expected OFFSET or }, found 'CHANNELS'");
    expectErrorIn(12, "      JOINT a", 7, "expected OFFSET or }, found 'JOINT'");
    expectErrorIn(12, "      End Site", 7, "expected OFFSET or }, found 'End'");
}

TEST(BvhErrors, ANodeHasAnOffset) {
    expectError(smallBvhWith(4, ""), 6, 3, "expected the OFFSET of the joint, found 'JOINT'");
    expectError(smallBvhWith(8, ""), 10, 5, "expected the OFFSET of the joint, found 'End'");
    expectError(smallBvhWith(12, ""), 13, 5, "expected the OFFSET of the end site, found '}'");
    expectError(smallBvhWith(2, "ROOT a\n{\n}\nROOT Hips"), 4, 1,
                "expected the OFFSET of the joint, found '}'");
}

TEST(BvhErrors, ANodeHasOneOffset) {
    expectErrorIn(9, "    OFFSET 0 0 0", 5, "expected one OFFSET, found a second");
    expectErrorIn(12, " OFFSET 0 0 0 OFFSET 0 0 0", 15, "expected one OFFSET, found a second");
    expectErrorIn(14, "  } OFFSET 0 0 0", 5, "expected one OFFSET, found a second");
}

TEST(BvhErrors, AnOffsetIsThreeNumbers) {
    expectErrorIn(4, "  OFFSET 0 x 0", 12, "expected a number, found 'x'");
    expectError(smallBvhWith(4, "  OFFSET 0 2"), 5, 3, "expected a number, found 'CHANNELS'");
    expectErrorIn(4, "  OFFSET 0 2 0 0", 16, inJoint + "'0'");
    expectErrorIn(12, "OFFSET 0 2}", 11, "expected a number, found '}'");
}

TEST(BvhErrors, AJointHasItsChannelsOnceAndBeforeItsChildren) {
    expectErrorIn(5, "  CHANNELS 1 Xposition CHANNELS 1 Yposition", 24,
                  "expected one CHANNELS, found a second");
    expectErrorIn(14, "  } CHANNELS 1 Xposition", 5, "expected one CHANNELS, found a second");
    expectError(
        smallBvhWith(2, "ROOT a\n{\nOFFSET 0 0 0\nEnd {OFFSET 0 0 0}\n CHANNELS 0\n}\nROOT b"), 6,
        2, "expected CHANNELS before the first child, found it after");
}

TEST(BvhErrors, ChannelsAreCounted) {
    const std::string count = "expected a number of channels from 0 to 2147483647, found ";
    expectErrorIn(5, "  CHANNELS Xposition", 12, count + "'Xposition'");
    expectErrorIn(5, "  CHANNELS -1", 12, count + "'-1'");
    expectErrorIn(5, "  CHANNELS 3.0", 12, count + "'3.0'");
    expectErrorIn(5, "  CHANNELS 99999999999", 12, count + "'99999999999'");
    expectError(smallBvhWith(9, "    CHANNELS"), 10, 5, count + "'End'");
}

TEST(BvhErrors, AsManyChannelsAreNamedAsAreCounted) {
    expectError(smallBvhWith(9, "    CHANNELS 2 Zrotation"), 10, 5,
                "expected channel name 2 of 2 (such as Xrotation), found 'End'");
    expectErrorIn(9, "    CHANNELS 1 Zrotation Xrotation", 26,
                  "expected only 1 channel names, found 'Xrotation'");
    expectErrorIn(9, "    CHANNELS 999999999 Zrotation }", 34,
                  "expected channel name 2 of 999999999 (such as Xrotation), found '}'");
}

TEST(BvhErrors, ChannelsHaveKnownNames) {
    expectErrorIn(5, "  CHANNELS 3 Xposition Wposition Yrotation", 24,
                  "expected channel name 2 of 3 (such as Xrotation), found 'Wposition'");
    expectErrorIn(5, "  CHANNELS 3 Xposition Yposition Yrotations", 34,
                  "expected channel name 3 of 3 (such as Xrotation), found 'Yrotations'");
}

TEST(BvhErrors, BracesAreBalanced) {
    expectErrorIn(15, "}}", 2, "expected ROOT or MOTION, found '}'");
    expectError(smallBvhWith(15, ""), 16, 1, inJoint + "'MOTION'");
    expectError(smallBvhWith(13, ""), 16, 1, inJoint + "'MOTION'");
    expectError(smallBvhWithout(15, 20), 15, 1, inJoint + "the end of the file");
}

TEST(BvhErrors, TheMotionFollowsTheHierarchy) {
    expectErrorIn(16, "MOTIONS", 1, "expected ROOT or MOTION, found 'MOTIONS'");
    expectErrorIn(16, " JOINT a", 2, "expected ROOT or MOTION, found 'JOINT'");
    expectError(smallBvhWithout(16, 20), 16, 1,
                "expected ROOT or MOTION, found the end of the file");
}

TEST(BvhErrors, TheNumberOfFramesIsLabelled) {
    expectErrorIn(17, "Frame: 2", 1, "expected \"Frames:\", found 'Frame:'");
    expectErrorIn(17, "Frames 2", 8, "expected \"Frames:\", found '2'");
    expectErrorIn(17, "Frames", 7, "expected \"Frames:\", found the end of the line");
    expectError(smallBvhWithout(17, 17), 17, 1, "expected \"Frames:\", found 'Frame'");
}

TEST(BvhErrors, TheNumberOfFramesIsACount) {
    expectErrorIn(17, "Frames: -2", 9, frameCount + "'-2'");
    expectErrorIn(17, "Frames: two", 9, frameCount + "'two'");
    expectErrorIn(17, "Frames: 2.5", 9, frameCount + "'2.5'");
    expectErrorIn(17, "Frames: 2147483648", 9, frameCount + "'2147483648'");
    expectErrorIn(17, "Frames: 99999999999999999999", 9, frameCount + "'99999999999999999999'");
    expectError(smallBvhWith(17, "Frames:"), 18, 1, frameCount + "'Frame'");
}

TEST(BvhErrors, TheFrameTimeIsLabelled) {
    expectErrorIn(18, "Frame Rate: 0.02", 7, "expected \"Frame Time:\", found 'Rate:'");
    expectErrorIn(18, "FrameTime: 0.02", 1, "expected \"Frame Time:\", found 'FrameTime:'");
    expectErrorIn(18, "Frame Time 0.02", 12, "expected \"Frame Time:\", found '0.02'");
    expectErrorIn(17, "Frames: 2 3", 11, "expected \"Frame Time:\", found '3'");
    expectError(smallBvhWithout(18, 20), 18, 1,
                "expected \"Frame Time:\", found the end of the file");
}

TEST(BvhErrors, TheFrameTimeIsAPositiveNumberOfReasonableSize) {
    for (const std::string time : {"0", "-0.02", "9.9e-7", "2.001", "1e300"}) {
        expectErrorIn(18, "Frame Time: " + time, 13, frameTime + quoted(time));
    }
    expectErrorIn(18, "Frame Time: fast", 13, "expected a number, found 'fast'");
    for (const std::string time : {"nan", "inf", "1e999"}) {
        expectErrorIn(18, "Frame Time: " + time, 13,
                      "expected a finite number that is not too large, found " + quoted(time));
    }
}

TEST(BvhErrors, ValuesBeginOnALineOfTheirOwn) {
    expectErrorIn(18, "Frame Time: 0.02 1 2 3 4", 18,
                  "expected the end of the line after the frame time, found '1'");
}

TEST(BvhErrors, ARowHasAValuePerChannel) {
    expectErrorIn(20, "5 6 7", 6, "expected 4 values in frame 1 (from 0), found 3");
    expectErrorIn(19, "1 2 3  ", 8, "expected 4 values in frame 0 (from 0), found 3");
    expectErrorIn(20, "5 6 7 8 9", 9, "expected 4 values in frame 1 (from 0), found more");
    std::string text = smallBvhWith(20, "5");
    text.pop_back();
    expectError(text, 20, 2, "expected 4 values in frame 1 (from 0), found 1");
}

TEST(BvhErrors, ARowHoldsNumbers) {
    for (const std::string value : {"x", "1,5", "1e", "--1", "+-1", "+", "-", ".", "1.2.3", "0x10",
                                    "1f", "nanny", "1:2", "\"1\""}) {
        expectErrorIn(20, "5 " + value + " 7 8", 3, "expected a number, found " + quoted(value));
    }
}

TEST(BvhErrors, ARowHoldsFiniteNumbersThatAFloatCanHold) {
    const std::string reason = "expected a finite number that is not too large, found ";
    for (const std::string value :
         {"nan", "-nan", "inf", "-Infinity", "3.5e38", "-1e999", "1e99999999999", "0.001e400"}) {
        expectErrorIn(20, "5 6 7 " + value, 7, reason + quoted(value));
    }
    expectErrorIn(8, "OFFSET 0 1e39 0", 10, reason + "'1e39'");
}

TEST(BvhErrors, AHugeNumberIsRefusedHoweverItIsWritten) {
    const std::string digits(400, '7');
    expectErrorIn(20, digits + "e-200 6 7 8", 1,
                  "expected a finite number that is not too large, found '" + digits.substr(0, 40) +
                      "...'");
}

TEST(BvhErrors, ThereAreAsManyRowsAsStated) {
    expectError(smallBvhWith(17, "Frames: 3"), 21, 1, "expected 3 frames, as stated, found 2");
    expectError(smallBvhWith(17, "Frames: 999999999"), 21, 1,
                "expected 999999999 frames, as stated, found 2");
    expectError(smallBvhWithout(19, 20), 19, 1, "expected 2 frames, as stated, found 0");
}

TEST(BvhErrors, ThereAreNoMoreRowsThanStated) {
    expectError(smallBvhWith(17, "Frames: 1"), 20, 1,
                "expected the end of the file after the stated 1 frames, found '5'");
    expectError(smallBvhWith(17, "Frames: 0"), 19, 1,
                "expected the end of the file after the stated 0 frames, found '1'");
    expectError(joined(smallBvh()) + "\n\n  end", 23, 3,
                "expected the end of the file after the stated 2 frames, found 'end'");
}

TEST(BvhErrors, FramesNeedAChannel) {
    expectError("HIERARCHY\nROOT a\n{\nOFFSET 0 0 0\n}\nMOTION\nFrames: 999999999\n"
                "Frame Time: 0.02\n",
                7, 9, "expected 0 frames, since no joint has channels, found '999999999'");
}

TEST(BvhErrors, LinesAreCountedWhateverEndsThem) {
    for (const std::string end : {"\n", "\r\n", "\r"}) {
        Lines lines = smallBvh();
        lines[19] = "\t5 6 x";
        expectError(joined(lines, end), 20, 6, "expected a number, found 'x'");
        lines[19] = "5 6 7";
        expectError(joined(lines, end), 20, 6, "expected 4 values in frame 1 (from 0), found 3");
    }
    expectError("\r\r\n\n\r\n\n\rHIER", 7, 1, "expected HIERARCHY, found 'HIER'");
}

TEST(BvhErrors, ColumnsAreCountedInBytes) {
    expectErrorIn(5, "CHANNELS 3 Xpösition", 12,
                  "expected channel name 1 of 3 (such as Xrotation), found 'Xpösition'");
    expectErrorIn(14, "}\t\tJOINT Hüfte { OFFSET x", 26, "expected a number, found 'x'");
}

TEST(BvhErrors, AByteOrderMarkIsNoColumn) {
    expectError("\xEF\xBB\xBFHIER", 1, 1, "expected HIERARCHY, found 'HIER'");
    expectError(" \xEF\xBB\xBFHIERARCHY", 1, 2,
                "expected HIERARCHY, found '\xEF\xBB\xBFHIERARCHY'");
}

TEST(BvhErrors, LongTokensAreCutShort) {
    const std::string token(1000, 'x');
    expectErrorIn(4, token, 1, inJoint + quoted(std::string(40, 'x') + "..."));
    expectErrorIn(4, std::string(40, 'x'), 1, inJoint + quoted(std::string(40, 'x')));
}

TEST(BvhErrors, LongTokensAreNotCutWithinACharacter) {
    std::string token = "x";
    for (int i = 0; i < 30; ++i) {
        token += "ü";
    }
    expectErrorIn(4, token, 1, inJoint + quoted(token.substr(0, 39) + "..."));
}

TEST(BvhErrors, ControlCharactersAreShownAsCodes) {
    expectErrorIn(4, std::string("a\0b\x1b[2J", 7), 1, inJoint + "'a\\x00b\\x1b[2J'");
}

} // namespace
} // namespace tarn::kit
