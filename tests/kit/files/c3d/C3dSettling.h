// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "kit/files/C3dTesting.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>

namespace c3d_testing {

/// Expects the data of the builder to be read, whatever the file says.
inline void expectData(const C3dTake& take, int points = 3, int frames = 4) {
    ASSERT_EQ(take.frameCount, frames);
    ASSERT_EQ(take.markers.size(), static_cast<std::size_t>(points));
    for (int frame = 0; frame < frames; ++frame) {
        for (int i = 0; i < points; ++i) {
            const Marker marker = markersAt(take, frame)[static_cast<std::size_t>(i)];
            ASSERT_EQ(marker.hasPosition(), FileBuilder::isSeen(i, frame)) << i << " in " << frame;
            if (marker.hasPosition()) {
                ASSERT_EQ(marker.position.x, FileBuilder::coordinate(i, frame, 0));
                ASSERT_EQ(marker.position.z, FileBuilder::coordinate(i, frame, 2));
            }
        }
    }
}

/// Expects the data to be read, one place to be reported, and strict reading to refuse it there.
inline void expectSettled(const std::string& bytes, const std::string& place,
                          const std::string& found, const std::string& believed) {
    const C3dTake take = readBytes(bytes);
    expectData(take);
    const auto finding = findingOn(take, place);
    ASSERT_TRUE(finding) << place;
    EXPECT_EQ(finding->found, found);
    EXPECT_EQ(finding->believed, believed);
    EXPECT_TRUE(finding->isContradiction);
    EXPECT_FALSE(finding->reason.empty());
    const auto error = errorOf(bytes, C3dMode::Strict);
    ASSERT_TRUE(error) << place;
    EXPECT_EQ(error->offset(), finding->offset) << error->what();
}

/// A file whose frames are whole blocks, so that any other number of them leaves a gap.
inline FileBuilder large() {
    FileBuilder file;
    file.points = 32;
    file.frames = 4;
    return file;
}

} // namespace c3d_testing
