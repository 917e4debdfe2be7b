// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/body/Analog.h>

#include <tarn/Frame.h>

#include <gtest/gtest.h>

#include <vector>

namespace tarn::kit {
namespace {

TEST(AnalogFrame, TravelsAsThePayloadOfAFrame) {
    const Frame frame(Time(4, 1000), analogDataType,
                      AnalogFrame(std::vector<float>{0.5F, -700.25F}));
    const auto& samples = frame.dataAs<AnalogFrame>();
    ASSERT_EQ(samples.size(), 2U);
    EXPECT_EQ(samples[1], -700.25F);
}

} // namespace
} // namespace tarn::kit
