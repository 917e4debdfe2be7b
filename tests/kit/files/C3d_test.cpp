// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "kit/files/C3dTesting.h"

#include <gtest/gtest.h>

#include <string>

// What a file says, in each of the six encodings.

namespace tarn::kit {
namespace {

using namespace c3d_testing;

class C3dEncodings : public ::testing::TestWithParam<C3dEncoding> {
protected:
    static FileBuilder builder() { return FileBuilder(GetParam()); }
};

/// Expects the markers that the builder puts into its data.
void expectMarkers(const C3dTake& take, int points, int frames) {
    ASSERT_EQ(take.frameCount, frames);
    ASSERT_EQ(take.tracks->timeLength(), frames);
    for (int frame = 0; frame < frames; ++frame) {
        const MarkerFrame markers = markersAt(take, frame);
        ASSERT_EQ(markers.size(), static_cast<std::size_t>(points));
        for (int i = 0; i < points; ++i) {
            const Marker& marker = markers[static_cast<std::size_t>(i)];
            ASSERT_EQ(marker.hasPosition(), FileBuilder::isSeen(i, frame)) << i << " in " << frame;
            if (marker.hasPosition()) {
                EXPECT_EQ(marker.position.x, FileBuilder::coordinate(i, frame, 0));
                EXPECT_EQ(marker.position.y, FileBuilder::coordinate(i, frame, 1));
                EXPECT_EQ(marker.position.z, FileBuilder::coordinate(i, frame, 2));
                EXPECT_EQ(marker.residual, FileBuilder::residualSteps * 0.25F);
                EXPECT_EQ(marker.cameras, FileBuilder::cameras);
            }
        }
    }
}

TEST_P(C3dEncodings, GiveTheSameMarkers) {
    const C3dTake take = readStrictly(builder().standard().bytes());
    EXPECT_EQ(take.encoding, GetParam());
    expectMarkers(take, 3, 4);
    EXPECT_EQ(take.rate, 100);
    EXPECT_EQ(take.tracks->fps(), 100);
    EXPECT_EQ(take.firstFrame, 1);
    EXPECT_EQ(take.scale, 0.25);
    EXPECT_TRUE(take.report.empty());
}

TEST_P(C3dEncodings, GiveTheSameAnalogSamples) {
    FileBuilder file = builder();
    file.channels = 2;
    file.samples = 5;
    const C3dTake take = readStrictly(file.standard().bytes());
    expectMarkers(take, 3, 4);
    EXPECT_EQ(take.samplesPerFrame, 5);
    EXPECT_EQ(take.analogRate(), 500);
    EXPECT_EQ(take.analogTracks->fps(), 500);
    ASSERT_EQ(take.analogTracks->timeLength(), 20);
    for (int sample = 0; sample < 20; ++sample) {
        ASSERT_EQ(samplesAt(take, sample).size(), 2U);
        for (int channel = 0; channel < 2; ++channel) {
            EXPECT_EQ(samplesAt(take, sample)[static_cast<std::size_t>(channel)],
                      static_cast<float>(FileBuilder::stored(channel, sample) - 10) * 2 * 0.5F);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(All, C3dEncodings, ::testing::ValuesIn(allEncodings));

} // namespace
} // namespace tarn::kit
