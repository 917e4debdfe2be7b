// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "Images.h"
#include "Performances.h"

#include "drawing/GroupMotion.h"
#include "drawing/GroupSheet.h"
#include "drawing/Picture.h"
#include <gmock/gmock.h>

#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <fstream>
#include <limits>

namespace tarn::tests {
namespace {

using capture::GroupInstant;
using capture::GroupMotion;
using capture::groupSheet;
using capture::Performance;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr int rate = 10;
constexpr Rgb firstColour{51, 33, 135};
constexpr Rgb secondColour{237, 148, 13};

class GroupSheet : public ::testing::Test {
    capture::DrawingSession session_;
};

/// The picture as a PNG file gives it back.
Image drawn(const std::vector<Performance>& performances) {
    const std::string file =
        ::testing::TempDir() + "tarn_group_sheet_" + std::to_string(getpid()) + ".png";
    std::ofstream(file, std::ios::binary) << capture::renderPng(groupSheet(performances, rate));
    Image image(file);
    std::remove(file.c_str());
    return image;
}

/// Two who stand 20 units apart.
std::vector<Performance> pair() {
    return {performance("Anna", 20, [](int) { return standingAt(-10, 0); }),
            performance("Ben", 20, [](int) { return standingAt(10, 0); })};
}

std::vector<int> framesOf(const GroupMotion& motion) {
    std::vector<int> frames;
    for (const GroupInstant& instant : motion.instants) {
        frames.push_back(instant.frame);
    }
    return frames;
}

TEST(GroupMotion, ChoosesEvenlySpacedInstants) {
    const GroupMotion motion = capture::summarize(pair(), rate, 4);
    EXPECT_THAT(framesOf(motion), ElementsAre(0, 6, 13, 19));
    EXPECT_DOUBLE_EQ(motion.instants[1].seconds, 0.6);
    EXPECT_THAT(motion.instants[1].bodies, SizeIs(2));
}

TEST(GroupMotion, LeavesOutFramesWithoutAnybody) {
    const auto sometimes = [](int frame) {
        return frame >= 5 && frame <= 9 ? standingAt(0, 0) : std::vector<Vector3f>();
    };
    const GroupMotion motion = capture::summarize(
        {performance("Anna", 20, sometimes), performance("Ben", 3, sometimes)}, rate, 3);
    EXPECT_THAT(framesOf(motion), ElementsAre(5, 7, 9));
    EXPECT_THAT(motion.instants[0].bodies[1], IsEmpty());
    EXPECT_THAT(motion.rootPaths[0], SizeIs(5));
    EXPECT_THAT(motion.rootPaths[1], IsEmpty());
}

TEST(GroupMotion, LeavesOutBodiesOfAnotherRig) {
    const auto tooFew = [](int) { return std::vector<Vector3f>{{0, 0, 0}}; };
    EXPECT_THAT(capture::summarize({performance("Anna", 4, tooFew)}, rate, 3).instants, IsEmpty());
}

TEST(GroupMotion, PutsTheGroundWhereTheFeetAreMostly) {
    const auto jumping = [](int frame) {
        std::vector<Vector3f> body = standingAt(0, 0);
        for (Vector3f& node : body) {
            node.y += frame % 3 == 0 ? 50.0F : 7.0F;
        }
        return body;
    };
    EXPECT_DOUBLE_EQ(capture::summarize({performance("Anna", 20, jumping)}, rate, 3).ground, 7);
}

TEST_F(GroupSheet, ShowsThePerformersSideBySideAsTheyStand) {
    const Image image = drawn(pair());
    ASSERT_TRUE(image.valid());
    const Region firstCell{66, 310, 480, 640};
    const Patch anna = image.find(firstColour, firstCell);
    const Patch ben = image.find(secondColour, firstCell);
    EXPECT_GT(anna.pixels, 300);
    EXPECT_GT(ben.pixels, 300);
    EXPECT_LT(anna.right, ben.left);
}

TEST_F(GroupSheet, HasAWhiteMargin) {
    const Image image = drawn(pair());
    ASSERT_EQ(image.width(), 1800);
    EXPECT_TRUE(image.isBlank({0, 0, 1800, 50}));
    EXPECT_TRUE(image.isBlank({0, 0, 50, image.height()}));
    EXPECT_TRUE(image.isBlank({1770, 0, 1800, image.height()}));
    EXPECT_TRUE(image.isBlank({0, image.height() - 50, 1800, image.height()}));
}

TEST_F(GroupSheet, SaysInTextWhatItShows) {
    const capture::Picture picture = groupSheet(pair(), rate);
    EXPECT_EQ(picture.title, "Anna, Ben");
    EXPECT_THAT(picture.description,
                HasSubstr("2 performers; 20 frames at 10 per second, 2.000 s"));
    EXPECT_THAT(picture.description, HasSubstr("Performer 2: Ben"));
    EXPECT_THAT(picture.description, HasSubstr("Pose 8: frame 19, 1.900 s"));
}

TEST_F(GroupSheet, SurvivesSessionsWithHardlyAnything) {
    const auto nobody = [](int) { return std::vector<Vector3f>(); };
    const auto still = [](int) { return std::vector<Vector3f>{{0, 0, 0}}; };
    auto dot = std::make_shared<kit::Rig>();
    dot->addJoint("Only", -1, {0, 0, 0}, {});
    EXPECT_TRUE(drawn({}).valid());
    EXPECT_TRUE(drawn({performance("Empty", 0, nobody)}).valid());
    EXPECT_TRUE(drawn({performance("Nobody", 9, nobody)}).valid());
    EXPECT_TRUE(drawn({performance("Dot", 1, still, dot)}).valid());
    EXPECT_TRUE(drawn({performance("No rig", 3, nobody, std::make_shared<kit::Rig>())}).valid());
}

TEST_F(GroupSheet, SurvivesAnyPositions) {
    constexpr float infinity = std::numeric_limits<float>::infinity();
    for (const float far : {infinity, -infinity, std::numeric_limits<float>::quiet_NaN(),
                            std::numeric_limits<float>::max(), 1e7F}) {
        const auto away = [far](int frame) { return standingAt(frame < 10 ? 0 : far, far); };
        const auto once = [far](int frame) { return standingAt(0, frame == 5 ? far : 0); };
        EXPECT_TRUE(drawn({performance("Anna", 20, away), performance("Ben", 20, once)}).valid());
    }
}

TEST_F(GroupSheet, DrawsALongPathInFewSteps) {
    const auto walking = [](int frame) {
        const auto way = static_cast<float>(frame);
        return standingAt(100 * std::sin(way * 0.371F), 100 * std::cos(way * 0.743F));
    };
    const std::string shortOne =
        capture::renderSvg(groupSheet({performance("Anna", 5'000, walking)}, rate));
    const std::string longOne =
        capture::renderSvg(groupSheet({performance("Anna", 40'000, walking)}, rate));
    EXPECT_LT(longOne.size(), 2 * shortOne.size());
}

} // namespace
} // namespace tarn::tests
