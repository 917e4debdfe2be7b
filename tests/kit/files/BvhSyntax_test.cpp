// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "kit/files/BvhTesting.h"

#include <gmock/gmock.h>

#include <limits>
#include <string>
#include <vector>

// What real files hold, and the reader takes.

namespace tarn::kit {
namespace {

using namespace bvh_testing;
using ::testing::ElementsAre;

void expectSmall(const BvhTake& take) {
    EXPECT_THAT(namesOf(*take.rig), ElementsAre("Hips", "Leg", "Leg_End"));
    EXPECT_EQ(take.rig->nodes()[0].offset.y, 2.0F);
    EXPECT_EQ(take.rig->nodes()[1].offset.x, 0.5F);
    EXPECT_EQ(take.tracks->fps(), 50);
    EXPECT_THAT(valuesOf(take), ElementsAre(ElementsAre(1, 2, 3, 4), ElementsAre(5, 6, 7, 8)));
}

/// What the values of the first row are, given its text.
std::vector<float> rowOf(const std::string& row) {
    return poseAt(readText(smallBvhWith(19, row)), 0).values;
}

/// The name of the joint that a line introduces.
std::string nameIn(const std::string& line) {
    return readText(smallBvhWith(6, line)).rig->nodes().at(1).name;
}

/// The channels of the joint that a line gives them to, with as many values in both rows.
std::vector<Channel> channelsOf(const std::string& line) {
    Lines lines = smallBvh();
    lines[8] = line;
    lines.resize(18);
    lines[16] = "Frames: 0";
    return readText(joined(lines)).rig->nodes().at(1).channels;
}

TEST(BvhSyntax, LinesMayEndInLineFeed) { expectSmall(readText(joined(smallBvh(), "\n"))); }

TEST(BvhSyntax, LinesMayEndInCarriageReturnAndLineFeed) {
    expectSmall(readText(joined(smallBvh(), "\r\n")));
}

TEST(BvhSyntax, LinesMayEndInCarriageReturn) { expectSmall(readText(joined(smallBvh(), "\r"))); }

TEST(BvhSyntax, LineEndsMayBeMixed) {
    const std::vector<std::string> ends = {"\n", "\r\n", "\r"};
    std::string text;
    for (std::size_t i = 0; i < smallBvh().size(); ++i) {
        text += smallBvh()[i] + ends[i % ends.size()];
    }
    expectSmall(readText(text));
}

TEST(BvhSyntax, TheLastLineNeedsNoEnd) {
    std::string text = joined(smallBvh());
    text.pop_back();
    expectSmall(readText(text));
}

TEST(BvhSyntax, BlankLinesMayFollow) {
    expectSmall(readText(joined(smallBvh()) + "\n\r\n  \t \n\n   "));
}

TEST(BvhSyntax, BlankLinesMayStandAnywhere) {
    expectSmall(readText(joined(smallBvh(), "\n \n\n")));
}

TEST(BvhSyntax, BlanksMayBeTabs) {
    std::string text = joined(smallBvh());
    for (char& c : text) {
        c = c == ' ' ? '\t' : c;
    }
    expectSmall(readText(text));
}

TEST(BvhSyntax, BlanksMayBeFormFeedsAndVerticalTabs) {
    expectSmall(readText(smallBvhWith(19, "\f1\v2 3\f4")));
}

TEST(BvhSyntax, BlanksMayEndALine) { expectSmall(readText(joined(smallBvh(), " \t\n"))); }

TEST(BvhSyntax, AByteOrderMarkIsSkipped) {
    expectSmall(readText("\xEF\xBB\xBF" + joined(smallBvh())));
}

TEST(BvhSyntax, KeywordsAreTakenInAnyCase) {
    std::string text = joined(smallBvh());
    for (const char* const word : {"HIERARCHY", "ROOT", "OFFSET", "CHANNELS", "JOINT", "End Site",
                                   "MOTION", "Frames", "Frame Time", "Xposition", "Zrotation"}) {
        const std::size_t at = text.find(word);
        for (std::size_t i = at; i < at + std::string(word).size(); ++i) {
            text[i] = static_cast<char>(i % 2 == 0 ? std::tolower(text[i]) : std::toupper(text[i]));
        }
    }
    expectSmall(readText(text));
}

TEST(BvhSyntax, TheHierarchyMayShareLines) {
    expectSmall(
        readText("HIERARCHY ROOT Hips {OFFSET 0 2 0 CHANNELS 3 Xposition Yposition Yrotation\n"
                 "JOINT Leg {OFFSET 0.5 -1 0 CHANNELS 1 Zrotation End Site{OFFSET 0 -1 0}}} MOTION "
                 "Frames: 2 Frame Time: 0.02\n1 2 3 4\n5 6 7 8"));
}

TEST(BvhSyntax, TheHierarchyMayBreakItsLinesAnywhere) {
    expectSmall(readText("HIERARCHY\nROOT Hips\n{\nOFFSET\n0\n2\n0\nCHANNELS\n3\nXposition\n"
                         "Yposition\nYrotation\nJOINT Leg\n\n{\nOFFSET\n0.5\n-1\n0\nCHANNELS\n1\n"
                         "Zrotation\nEnd\n{\nOFFSET\n0\n-1\n0\n}\n}\n}\nMOTION\nFrames:\n2\nFrame\n"
                         "Time:\n0.02\n1 2 3 4\n5 6 7 8\n"));
}

TEST(BvhSyntax, LabelsNeedNoBlankBehindTheirColon) {
    Lines lines = smallBvh();
    lines[16] = "Frames:2";
    lines[17] = "Frame Time:.02";
    expectSmall(readText(joined(lines)));
}

TEST(BvhSyntax, LabelsMayHaveBlanksAroundTheirColon) {
    Lines lines = smallBvh();
    lines[16] = "Frames \t:\t2";
    lines[17] = " Frame \t Time :\t0.02";
    expectSmall(readText(joined(lines)));
}

TEST(BvhSyntax, ChannelsMayComeBeforeTheOffset) {
    Lines lines = smallBvh();
    std::swap(lines[3], lines[4]);
    std::swap(lines[7], lines[8]);
    expectSmall(readText(joined(lines)));
}

TEST(BvhSyntax, AJointMayHaveAnyChannelsInAnyOrder) {
    EXPECT_THAT(channelsOf("CHANNELS 3 Xrotation Yrotation Zrotation"),
                ElementsAre(Channel::Xrotation, Channel::Yrotation, Channel::Zrotation));
    EXPECT_THAT(channelsOf("CHANNELS 3 Yrotation Xrotation Yrotation"),
                ElementsAre(Channel::Yrotation, Channel::Xrotation, Channel::Yrotation));
    EXPECT_THAT(channelsOf("CHANNELS 4 Zrotation Zposition Xrotation Yposition"),
                ElementsAre(Channel::Zrotation, Channel::Zposition, Channel::Xrotation,
                            Channel::Yposition));
}

TEST(BvhSyntax, AJointMayHaveNoChannels) {
    EXPECT_THAT(channelsOf(""), ElementsAre());
    EXPECT_THAT(channelsOf("CHANNELS 0"), ElementsAre());
}

TEST(BvhSyntax, AJointMayHaveNoChildren) {
    const BvhTake take = readText("HIERARCHY\nROOT Ball\n{\nOFFSET 0 0 0\nCHANNELS 1 Xposition\n}\n"
                                  "MOTION\nFrames: 1\nFrame Time: 0.02\n7\n");
    EXPECT_THAT(namesOf(*take.rig), ElementsAre("Ball"));
    EXPECT_THAT(valuesOf(take), ElementsAre(ElementsAre(7)));
}

TEST(BvhSyntax, AJointMayHaveChildrenBehindAnEndSite) {
    const BvhTake take = readText(
        "HIERARCHY\nROOT Hips\n{\nOFFSET 0 0 0\nEnd Site\n{\nOFFSET 1 0 0\n}\nJOINT Leg\n"
        "{\nOFFSET 0 1 0\nCHANNELS 1 Xrotation\nEnd Site\n{\nOFFSET 2 0 0\n}\nEnd Site\n{\n"
        "OFFSET 3 0 0\n}\n}\n}\nMOTION\nFrames: 0\nFrame Time: 0.02\n");
    EXPECT_THAT(namesOf(*take.rig), ElementsAre("Hips", "Hips_End", "Leg", "Leg_End", "Leg_End"));
    EXPECT_EQ(take.rig->nodes()[2].parent, 0);
    EXPECT_EQ(take.rig->nodes()[4].parent, 2);
    EXPECT_EQ(take.rig->nodes()[4].offset.x, 3.0F);
}

TEST(BvhSyntax, SeveralRootsAreASkeletonEach) {
    const BvhTake take = readText("HIERARCHY\nROOT Dancer\n{\nOFFSET 0 1 0\nCHANNELS 1 Xposition\n"
                                  "}\nROOT Prop\n{\nOFFSET 0 2 0\nCHANNELS 1 Yposition\n}\n"
                                  "MOTION\nFrames: 1\nFrame Time: 0.02\n7 8\n");
    ASSERT_EQ(take.rig->skeletons().size(), 2U);
    EXPECT_EQ(take.rig->skeletons()[1]->skeletonName(), "Prop");
    EXPECT_EQ(take.rig->nodes()[1].parent, -1);
    EXPECT_EQ(take.rig->nodes()[1].firstValue, 1U);
    EXPECT_THAT(valuesOf(take), ElementsAre(ElementsAre(7, 8)));
}

TEST(BvhSyntax, NamesMayHoldBlanks) {
    EXPECT_EQ(nameIn("JOINT Left  upper\tleg"), "Left  upper\tleg");
}

TEST(BvhSyntax, NamesLoseTheBlanksAroundThem) { EXPECT_EQ(nameIn("JOINT \t Leg \t "), "Leg"); }

TEST(BvhSyntax, NamesMayHoldColonsDigitsAndKeywords) {
    EXPECT_EQ(nameIn("JOINT mixamo:Leg 2"), "mixamo:Leg 2");
    EXPECT_EQ(nameIn("JOINT JOINT"), "JOINT");
    EXPECT_EQ(nameIn("JOINT End Site"), "End Site");
    EXPECT_EQ(nameIn("JOINT 左足"), "左足");
}

TEST(BvhSyntax, ABraceOnTheSameLineEndsAName) {
    Lines lines = smallBvh();
    lines[5] = "JOINT Left leg {";
    lines[6] = "";
    EXPECT_EQ(readText(joined(lines)).rig->nodes()[1].name, "Left leg");
}

TEST(BvhSyntax, AnEndSiteMayBeCalledAnything) {
    for (const std::string line : {"End Site", "End", "End  site of the leg", "END SITE"}) {
        EXPECT_EQ(readText(smallBvhWith(10, line)).rig->nodes().at(2).name, "Leg_End") << line;
    }
    EXPECT_EQ(readText(smallBvhWith(10, "End{OFFSET 3 4 5}End Site")).rig->nodes().size(), 4U);
}

TEST(BvhSyntax, NumbersMayBeWrittenInAnyNotation) {
    EXPECT_THAT(rowOf("1e2 -2.5E-1 +3 .5"), ElementsAre(100.0F, -0.25F, 3.0F, 0.5F));
    EXPECT_THAT(rowOf("4. -.5 +1.5e+1 0001"), ElementsAre(4.0F, -0.5F, 15.0F, 1.0F));
    EXPECT_THAT(rowOf("-0 0e5 1e-3 123456789"), ElementsAre(0.0F, 0.0F, 0.001F, 123456789.0F));
}

TEST(BvhSyntax, NumbersAreRoundedToTheNearest) {
    EXPECT_THAT(rowOf("0.1 16777217 3.4028235e38 1.17549435e-38"),
                ElementsAre(0.1F, 16777216.0F, std::numeric_limits<float>::max(),
                            std::numeric_limits<float>::min()));
}

TEST(BvhSyntax, NumbersTooSmallForTheirTypeAreZero) {
    EXPECT_THAT(rowOf("1e-400 -1e-400 1e-60 0.5e-99999999999"), ElementsAre(0, 0, 0, 0));
    EXPECT_THAT(rowOf("0." + std::string(60, '0') + "1 1" + std::string(60, '0') + "e-200 0 0"),
                ElementsAre(0, 0, 0, 0));
    EXPECT_EQ(readText(smallBvhWith(8, "OFFSET 1e-400 0 1")).rig->nodes()[1].offset.x, 0.0F);
}

TEST(BvhSyntax, ZerosMayBeWrittenAtAnyLength) {
    EXPECT_THAT(rowOf("0e99999999999 " + std::string(1000, '0') + "1 0." + std::string(1000, '0') +
                      " 1." + std::string(1000, '0')),
                ElementsAre(0, 1, 0, 1));
}

} // namespace
} // namespace tarn::kit
