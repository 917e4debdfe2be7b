// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn/Settings.h>

#include "settings/Documents.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <locale>
#include <memory>
#include <string>

using documents::declaration;
using documents::documentOf;
using documents::elementsOf;
using documents::pathOf;
using tarn::Settings;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

namespace {

const std::string& exampleDocument() {
    static const std::string text = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
                                    "<Camera>\n"
                                    "\t<Name>Main</Name>\n"
                                    "\t<Tag>a</Tag>\n"
                                    "\t<Tag>b</Tag>\n"
                                    "</Camera>\n"
                                    "<Rate>60</Rate>\n"
                                    "<Empty/>\n";
    return text;
}

/// Whether a save into text answers false and leaves the text alone.
bool refusesToSave(Settings& settings) {
    std::string text = "before";
    const bool isSaved = settings.saveSettingsToString(text);
    EXPECT_EQ(text == "before", !isSaved);
    return !isSaved;
}

/// Whether loading fails and leaves the content alone.
bool refusesToLoad(const std::string& text) {
    Settings settings;
    settings.setValue("Kept", "1");
    const bool isLoaded = settings.loadSettingsFromString(text);
    EXPECT_EQ(elementsOf(settings) == "<Kept>1</Kept>\n", !isLoaded);
    return !isLoaded;
}

/// The elements of the store that a document loads into.
std::string reloaded(const std::string& text) {
    Settings settings;
    EXPECT_TRUE(settings.loadSettingsFromString(text));
    return elementsOf(settings);
}

} // namespace

TEST(SettingsDocument, TheExampleIsWrittenByteForByte) {
    Settings settings;
    settings.setValue("Camera.Name", "Main");
    settings.addValue("Camera.Tag", "a");
    settings.addValue("Camera.Tag", "b");
    settings.setValue("Rate", "60");
    settings.setValue("Empty", "");
    EXPECT_EQ(documentOf(settings), exampleDocument());
}

TEST(SettingsDocument, TheExampleIsReadBack) {
    Settings settings;
    ASSERT_TRUE(settings.loadSettingsFromString(exampleDocument()));
    EXPECT_THAT(settings.subSettings("Camera")->valueList("Tag"), ElementsAre("a", "b"));
    EXPECT_EQ(settings.value("Camera.Name", ""), "Main");
    EXPECT_THAT(settings.values(),
                ElementsAre(Pair("Camera", ""), Pair("Empty", ""), Pair("Rate", "60")));
    EXPECT_EQ(documentOf(settings), exampleDocument());
}

TEST(SettingsDocument, AnEmptyStoreIsTheDeclarationAlone) {
    Settings settings;
    EXPECT_EQ(documentOf(settings), declaration);
    settings.setValue("a", "1");
    EXPECT_TRUE(settings.loadSettingsFromString(declaration));
    EXPECT_THAT(settings.values(), IsEmpty());
}

TEST(SettingsDocument, AValueBesideChildrenStandsOnALineOfItsOwn) {
    Settings settings;
    settings.setValue("a.b.c", "2");
    settings.setValue("a.b", "1");
    EXPECT_EQ(elementsOf(settings), "<a>\n\t<b>\n\t\t1\n\t\t<c>2</c>\n\t</b>\n</a>\n");
    EXPECT_EQ(reloaded(elementsOf(settings)), elementsOf(settings));
}

TEST(SettingsDocument, AViewWritesItsGroupAsTheTopLevel) {
    Settings settings;
    settings.setValue("Camera.Lens.Focus", "1");
    EXPECT_EQ(documentOf(*settings.subSettings("Camera")),
              std::string(declaration) + "<Lens>\n\t<Focus>1</Focus>\n</Lens>\n");
}

TEST(SettingsDocument, ALoadReplacesEverything) {
    Settings settings;
    settings.setValue("a.b", "1");
    settings.setValue("c", "2");
    int signals = 0;
    settings.onSettingChanged().connect([&](const std::string&, const std::string&) { ++signals; });
    EXPECT_TRUE(settings.loadSettingsFromString("<c>3</c>"));
    EXPECT_EQ(elementsOf(settings), "<c>3</c>\n");
    EXPECT_EQ(signals, 0);
}

TEST(SettingsDocument, ALoadIntoAViewReplacesTheValueOfItsNodeToo) {
    Settings settings;
    settings.setValue("a.b", "1");
    settings.setValue("a", "text");
    EXPECT_TRUE(settings.subSettings("a")->loadSettingsFromString("<c/>"));
    EXPECT_EQ(elementsOf(settings), "<a>\n\t<c/>\n</a>\n");
}

TEST(SettingsDocument, TextsAreTrimmedAndTheirBlanksCollapsed) {
    Settings settings;
    ASSERT_TRUE(settings.loadSettingsFromString("<a>  one \t\r\n two  </a>\n<b> </b>"));
    EXPECT_EQ(settings.value("a", ""), "one two");
    EXPECT_EQ(settings.value("b", "none"), "");
}

TEST(SettingsDocument, AttributesAndCommentsAreKept) {
    const std::string text = "<!-- top -->\n<a id=\" 1  2 \" b=\"&lt;&quot;\">\n\t<!--in-->\n"
                             "\t<c/>\n</a>\n<d e=\"f\"/>\n<g h=\"i\">j</g>\n";
    Settings settings;
    ASSERT_TRUE(settings.loadSettingsFromString(text));
    EXPECT_EQ(settings.value("<xmlcomment>", ""), " top ");
    EXPECT_EQ(settings.value("a.<xmlattr>.id", ""), " 1  2 ");
    EXPECT_EQ(settings.value("a.<xmlattr>.b", ""), "<\"");
    EXPECT_EQ(settings.value("a.<xmlcomment>", ""), "in");
    EXPECT_EQ(elementsOf(settings), text);
}

TEST(SettingsDocument, CommentsSurviveWhateverDashesTheyHold) {
    for (const char* const comment : {"", "-", "->", "a--b", "a--", "<!--", "&lt;<a>"}) {
        Settings settings;
        settings.setValue("<xmlcomment>", comment);
        const std::string document = documentOf(settings);
        ASSERT_TRUE(settings.loadSettingsFromString(document));
        EXPECT_EQ(settings.value("<xmlcomment>", "none"), comment);
    }
}

TEST(SettingsDocument, TheTextsOfAnElementAreItsValue) {
    EXPECT_EQ(reloaded("<a>one<b/>two<![CDATA[ <three> ]]></a>"),
              "<a>\n\tonetwo &lt;three&gt; \n\t<b/>\n</a>\n");
}

TEST(SettingsDocument, WhatIsNoContentIsSkipped) {
    EXPECT_EQ(reloaded("\xEF\xBB\xBF \n<?xml version='1.0'?><!DOCTYPE a [<!ENTITY b 'c'>]>"
                       "<?note d?><a><?e f?>&b;&#65;&#x42;&amp;</a>\n"),
              "<a>&amp;b;AB&amp;</a>\n");
}

TEST(SettingsDocument, AnEndTagMayBearAnyName) { EXPECT_EQ(reloaded("<a>1</b>"), "<a>1</a>\n"); }

TEST(SettingsDocument, AMalformedDocumentChangesNothing) {
    for (const char* const text :
         {"text", "<a>", "<a><b></b>", "<a", "<", "<>", "</a>", "<a/>text", "<a b></a>", "<a b=c/>",
          "<a b='c/>", "<!-- <a/>", "<![CDATA[ <a/>", "<?xml version='1.0'", "<!DOCTYPE a [ > <b/>",
          "<a>&#65</a>", "<a>&#x110000;</a>", "<a/><b>", "< a/>"}) {
        EXPECT_TRUE(refusesToLoad(text)) << text;
    }
}

TEST(SettingsDocument, AZeroByteIsNotTheEndOfADocument) {
    using namespace std::string_literals;
    EXPECT_TRUE(refusesToLoad("<a/>\0<b/>"s));
    EXPECT_TRUE(refusesToLoad("\0\0\0\0"s));
    EXPECT_TRUE(refusesToLoad("<a>1\0</a>"s));
}

TEST(SettingsDocument, ADocumentCutOffAnywhereLoadsWholeElementsOrNothing) {
    const std::string head = declaration;
    const std::string body = "<Camera id='1'><!-- c --><Name>A &amp; B</Name><Tag/></Camera>";
    for (std::size_t size = 0; size < (head + body).size(); ++size) {
        const bool isWhole = size == 0 || size == head.size() || size == head.size() - 1;
        EXPECT_EQ(refusesToLoad((head + body).substr(0, size)), !isWhole) << size;
    }
    EXPECT_FALSE(refusesToLoad(head + body));
}

TEST(SettingsDocument, SpecialCharactersAndUtf8SurviveARoundTrip) {
    for (const char* const value :
         {"<tag> & \"quoted\" 'single' ]]> <!-- -->", "&amp; &#65; &lt;",
          "Größe 身長 рост 🕺", "a=b;c,d", "\x7F", "\xE9 of another encoding \xED\xA5",
          "-1.5e+3", "C:\\take\\1"}) {
        Settings settings;
        settings.setValue("a.b", value);
        settings.setValue("a.<xmlattr>.c", value);
        Settings other;
        ASSERT_TRUE(other.loadSettingsFromString(documentOf(settings))) << value;
        EXPECT_EQ(other.value("a.b", ""), value);
        EXPECT_EQ(other.value("a.<xmlattr>.c", ""), value);
    }
}

TEST(SettingsDocument, OnlyTheWhiteSpaceOfAValueIsLostInARoundTrip) {
    Settings settings;
    settings.setValue("blank", "   ");
    settings.setValue("lines", " x\n\t y ");
    ASSERT_TRUE(settings.loadSettingsFromString(documentOf(settings)));
    EXPECT_EQ(settings.value("blank", "none").find_first_not_of(' '), std::string::npos);
    EXPECT_EQ(settings.value("lines", ""), "x y");
}

TEST(SettingsDocument, NamesThatTheParserReadsBackAreSaved) {
    for (const char* const name : {"Größe", "身長", "1st", "a-b_c:d", "a&b", "a<b", "a'b", "a\"b",
                                   "a=b", "a!", "a#[]()%", "-"}) {
        Settings settings;
        settings.setValue(name, "1");
        settings.setValue(std::string(name) + ".inner", "2");
        settings.setValue(std::string(name) + ".<xmlattr>.c", "3");
        Settings other;
        ASSERT_TRUE(other.loadSettingsFromString(documentOf(settings))) << name;
        EXPECT_EQ(documentOf(other), documentOf(settings));
        EXPECT_THAT(other.values(), ElementsAre(Pair(name, "1")));
    }
}

TEST(SettingsDocument, NamesThatTheParserWouldNotReadBackAreNotSaved) {
    using namespace std::string_literals;
    for (const std::string& name :
         {"a b"s, "a\tb"s, "a\nb"s, "a\rb"s, " a"s, "a/"s, "a/b"s, "a>b"s, "a?"s, "?a"s, "!a"s,
          "!--"s, "a\0b"s, "a\x01"s, "\xEF\xBF\xBE"s, "<xmltext>"s}) {
        Settings top;
        top.setValue(name, "1");
        EXPECT_TRUE(refusesToSave(top)) << name;
        Settings inner;
        inner.setValue("a." + name + ".b", "1");
        EXPECT_TRUE(refusesToSave(inner)) << name;
    }
    Settings nameless;
    nameless.setValue("a..b", "1");
    EXPECT_TRUE(refusesToSave(nameless));
}

TEST(SettingsDocument, ATextAtTheTopLevelIsNotSaved) {
    Settings settings;
    settings.setValue("a", "text");
    EXPECT_TRUE(refusesToSave(*settings.subSettings("a")));
    settings.setValue("a", "");
    EXPECT_FALSE(refusesToSave(*settings.subSettings("a")));
}

TEST(SettingsDocument, CharactersThatXmlExcludesAreNotSaved) {
    using namespace std::string_literals;
    for (const std::string& text :
         {"\0"s, "a\x01z"s, "\x08"s, "\x0B"s, "\x0C"s, "\x1F"s, "a\xED\xA0\x80"s, "\xED\xBF\xBFz"s,
          "\xEF\xBF\xBE"s, "\xEF\xBF\xBF"s}) {
        for (const char* const key : {"a", "a.b", "a.<xmlattr>.b", "<xmlcomment>"}) {
            Settings settings;
            settings.setValue(key, text);
            EXPECT_TRUE(refusesToSave(settings)) << key << ' ' << text;
        }
    }
    for (const char* const text : {"\t\n\r", "\xED\x9F\xBF", "\xEE\x80\x80", "\xEF\xBF\xBD"}) {
        Settings settings;
        settings.setValue("a", text);
        EXPECT_FALSE(refusesToSave(settings)) << text;
    }
}

TEST(SettingsDocument, AttributesThatWouldBeLostAreNotSaved) {
    for (const char* const key :
         {"<xmlattr>.id", "a.<xmlattr>", "a.<xmlattr>.b c", "a.<xmlattr>.b=c", "a.<xmlattr>.b<c",
          "a.<xmlattr>.b!", "a.<xmlattr>.b/", "a.<xmlattr>.b>", "a.<xmlattr>.b?",
          "a.<xmlattr>.id.deeper", "a.<xmlattr>.<xmlattr>.b"}) {
        Settings settings;
        settings.setValue(key, "1");
        EXPECT_TRUE(refusesToSave(settings)) << key;
    }
    Settings settings;
    settings.setValue("a.<xmlattr>.b", "1");
    settings.addValue("a.<xmlattr>", "");
    EXPECT_TRUE(refusesToSave(settings)); // a second set of attributes
}

TEST(SettingsDocument, AnElementMayHaveLostItsLastAttribute) {
    Settings settings;
    ASSERT_TRUE(settings.loadSettingsFromString("<a b='1'>c</a>"));
    settings.subSettings("a.<xmlattr>")->remove("b");
    EXPECT_EQ(elementsOf(settings), "<a>c</a>\n");
}

TEST(SettingsDocument, CommentsThatWouldBreakOutAreNotSaved) {
    Settings settings;
    settings.setValue("a.<xmlcomment>", "--><b/>");
    EXPECT_TRUE(refusesToSave(settings));
    settings.setValue("a.<xmlcomment>", "fine");
    EXPECT_FALSE(refusesToSave(settings));
    settings.setValue("a.<xmlcomment>.b", "lost");
    EXPECT_TRUE(refusesToSave(settings));
}

TEST(SettingsDocument, ATreeTooDeepToBeLoadedIsNotSaved) {
    Settings settings;
    settings.setValue(pathOf(Settings::maximumDepth), "core");
    const std::string document = documentOf(settings);
    EXPECT_TRUE(settings.loadSettingsFromString(document));
    EXPECT_EQ(documentOf(settings), document);
    settings.subSettings(pathOf(Settings::maximumDepth))->setValue("b", "");
    EXPECT_TRUE(refusesToSave(settings));
}

TEST(SettingsDocument, TheGlobalLocaleOfTheHostDoesNotMatter) {
    /// Marks whatever passes through number formatting or character classification.
    struct Grouped : std::numpunct<char> {
        char do_decimal_point() const override { return ','; }
        char do_thousands_sep() const override { return '.'; }
        std::string do_grouping() const override { return "\1"; }
    };
    const std::locale before =
        std::locale::global(std::locale(std::locale::classic(), new Grouped));
    Settings settings;
    EXPECT_TRUE(settings.loadSettingsFromString(exampleDocument()));
    EXPECT_EQ(documentOf(settings), exampleDocument());
    std::locale::global(before);
}
