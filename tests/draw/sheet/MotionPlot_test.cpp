// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_draw/sheet/MotionPlot.h>

#include "draw/Drawn.h"
#include "draw/Subjects.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace tarn::draw {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::SizeIs;

/// The panels of the first performer of a page.
constexpr Region heights{172, 254, 1738, 500};
constexpr Region speeds{172, 526, 1738, 772};

const Rgb leftHand = pixelOf(colours::left);
const Rgb head = pixelOf(colours::ink);

/// Somebody whose joints are all where a function of the frame says, along X.
Subject moving(int frames, float (*where)(int)) {
    return subject("Anna", frames, [where](int frame) { return standingAt(where(frame), 0); });
}

Picture onlyPlot(const std::vector<Subject>& subjects) {
    const std::vector<Picture> pages = motionPlots(subjects);
    EXPECT_THAT(pages, SizeIs(1));
    return pages.front();
}

float nowhere(int /*frame*/) { return 0; }

TEST(MotionPlot, SaysInTextWhatItShows) {
    const Picture picture = onlyPlot({moving(20, nowhere), moving(20, nowhere)});
    EXPECT_EQ(picture.title, "Anna, Anna");
    EXPECT_THAT(picture.description,
                HasSubstr("2 performers; 20 frames at 10 per second, 2.000 s"));
    EXPECT_THAT(picture.description,
                HasSubstr("Performer 2: Anna: height and speed of root (Hips), head, left hand"));
}

TEST(MotionPlot, DrawsTheHeightsOfTheJoints) {
    // The left hand rises from 12 to 19.6 while the head stays at 20 and the feet at 0.
    const Image image = drawn(onlyPlot({subject("Anna", 20, [](int frame) {
        std::vector<Vector3f> body = standingAt(0, 0);
        body[2].y = 12 + 0.4F * static_cast<float>(frame);
        return body;
    })}));
    const Patch begin = image.find(leftHand, {172, 254, 200, 500});
    const Patch end = image.find(leftHand, {1710, 254, 1738, 500});
    const Patch highest = image.find(head, heights);
    EXPECT_GT(begin.pixels, 20);
    EXPECT_NEAR(begin.middleY(), 353, 8); // of a panel from 252 to 502
    EXPECT_LT(end.middleY(), highest.middleY() + 15);
    EXPECT_GE(end.top, highest.bottom);
    const Patch foot = image.find(pixelOf(colours::rightFoot), heights);
    EXPECT_GT(foot.top, begin.bottom + 80);
}

TEST(MotionPlot, DrawsTheSpeedsOfTheJoints) {
    // All stand for a second and then go three units a frame.
    const Image image = drawn(onlyPlot({moving(
        21, [](int frame) { return frame < 10 ? 0.0F : 3.0F * static_cast<float>(frame - 10); })}));
    const Rgb root = pixelOf(colours::path);
    const Patch slow = image.find(root, {300, 526, 700, 774});
    const Patch fast = image.find(root, {1200, 526, 1600, 774});
    EXPECT_GT(slow.pixels, 200);
    EXPECT_GT(slow.middleY(), 760); // at the bottom: no speed
    EXPECT_GT(fast.pixels, 200);
    EXPECT_LT(fast.middleY(), 560);
}

TEST(MotionPlot, NamesPerformersAndCurvesAboveThePanels) {
    const Image image = drawn(onlyPlot({moving(5, nowhere), moving(5, nowhere)}));
    constexpr Region line{60, 190, 1740, 245};
    EXPECT_GT(image.find(head, line).pixels, 200); // the name
    for (const Colour& colour :
         {colours::left, colours::right, colours::leftFoot, colours::rightFoot, colours::path}) {
        EXPECT_GT(image.find(pixelOf(colour), line).pixels, 50);
    }
    EXPECT_GT(image.find(firstColour, line).pixels, 300);
    EXPECT_EQ(image.find(secondColour, line).pixels, 0);
    const Region below{60, 780, 1740, image.height()};
    EXPECT_GT(image.find(secondColour, below).pixels, 300);
}

TEST(MotionPlot, GrowsWithThePerformersAndNotWithTheFrames) {
    const double one = onlyPlot({moving(2, nowhere)}).height;
    EXPECT_GT(onlyPlot({moving(2, nowhere), moving(2, nowhere)}).height, one + 500);
    EXPECT_EQ(onlyPlot({moving(500, nowhere)}).height, one);
}

TEST(MotionPlot, HasAsManyPagesAsThePerformersNeed) {
    EXPECT_EQ(motionPlotCount(0), 1U);
    EXPECT_EQ(motionPlotCount(8), 1U);
    EXPECT_EQ(motionPlotCount(9), 2U);
    EXPECT_EQ(motionPlotCount(49), 7U);
    const std::vector<Picture> pages = motionPlots(std::vector<Subject>(49, moving(2, nowhere)));
    ASSERT_THAT(pages, SizeIs(7));
    for (const Picture& page : pages) {
        EXPECT_TRUE(drawn(page).valid());
    }
    EXPECT_THAT(pages[0].description, HasSubstr("page 1 of 7: performers 1 to 8"));
    EXPECT_THAT(pages[0].description, Not(HasSubstr("Performer 9:")));
    EXPECT_THAT(pages[6].description, HasSubstr("page 7 of 7: performers 49 to 49"));
    EXPECT_THAT(pages[6].description, HasSubstr("Performer 49: Anna"));
    EXPECT_LT(pages[6].height, pages[0].height);
}

TEST(MotionPlot, HasTheSameAxesOnAllPages) {
    // The last one goes ten times as high: the first page leaves room for that.
    std::vector<Subject> subjects(8, moving(5, nowhere));
    const Image alone = drawn(motionPlots(subjects).front());
    subjects.push_back(subject("Ben", 5, [](int) {
        std::vector<Vector3f> body = standingAt(0, 0);
        body[1].y = 200;
        return body;
    }));
    const Image together = drawn(motionPlots(subjects).front());
    EXPECT_LT(alone.find(head, heights).middleY(), 300);
    EXPECT_GT(together.find(head, heights).middleY(), 440);
}

TEST(MotionPlot, DrawsManyFramesAsFewAndSaysSo) {
    const auto shaking = [](int frame) { return frame % 2 == 0 ? 0.0F : 5.0F; };
    const Picture shortOne = onlyPlot({moving(2'000, shaking)});
    const Picture longOne = onlyPlot({moving(40'000, shaking)});
    EXPECT_THAT(shortOne.description, Not(HasSubstr("means")));
    EXPECT_THAT(longOne.description, HasSubstr("means of 80 frames each"));
    EXPECT_LT(renderSvg(longOne).size(), 2 * renderSvg(shortOne).size());
}

TEST(MotionPlot, HasEmptyPanelsForThoseWhoAreNotThere) {
    const auto nobody = [](int) { return std::vector<Vector3f>(); };
    for (const int frames : {0, 1, 9}) {
        const Image image = drawn(onlyPlot({subject("", frames, nobody)}));
        ASSERT_EQ(image.width(), 1800);
        EXPECT_FALSE(image.isBlank(heights)); // the grid
        EXPECT_EQ(image.find(leftHand, heights).pixels, 0);
        EXPECT_EQ(image.find(head, speeds).pixels, 0);
    }
    const Image none = drawn(onlyPlot({}));
    EXPECT_TRUE(none.isBlank({0, 190, 1800, none.height()}));
    EXPECT_FALSE(none.isBlank({0, 0, 1800, 190})); // it says that there are 0 performers
    const Image rigless = drawn(onlyPlot({subject("", 2, nobody, std::make_shared<kit::Rig>())}));
    EXPECT_EQ(rigless.find(head, heights).pixels, 0);
}

TEST(MotionPlot, ShowsTheRestWhereSomePositionsAreOutOfReach) {
    for (const float far :
         {std::numeric_limits<float>::infinity(), std::numeric_limits<float>::quiet_NaN(),
          std::numeric_limits<float>::max(), std::numeric_limits<float>::lowest()}) {
        const Image image = drawn(onlyPlot({subject("", 20, [far](int frame) {
            std::vector<Vector3f> body = standingAt(frame % 4 == 0 ? far : 0, 0);
            body[1].y = far;
            return body;
        })}));
        EXPECT_GT(image.find(pixelOf(colours::path), heights).pixels, 500) << far;
        EXPECT_EQ(image.find(head, heights).pixels > 500, std::isfinite(far)) << far;
        EXPECT_TRUE(image.isBlank({1780, 0, 1800, image.height()})) << far;
    }
}

TEST(MotionPlot, RefusesWhoCannotBeDrawn) {
    const std::vector<Subject> tooMany(mostSubjects + 1, moving(1, nowhere));
    EXPECT_THROW(motionPlots(tooMany), std::runtime_error);
}

} // namespace
} // namespace tarn::draw
