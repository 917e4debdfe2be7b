// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_link/stream/LinkStatus.h>

#include <gtest/gtest.h>

namespace tarn::link {
namespace {

TEST(LinkStatus, SumsUpWhatBecameOfTheTracks) {
    LinkStatus status;
    EXPECT_EQ(status.receivedFrames(), 0U);
    status.tracks.resize(2);
    status.tracks[0].received = 10;
    status.tracks[0].lost = 1;
    status.tracks[1].received = 20;
    status.tracks[1].lost = 3;
    EXPECT_EQ(status.receivedFrames(), 30U);
    EXPECT_EQ(status.lostFrames(), 4U);
}

} // namespace
} // namespace tarn::link
