// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_draw/sheet/DrawFiles.h>

#include "draw/Subjects.h"
#include "support/TemporaryDirectory.h"

#include <tarn_draw/sheet/MotionPlot.h>

#include <gmock/gmock.h>

#include <stdexcept>
#include <vector>

namespace tarn::draw {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;

Subject anna() {
    return subject("Anna", 3, [](int) { return standingAt(0, 0); });
}

TEST(DrawPoses, WritesAPageInTheFormatOfTheName) {
    const testing::TemporaryDirectory directory;
    drawPoses({anna()}, directory / "poses.png");
    drawPoses({anna(), anna()}, directory / "poses.svg", {"seen from afar"});
    EXPECT_THAT(testing::readFile(directory / "poses.png"), StartsWith("\x89PNG"));
    EXPECT_THAT(testing::readFile(directory / "poses.svg"),
                AllOf(HasSubstr("<title>Anna, Anna</title>"), HasSubstr("seen from afar")));
}

TEST(DrawMotion, WritesAFilePerPage) {
    const testing::TemporaryDirectory directory;
    EXPECT_THAT(drawMotion({anna()}, directory / "one.svg"), ElementsAre(directory / "one.svg"));
    EXPECT_THAT(drawMotion(std::vector<Subject>(subjectsPerPlot + 1, anna()), directory / "m.svg"),
                ElementsAre(directory / "m.svg", directory / "m-2.svg"));
    EXPECT_THAT(directory.names(), ElementsAre("m-2.svg", "m.svg", "one.svg"));
    EXPECT_THAT(testing::readFile(directory / "m-2.svg"), HasSubstr("Performer 9: Anna"));
}

TEST(DrawFiles, WriteNothingOfWhatCannotBeDrawn) {
    const testing::TemporaryDirectory directory;
    const std::vector<Subject> tooMany(mostSubjects + 1, anna());
    EXPECT_THROW(drawPoses(tooMany, directory / "a.png"), std::runtime_error);
    EXPECT_THROW(drawMotion(tooMany, directory / "a.png"), std::runtime_error);
    EXPECT_THAT(directory.names(), ElementsAre());
}

TEST(PageFile, NumbersThePagesAfterTheFirst) {
    EXPECT_EQ(pageFile("out/motion.png", 0), "out/motion.png");
    EXPECT_EQ(pageFile("out/motion.png", 1), "out/motion-2.png");
    EXPECT_EQ(pageFile("motion.svg", 9), "motion-10.svg");
    EXPECT_EQ(pageFile("out.d/motion", 1), "out.d/motion-2");
}

} // namespace
} // namespace tarn::draw
