// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn/Settings.h>

#include "settings/Documents.h"
#include "support/TemporaryDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <memory>
#include <pthread.h>
#include <random>
#include <string>
#include <vector>

using tarn::testing::TemporaryDirectory;
using tarn::testing::writeFile;

using documents::nested;
using documents::pathOf;
using documents::repeated;
using tarn::Settings;

namespace {

const int limit = Settings::maximumDepth;

bool loads(const std::string& text) {
    Settings settings;
    settings.setValue("Kept", "1");
    const bool isLoaded = settings.loadSettingsFromString(text);
    EXPECT_EQ(settings.value("Kept", "gone") == "1", !isLoaded);
    return isLoaded;
}

/// `depth` elements inside each other, each of which also holds `content`.
std::string nestedAround(const std::string& content, int depth) {
    return repeated("<a>" + content, depth) + repeated("</a>", depth);
}

/// A document with `content` in its innermost element, which is as deep as is allowed.
std::string atTheLimit(const std::string& content) {
    return repeated("<a>", limit) + content + repeated("</a>", limit);
}

/// Calls `function` on a thread with a stack of 512 KiB, the least that an optimised build promises
/// to get along with; other builds need more for each call.
void onASmallStack(std::function<void()> function) {
    const std::size_t kibi = 1024;
#ifdef NDEBUG
    const std::size_t stackSize = 512 * kibi;
#else
    const std::size_t stackSize = 8192 * kibi;
#endif
    pthread_attr_t attributes = {};
    ASSERT_EQ(pthread_attr_init(&attributes), 0);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, stackSize), 0);
    const auto run = [](void* argument) -> void* {
        (*static_cast<std::function<void()>*>(argument))();
        return nullptr;
    };
    pthread_t thread = {};
    ASSERT_EQ(pthread_create(&thread, &attributes, run, &function), 0);
    ASSERT_EQ(pthread_join(thread, nullptr), 0);
    ASSERT_EQ(pthread_attr_destroy(&attributes), 0);
}

} // namespace

TEST(SettingsHostile, NestingUpToTheLimitIsLoaded) {
    EXPECT_TRUE(loads(nested(1000)));
    EXPECT_TRUE(loads(nested(limit)));
    EXPECT_TRUE(loads(nested(limit) + nested(limit)));
    EXPECT_TRUE(loads(nested(limit - 1) + "<!-- between -->" + nested(limit)));
}

TEST(SettingsHostile, NestingBeyondTheLimitIsRefused) {
    EXPECT_FALSE(loads(nested(limit + 1)));
    EXPECT_FALSE(loads(atTheLimit("<b/>")));
    EXPECT_FALSE(loads(atTheLimit("<b c='d'/>")));
    EXPECT_FALSE(loads("<first/>" + nested(limit + 1)));
    EXPECT_FALSE(loads(nestedAround("<b/>text<!-- c -->", limit + 1)));
}

TEST(SettingsHostile, NestingFarBeyondTheLimitIsRefused) {
    const TemporaryDirectory directory;
    const std::string closed = nested(200000);
    writeFile(directory / "settings.xml", closed);
    Settings settings;
    EXPECT_FALSE(settings.loadSettingsFromFile(directory / "settings.xml"));
    EXPECT_FALSE(loads(closed));
    EXPECT_FALSE(loads(repeated("<a>", 1000000)));
    EXPECT_FALSE(loads(repeated("<a b='c'>", 200000)));
}

TEST(SettingsHostile, TagsThatAreNoTagsDoNotCount) {
    const std::string tags = repeated("<b>", limit);
    const std::vector<std::string> markup = {
        "<!--" + tags + "-->",
        "<!-- > " + tags + " - -- ->-->",
        "<![CDATA[" + tags + "]]>",
        "<![CDATA[]] >]>" + tags + "]]>",
        "<?pi " + tags + "?>",
        "<?pi > ' " + tags + "?>",
        "<b c='" + tags + "'/>",
        "<b c=\"'" + tags + "/>\"/>",
        "<b c = '>' d=\n\"" + tags + "\" />",
        "<!ELEMENT " + repeated("<b", limit) + ">",
        "<!DOCTYPE b [ " + tags + " [ > ] ]>",
        "<b" + repeated("<b", limit) + "/>",
    };
    for (const std::string& hidden : markup) {
        EXPECT_TRUE(loads(repeated("<a>", limit - 1) + hidden + repeated("</a>", limit - 1)))
            << hidden.substr(0, 20);
    }
}

TEST(SettingsHostile, TagsThatAreTagsCountWhateverIsAroundThem) {
    for (const char* const decoy : {"<!-- </a> -->",
                                    "<![CDATA[ </a> ]]>",
                                    "<?pi </a> ?>",
                                    "<b c='</a>'/>",
                                    "<b c=\"</a>\"/>",
                                    "<b c='\"'/>",
                                    "<b c=\"'\"/>",
                                    "<b'/>",
                                    "<b\"/>",
                                    "<b 'c='d'/>",
                                    "<!-->-->",
                                    "<!>",
                                    "<!->",
                                    "<![CDATA>",
                                    "<?>?>",
                                    "<!DOCTYPEb [>",
                                    "<!DOCTYPE b>",
                                    "<!DOCTYPE b ']' [ ' ]>",

                                    "'",
                                    "\"",
                                    "]]>",
                                    "-->",
                                    "?>",
                                    "<b></b>",
                                    "<b\n></b\t>",
                                    "<b<c></b<c>"}) {
        EXPECT_TRUE(loads(nestedAround(decoy, limit - 1))) << decoy;
        EXPECT_FALSE(loads(nestedAround(decoy, limit + 1))) << decoy;
    }
}

TEST(SettingsHostile, TheDeepestTreeFitsASmallStack) {
    const TemporaryDirectory directory;
    onASmallStack([&directory] {
        const std::string name = directory / "settings.xml";
        const std::string document =
            repeated("<a k='1'>text<!--comment-->", limit) + repeated("</a>", limit);
        Settings settings;
        EXPECT_TRUE(settings.loadSettingsFromString(document));
        EXPECT_FALSE(settings.loadSettingsFromString(document.substr(0, document.size() - 1)));
        EXPECT_EQ(settings.value(pathOf(limit), ""), "text");
        EXPECT_NE(settings.subSettings(pathOf(limit)), nullptr);
        EXPECT_TRUE(settings.saveSettingsToFile(name));
        EXPECT_TRUE(settings.loadSettingsFromFile(name));
        Settings copy;
        copy.addSubSettings("copy", settings.subSettings("a"));
        EXPECT_EQ(copy.value("copy." + pathOf(limit - 1), ""), "text");
        copy.clear();
        Settings other;
        other.setValue(pathOf(limit), "text");
        other.addValue(pathOf(limit), "text");
    });
}

TEST(SettingsHostile, ManySiblingsAreLoaded) {
    Settings settings;
    ASSERT_TRUE(settings.loadSettingsFromString(repeated("<a/>", 100000)));
    EXPECT_EQ(settings.valueList("a").size(), 100000U);
}

TEST(SettingsHostile, ManyAttributesAreLoaded) {
    Settings settings;
    ASSERT_TRUE(settings.loadSettingsFromString("<a" + repeated(" b='c'", 200000) + "/>"));
    EXPECT_EQ(settings.subSettings("a.<xmlattr>")->valueList("b").size(), 200000U);
}

TEST(SettingsHostile, ALongTextIsLoaded) {
    const std::string text = repeated("0123456789", 400000);
    Settings settings;
    ASSERT_TRUE(settings.loadSettingsFromString("<a>" + text + "</a>"));
    EXPECT_EQ(settings.value("a", ""), text);
    ASSERT_TRUE(settings.loadSettingsFromString("<a>" + repeated("&amp; ", 400000) + "</a>"));
    EXPECT_EQ(settings.value("a", "").size(), 799999U);
}

TEST(SettingsHostile, EntitiesOfADocumentTypeDoNotExpand) {
    Settings settings;
    ASSERT_TRUE(settings.loadSettingsFromString(
        "<!DOCTYPE a [<!ENTITY b 'ha'><!ENTITY c '&b;&b;&b;'><!ENTITY d '&c;&c;&c;'>]>"
        "<a>&d;</a>"));
    EXPECT_EQ(settings.value("a", ""), "&d;");
    ASSERT_TRUE(settings.loadSettingsFromString(
        "<!DOCTYPE a [<!ENTITY b SYSTEM 'file:///etc/passwd'>]><a c='&b;'>&b;</a>"));
    EXPECT_EQ(settings.value("a", "") + settings.value("a.<xmlattr>.c", ""), "&b;&b;");
}

TEST(SettingsHostile, DevicesThatNeverEndAreNotRead) {
    Settings settings;
    settings.setValue("kept", "1");
    EXPECT_FALSE(settings.loadSettingsFromFile("/dev/zero"));
    EXPECT_FALSE(settings.loadSettingsFromFile("/dev/full"));
    EXPECT_EQ(settings.value("kept", ""), "1");
}

TEST(SettingsHostile, BinaryJunkLeavesTheContentOrReplacesIt) {
    std::mt19937 random(1);
    for (int i = 0; i < 2000; ++i) {
        std::string junk = i % 2 == 0 ? "" : "<a>";
        junk.resize(random() % 200 + junk.size());
        std::generate(junk.begin() + (i % 2 == 0 ? 0 : 3), junk.end(),
                      [&random] { return static_cast<char>(random() % 256); });
        loads(junk);
    }
}

TEST(SettingsHostile, DamagedDocumentsLeaveTheContentOrReplaceIt) {
    const std::string document = "<?xml version=\"1.0\"?><!DOCTYPE a [<!ENTITY b 'c'>]><!-- d -->"
                                 "<a e='f' g=\"h\">&lt;&#65;<![CDATA[i]]><j/></a>";
    const std::string damage = "<>/!?-[]='\"&#; \n\x01\xFF" + std::string(1, '\0') + "a";
    for (std::size_t place = 0; place < document.size(); ++place) {
        loads(document.substr(0, place));
        for (const char character : damage) {
            std::string damaged = document;
            damaged[place] = character;
            loads(damaged);
            damaged.insert(place, 1, character);
            loads(damaged);
        }
    }
}
