// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_store/file/TakeDescription.h>

#include <gtest/gtest.h>

#include <type_traits>

namespace tarn::store {
namespace {

// What is recorded from a connection keeps the description that came with it, as it is.
static_assert(std::is_same_v<TrackDescription, kit::TrackDescription>);
static_assert(std::is_same_v<Label, kit::Label>);

TEST(TakeDescription, OfAFileThatSaysNothingIsOfARecordingThatNobodyEnded) {
    EXPECT_FALSE(TakeFileFacts().ended);
    EXPECT_LT(StoredTrack().lastSlot, StoredTrack().firstSlot); // not a frame
}

} // namespace
} // namespace tarn::store
