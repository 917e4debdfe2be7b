// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/body/Rig.h>

#include <gtest/gtest.h>

#include <limits>

namespace tarn::kit {
namespace {

TEST(RigHeight, IsInfiniteForABodyThatIsTallerThanAnyNumber) {
    constexpr float largest = std::numeric_limits<float>::max();
    Rig rig;
    rig.addJoint("Hips", -1, {}, {});
    rig.addJoint("Head", 0, {0, largest, 0}, {});
    EXPECT_EQ(rig.height(), largest);
    rig.addEndSite(1, {0, largest, 0});
    rig.addEndSite(0, {0, -largest, 0});
    EXPECT_EQ(rig.height(), std::numeric_limits<float>::infinity());
}

} // namespace
} // namespace tarn::kit
