// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_draw/sheet/PoseSheet.h>

#include "draw/Drawn.h"
#include "draw/Subjects.h"

#include <gmock/gmock.h>

#include <cmath>
#include <cstdlib>
#include <limits>
#include <memory>
#include <regex>
#include <stdexcept>
#include <string>
#include <vector>

namespace tarn::draw {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

const Rgb left = pixelOf(colours::left);
const Rgb right = pixelOf(colours::right);
const Rgb ink = pixelOf(colours::ink);
const Rgb startColour = pixelOf(colours::start);
const Rgb endColour = pixelOf(colours::end);

/// The cells of the first row, below the heading. Several performers have a legend above it.
Region cellOfOne(int column) { return {66 + 420 * column, 240, 474 + 420 * column, 740}; }
Region cellOfSeveral(int column) { return {66 + 420 * column, 310, 474 + 420 * column, 640}; }

Image drawnSheet(const std::vector<Subject>& subjects) { return drawn(poseSheet(subjects)); }

/// The pixels of the numbers to the left of the ground plan.
int axisNumbers(const Image& image) {
    const int bottom = image.height() - 144;
    return image.find(pixelOf(colours::note), {90, bottom - 280, 165, bottom}).pixels;
}

std::vector<Vector3f> nobody(int /*frame*/) { return {}; }

/// Two who stand 20 units apart.
std::vector<Subject> pair() {
    return {subject("Anna", 20, [](int) { return standingAt(-10, 0); }),
            subject("Ben", 20, [](int) { return standingAt(10, 0); })};
}

/// One who goes somewhere, three units a frame.
Subject walking(float x, float z, int frames = 20) {
    return subject("Anna", frames, [=](int frame) {
        const auto steps = static_cast<float>(3 * frame);
        return standingAt(x * steps, z * steps);
    });
}

/// The frames that the page shows, as its description has them.
std::vector<int> framesOf(const Picture& sheet) {
    std::vector<int> frames;
    const std::regex pose("Pose \\d+: frame (\\d+)");
    const std::sregex_iterator end;
    for (std::sregex_iterator found(sheet.description.begin(), sheet.description.end(), pose);
         found != end; ++found) {
        frames.push_back(std::stoi((*found)[1]));
    }
    return frames;
}

TEST(PoseSheet, ShowsEvenlySpacedInstants) {
    const Picture sheet = poseSheet(pair());
    EXPECT_THAT(framesOf(sheet), ElementsAre(0, 3, 5, 8, 11, 14, 16, 19));
    EXPECT_THAT(sheet.description, HasSubstr("Pose 2: frame 3, 0.300 s"));
}

TEST(PoseSheet, PassesOverFramesWithoutAnybody) {
    const auto sometimes = [](int frame) {
        return frame >= 5 && frame <= 7 ? standingAt(0, 0) : std::vector<Vector3f>();
    };
    const std::vector<Subject> subjects{subject("Anna", 20, sometimes),
                                        subject("Ben", 3, sometimes)};
    EXPECT_THAT(framesOf(poseSheet(subjects)), ElementsAre(5, 6, 7));
    const Image image = drawnSheet(subjects);
    EXPECT_GT(image.find(firstColour, cellOfSeveral(0)).pixels, 300);
    EXPECT_EQ(image.find(secondColour, cellOfSeveral(0)).pixels, 0);
    EXPECT_TRUE(image.isBlank(cellOfSeveral(3)));
}

TEST(PoseSheet, PassesOverBodiesOfAnotherRig) {
    const auto tooFew = [](int) { return std::vector<Vector3f>{{0, 0, 0}}; };
    EXPECT_THAT(framesOf(poseSheet({subject("Anna", 4, tooFew)})), IsEmpty());
}

TEST(PoseSheet, PutsTheGroundWhereTheFeetAreMostly) {
    const auto feetAt = [](float usual) {
        const Image image = drawnSheet({subject("Anna", 8, [usual](int frame) {
            std::vector<Vector3f> body = standingAt(0, 0);
            for (Vector3f& node : body) {
                node.y += frame % 3 == 1 ? usual + 5 : usual;
            }
            return body;
        })});
        // From the far edge of the floor down to the feet.
        const auto feet = [&](int column) {
            return image.find(left, cellOfOne(column)).bottom -
                   image.find(pixelOf(colours::floor), cellOfOne(column)).top;
        };
        EXPECT_GT(feet(0), 0);
        EXPECT_LT(feet(1), feet(0) - 50); // a jump
        EXPECT_EQ(feet(2), feet(0));
        return feet(0);
    };
    EXPECT_NEAR(feetAt(0), feetAt(7), 1);
}

TEST(PoseSheet, ShowsThePerformersSideBySideAsTheyStand) {
    const Image image = drawnSheet(pair());
    ASSERT_TRUE(image.valid());
    const Patch anna = image.find(firstColour, cellOfSeveral(0));
    const Patch ben = image.find(secondColour, cellOfSeveral(0));
    EXPECT_GT(anna.pixels, 300);
    EXPECT_GT(ben.pixels, 300);
    EXPECT_LT(anna.right, ben.left);
}

TEST(PoseSheet, DrawsOnePerformerInTheColoursOfLeftAndRight) {
    const Image image = drawnSheet({pair().front()});
    for (int column = 0; column < 4; ++column) {
        EXPECT_GT(image.find(left, cellOfOne(column)).pixels, 300);
        EXPECT_GT(image.find(right, cellOfOne(column)).pixels, 300);
        EXPECT_GT(image.find(ink, cellOfOne(column)).pixels, 300); // the head
    }
    EXPECT_EQ(image.find(firstColour, all(image)).pixels, 0);
    // The colours are explained beside the heading.
    constexpr Region legend{900, 195, 1500, 230};
    EXPECT_GT(image.find(left, legend).pixels, 100);
    EXPECT_GT(image.find(right, legend).pixels, 100);
    EXPECT_GT(image.find(pixelOf(colours::path), legend).pixels, 100);
}

TEST(PoseSheet, SaysWhoIsWhoOfSeveral) {
    const Image image = drawnSheet(pair());
    const Patch first = image.find(firstColour, {60, 190, 470, 232});
    const Patch second = image.find(secondColour, {470, 190, 900, 232});
    EXPECT_NEAR(first.middleX(), 75, 2);
    EXPECT_NEAR(second.middleX(), 495, 2);
    EXPECT_GT(image.find(ink, {100, 190, 470, 232}).pixels, 100); // the names
    EXPECT_GT(image.find(ink, {520, 190, 900, 232}).pixels, 100);
    EXPECT_EQ(image.find(left, all(image)).pixels, 0);
}

TEST(PoseSheet, MarksStartEndAndPosesOfOnePath) {
    const Image image = drawnSheet({walking(1, 0)});
    const Patch start = image.find(startColour, all(image));
    const Patch end = image.find(endColour, all(image));
    EXPECT_NEAR(start.right - start.left, 15, 2);
    EXPECT_NEAR(end.right - end.left, 15, 1);
    EXPECT_GT(end.middleX(), start.middleX() + 1000); // along X, which points to the right
    EXPECT_NEAR(end.middleY(), start.middleY(), 1);
    // The path goes from one to the other, with a ring for each pose between.
    const auto row = static_cast<int>(start.middleY());
    const Rgb path = pixelOf(colours::path);
    const Region between{start.right + 3, row - 10, end.left - 3, row + 11};
    EXPECT_GT(image.find(path, between).pixels, 2'000);
    int rings = 0;
    for (int x = between.left; x < between.right; ++x) {
        const bool isWhite = image.at(x, row) == pixelOf(colours::white);
        rings += isWhite && image.at(x - 1, row) != pixelOf(colours::white) ? 1 : 0;
    }
    EXPECT_EQ(rings, 6);
    // Numbers stand above the marks, start and end with a word.
    const auto above = [&](const Patch& mark) {
        const int x = static_cast<int>(mark.middleX());
        return image.find(ink, {x - 60, mark.top - 40, x + 60, mark.top - 3});
    };
    EXPECT_GT(above(start).pixels, 150);
    EXPECT_GT(above(end).pixels, 120);
    EXPECT_GT(above(start).right - above(start).left, 40);
}

TEST(PoseSheet, ShowsThePathAsSeenFromAbove) {
    struct Ends {
        Patch start, end;
    };
    const auto endsOf = [](float x, float z) {
        const Image image = drawnSheet({walking(x, z)});
        return Ends{image.find(startColour, all(image)), image.find(endColour, all(image))};
    };
    const Ends alongX = endsOf(-4, 1); // X to the right, Z down
    EXPECT_LT(alongX.end.middleX(), alongX.start.middleX() - 500);
    EXPECT_GT(alongX.end.middleY(), alongX.start.middleY() + 100);
    const Ends alongZ = endsOf(1, 4); // Z to the right, X up
    EXPECT_GT(alongZ.end.middleX(), alongZ.start.middleX() + 500);
    EXPECT_LT(alongZ.end.middleY(), alongZ.start.middleY() - 100);
}

TEST(PoseSheet, MarksStartAndEndOfSeveralPathsInTheirColours) {
    const Image image = drawnSheet({walking(1, 0), walking(-1, 0.2F)});
    const int plotBottom = image.height() - 144;
    const int plotTop = plotBottom - 280;
    const Region paths{172, plotTop + 2, 1738, plotBottom - 2};
    const Patch first = image.find(firstColour, paths);
    const Patch second = image.find(secondColour, paths);
    EXPECT_GT(first.right, second.right + 500);
    EXPECT_GT(first.pixels, 1'000);
    EXPECT_GT(second.pixels, 1'000);
    // A square ends the first path; a disc, of which little is in its first column, starts both.
    const auto columnOf = [&](const Rgb& colour, int x) {
        return image.find(colour, {x, paths.top, x + 1, paths.bottom}).pixels;
    };
    EXPECT_EQ(columnOf(firstColour, first.right), 23);
    EXPECT_EQ(columnOf(secondColour, second.left), 23);
    EXPECT_LT(columnOf(secondColour, second.right), 14);
    EXPECT_EQ(image.find(startColour, all(image)).pixels, 0);
    // The legend of the paths: a disc, a square and a ring.
    EXPECT_GT(image.find(pixelOf(colours::note), {1000, plotTop - 56, 1500, plotTop - 10}).pixels,
              500);
}

TEST(PoseSheet, GoesAlongWithThoseWhoGoFar) {
    const auto middles = [](const std::vector<Subject>& subjects, const Rgb& colour, Region first,
                            Region last) {
        const Image image = drawnSheet(subjects);
        return std::vector<double>{image.find(colour, first).middleX() - first.left,
                                   image.find(colour, last).middleX() - last.left};
    };
    const auto alone = middles({walking(1, 0)}, ink, cellOfOne(0), cellOfOne(3));
    EXPECT_NEAR(alone[0], alone[1], 2);
    const Subject beside =
        subject("Ben", 20, [](int frame) { return standingAt(3 * static_cast<float>(frame), 15); });
    const auto together =
        middles({walking(1, 0), beside}, firstColour, cellOfSeveral(0), cellOfSeveral(3));
    EXPECT_NEAR(together[0], together[1], 2);
    const auto nearby =
        middles({walking(0.1F, 0), pair()[1]}, firstColour, cellOfSeveral(0), cellOfSeveral(3));
    EXPECT_GT(nearby[1], nearby[0] + 5); // seen from one place
}

TEST(PoseSheet, HasAWhiteMargin) {
    for (const Image& image : {drawnSheet(pair()), drawnSheet({walking(0, 1)})}) {
        ASSERT_EQ(image.width(), 1800);
        EXPECT_TRUE(image.isBlank({0, 0, 1800, 50}));
        EXPECT_TRUE(image.isBlank({0, 0, 50, image.height()}));
        EXPECT_TRUE(image.isBlank({1770, 0, 1800, image.height()}));
        EXPECT_TRUE(image.isBlank({0, image.height() - 50, 1800, image.height()}));
    }
}

TEST(PoseSheet, SaysInTextWhatItShows) {
    const Picture several = poseSheet(pair());
    EXPECT_EQ(several.title, "Anna, Ben");
    EXPECT_THAT(several.description,
                HasSubstr("2 performers; 20 frames at 10 per second, 2.000 s"));
    EXPECT_THAT(several.description, HasSubstr("Performer 2: Ben"));
    EXPECT_THAT(several.description, HasSubstr("Pose 8: frame 19, 1.900 s"));
    const Picture one = poseSheet({pair().front()}, {"Seen from afar"});
    EXPECT_EQ(one.title, "Anna");
    EXPECT_THAT(one.description, HasSubstr("20 frames at 10 per second, 2.000 s; 6 joints; body "
                                           "height 20 units\nPose 1:"));
    EXPECT_THAT(one.description, HasSubstr("\nSeen from afar"));
    EXPECT_THAT(one.description, Not(HasSubstr("Performer")));
}

TEST(PoseSheet, WritesNotesBelow) {
    const Picture without = poseSheet({walking(1, 0)});
    const Picture with = poseSheet({walking(1, 0)}, {"one", "two"});
    EXPECT_EQ(with.height, without.height + 2 * 28);
    const Image image = drawn(with);
    const Region below{60, image.height() - 60 - 62, 300, image.height() - 50};
    EXPECT_GT(image.find(pixelOf(colours::note), below).pixels, 60);
}

TEST(PoseSheet, ShowsTheRestPoseWithoutFrames) {
    const Picture sheet = poseSheet({subject("Anna", 0, nobody)});
    EXPECT_THAT(sheet.description, HasSubstr("Pose 1: rest pose: the take has no frames"));
    const Image image = drawn(sheet);
    EXPECT_GT(image.find(left, cellOfOne(0)).pixels, 300);
    EXPECT_TRUE(image.isBlank(cellOfOne(1)));
}

TEST(PoseSheet, ShowsNoFigureWhereNobodyIs) {
    const Image none = drawnSheet({});
    ASSERT_EQ(none.width(), 1800);
    EXPECT_EQ(none.find(firstColour, all(none)).pixels, 0);
    EXPECT_EQ(none.find(left, all(none)).pixels, 0);
    const Image nobodyIsThere = drawnSheet({subject("Nobody", 9, nobody)});
    EXPECT_EQ(nobodyIsThere.find(left, all(nobodyIsThere)).pixels, 0);
    EXPECT_EQ(nobodyIsThere.find(startColour, all(nobodyIsThere)).pixels, 0);
    const Image rigless = drawnSheet({subject("No rig", 3, nobody, std::make_shared<kit::Rig>())});
    EXPECT_EQ(rigless.find(startColour, all(rigless)).pixels, 0);
    // Heading and ground plan are there all the same.
    EXPECT_GT(rigless.find(ink, {60, 190, 900, 230}).pixels, 300);
    EXPECT_GT(axisNumbers(rigless), 3);
}

TEST(PoseSheet, ShowsABodyThatIsButAPoint) {
    auto dot = std::make_shared<kit::Rig>();
    dot->addJoint("Only", -1, {0, 0, 0}, {});
    const auto still = [](int) { return std::vector<Vector3f>{{0, 0, 0}}; };
    const Image one = drawnSheet({subject("Dot", 1, still, dot)});
    EXPECT_GT(one.find(pixelOf(colours::path), cellOfOne(0)).pixels, 60);
    const Image two = drawnSheet({subject("Dot", 1, still, dot), subject("Dot", 1, still, dot)});
    EXPECT_GT(two.find(secondColour, {66, 300, 474, 800}).pixels, 15);
}

TEST(PoseSheet, ShowsTheRestWhereSomePositionsAreOutOfReach) {
    constexpr float infinity = std::numeric_limits<float>::infinity();
    for (const float far : {infinity, -infinity, std::numeric_limits<float>::quiet_NaN(),
                            std::numeric_limits<float>::max(), 1e7F}) {
        const auto away = [far](int frame) { return standingAt(frame < 10 ? 0 : far, far); };
        const auto once = [far](int frame) { return standingAt(0, frame == 5 ? far : 0); };
        for (const auto& subjects :
             {std::vector{subject("Anna", 20, away)}, std::vector{subject("Ben", 20, once)},
              std::vector{subject("Anna", 20, away), subject("Ben", 20, once)}}) {
            const Image image = drawnSheet(subjects);
            ASSERT_EQ(image.width(), 1800) << far;
            const bool fits = far != std::numeric_limits<float>::max(); // sums of these overflow
            EXPECT_TRUE(!fits || image.isBlank({0, 0, 50, image.height()})) << far;
            EXPECT_GT(axisNumbers(image), 3) << far;
        }
        if (!std::isfinite(far)) { // what there is of Ben is as large as ever
            const Image image = drawnSheet({subject("Ben", 20, once)});
            EXPECT_GT(image.find(left, cellOfOne(0)).pixels, 300) << far;
        }
    }
}

TEST(PoseSheet, DrawsALongPathInFewSteps) {
    const auto walkingOn = [](int frame) {
        const auto way = static_cast<float>(frame);
        return standingAt(100 * std::sin(way * 0.371F), 100 * std::cos(way * 0.743F));
    };
    const std::string shortOne = renderSvg(poseSheet({subject("Anna", 5'000, walkingOn)}));
    const std::string longOne = renderSvg(poseSheet({subject("Anna", 40'000, walkingOn)}));
    EXPECT_LT(longOne.size(), 2 * shortOne.size());
}

TEST(PoseSheet, ShowsAsManyPerformersAsItSays) {
    const std::vector<Subject> most(mostSubjects, walking(1, 0, 1));
    const Picture sheet = poseSheet(most);
    EXPECT_LE(sheet.height, largestPictureSide);
    EXPECT_THAT(sheet.description, HasSubstr("Performer 1000: Anna"));
    std::vector<Subject> tooMany = most;
    tooMany.push_back(walking(1, 0, 1));
    try {
        poseSheet(tooMany);
        ADD_FAILURE();
    } catch (const std::runtime_error& error) {
        EXPECT_EQ(error.what(), whyNotDrawn(tooMany));
    }
}

} // namespace
} // namespace tarn::draw
