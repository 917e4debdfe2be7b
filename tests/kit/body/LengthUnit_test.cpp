// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/body/LengthUnit.h>

#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace tarn::kit {
namespace {

std::string symbolFor(double bodyHeight) { return guessLengthUnit(bodyHeight).symbol; }

TEST(LengthUnit, IsThatInWhichABodyIsHumanSized) {
    EXPECT_EQ(symbolFor(1.2), "m");
    EXPECT_EQ(symbolFor(2.3), "m");
    EXPECT_EQ(symbolFor(47), "in");
    EXPECT_EQ(symbolFor(90), "in");
    EXPECT_EQ(symbolFor(120), "cm");
    EXPECT_EQ(symbolFor(230), "cm");
    EXPECT_EQ(symbolFor(1200), "mm");
    EXPECT_EQ(symbolFor(2300), "mm");
    EXPECT_EQ(guessLengthUnit(172).name, "centimetres");
    EXPECT_TRUE(guessLengthUnit(172).known());
}

TEST(LengthUnit, IsFoundByItsSymbol) {
    EXPECT_EQ(lengthUnitNamed("mm")->name, "millimetres");
    EXPECT_EQ(lengthUnitNamed("m")->metres, 1);
    EXPECT_EQ(lengthUnitNamed("cm")->metres, 0.01);
    EXPECT_EQ(lengthUnitNamed("in")->metres, 0.0254);
    EXPECT_EQ(lengthUnitNamed("ft")->metres, 0.3048);
    EXPECT_EQ(guessLengthUnit(172).metres, 0.01);
    for (const char* const text : {"", "unit", "CM", "km", "cm "}) {
        EXPECT_FALSE(lengthUnitNamed(text)) << text;
    }
}

TEST(LengthUnit, IsTheTakesOwnWhereNothingFits) {
    for (const double height :
         {-1.7, 0.0, 1.19, 2.31, 30.0, 46.9, 90.1, 119.0, 231.0, 1199.0, 2301.0,
          std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN()}) {
        EXPECT_EQ(symbolFor(height), "unit") << height;
        EXPECT_FALSE(guessLengthUnit(height).known()) << height;
    }
}

TEST(LengthUnit, IsDescribedTogetherWithWhatItWasGuessedFrom) {
    EXPECT_EQ(describeGuess(guessLengthUnit(172.44), 172.44),
              "lengths are in centimetres: the body is 172.4 high");
    EXPECT_EQ(describeGuess(guessLengthUnit(30.126), 30.126),
              "lengths are in a unit of the take's own: a body 30.13 high fits none of metres, "
              "centimetres, millimetres, inches");
}

TEST(LengthText, HasFourSignificantDigitsAndTheUnit) {
    const LengthUnit centimetres = guessLengthUnit(172);
    EXPECT_EQ(lengthText(172.44, centimetres), "172.4 cm");
    EXPECT_EQ(lengthText(1, centimetres), "1 cm");
    EXPECT_EQ(lengthText(0.00012345, centimetres), "0.0001234 cm");
    EXPECT_EQ(lengthText(-123456, centimetres), "-1.235e+05 cm");
}

TEST(LengthText, HasUnitsOfTheTakesOwnInThePlural) {
    const LengthUnit own = guessLengthUnit(30);
    EXPECT_EQ(lengthText(30.126, own), "30.13 units");
    EXPECT_EQ(lengthText(1, own), "1 unit");
    EXPECT_EQ(lengthText(0.99999, own), "1 unit");
    EXPECT_EQ(lengthText(0, own), "0 units");
}

} // namespace
} // namespace tarn::kit
