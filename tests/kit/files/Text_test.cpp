// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/files/Text.h>

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <string_view>

namespace tarn::kit {
namespace {

const std::string lost = "\xEF\xBF\xBD"; // U+FFFD

TEST(ValidUtf8, KeepsCharactersOfOneToFourBytes) {
    // The first and the last of each length, and those around the surrogates.
    for (const std::string text :
         {"\x01", "\x7F", "\xC2\x80", "\xDF\xBF", "\xE0\xA0\x80", "\xED\x9F\xBF", "\xEE\x80\x80",
          "\xEF\xBF\xBF", "\xF0\x90\x80\x80", "\xF4\x8F\xBF\xBF"}) {
        EXPECT_EQ(validUtf8(text), text);
        EXPECT_EQ(validUtf8(text + "z"), text + "z");
    }
    EXPECT_EQ(validUtf8(""), "");
    EXPECT_EQ(validUtf8(std::string("\0", 1)), std::string("\0", 1));
}

TEST(ValidUtf8, ReplacesEachByteThatIsPartOfNoCharacter) {
    EXPECT_EQ(validUtf8("a\xFFz"), "a" + lost + "z");
    EXPECT_EQ(validUtf8("\x80"), lost);                                  // continues nothing
    EXPECT_EQ(validUtf8("\xC1\xBF"), lost + lost);                       // overlong
    EXPECT_EQ(validUtf8("\xE0\x9F\xBF"), lost + lost + lost);            // overlong
    EXPECT_EQ(validUtf8("\xF0\x8F\xBF\xBF"), lost + lost + lost + lost); // overlong
    EXPECT_EQ(validUtf8("\xED\xA0\x80"), lost + lost + lost);            // a surrogate
    EXPECT_EQ(validUtf8("\xF4\x90\x80\x80"), lost + lost + lost + lost); // beyond the last
    EXPECT_EQ(validUtf8("\xF5\x80\x80\x80"), lost + lost + lost + lost); // no lead byte
}

TEST(ValidUtf8, ReplacesWhatIsLeftOfACharacterThatWasCutOff) {
    EXPECT_EQ(validUtf8("\xC3"), lost);
    EXPECT_EQ(validUtf8("\xE2\x82"), lost + lost);
    EXPECT_EQ(validUtf8("\xF0\x9F\x92"), lost + lost + lost);
    EXPECT_EQ(validUtf8("\xE2\x82z"), lost + lost + "z");
    EXPECT_EQ(validUtf8("\xF0\x9F\xC3\xA9"), lost + lost + "\xC3\xA9");
}

TEST(Printable, KeepsTextInAnyScript) {
    const std::string text = "Knie \xC3\xA9\xE5\xB7\xA6\xF0\x9F\x92\x83";
    EXPECT_EQ(printable(text), text);
    EXPECT_EQ(printable("\x20~\xC2\xA0\xEF\xBF\xBD"), "\x20~\xC2\xA0\xEF\xBF\xBD");
}

TEST(Printable, ReplacesWhatWouldBreakALineOrADocument) {
    EXPECT_EQ(printable(std::string("a\0z", 3)), "a" + lost + "z");
    EXPECT_EQ(printable("a\nb\x1B[m"), "a" + lost + "b" + lost + "[m");
    EXPECT_EQ(printable("\x1F\x7F"), lost + lost);
    EXPECT_EQ(printable("\xC2\x80\xC2\x9F"), lost + lost);
    EXPECT_EQ(printable("\xEF\xBF\xBE\xEF\xBF\xBF"), lost + lost);
    EXPECT_EQ(printable("\xFF"), lost);
}

TEST(Shortened, CountsCharactersNotBytes) {
    const std::string hand = "\xE5\xB7\xA6\xE6\x89\x8B"; // two characters
    EXPECT_EQ(shortened(hand, 2), hand);
    EXPECT_EQ(shortened(hand, 1), "\xE2\x80\xA6");
    EXPECT_EQ(shortened("\xF0\x9F\x92\x83\xF0\x9F\x92\x83z", 2), "\xF0\x9F\x92\x83\xE2\x80\xA6");
}

TEST(Shortened, EndsInAnEllipsisWhereSomethingIsCutOff) {
    EXPECT_EQ(shortened("LeftArm", 7), "LeftArm");
    EXPECT_EQ(shortened("LeftArm", 6), "LeftA\xE2\x80\xA6");
    EXPECT_EQ(shortened("LeftArm", 0), "\xE2\x80\xA6");
    EXPECT_EQ(shortened("", 0), "");
}

TEST(Lowered, ChangesTheLettersAToZAndNothingElse) {
    EXPECT_EQ(lowered("LeftHAND_01.Bvh"), "lefthand_01.bvh");
    EXPECT_EQ(lowered("@AZ[`az{"), "@az[`az{");
    EXPECT_EQ(lowered("\xC3\x84\xFF"), "\xC3\x84\xFF"); // no letters of ASCII
}

TEST(Counted, TakesAnSButAfterOne) {
    EXPECT_EQ(counted(0, "joint"), "0 joints");
    EXPECT_EQ(counted(1, "joint"), "1 joint");
    EXPECT_EQ(counted(2, "end site"), "2 end sites");
}

TEST(NumberIn, TakesTheWholeOfATextOrNothing) {
    EXPECT_EQ(numberIn<int>("-12"), -12);
    EXPECT_EQ(numberIn<double>("1.5"), 1.5);
    EXPECT_EQ(numberIn<float>("1e3"), 1000.0F);
    for (const char* const text : {"", " 1", "1 ", "+1", "1,5", "1.5m", "one", "0x10"}) {
        EXPECT_EQ(numberIn<double>(text), std::nullopt) << text;
    }
    EXPECT_EQ(numberIn<int>("1.5"), std::nullopt);
}

TEST(NumberIn, FindsNoNumberThatItsTypeCannotHold) {
    EXPECT_EQ(numberIn<int>("2147483647"), 2147483647);
    EXPECT_EQ(numberIn<int>("2147483648"), std::nullopt);
    EXPECT_EQ(numberIn<float>("1e39"), std::nullopt);
}

TEST(NumberIn, DoesNotLookBeyondThePartOfATextThatItIsGiven) {
    EXPECT_EQ(numberIn<int>(std::string_view("12345").substr(1, 2)), 23);
}

TEST(Base64, IsThatOfTheStandard) {
    EXPECT_EQ(base64(""), "");
    EXPECT_EQ(base64("f"), "Zg==");
    EXPECT_EQ(base64("fo"), "Zm8=");
    EXPECT_EQ(base64("foo"), "Zm9v");
    EXPECT_EQ(base64("foobar"), "Zm9vYmFy");
    EXPECT_EQ(base64("\xFF\xEF\xBE"), "/+++");
}

} // namespace
} // namespace tarn::kit
