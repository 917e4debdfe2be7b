// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_draw/figure/StickFigure.h>

#include "draw/Drawn.h"

#include <gmock/gmock.h>

#include <limits>
#include <vector>

namespace tarn::draw {
namespace {

using ::testing::SizeIs;

/// Hips with a head, a left leg that ends in a foot whose name tells no side, and a right leg.
/// 10 units high; the head has a radius of 0.65.
class StickFigures : public ::testing::Test {
protected:
    StickFigures() {
        rig_.addJoint("Hips", -1, {0, 4, 0}, {});
        rig_.addJoint("Head", 0, {0, 6, 0}, {});
        rig_.addEndSite(1, {0, 0, 0});
        rig_.addJoint("LeftLeg", 0, {-1, -2, 0}, {});
        rig_.addJoint("Foot", 3, {0, -2, 0}, {});
        rig_.addJoint("RightLeg", 0, {1, -4, 0}, {});
    }
    static std::vector<Seen> standing() {
        return {{0, 4, 0}, {0, 8, 0}, {0, 8, 0}, {-1, 2, 1}, {-1, 0, 1}, {1, 0, -1}};
    }
    /// Twenty pixels per unit, in a picture of 200 x 200.
    static Image drawnAt(const StickFigure& figure, const std::vector<Seen>& nodes) {
        return drawn(200, 200, [&](Canvas& canvas) {
            figure.draw(canvas, nodes, 20, 4, [](const Seen& at) {
                return Point{100 + 20 * at.right, 190 - 20 * at.up};
            });
        });
    }

    kit::Rig rig_;
};

TEST_F(StickFigures, HaveALineToEachJointAndADiscForTheHead) {
    const auto parts = StickFigure(rig_).partsOf(standing());
    ASSERT_THAT(parts, SizeIs(5));              // to head, legs and foot, and the head itself
    EXPECT_EQ(parts.front().side, Side::right); // which is farthest
    EXPECT_EQ(parts.back().side, Side::left);
    EXPECT_EQ(parts.back().to.up, 0); // the foot has the side of its leg
}

TEST_F(StickFigures, ReachAsFarAsTheirPartsDo) {
    const Extent extent = StickFigure(rig_).extentOf(standing());
    EXPECT_EQ(extent.left, -1);
    EXPECT_EQ(extent.right, 1);
    EXPECT_EQ(extent.bottom, 0);
    EXPECT_NEAR(extent.top, 8 + 2 * 0.65, 1e-5);
}

TEST_F(StickFigures, LeaveOutNodesThatAreNowhere) {
    std::vector<Seen> nodes = standing();
    nodes[5].up = std::numeric_limits<double>::quiet_NaN();
    const StickFigure figure(rig_);
    EXPECT_THAT(figure.partsOf(nodes), SizeIs(4));
    EXPECT_NEAR(figure.extentOf(nodes).right, 0.65, 1e-5); // that of the head
    const std::vector<Seen> nowhere(6, nodes[5]);
    EXPECT_EQ(figure.extentOf(nowhere).top, 0);
    EXPECT_TRUE(drawnAt(figure, nowhere).isBlank({0, 0, 200, 200}));
}

TEST_F(StickFigures, AreDrawnInTheColoursOfTheirSides) {
    const Image image = drawnAt(StickFigure(rig_), standing());
    const Patch left = image.find(pixelOf(colours::left), all(image));
    const Patch right = image.find(pixelOf(colours::right), all(image));
    const Patch root = image.find(pixelOf(colours::path), all(image));
    EXPECT_GT(left.pixels, 200);
    EXPECT_NEAR(left.left, 78, 1); // half a line beyond the foot
    EXPECT_NEAR(left.bottom, 191, 1);
    EXPECT_NEAR(right.right, 121, 1);
    EXPECT_NEAR(root.middleX(), 99.5, 1);
    EXPECT_NEAR(root.middleY(), 109.5, 1);
    // The middle of the head is above its joint.
    const Patch head = image.find(pixelOf(colours::ink), {0, 0, 200, 29});
    EXPECT_NEAR(head.middleX(), 99.5, 1);
    EXPECT_NEAR(head.top, 30 - 2 * 13, 1);
}

TEST_F(StickFigures, OfARigWithoutNodesAreNothing) {
    const StickFigure figure{kit::Rig()};
    EXPECT_THAT(figure.partsOf({}), SizeIs(0));
    EXPECT_EQ(figure.extentOf({}).top, 0);
}

} // namespace
} // namespace tarn::draw
