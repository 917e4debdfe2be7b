// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_draw/canvas/Picture.h>

#include <gtest/gtest.h>

namespace {

/// Lets go of the fonts when all tests have run, so that searches for leaks find none.
class Fonts : public ::testing::Environment {
public:
    void TearDown() override { const tarn::draw::ScopedFonts fonts; }
};

// Owned by GoogleTest.
const ::testing::Environment* const fonts = ::testing::AddGlobalTestEnvironment(new Fonts);

} // namespace
