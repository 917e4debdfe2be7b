// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "kit/files/c3d/C3dSettling.h"

#include <gtest/gtest.h>

#include <string>

// What is said of the decisions.

namespace tarn::kit {
namespace {

using namespace c3d_testing;

TEST(C3dReport, SaysOnOneLineWhatWhereAndWhy) {
    const C3dTake take = readBytes(FileBuilder().standard().header(2, 200).bytes());
    ASSERT_EQ(take.report.size(), 1U);
    EXPECT_EQ(to_string(take.report[0]),
              "header word 2 (byte 2): 200, believed 3: with that the data fills the file");
}

TEST(C3dReport, ExplainsEveryDecisionIfAsked) {
    const std::string bytes = FileBuilder().standard().bytes();
    C3dOptions options;
    options.mode = C3dMode::Explain;
    const C3dTake take = readBytes(bytes, options);
    expectData(take);
    ASSERT_TRUE(findingOn(take, "POINT:USED"));
    EXPECT_FALSE(findingOn(take, "POINT:USED")->isContradiction);
    EXPECT_EQ(findingOn(take, "POINT:USED")->offset, take.parameters.find("POINT", "USED")->offset);
    EXPECT_TRUE(readBytes(bytes).report.empty());
}

TEST(C3dReport, SaysWhereInTheFileAParameterLies) {
    FileBuilder file;
    file.standard().without("USED").integer(1, "USED", 200);
    const std::string bytes = file.bytes();
    const auto finding = findingOn(readBytes(bytes), "POINT:USED");
    ASSERT_TRUE(finding);
    EXPECT_EQ(bytes.substr(finding->offset + 2, 4), "USED");
}

} // namespace
} // namespace tarn::kit
