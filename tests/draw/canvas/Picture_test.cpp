// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_draw/canvas/Picture.h>

#include "draw/Drawn.h"
#include "support/TemporaryDirectory.h"

#include <gmock/gmock.h>

#include <limits>
#include <stdexcept>
#include <string>

namespace tarn::draw {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

Picture blank(double width, double height) {
    return {width, height, "title", "", [](Canvas&) {}};
}

/// The message with which rendering fails.
std::string failureOf(const Picture& picture, std::string (*render)(const Picture&)) {
    try {
        render(picture);
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "";
}

TEST(Picture, IsRenderedOnWhiteInItsSize) {
    const Image image = drawn(blank(40.4, 19.6));
    ASSERT_TRUE(image.valid());
    EXPECT_EQ(image.width(), 40);
    EXPECT_EQ(image.height(), 20);
    EXPECT_TRUE(image.isBlank({0, 0, 40, 20}));
    EXPECT_THAT(renderSvg(blank(40, 20)), HasSubstr("width=\"40px\" height=\"20px\""));
}

TEST(Picture, IsRefusedInWordsOfItsOwnWhereItIsTooLarge) {
    EXPECT_EQ(drawn(blank(1, largestPictureSide)).height(), largestPictureSide);
    for (const auto render : {renderPng, renderSvg}) {
        EXPECT_EQ(failureOf(blank(1800, 32'768), render),
                  "cannot draw a picture of 1800 x 32768 pixels: each side must have from 1 to "
                  "32767");
        EXPECT_THAT(failureOf(blank(32'768, 1), render), StartsWith("cannot draw a picture of"));
        EXPECT_THAT(failureOf(blank(100, 0), render), HasSubstr("100 x 0 pixels"));
        EXPECT_NE(failureOf(blank(std::numeric_limits<double>::quiet_NaN(), 1), render), "");
    }
}

TEST(Picture, LetsWhatDrawingThrowsThrough) {
    const Picture broken{10, 10, "", "", [](Canvas&) { throw std::logic_error("odd"); }};
    EXPECT_THROW(renderPng(broken), std::logic_error);
    EXPECT_THROW(renderSvg(broken), std::logic_error);
}

TEST(Picture, SaysInItsSvgWhatItShows) {
    const Picture picture{10, 10, "<a & \xFF>", "one\ntwo\x01", [](Canvas&) {}};
    const std::string svg = renderSvg(picture);
    EXPECT_THAT(svg, HasSubstr("<title>&lt;a &amp; \xEF\xBF\xBD&gt;</title>"));
    EXPECT_THAT(svg, HasSubstr("<desc>one\ntwo\xEF\xBF\xBD</desc>"));
}

TEST(Picture, IsSavedInTheFormatOfTheNamesEnding) {
    const testing::TemporaryDirectory directory;
    for (const char* const name : {"a.png", "b.PNG"}) {
        savePicture(blank(10, 10), directory / name);
        EXPECT_THAT(testing::readFile(directory / name), StartsWith("\x89PNG"));
    }
    savePicture(blank(10, 10), directory / "c.d.svg");
    EXPECT_THAT(testing::readFile(directory / "c.d.svg"), StartsWith("<?xml"));
}

TEST(Picture, IsNotSavedInAFormatThatIsNotKnown) {
    const testing::TemporaryDirectory directory;
    for (const char* const name : {"a.gif", "png", "a.", "a.png.gz"}) {
        try {
            savePicture(blank(10, 10), directory / name);
            ADD_FAILURE() << name;
        } catch (const std::runtime_error& error) {
            EXPECT_EQ(error.what(), "cannot draw '" + (directory / name) +
                                        "': the name of a picture ends in .png or .svg");
        }
    }
    EXPECT_TRUE(directory.names().empty());
}

TEST(Picture, NamesTheFileThatCannotBeWritten) {
    const testing::TemporaryDirectory directory;
    const std::string file = directory / "none/a.png";
    try {
        savePicture(blank(10, 10), file);
        ADD_FAILURE();
    } catch (const std::runtime_error& error) {
        EXPECT_THAT(error.what(), HasSubstr(file));
    }
}

TEST(Picture, ThatCannotBeDrawnLeavesTheFileAsItWas) {
    const testing::TemporaryDirectory directory;
    testing::writeFile(directory / "a.png", "old");
    EXPECT_THROW(savePicture(blank(10, 40'000), directory / "a.png"), std::runtime_error);
    EXPECT_EQ(testing::readFile(directory / "a.png"), "old");
}

} // namespace
} // namespace tarn::draw
