// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/Version.h>

#include <gtest/gtest.h>

namespace tarn::kit {
namespace {

TEST(KitVersion, IsThatOfTheSdk) { EXPECT_STREQ(version(), tarn::version()); }

} // namespace
} // namespace tarn::kit
