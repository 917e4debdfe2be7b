// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_draw/markers/MarkerSheet.h>

#include "draw/Drawn.h"

#include <gmock/gmock.h>
#include <tarn_kit/body/Markers.h>
#include <tarn_kit/session/TakeOf.h>

#include <limits>
#include <memory>
#include <string>
#include <vector>

namespace tarn::draw {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

/// Four markers, two of each subject, 1.5 units high, going along X; the last one is seen in every
/// other ten frames.
MarkerCloud cloud(int frames = 100) {
    MarkerCloud one;
    one.title = "walk";
    one.markers = {{"HEAD", "Anna"}, {"FOOT", "Anna"}, {"HEAD", "Ben"}, {"FOOT", "Ben"}};
    std::vector<std::shared_ptr<Frame>> all;
    for (int i = 0; i < frames; ++i) {
        std::vector<kit::Marker> markers(4);
        for (std::size_t k = 0; k < 4; ++k) {
            if (k < 3 || i / 10 % 2 == 0) {
                markers[k] = kit::Marker::at(
                    {0.02F * static_cast<float>(i), k < 2 ? 0.0F : 1.0F, k % 2 == 0 ? 1.5F : 0.0F});
            }
        }
        all.push_back(std::make_shared<Frame>(Time(static_cast<unsigned>(i), 50),
                                              kit::markerDataType, kit::MarkerFrame(markers)));
    }
    one.take = kit::takeOf(kit::markerDataType, all, 50);
    one.rate = 50;
    one.firstFrame = 160;
    one.unit = {"m", "metres"};
    return one;
}

/// The clouds, below head and legend; and the chart below them.
Region cells(const Image& image) { return {60, 290, image.width() - 60, 1200}; }

TEST(MarkerSheet, SaysWhoIsInItAndHowMuchWasSeen) {
    const Picture sheet = markerSheet(cloud(), {"a note"});
    EXPECT_EQ(sheet.title, "walk");
    EXPECT_THAT(sheet.description,
                HasSubstr("4 markers of 2 subjects, 100 frames at 50 per second, 2.00 s"));
    EXPECT_THAT(sheet.description, HasSubstr("3 of 4 markers seen in every frame"));
    EXPECT_THAT(sheet.description, HasSubstr("Cloud 1: frame 160, 0.00 s"));
    EXPECT_THAT(sheet.description, HasSubstr("Cloud 8: frame 259, 1.98 s"));
    EXPECT_THAT(sheet.description, HasSubstr("a note"));
}

TEST(MarkerSheet, DrawsTheMarkersOfEachSubjectInItsColour) {
    const Image image = drawn(markerSheet(cloud()));
    const int first = image.find(firstColour, cells(image)).pixels;
    const int second = image.find(secondColour, cells(image)).pixels;
    EXPECT_GT(first, 8 * 2 * 20);
    EXPECT_GT(second, 8 * 20);
    MarkerCloud alone = cloud();
    for (MarkerName& marker : alone.markers) {
        marker.subject = "Anna";
    }
    const Image one = drawn(markerSheet(alone));
    EXPECT_EQ(one.find(secondColour, all(one)).pixels, 0);
}

TEST(MarkerSheet, ChartsABarWhereAMarkerWasSeenAndNoneWhereItWasNot) {
    const MarkerCloud whole = cloud();
    const Image image = drawn(markerSheet(whole));
    MarkerCloud none = cloud();
    none.markers.pop_back(); // now no frame has the right number of markers
    const Image empty = drawn(markerSheet(none));
    // The two rows of Anna are full, one of Ben's as well and the other half.
    const Region chart{280, 1500, 1650, 1582};
    const int anna = image.find(firstColour, chart).pixels;
    const int ben = image.find(secondColour, chart).pixels;
    EXPECT_NEAR(ben, 0.75 * anna, 0.02 * anna);
    EXPECT_LT(empty.find(secondColour, all(empty)).pixels, 300) << "but for the legend";
}

TEST(MarkerSheet, IsDrawnStandingWhicheverAxisIsUp) {
    MarkerCloud lying = cloud();
    lying.up = kit::UpAxis::Y;
    // Lying markers of one subject are all at one height, and fill the cells in another way.
    EXPECT_NE(renderPng(markerSheet(lying)), renderPng(markerSheet(cloud())));
    MarkerCloud turned = cloud(); // the same with another axis up
    for (int i = 0; i < 100; ++i) {
        const auto frame = turned.take->getFrame(i, kit::markerDataType);
        std::vector<kit::Marker> markers;
        for (kit::Marker marker : frame->dataAs<kit::MarkerFrame>()) {
            marker.position = {marker.position.y, marker.position.z, marker.position.x};
            markers.push_back(marker);
        }
        frame->setData(kit::markerDataType, kit::MarkerFrame(markers));
    }
    turned.up = kit::UpAxis::Y;
    const Image one = drawn(markerSheet(turned));
    const Image other = drawn(markerSheet(cloud()));
    EXPECT_EQ(one.find(firstColour, cells(one)).pixels,
              other.find(firstColour, cells(other)).pixels);
}

TEST(MarkerSheet, OfNothingIsAPageAllTheSame) {
    MarkerCloud one = cloud(0);
    EXPECT_GT(drawn(markerSheet(one)).height(), 300);
    one.markers.clear();
    EXPECT_GT(drawn(markerSheet(one)).height(), 300);
    EXPECT_GT(drawn(markerSheet(cloud(1))).height(), 300);
}

TEST(MarkerSheet, PassesOverPlacesThatCannotBeDrawn) {
    MarkerCloud one = cloud(3);
    std::vector<kit::Marker> markers(4, kit::Marker::at({1e30F, -1e30F, 1e30F}));
    markers[0] = kit::Marker::at({std::numeric_limits<float>::infinity(), 0, 0});
    one.take->getFrame(1, kit::markerDataType)
        ->setData(kit::markerDataType, kit::MarkerFrame(markers));
    EXPECT_GT(drawn(markerSheet(one)).height(), 300);
}

TEST(MarkerSheet, OfManyMarkersShowsTheFirstOnesInTheChart) {
    MarkerCloud one = cloud(2);
    one.markers.assign(1000, {"M", ""});
    const std::vector<kit::Marker> markers(1000, kit::Marker::at({0, 0, 1}));
    for (int i = 0; i < 2; ++i) {
        one.take->getFrame(i, kit::markerDataType)
            ->setData(kit::markerDataType, kit::MarkerFrame(markers));
    }
    const Picture sheet = markerSheet(one);
    EXPECT_LT(sheet.height, 8000);
    EXPECT_THAT(sheet.description, Not(HasSubstr("subjects")));
    EXPECT_GT(drawn(sheet).height(), 4000);
}

} // namespace
} // namespace tarn::draw
