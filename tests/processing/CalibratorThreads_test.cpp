// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

// A calibrator that reports from a device's thread while its host looks at it from another.
#include "support/Polling.h"

#include <tarn/Calibrator.h>

#include <gtest/gtest.h>

using tarn::Calibrator;
using tarn::testing::whilePolling;

TEST(CalibratorThreads, FlagAndProgressMayBePolledWhileAnotherThreadReports) {
    Calibrator calibrator;
    constexpr int rounds = 500;
    float highest = 0;
    whilePolling(
        [&] {
            for (int i = 0; i < rounds; ++i) {
                calibrator.onBegin().emit();
                calibrator.onProgress().emit(0.25F);
                calibrator.onProgress().emit(0.75F);
                calibrator.onEnd().emit();
            }
        },
        [&] {
            const float progress = calibrator.currentCalibrateProgress();
            EXPECT_TRUE(progress == 0 || progress == 0.25F || progress == 0.75F) << progress;
            highest = progress > highest ? progress : highest;
            static_cast<void>(calibrator.isCalibrating());
        });
    EXPECT_LE(highest, 0.75F);
    EXPECT_EQ(calibrator.currentCalibrateProgress(), 0.75F);
    EXPECT_FALSE(calibrator.isCalibrating());
}
