// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/solving/MarkerSource.h>

#include <gtest/gtest.h>
#include <tarn_kit/body/Markers.h>

#include <cstddef>
#include <limits>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace tarn::kit {
namespace {

const std::vector<std::string> names = {"A", "B", "C", "D", "E", "F"};

/// Markers one above the other, of which the first `seen` are seen.
std::shared_ptr<Frame> frameOf(float distance, std::size_t seen = names.size()) {
    std::vector<Marker> markers(names.size());
    for (std::size_t m = 0; m < seen; ++m) {
        markers[m] = Marker::at({100, 200, distance * static_cast<float>(m)});
    }
    return std::make_shared<Frame>(Time(0, 120), markerDataType, MarkerFrame(std::move(markers)));
}

std::string problemOf(const std::vector<std::shared_ptr<Frame>>& frames,
                      const std::vector<std::string>& worn = names) {
    return problemOfMarkers({names}, worn, frames);
}

TEST(MarkerSource, HasNoProblemWithMarkersAsFarApartAsOnPeople) {
    EXPECT_EQ(problemOf({frameOf(300)}), "");
    EXPECT_EQ(problemOfMarkers({names, 0.0254}, names, {frameOf(12)}), "");
}

TEST(MarkerSource, NamesTheUnitInWhichMarkersWouldBeABodys) {
    EXPECT_EQ(problemOf({frameOf(0.3F)}),
              "the markers of a frame are 2 mm apart, which is no body: is the unit of length "
              "right? In m it would be one");
    EXPECT_EQ(problemOf({frameOf(30)}),
              "the markers of a frame are 150 mm apart, which is no body: is the unit of length "
              "right? In cm it would be one");
    EXPECT_EQ(problemOf({frameOf(0)}), "the markers of a frame are 0 mm apart, which is no body: "
                                       "is the unit of length right?");
}

TEST(MarkerSource, IsJudgedByMostFramesInWhichHalfOfTheMarkersAreSeen) {
    EXPECT_EQ(problemOf({frameOf(300), frameOf(90000), frameOf(300)}), "") << "a ghost";
    EXPECT_EQ(problemOf({frameOf(1, 2), frameOf(1, 2), frameOf(1, 2), frameOf(300)}), "");
    EXPECT_NE(problemOf({frameOf(1, 3), frameOf(1, 3), frameOf(300)}), "");
}

TEST(MarkerSource, NamesTheMarkersIfTooFewAreSeen) {
    EXPECT_EQ(problemOf({frameOf(300, 0)}), "none of the body's markers is ever seen");
    EXPECT_EQ(problemOf({frameOf(300, 1), frameOf(300, 2)}),
              "never more than 2 of the body's markers are seen at once, of A, B; it takes 3");
    EXPECT_EQ(problemOf({frameOf(300)}, {"F", "C", "none"}),
              "never more than 2 of the body's markers are seen at once, of F, C; it takes 3");
    const float nan = std::numeric_limits<float>::quiet_NaN();
    EXPECT_EQ(problemOf({frameOf(nan)}), "none of the body's markers is ever seen");
}

TEST(MarkerSource, PassesOverWhatHoldsNoMarkersOfItsOwn) {
    const auto other = std::make_shared<Frame>(Time(0, 120), 99, 1);
    const auto fewer =
        std::make_shared<Frame>(Time(0, 120), markerDataType, MarkerFrame({Marker::at({1, 2, 3})}));
    EXPECT_EQ(problemOf({other, fewer, nullptr}), "none of the body's markers is ever seen");
    EXPECT_EQ(problemOf({other, fewer, frameOf(300)}), "");
}

} // namespace
} // namespace tarn::kit
