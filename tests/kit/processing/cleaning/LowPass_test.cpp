// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/processing/cleaning/LowPass.h>

#include "CleaningTesting.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <future>
#include <limits>
#include <stdexcept>
#include <vector>

namespace tarn::kit {
namespace {

using cleaning_testing::cut;
using cleaning_testing::limb;
using cleaning_testing::markerIn;
using cleaning_testing::Table;

using Curve = std::vector<double>;

LowPassOptions options(double cutoff, int order, double rate, bool perPass = false) {
    LowPassOptions result;
    result.cutoff = cutoff;
    result.order = order;
    result.rate = rate;
    result.perPass = perPass;
    return result;
}

void expectSame(const Curve& found, const Curve& expected, double tolerance = 1e-9) {
    ASSERT_EQ(found.size(), expected.size());
    for (std::size_t i = 0; i < found.size(); ++i) {
        EXPECT_NEAR(found[i], expected[i], tolerance) << i;
    }
}

const Curve curve = {9.589,   41.516,  39.505,  92.144,  107.399, 83.479,  110.22,   97.206,
                     47.042,  51.201,  20.591,  -38.805, -35.523, -59.372, -103.316, -78.277,
                     -76.916, -92.901, -40.758, -16.482, -14.231, 48.771,  74.766,   71.128,
                     120.208, 124.878, 96.234,  118.004, 94.989,  42.614};

// What another implementation makes of the curve: scipy 1.10.1, signal.butter and signal.filtfilt.

TEST(LowPass, AgreesWithATextbooksTwoPassesOfSecondOrder) {
    expectSame(lowPass(curve, options(6, 2, 120, true)),
               {13.410206494620315,  27.718490143221892,  40.3625347943948,    50.238565703946584,
                56.40946578237011,   58.247092500210975,  55.51870461927368,   48.40994754604541,
                37.537412354327074,  23.896607698940862,  8.752358519315107,   -6.463337351011059,
                -20.290066902847776, -31.398495643550824, -38.70183827632402,  -41.463436165955486,
                -39.38687821840663,  -32.62739499192737,  -21.778904808493003, -7.833751629263174,
                7.933009336180914,   24.087709217546497,  39.16381717661599,   51.82852856633741,
                61.017474913297825,  66.030330492793,     66.62800050639372,   63.06381611104451,
                56.051065692495854,  46.717462778758524});
}

TEST(LowPass, AgreesWithATextbooksTwoPassesOfFourthOrder) {
    expectSame(lowPass(curve, options(10, 4, 100, true)),
               {9.704791483355784,   36.93886188758942,  61.80438884157663,  82.11498555712512,
                95.9075937053048,    101.65918717410216, 98.53100647020183,  86.55881307366768,
                66.72663905961164,   40.896716600106124, 11.607566927750346, -18.219167217083598,
                -45.611923304744806, -67.87020253148306, -82.82993259292331, -89.04799793655336,
                -85.89747833938814,  -73.58097255144462, -53.08415600478525, -26.094821072085637,
                5.094448849533436,   37.69581454852424,  68.56738104933565,  94.42526929703668,
                112.16583160191608,  119.31320662807198, 114.55137991124998, 98.22051740135454,
                72.59281069325355,   41.737662327864776});
}

TEST(LowPass, AgreesWithATextbooksTwoPassesOfAnOddOrder) {
    expectSame(lowPass(curve, options(6, 3, 120, true)),
               {13.05071175373278,   27.404714133217215,  40.12687171355544,  50.039949662446475,
                56.20104092936155,   57.99888177405982,   55.22133458562305,  48.08455441873101,
                37.220178615085736,  23.620607465487918,  8.547403141816991,  -6.5878183575195095,
                -20.358610495043905, -31.461452766757848, -38.84170259749607, -41.79541518385999,
                -40.03659460628941,  -33.72246926148948,  -23.43448789791694, -10.11673179437496,
                5.022571880432646,   20.635974835459375,  35.375303921858176, 48.02956071530933,
                57.646870908798384,  63.626897153241266,  65.77317459630214,  64.29781316372906,
                59.77638231634807,   53.05649713527155});
}

TEST(LowPass, AgreesWithATextbookWhoseCutOffIsCorrectedForTwoPasses) {
    // filtfilt(*butter(2, 2 / pi * arctan((sqrt(2) - 1) ** -0.25 * tan(pi * 6 / 120))), curve)
    expectSame(lowPass(curve, options(6, 4, 120)),
               {13.02072490295886,   32.248091486984485, 49.67275723186409,  63.662429237728816,
                72.76893059922565,   75.97783855170411,  72.8503895646434,   63.54813948853449,
                48.87323469758575,   30.193903108964975, 9.267852297787332,  -11.887798959009396,
                -31.197984784543326, -46.77769273350667, -57.07449350712603, -61.025153846585596,
                -58.20432336948351,  -48.82472303000998, -33.72326596928906, -14.324586346821416,
                7.5400942513302835,  29.806685845024163, 50.34120000026504,  67.20133045469305,
                78.83629878280487,   84.22154007041782,  83.03769499999383,  75.73779029088026,
                63.50973754385707,   48.251416373862035});
}

/// The same as in textbooks, written down plainly: the difference equation of a pass of second
/// order, over a curve that is continued by its reflections.
Curve textbook(const Curve& values, double cutoff, double rate) {
    const double c = 1 / std::tan(pi * cutoff / rate);
    const double b = 1 / (1 + std::sqrt(2.0) * c + c * c);
    const double a1 = 2 * b * (1 - c * c);
    const double a2 = b * (1 - std::sqrt(2.0) * c + c * c);
    Curve padded;
    for (std::size_t i = 9; i > 0; --i) {
        padded.push_back(2 * values.front() - values[i]);
    }
    padded.insert(padded.end(), values.begin(), values.end());
    for (std::size_t i = 1; i <= 9; ++i) {
        padded.push_back(2 * values.back() - values[values.size() - 1 - i]);
    }
    for (int pass = 0; pass < 2; ++pass) {
        Curve out(padded.size());
        const auto in = [&](std::size_t i, std::size_t back) {
            return i < back ? padded.front() : padded[i - back];
        };
        const auto was = [&](std::size_t i, std::size_t back) {
            return i < back ? padded.front() : out[i - back];
        };
        for (std::size_t i = 0; i < padded.size(); ++i) {
            out[i] = b * (in(i, 0) + 2 * in(i, 1) + in(i, 2)) - a1 * was(i, 1) - a2 * was(i, 2);
        }
        std::reverse(out.begin(), out.end());
        padded = out;
    }
    return {padded.begin() + 9, padded.end() - 9};
}

TEST(LowPass, AgreesWithTheDifferenceEquationOverALongCurve) {
    Curve values;
    for (int i = 0; i < 5000; ++i) {
        values.push_back(1000 * std::sin(0.02 * i) + 5 * std::sin(1.7 * i) + std::sin(2.9 * i * i));
    }
    for (const double cutoff : {2.0, 6.0, 20.0}) {
        expectSame(lowPass(values, options(cutoff, 2, 120, true)), textbook(values, cutoff, 120));
    }
}

/// How high a wave of `hertz` comes out, whose height is 1.
double heightAt(double hertz, const LowPassOptions& how) {
    Curve wave;
    for (int i = 0; i < 4000; ++i) {
        wave.push_back(std::sin(2 * pi * hertz * i / how.rate));
    }
    const Curve out = lowPass(wave, how);
    return *std::max_element(out.begin() + 1000, out.begin() + 3000);
}

TEST(LowPass, TakesThreeDecibelsAtTheCutOffOfBothPassesTogether) {
    EXPECT_NEAR(heightAt(6, options(6, 4, 1000)), std::sqrt(0.5), 1e-4);
    EXPECT_NEAR(heightAt(6, options(6, 8, 1000)), std::sqrt(0.5), 1e-4);
    EXPECT_NEAR(heightAt(6, options(6, 2, 1000)), std::sqrt(0.5), 1e-4);
    EXPECT_NEAR(heightAt(6, options(6, 2, 1000, true)), 0.5, 1e-4);
}

TEST(LowPass, KeepsSlowMovementAndTakesFastOneAwayWithoutALag) {
    EXPECT_NEAR(heightAt(0.5, options(6, 4, 1000)), 1, 1e-3);
    EXPECT_LT(heightAt(60, options(6, 4, 1000)), 1e-3);
    Curve bump;
    for (int i = -200; i <= 200; ++i) {
        bump.push_back(std::exp(-i * i / 200.0));
    }
    const Curve out = lowPass(bump, options(6, 4, 120));
    EXPECT_EQ(std::max_element(out.begin(), out.end()) - out.begin(), 200);
    EXPECT_NEAR(out[150], out[250], 1e-12);
}

TEST(LowPass, KeepsAStraightLineToItsEnds) {
    Curve line;
    for (int i = 0; i < 100; ++i) {
        line.push_back(3.0 * i - 20);
    }
    const Curve out = lowPass(line, options(6, 4, 120));
    for (std::size_t i = 20; i < 80; ++i) {
        EXPECT_NEAR(out[i], line[i], 0.05) << i;
    }
    EXPECT_NEAR(out.front(), line.front(), 1);
    const Curve flat(40, 7.0);
    expectSame(lowPass(flat, options(6, 4, 120)), flat);
}

TEST(LowPass, TakesCurvesOfAnyLength) {
    EXPECT_TRUE(lowPass(Curve{}, options(6, 4, 120)).empty());
    EXPECT_EQ(lowPass(Curve{5}, options(6, 4, 120)), Curve{5});
    expectSame(lowPass(Curve{5, 5, 5}, options(6, 4, 120)), {5, 5, 5});
    EXPECT_EQ(lowPass(Curve{1, 2}, options(6, 4, 120)).size(), 2U);
}

TEST(LowPass, RefusesOrdersRatesAndCutOffsThatCannotBe) {
    for (const int order : {-4, 0, 1, 3, 18}) {
        EXPECT_THROW(lowPass(curve, options(6, order, 120)), std::invalid_argument) << order;
    }
    EXPECT_THROW(lowPass(curve, options(6, 9, 120, true)), std::invalid_argument);
    EXPECT_THROW(lowPass(curve, options(6, 4, 0)), std::invalid_argument);
    for (const double cutoff : {0.0, -1.0, 60.0, std::numeric_limits<double>::quiet_NaN()}) {
        EXPECT_THROW(lowPass(curve, options(cutoff, 4, 120)), std::invalid_argument) << cutoff;
        EXPECT_THROW(lowPass(curve, options(cutoff, 2, 120, true)), std::invalid_argument);
    }
}

TEST(LowPassOfATake, FiltersEachRunForItselfAndSmearsNothingAcrossAGap) {
    Table table;
    for (int frame = 0; frame < 100; ++frame) { // far away behind the gap
        table.push_back({Marker::at({frame < 50 ? 10.0F : 5000.0F, 1, 2}, 0.5F, 3)});
    }
    cut(table, 0, 49, 50);
    const LowPassed result = lowPass(cleaning_testing::takeOf(table));
    EXPECT_NEAR(markerIn(result.take, 48, 0).position.x, 10, 1e-4);
    EXPECT_FALSE(markerIn(result.take, 49, 0).hasPosition());
    EXPECT_NEAR(markerIn(result.take, 51, 0).position.x, 5000, 1e-2);
    EXPECT_EQ(result.samples, 98);
    EXPECT_EQ(result.tooShort, 0);
}

TEST(LowPassOfATake, IsTheFilterOfEachCoordinate) {
    const Table table = limb(200);
    const auto take = cleaning_testing::takeOf(table);
    const LowPassed result = lowPass(take);
    Curve y;
    for (int frame = 0; frame < 200; ++frame) {
        y.push_back(static_cast<double>(markerIn(take, frame, 2).position.y));
    }
    const Curve filtered = lowPass(y, options(6, 4, 120));
    for (int frame = 0; frame < 200; ++frame) {
        EXPECT_EQ(markerIn(result.take, frame, 2).position.y,
                  static_cast<float>(filtered[static_cast<std::size_t>(frame)]));
    }
}

TEST(LowPassOfATake, KeepsWhatElseIsKnownOfAMarkerAndTheTakeItself) {
    Table table = limb(60, 2);
    for (auto& row : table) {
        row[1].state = MarkerState::Filled;
    }
    cut(table, 0, 1, 1); // leaves a run of one frame
    const auto take = cleaning_testing::takeOf(table);
    LowPassOptions how;
    const LowPassed result = lowPass(take, how);
    EXPECT_EQ(markerIn(result.take, 30, 0).cameras, 3);
    EXPECT_EQ(markerIn(result.take, 30, 0).residual, 0.5F);
    EXPECT_EQ(markerIn(result.take, 30, 1).state, MarkerState::Filled);
    EXPECT_EQ(result.tooShort, 1);
    EXPECT_EQ(markerIn(result.take, 0, 0).position.x, markerIn(take, 0, 0).position.x);
    EXPECT_NE(markerIn(result.take, 30, 0).position.x, markerIn(take, 30, 0).position.x);
    EXPECT_EQ(markerIn(take, 30, 0).position.x, table[30][0].position.x);
    how.untouched = {0};
    EXPECT_EQ(markerIn(lowPass(take, how).take, 30, 0).position.x, table[30][0].position.x);
}

TEST(LowPassOfATake, TakesTheExactRateWhereItIsGiven) {
    const auto take = cleaning_testing::takeOf(limb(200), 60);
    LowPassOptions how;
    EXPECT_EQ(markerIn(lowPass(take).take, 50, 0).position.x,
              markerIn(lowPass(take, options(6, 4, 60)).take, 50, 0).position.x);
    how.rate = 59.94;
    EXPECT_NE(markerIn(lowPass(take, how).take, 50, 0).position.x,
              markerIn(lowPass(take).take, 50, 0).position.x);
    EXPECT_THROW(lowPass(nullptr), std::invalid_argument);
    how.rate = 0;
    EXPECT_THROW(lowPass(std::make_shared<Tracks>(), how), std::invalid_argument);
}

TEST(LowPassThreads, TakesMayBeFilteredOnSeveralThreadsAtOnce) {
    const auto take = cleaning_testing::takeOf(limb(300));
    auto other = std::async(std::launch::async, [&] { return lowPass(take).samples; });
    EXPECT_EQ(lowPass(take).samples, 1500);
    EXPECT_EQ(other.get(), 1500);
}

} // namespace
} // namespace tarn::kit
