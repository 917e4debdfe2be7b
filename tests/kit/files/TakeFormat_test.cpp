// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/files/TakeFormat.h>

#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <string>

namespace tarn::kit {
namespace {

using tarn::testing::writeFile;

const std::string c3dText("\x02\x50\x03\x00", 4);

TEST(TakeFormat, IsToldByWhatAFileHolds) {
    EXPECT_EQ(takeFormatIn("HIERARCHY\r\nROOT Hips\r\n{\n\tOFFSET"), TakeFormat::Bvh);
    EXPECT_EQ(takeFormatIn("\xEF\xBB\xBFHIERARCHY"), TakeFormat::Bvh);
    EXPECT_EQ(takeFormatIn(std::string(" hierarchy\nROOT \0", 17)), TakeFormat::Bvh)
        << "names may hold anything";
    EXPECT_EQ(takeFormatIn("any other text"), TakeFormat::Bvh);
    EXPECT_EQ(takeFormatIn(c3dText), TakeFormat::C3d);
    EXPECT_EQ(takeFormatIn(std::string(512, '\0')), TakeFormat::C3d) << "a damaged one";
}

TEST(TakeFormat, OfAFileIsToldByItsContentWhateverItIsCalled) {
    const tarn::testing::TemporaryDirectory directory;
    writeFile(directory / "take.bvh", c3dText);
    EXPECT_EQ(takeFormatOf(directory / "take.bvh"), TakeFormat::C3d);
    writeFile(directory / "take.c3d", "HIERARCHY\n");
    EXPECT_EQ(takeFormatOf(directory / "take.c3d"), TakeFormat::Bvh);
}

TEST(TakeFormat, OfWhatHoldsNothingIsToldByItsEnding) {
    const tarn::testing::TemporaryDirectory directory;
    writeFile(directory / "empty.C3D", "");
    EXPECT_EQ(takeFormatOf(directory / "empty.C3D"), TakeFormat::C3d);
    EXPECT_EQ(takeFormatOf(directory / "missing.bvh"), TakeFormat::Bvh);
    EXPECT_EQ(takeFormatOf(directory / "missing.c3d"), TakeFormat::C3d);
}

} // namespace
} // namespace tarn::kit
