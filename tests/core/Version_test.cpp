// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn/Version.h>

#include <gtest/gtest.h>

#include <string>

namespace tarn {
namespace {

TEST(Version, IsThatOfThePackage) { EXPECT_STREQ(TARN_VERSION, TARN_PACKAGE_VERSION); }

TEST(Version, OfTheLibraryIsThatOfItsHeaders) { EXPECT_STREQ(version(), TARN_VERSION); }

TEST(Version, IsTheSameInPartsAndAsText) {
    EXPECT_EQ(std::to_string(TARN_VERSION_MAJOR) + "." + std::to_string(TARN_VERSION_MINOR) + "." +
                  std::to_string(TARN_VERSION_PATCH),
              TARN_VERSION);
}

} // namespace
} // namespace tarn
