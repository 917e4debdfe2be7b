// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "solving/calibration/MarkerPlacement.h"

#include "solving/PoseProblem.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

using namespace tarn::kit;

namespace {

/// A chain of four joints, whose last one is said to have a marker at its origin.
class MarkerPlacementTest : public ::testing::Test {
protected:
    MarkerPlacementTest() {
        for (std::size_t j = 0; j < 4; ++j) {
            SolvedJoint joint;
            joint.parent = j == 0 ? none : j - 1;
            joint.offset = {0.3, 0, 0};
            joint.spread = {1, 1, 1};
            joint.lowest = {-3, -3, -3};
            joint.highest = {3, 3, 3};
            body.joints.push_back(joint);
        }
        body.markers.resize(1);
        body.markers[0].joint = 3;
    }

    /// Frames in which the joints turn by `reach` and the marker sits on a joint, `off` from there.
    std::vector<std::size_t> place(std::size_t joint, const Vector3d& off, double reach,
                                   std::size_t count = 20, double loose = 0) {
        std::uniform_real_distribution<double> turn(-reach, reach);
        std::uniform_real_distribution<double> slip(-loose, loose);
        std::vector<Stance> stances(count);
        std::vector<Sightings> sightings(count, Sightings(1));
        std::vector<PlacedFrame> frames;
        PoseProblem problem(body);
        for (std::size_t i = 0; i < count; ++i) {
            for (std::size_t j = 0; j < body.joints.size(); ++j) {
                stances[i].turns.push_back(
                    fromRotationVector({turn(random), turn(random), turn(random)}));
            }
            problem.evaluate(stances[i], sightings[i]);
            const Vector3d at = off + Vector3d{slip(random), slip(random), slip(random)};
            sightings[i][0].position = problem.origins()[joint] + problem.axes()[joint] * at;
            sightings[i][0].weight = 1;
            frames.push_back({&sightings[i], &stances[i]});
        }
        return placeAnew(body, {0}, frames);
    }

    std::mt19937 random{3};
    Articulation body;
};

} // namespace

TEST_F(MarkerPlacementTest, PutsAMarkerWhereItKeepsItsDistanceFromItsJoint) {
    EXPECT_EQ(place(3, {0.1, 0.2, 0}, 0.5, 20, 0.01).size(), 1U);
    EXPECT_LT(lengthOf(body.markers[0].offset - Vector3d{0.1, 0.2, 0}), 0.01);
}

TEST_F(MarkerPlacementTest, LeavesOneThatRidesOnAnotherSegment) {
    // So little is turned that it hardly moves against its own segment, either.
    EXPECT_TRUE(place(1, {0.6, 0.1, 0}, 0.03).empty());
    EXPECT_EQ(lengthOf(body.markers[0].offset), 0);
}

TEST_F(MarkerPlacementTest, LeavesOneThatIsHereAndThere) {
    EXPECT_TRUE(place(3, {0.1, 0.1, 0}, 0.5, 20, 0.1).empty());
}

TEST_F(MarkerPlacementTest, LeavesOneThatIsFartherAwayThanSegmentsAreWide) {
    EXPECT_TRUE(place(3, {0.1, 0.4, 0}, 0.5).empty());
}

TEST_F(MarkerPlacementTest, LeavesOneThatIsHardlySeen) {
    EXPECT_TRUE(place(3, {0.1, 0.1, 0}, 0.5, 9).empty());
    EXPECT_EQ(place(3, {0.1, 0.1, 0}, 0.5, 10).size(), 1U);
}
