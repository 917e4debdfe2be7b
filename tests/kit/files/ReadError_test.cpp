// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/files/ReadError.h>

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <type_traits>

namespace tarn::kit {
namespace {

static_assert(std::is_base_of_v<std::runtime_error, ReadError>);

TEST(ReadError, KnowsFileLineAndColumn) {
    const ReadError error("walk.bvh", 12, 7, "expected ROOT");
    EXPECT_EQ(error.file(), "walk.bvh");
    EXPECT_EQ(error.line(), 12U);
    EXPECT_EQ(error.column(), 7U);
}

TEST(ReadError, SaysPlaceAndReason) {
    const ReadError error("takes/walk.bvh", 12, 7, "expected ROOT");
    EXPECT_STREQ(error.what(), "takes/walk.bvh:12:7: expected ROOT");
}

TEST(ReadError, OfTheWholeFileSaysNoLine) {
    const ReadError error("walk.bvh", 0, 0, "not a regular file");
    EXPECT_STREQ(error.what(), "walk.bvh: not a regular file");
    EXPECT_EQ(error.line(), 0U);
}

TEST(ReadError, OfAFileOfBytesKnowsTheByte) {
    const ReadError error("takes/walk.c3d", ByteOffset{514}, "expected a group");
    EXPECT_STREQ(error.what(), "takes/walk.c3d: byte 514: expected a group");
    EXPECT_EQ(error.offset(), 514U);
    EXPECT_EQ(error.line(), 0U);
    EXPECT_EQ(error.column(), 0U);
    EXPECT_EQ(ReadError("walk.bvh", 12, 7, "expected ROOT").offset(), std::nullopt);
}

TEST(ReadError, StaysOnOneLineWhateverItQuotes) {
    const ReadError error("a\nb.bvh", 1, 2, std::string("found '\t\r\0\x1b\x7f'", 13));
    EXPECT_STREQ(error.what(), "a\\x0ab.bvh:1:2: found '\\x09\\x0d\\x00\\x1b\\x7f'");
    EXPECT_EQ(error.file(), "a\nb.bvh");
}

TEST(ReadError, LeavesLettersBeyondAsciiAsTheyAre) {
    const ReadError error("gehen.bvh", 1, 1, "found 'Hüfte'");
    EXPECT_STREQ(error.what(), "gehen.bvh:1:1: found 'Hüfte'");
}

TEST(ReadError, KeepsAllWhenCopied) {
    const ReadError error("walk.bvh", 12, 7, "expected ROOT");
    ReadError copy("other.bvh", 1, 1, "other");
    copy = error;
    EXPECT_EQ(copy.file(), "walk.bvh");
    EXPECT_EQ(copy.line(), 12U);
    EXPECT_EQ(copy.column(), 7U);
    EXPECT_STREQ(copy.what(), error.what());
}

} // namespace
} // namespace tarn::kit
