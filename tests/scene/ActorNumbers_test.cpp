// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn/Actor.h>

#include "support/TemporaryDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <clocale>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <random>
#include <string>
#include <vector>

using tarn::testing::TemporaryDirectory;
using tarn::testing::writeFile;

using tarn::Actor;
using testing::ElementsAre;
using testing::Pair;

namespace {

/// What "%f" makes of a number in the classic locale, in which tests start.
std::string printed(float value) {
    std::array<char, 64> text{};
    const int size = std::snprintf(text.data(), text.size(), "%f", static_cast<double>(value));
    return {text.data(), static_cast<std::size_t>(size)};
}

/// The text that an actor stores for a dimension.
std::string stored(float value) {
    Actor actor;
    actor.setBodyDimension("a", value);
    return actor.bodyDimensionSettings()->value("a", "none");
}

/// The dimension that an actor reads from a text.
float read(const std::string& text) {
    Actor actor;
    actor.bodyDimensionSettings();
    actor.bodyDimensionSettings()->setValue("a", text);
    return actor.bodyDimension("a", -77.0F);
}

/// The sensor value that an actor reads from a text.
int readInteger(const std::string& text) {
    Actor actor;
    actor.setValue("MocapActor.SensorMap.a", text);
    return actor.sensorMap()["a"];
}

/// Equality that tells the zeros apart, and not-a-number from numbers only.
bool isSame(float a, float b) {
    return std::signbit(a) == std::signbit(b) && (a == b || (std::isnan(a) && std::isnan(b)));
}

/// Numbers with a decimal comma and grouped thousands, in all of the process, as on the machines of
/// half of Europe.
class CommaLocale {
public:
    CommaLocale() {
        // The system's compiled form of LC_NUMERIC: decimal point, thousands separator, grouping,
        // the same two as wide characters, encoding. Written here, so that no package need be
        // installed.
        const std::array<unsigned char, 54> numeric = {
            0x14, 0x11, 0x03, 0x20, 6,   0, 0,    0,   0x20, 0,   0,    0, 0x22, 0,
            0,    0,    0x24, 0,    0,   0, 0x28, 0,   0,    0,   0x2C, 0, 0,    0,
            0x30, 0,    0,    0,    ',', 0, '.',  0,   3,    3,   0,    0, ',',  0,
            0,    0,    '.',  0,    0,   0, 'U',  'T', 'F',  '-', '8',  0};
        std::filesystem::create_directory(directory_ / "comma");
        writeFile(directory_ / "comma/LC_NUMERIC", std::string(numeric.begin(), numeric.end()));
        EXPECT_EQ(::setenv("LOCPATH", directory_.path().c_str(), 1), 0);
        EXPECT_NE(std::setlocale(LC_NUMERIC, "comma"), nullptr);
    }
    CommaLocale(const CommaLocale&) = delete;
    CommaLocale& operator=(const CommaLocale&) = delete;
    ~CommaLocale() {
        std::setlocale(LC_NUMERIC, "C");
        ::unsetenv("LOCPATH");
    }

private:
    TemporaryDirectory directory_;
};

const std::vector<float>& someNumbers() {
    static const std::vector<float> numbers = {1.8F,
                                               -1.8F,
                                               0.5F,
                                               0.0001245F,
                                               1.0000005F,
                                               2.5e-4F,
                                               123456.789F,
                                               16777216.0F,
                                               1e10F,
                                               -1e20F,
                                               std::numeric_limits<float>::max(),
                                               std::numeric_limits<float>::lowest(),
                                               std::numeric_limits<float>::infinity(),
                                               -std::numeric_limits<float>::infinity(),
                                               std::numeric_limits<float>::quiet_NaN(),
                                               -std::numeric_limits<float>::quiet_NaN()};
    return numbers;
}

const std::vector<std::string>& someTexts() {
    static const std::vector<std::string> texts = {"1.8",
                                                   "-1.8",
                                                   "+1.8",
                                                   "  1.8",
                                                   "\t\n\v\f\r 1.8",
                                                   "1.8m",
                                                   "1.8.8",
                                                   "1,8",
                                                   "1.",
                                                   ".5",
                                                   "-.5e1",
                                                   ".",
                                                   "-",
                                                   "+",
                                                   "",
                                                   "x",
                                                   "e5",
                                                   "1e",
                                                   "1e+",
                                                   "1e2",
                                                   "1E-2",
                                                   "1e+2x",
                                                   "--1",
                                                   "+-1",
                                                   "- 1",
                                                   "0x10",
                                                   "0X1.8p1",
                                                   "0x.8p-1",
                                                   "0x",
                                                   "0xg",
                                                   "0x1p",
                                                   "-0xA",
                                                   "inf",
                                                   "-INF",
                                                   "Infinity",
                                                   "infinit",
                                                   "+inf",
                                                   "nan",
                                                   "NaN(1)",
                                                   "nan(x",
                                                   "-nan",
                                                   "1e400",
                                                   "-1e400",
                                                   "1e-400",
                                                   "-1e-400",
                                                   "1e39",
                                                   "3.4028236e38",
                                                   "1e-46",
                                                   "1e-45",
                                                   "-0",
                                                   "0.1e-5",
                                                   "00012",
                                                   "1 2",
                                                   "1_000",
                                                   "1'000",
                                                   "1.800000",
                                                   "0.30000001192092896",
                                                   "123456789012345678901234567890"};
    return texts;
}

} // namespace

TEST(ActorNumbers, DimensionsAreWrittenAsPrintfWritesThem) {
    for (const float value : someNumbers()) {
        EXPECT_EQ(stored(value), printed(value));
    }
    EXPECT_EQ(stored(1.8F), "1.800000");
    EXPECT_EQ(stored(0.0001245F), "0.000125");
    std::mt19937 random(1);
    std::uniform_real_distribution<float> numbers(-1e6F, 1e6F);
    for (int i = 0; i < 1000; ++i) {
        const float value = numbers(random);
        EXPECT_EQ(stored(value), printed(value));
    }
}

TEST(ActorNumbers, DimensionsAreReadAsAtofReadsThem) {
    for (const std::string& text : someTexts()) {
        EXPECT_TRUE(isSame(read(text), static_cast<float>(std::atof(text.c_str()))))
            << text << " was read as " << read(text);
    }
    EXPECT_EQ(read("1.8 m"), 1.8F);
    EXPECT_EQ(read("about 1.8"), 0.0F);
}

TEST(ActorNumbers, ADefaultIsRoundedToSixDecimals) {
    Actor actor;
    EXPECT_EQ(actor.bodyDimension("a", 2.5F), 2.5F);
    EXPECT_EQ(actor.bodyDimension("a", 0.12345678F), 0.123457F);
    EXPECT_EQ(actor.bodyDimension("a", 1e-7F), 0.0F);
    EXPECT_EQ(actor.bodyDimension("a", std::numeric_limits<float>::max()),
              std::numeric_limits<float>::max());
}

TEST(ActorNumbers, ANumberThatIsNoneIsStoredEveryTime) {
    Actor actor;
    int signals = 0;
    actor.onBodyDimensionChanged().connect([&](const std::string&, float) { ++signals; });
    actor.setBodyDimension("a", std::numeric_limits<float>::quiet_NaN());
    actor.setBodyDimension("a", std::numeric_limits<float>::quiet_NaN());
    EXPECT_EQ(signals, 2);
    EXPECT_TRUE(std::isnan(actor.bodyDimension("a", 1.0F)));
}

TEST(ActorNumbers, SensorValuesAreReadAsAtoiReadsThem) {
    for (const char* const text : {"3", "-3", "+3", "  3", "3.9", "3x", "x", "", "-", "0x10", "1e3",
                                   "007", "2147483647", "-2147483648"}) {
        EXPECT_EQ(readInteger(text), std::atoi(text)) << text;
    }
    EXPECT_EQ(readInteger("12 sensors"), 12);
    EXPECT_EQ(readInteger("sensor 12"), 0);
}

TEST(ActorNumbers, SensorValuesAreWrittenInDecimal) {
    Actor actor;
    ASSERT_TRUE(actor.loadSettingsFromString("<MocapActor><SensorMap/></MocapActor>"));
    actor.setSensorMap("least", std::numeric_limits<int>::min());
    actor.setSensorMap("most", std::numeric_limits<int>::max());
    EXPECT_THAT(actor.sensorMapSettings()->values(),
                ElementsAre(Pair("least", "-2147483648"), Pair("most", "2147483647")));
    EXPECT_THAT(actor.sensorMap(), ElementsAre(Pair("least", std::numeric_limits<int>::min()),
                                               Pair("most", std::numeric_limits<int>::max())));
}

TEST(ActorNumbers, TheDecimalPointIsAPointWhateverTheLocale) {
    std::vector<std::string> written;
    for (const float value : someNumbers()) {
        written.push_back(printed(value));
    }
    std::vector<float> meant;
    for (const std::string& text : someTexts()) {
        meant.push_back(static_cast<float>(std::atof(text.c_str())));
    }

    const CommaLocale locale;
    ASSERT_EQ(printed(1.8F), "1,800000");
    for (std::size_t i = 0; i < written.size(); ++i) {
        EXPECT_EQ(stored(someNumbers()[i]), written[i]);
    }
    for (std::size_t i = 0; i < meant.size(); ++i) {
        EXPECT_TRUE(isSame(read(someTexts()[i]), meant[i])) << someTexts()[i];
    }
    EXPECT_EQ(read("1.8"), 1.8F);
    EXPECT_EQ(read("1,8"), 1.0F);
    EXPECT_EQ(Actor().bodyDimension("missing", 2.5F), 2.5F);
}
