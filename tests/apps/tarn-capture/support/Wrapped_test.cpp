// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "support/Wrapped.h"

#include <gmock/gmock.h>

namespace tarn::capture {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(Wrapped, BreaksLinesBetweenWords) {
    EXPECT_THAT(wrapped("one two three", 7), ElementsAre("one two", "three"));
    EXPECT_THAT(wrapped("one two three", 6), ElementsAre("one", "two", "three"));
    EXPECT_THAT(wrapped("one two three", 13), ElementsAre("one two three"));
}

TEST(Wrapped, GivesAWordThatIsTooWideALineOfItsOwn) {
    EXPECT_THAT(wrapped("a extraordinary b", 5), ElementsAre("a", "extraordinary", "b"));
}

TEST(Wrapped, KeepsTheLineEndsOfTheText) {
    EXPECT_THAT(wrapped("one\ntwo", 80), ElementsAre("one", "two"));
    EXPECT_THAT(wrapped("", 80), IsEmpty());
}

TEST(Wrapped, CountsCharactersNotBytes) {
    EXPECT_EQ(columnsOf("1 \xC2\xB1 2"), 5U);
    EXPECT_THAT(wrapped("\xC2\xB1\xC2\xB1 \xC2\xB1\xC2\xB1", 5),
                ElementsAre("\xC2\xB1\xC2\xB1 \xC2\xB1\xC2\xB1"));
}

TEST(Hanging, IndentsWhatGoesOn) {
    EXPECT_EQ(hanging("one two three", 1, 10), " one two\n   three\n");
    EXPECT_EQ(hanging("one", 0, 80), "one\n");
    EXPECT_EQ(hanging("", 4, 80), "");
    EXPECT_EQ(hanging("a b", 6, 3), "      a\n        b\n") << "where not even that fits";
}

TEST(InColumns, PutsAsManySideBySideAsFit) {
    EXPECT_EQ(inColumns({"a", "bbb", "c", "d"}, 2, 10), "  a    bbb\n  c    d\n");
    EXPECT_EQ(inColumns({"a", "bbb", "c", "d"}, 2, 9), "  a\n  bbb\n  c\n  d\n");
    EXPECT_EQ(inColumns({"a", "bbb", "c"}, 0, 13), "a    bbb  c\n");
}

TEST(InColumns, LeavesNoBlanksAtTheEndOfALine) {
    EXPECT_EQ(inColumns({"aaa", "b"}, 0, 3), "aaa\nb\n");
    EXPECT_EQ(inColumns({}, 4, 80), "");
}

TEST(InColumns, StaysASingleColumnWhereNotEvenThatFits) {
    EXPECT_EQ(inColumns({"aaaa", "b"}, 6, 3), "      aaaa\n      b\n");
}

} // namespace
} // namespace tarn::capture
