// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_store/file/StoreError.h>

#include <gtest/gtest.h>

#include <string>

namespace tarn::store {
namespace {

TEST(StoreError, NamesTheFileOnOneLine) {
    const StoreError error("two\nlines.tarn", StoreProblem::Full, "no space is left");
    EXPECT_EQ(std::string(error.what()).find('\n'), std::string::npos);
    EXPECT_NE(std::string(error.what()).find(".tarn: no space is left"), std::string::npos);
    EXPECT_EQ(error.file(), "two\nlines.tarn");
    EXPECT_EQ(error.problem(), StoreProblem::Full);
    EXPECT_EQ(error.reason(), "no space is left");
}

} // namespace
} // namespace tarn::store
