// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "help/Suggestion.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace tarn::capture {
namespace {

const std::vector<std::string> names{"info", "play", "export", "stream", "--frames", "--format"};

TEST(Suggestion, IsTheNameThatDiffersByALetterOrTwo) {
    EXPECT_EQ(nearestName("exprot", names), "export"); // swapped
    EXPECT_EQ(nearestName("pla", names), "play");      // missing
    EXPECT_EQ(nearestName("iinfo", names), "info");    // too many
    EXPECT_EQ(nearestName("--franes", names), "--frames");
    EXPECT_EQ(nearestName("--fraems", names), "--frames");
}

TEST(Suggestion, IsTheOnlyNameThatBeginsWithTheWord) {
    EXPECT_EQ(nearestName("str", names), "stream");
    EXPECT_EQ(nearestName("--fo", names), "--format");
    EXPECT_EQ(nearestName("--f", names), "");
}

TEST(Suggestion, IsNothingForAWordThatIsLikeNone) {
    EXPECT_EQ(nearestName("dance", names), "");
    EXPECT_EQ(nearestName("", names), "");
    EXPECT_EQ(nearestName("--", names), "");
    EXPECT_EQ(nearestName(std::string(100'000, 'x'), names), "");
}

} // namespace
} // namespace tarn::capture
