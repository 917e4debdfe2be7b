// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/files/SettingsFile.h>

#include "support/TemporaryDirectory.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <fstream>
#include <string>
#include <thread>
#include <utility>

namespace tarn::kit {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using testing::TemporaryDirectory;

/// What is said of a document that cannot be read; empty if it can.
std::string errorOf(const std::string& text) {
    Settings settings;
    settings.setValue("kept", "1");
    try {
        loadSettings(settings, text, "a.xml");
    } catch (const ReadError& error) {
        EXPECT_EQ(settings.value("kept", ""), "1");
        return error.what();
    }
    return {};
}

TEST(SettingsFile, LoadsWhatIsWell) {
    Settings settings;
    loadSettings(settings, "<a><b>1</b></a>", "a.xml");
    EXPECT_EQ(settings.value("a.b", ""), "1");
}

TEST(SettingsFile, SaysWhatIsWrongAndWhere) {
    for (const auto& [text, error] : {
             std::pair("junk", "a.xml:1:1: expected an element, found 'junk'"),
             std::pair("<a>\n  <b>\n</a>\n", "a.xml:3:1: expected the end tag of 'b', found 'a'"),
             std::pair("<a>\n\t<b/>\n", "a.xml:1:1: the element 'a' has no end tag"),
             std::pair("<a/>\n</a>", "a.xml:2:1: an end tag without a start tag: </a>"),
             std::pair("<a>\n <b c></b></a>", "a.xml:2:5: expected '=' behind the attribute 'c'"),
             std::pair("<a b=1/>", "a.xml:1:4: expected a value in quotes for the attribute 'b'"),
             std::pair("<a b='1/>", "a.xml:1:6: a quote that is not closed"),
             std::pair("<a><!-- b</a>", "a.xml:1:4: a comment that is not closed: expected '-->'"),
             std::pair("<a><b</a>", "a.xml:1:4: the tag of 'b<' is not closed: expected '>'"),
             std::pair("<a>< b/></a>", "a.xml:1:4: expected the name of an element behind '<'"),
             std::pair("<a>&#65</a>", "a.xml:1:4: a character reference without its ';'"),
             std::pair("<a/>\nb", "a.xml:2:1: expected an element, found 'b'"),
         }) {
        EXPECT_EQ(errorOf(text), error);
    }
}

TEST(SettingsFile, NamesTheElementThatIsTooDeep) {
    std::string text;
    for (int i = 0; i <= Settings::maximumDepth; ++i) {
        text += "<a>\n";
    }
    EXPECT_EQ(errorOf(text), "a.xml:1001:1: elements nest deeper than 1000");
}

TEST(SettingsFile, NamesAZeroByte) {
    EXPECT_EQ(errorOf(std::string("<a>\n1\0</a>", 10)), "a.xml:2:2: a zero byte");
}

/// Whatever the parser refuses has its place, and nothing else is refused.
TEST(SettingsFile, FindsAPlaceForWhateverCannotBeLoaded) {
    const std::string whole = "<?xml version=\"1.0\"?>\n<!DOCTYPE a [<!ENTITY b \"c\">]>\n"
                              "<a b=\"1\" c='2'>\n<!-- d -->\n<e>&#65;&lt;</e><f/>"
                              "<![CDATA[<g>]]></a>\n";
    ASSERT_THAT(errorOf(whole), IsEmpty());
    int refused = 0;
    const auto check = [&refused](const std::string& text) {
        const bool isGood = Settings().loadSettingsFromString(text);
        const std::string error = errorOf(text);
        EXPECT_EQ(error.empty(), isGood) << text << error;
        EXPECT_TRUE(isGood || error.find("a.xml:") == 0) << text << error;
        EXPECT_TRUE(isGood || error.find("a.xml: ") != 0) << text << error; // with a line
        refused += isGood ? 0 : 1;
    };
    for (std::size_t i = 0; i < whole.size(); ++i) {
        check(whole.substr(0, i));
        check(whole.substr(0, i) + whole.substr(i + 1));
        for (const char c : std::string("<>/='\"&!?x \n")) {
            check(whole.substr(0, i) + c + whole.substr(i));
        }
    }
    EXPECT_GT(refused, 300);
}

TEST(SettingsFile, SaysWhyAFileCannotBeRead) {
    const TemporaryDirectory directory;
    Settings settings;
    for (const std::string& name : {directory / "missing.xml", directory.path().string()}) {
        try {
            loadSettings(settings, std::filesystem::path(name));
            ADD_FAILURE();
        } catch (const ReadError& error) {
            EXPECT_EQ(error.line(), 0U);
            EXPECT_THAT(error.what(), HasSubstr(name + ": "));
        }
    }
}

TEST(SettingsFile, ReadsFilesAndPipesAndReturnsTheirText) {
    const TemporaryDirectory directory;
    const std::string text = "<a>1</a>\n";
    const std::string file = directory / "a.xml";
    const std::string pipe = directory / "pipe";
    std::ofstream(file) << text;
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    std::thread writer([&] { std::ofstream(pipe) << text; });
    for (const std::string& name : {file, pipe}) {
        Settings settings;
        EXPECT_EQ(loadSettings(settings, std::filesystem::path(name)), text);
        EXPECT_EQ(settings.value("a", ""), "1");
    }
    writer.join();
}

TEST(SettingsFile, FindsTheFirstElementOfAPathAndFurtherOnesOfItsName) {
    const std::string text = "<a>\n <b/>\n <c>\n  <b/><b/>\n </c>\n <b/>\n</a>\n<a><d/></a>\n";
    const auto place = [&text](const char* path, std::size_t index) {
        const auto found = placeOf(text, path, index).value_or(TextPlace{0, 0});
        return std::pair(found.line, found.column);
    };
    using Place = std::pair<std::size_t, std::size_t>;
    EXPECT_EQ(place("a", 0), Place(1, 1));
    EXPECT_EQ(place("a", 1), Place(8, 1));
    EXPECT_EQ(place("a.b", 0), Place(2, 2));
    EXPECT_EQ(place("a.b", 1), Place(6, 2));
    EXPECT_EQ(place("a.c.b", 1), Place(4, 7));
    EXPECT_EQ(place("a.b", 2), Place(0, 0));
    EXPECT_EQ(place("a.d", 0), Place(0, 0)); // paths lead through the first
    EXPECT_EQ(place("", 0), Place(0, 0));
}

TEST(SettingsFile, RemovesWhatIsAtAPath) {
    Settings settings;
    settings.setValue("a.b", "1");
    settings.addValue("a.b", "2");
    settings.setValue("a.c", "3");
    settings.setValue("d", "4");
    EXPECT_EQ(removeSetting(settings, "a.b"), 2U);
    EXPECT_EQ(settings.value("a.b", "none"), "none");
    EXPECT_EQ(settings.value("a.c", "none"), "3");
    EXPECT_EQ(removeSetting(settings, "d"), 1U);
    EXPECT_EQ(removeSetting(settings, "d"), 0U);
    EXPECT_EQ(removeSetting(settings, "x.y"), 0U);
    EXPECT_THAT(settings.values(), ElementsAre(std::pair("a", "")));
}

} // namespace
} // namespace tarn::kit
