// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/body/Analog.h>
#include <tarn_kit/body/RigidBodies.h>

#include <tarn/Frame.h>

#include <gtest/gtest.h>

#include <cmath>
#include <set>
#include <vector>

namespace tarn::kit {
namespace {

TEST(RigidBodyFrame, HoldsBodiesThatAreNowhereUntilTheyAreSeen) {
    std::vector<RigidBody> bodies(2);
    bodies[1].position = {1, 2, 3};
    bodies[1].state = MarkerState::Seen;
    const Frame frame(Time(4, 120), rigidBodyDataType, RigidBodyFrame(bodies));
    const auto& seen = frame.dataAs<RigidBodyFrame>();
    EXPECT_FALSE(seen[0].hasPosition());
    EXPECT_TRUE(std::isnan(seen[0].position.x));
    EXPECT_EQ(seen[0].rotation.w, 1) << "a rotation even so";
    EXPECT_TRUE(seen[1].hasPosition());
    EXPECT_EQ(seen[1].position.z, 3);
}

TEST(PayloadDataTypes, DifferFromEachOther) {
    EXPECT_EQ((std::set<int>{markerDataType, analogDataType, rigidBodyDataType}).size(), 3U);
}

} // namespace
} // namespace tarn::kit
