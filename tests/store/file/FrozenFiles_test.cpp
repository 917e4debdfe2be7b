// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "support/Samples.h"
#include "support/TemporaryDirectory.h"

#include <tarn_kit/files/Bvh.h>
#include <tarn_store/file/StoredTakes.h>
#include <tarn_store/file/TakeCheck.h>
#include <tarn_store/file/TakeReader.h>

#include <gtest/gtest.h>

#include <string>

namespace tarn::store {
namespace {

/// The first 20 frames of a sample take, as the first format wrote them.
TEST(FrozenFiles, OfTheFirstFormatReadAsTheyDid) {
    // A copy: nobody but the test is to leave anything beside it.
    const tarn::testing::TemporaryDirectory directory;
    const std::string file = directory / "take.tarn";
    tarn::testing::writeFile(file, tarn::testing::readFile(TARN_STORE_DATA "/format-1.tarn"));
    EXPECT_EQ(checkTakeFile(file).line, "whole: 1 track, 20 frames");
    TakeReader reader(file);
    EXPECT_EQ(reader.facts().format, 1);
    EXPECT_EQ(reader.facts().program, "tarn-capture 0.1.0");
    const auto take = bodyTakeOf(reader, "cmu_131_01_walk");
    const auto sample = kit::readBvh(tarn::testing::samplePath("cmu_131_01_walk.bvh"));
    EXPECT_EQ(take.exactRate(), sample.exactRate());
    ASSERT_EQ(take.rig->nodes().size(), sample.rig->nodes().size());
    ASSERT_EQ(take.tracks->timeLength(), 20);
    for (int i = 0; i < 20; ++i) {
        EXPECT_EQ(take.tracks->getFrame(i, kit::poseDataType)->dataAs<kit::Pose>().values,
                  sample.tracks->getFrame(i, kit::poseDataType)->dataAs<kit::Pose>().values);
    }
}

} // namespace
} // namespace tarn::store
