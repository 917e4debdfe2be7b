// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn/Settings.h>

#include "settings/Documents.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

using documents::elementsOf;
using documents::pathOf;
using tarn::Object;
using tarn::Settings;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::IsNull;
using testing::NotNull;
using testing::Pair;

namespace {

static_assert(std::is_base_of_v<Object, Settings>);
static_assert(std::has_virtual_destructor_v<Settings>);
static_assert(!std::is_copy_constructible_v<Settings>);
static_assert(Settings::maximumDepth >= 1000);

using Changes = std::vector<std::pair<std::string, std::string>>;

/// Logs what a store announces into `changes`.
void log(Settings& settings, Changes& changes) {
    settings.onSettingChanged().connect(
        [&changes](const std::string& key, const std::string& value) {
            changes.emplace_back(key, value);
        });
}

std::shared_ptr<Settings> storeOf(const std::string& document) {
    auto settings = std::make_shared<Settings>();
    EXPECT_TRUE(settings->loadSettingsFromString(document));
    return settings;
}

/// A pointer to a store that somebody else owns.
std::shared_ptr<Settings> borrowed(Settings& settings) {
    return {&settings, [](Settings*) {}};
}

} // namespace

TEST(Settings, StartsEmptyAndWithoutAName) {
    const Settings settings;
    EXPECT_EQ(settings.objectName(), "");
    EXPECT_THAT(settings.values(), IsEmpty());
    EXPECT_EQ(settings.value("", "none"), "");
}

TEST(Settings, SetValueCreatesEveryNodeOfItsPath) {
    Settings settings;
    settings.setValue("a.b", "1");
    EXPECT_EQ(settings.value("a.b", "x"), "1");
    EXPECT_EQ(settings.value("a", "x"), "");
    EXPECT_EQ(settings.value("c", "x"), "x");
    EXPECT_EQ(elementsOf(settings), "<a>\n\t<b>1</b>\n</a>\n");
}

TEST(Settings, SetValueAppendsWhatIsMissingAtTheEndOfItsParent) {
    const auto settings = storeOf("<a><x>1</x></a><z/>");
    settings->setValue("a.n.m", "2");
    settings->setValue("b", "3");
    EXPECT_EQ(elementsOf(*settings),
              "<a>\n\t<x>1</x>\n\t<n>\n\t\t<m>2</m>\n\t</n>\n</a>\n<z/>\n<b>3</b>\n");
}

TEST(Settings, SetValueKeepsTheChildrenAndThePlaceOfANode) {
    const auto settings = storeOf("<a>old<b>1</b></a><c/>");
    settings->setValue("a", "new");
    EXPECT_EQ(elementsOf(*settings), "<a>\n\tnew\n\t<b>1</b>\n</a>\n<c/>\n");
}

TEST(Settings, SetValueChangesTheFirstOfSeveralValues) {
    Settings settings;
    Changes changes;
    log(settings, changes);
    settings.addValue("k", "1");
    settings.addValue("k", "2");
    settings.setValue("k", "z");
    EXPECT_THAT(settings.valueList("k"), ElementsAre("z", "2"));
    EXPECT_THAT(changes, ElementsAre(Pair("k", "1"), Pair("k", "2"), Pair("k", "z")));
}

TEST(Settings, EveryWriteIsAnnouncedWithThePathAsGiven) {
    Settings settings;
    Changes changes;
    log(settings, changes);
    settings.setValue("a.b", "1");
    settings.setValue("a.b", "1");
    settings.addValue("a.b", "1");
    EXPECT_THAT(changes, ElementsAre(Pair("a.b", "1"), Pair("a.b", "1"), Pair("a.b", "1")));
}

TEST(Settings, AWriteIsAnnouncedOnceItIsDone) {
    Settings settings;
    std::vector<std::string> seen;
    settings.onSettingChanged().connect([&](const std::string& key, const std::string& /*value*/) {
        seen.push_back(settings.value(key, "missing"));
    });
    settings.setValue("a", "1");
    settings.addValue("b", "2");
    EXPECT_THAT(seen, ElementsAre("1", "2"));
}

TEST(Settings, AddValueAppendsBesideNodesOfItsName) {
    Settings settings;
    settings.addValue("g.x", "1");
    settings.setValue("g.y", "2");
    settings.addValue("g.x", "3");
    EXPECT_EQ(elementsOf(settings), "<g>\n\t<x>1</x>\n\t<y>2</y>\n\t<x>3</x>\n</g>\n");
    EXPECT_EQ(settings.value("g.x", ""), "1");
}

TEST(Settings, APathFollowsTheFirstChildOfEachName) {
    const auto settings = storeOf("<g><x>1</x></g><g><y>2</y></g>");
    EXPECT_EQ(settings->value("g.x", "none"), "1");
    EXPECT_EQ(settings->value("g.y", "none"), "none"); // only the second g has it
    EXPECT_THAT(settings->subSettings("g.y"), IsNull());
    settings->setValue("g.y", "3");
    settings->addValue("g.x", "4");
    settings->addSubSettings("g.s", std::make_shared<Settings>());
    EXPECT_EQ(elementsOf(*settings),
              "<g>\n\t<x>1</x>\n\t<y>3</y>\n\t<x>4</x>\n\t<s/>\n</g>\n<g>\n\t<y>2</y>\n</g>\n");
}

TEST(Settings, ThePathOfAValueGivesTheDefaultOnlyWhereThereIsNoNode) {
    const auto settings = storeOf("<group><leaf/></group>");
    EXPECT_EQ(settings->value("group", "default"), "");
    EXPECT_EQ(settings->value("group.leaf", "default"), "");
    EXPECT_EQ(settings->value("group.leaf.none", "default"), "default");
    EXPECT_EQ(settings->value("Group", "default"), "default");
}

TEST(Settings, ValueListAndRemoveTakePlainNames) {
    const auto settings = storeOf("<a.b>1</a.b><a><b>2</b><b>3</b></a><a.b>4</a.b>");
    EXPECT_THAT(settings->valueList("a.b"), ElementsAre("1", "4"));
    EXPECT_EQ(settings->value("a.b", ""), "2");
    settings->remove("a.b");
    EXPECT_EQ(elementsOf(*settings), "<a>\n\t<b>2</b>\n\t<b>3</b>\n</a>\n");
}

TEST(Settings, ValueListHasTheDirectChildrenInOrder) {
    Settings settings;
    settings.addValue("k", "b");
    settings.addValue("other", "x");
    settings.addValue("k", "a");
    settings.addValue("deep.k", "y");
    settings.addValue("k", "b");
    EXPECT_THAT(settings.valueList("k"), ElementsAre("b", "a", "b"));
    EXPECT_THAT(settings.valueList("K"), IsEmpty());
}

TEST(Settings, ValuesHasTheLastOfEachName) {
    const auto settings = storeOf("<k>1</k><group>text<inner>2</inner></group><k>2</k><empty/>");
    EXPECT_THAT(settings->values(),
                ElementsAre(Pair("empty", ""), Pair("group", "text"), Pair("k", "2")));
}

TEST(Settings, RemoveDestroysEveryChildOfTheName) {
    Settings settings;
    settings.addValue("k", "1");
    settings.addValue("l", "2");
    settings.addValue("k", "3");
    Changes changes;
    log(settings, changes);
    settings.remove("k");
    settings.remove("missing");
    EXPECT_EQ(elementsOf(settings), "<l>2</l>\n");
    EXPECT_THAT(changes, IsEmpty());
}

TEST(Settings, ClearEmptiesTheNodeWithoutASignal) {
    const auto settings = storeOf("<group>text<inner>2</inner></group><other/>");
    Changes changes;
    const auto group = settings->subSettings("group");
    log(*settings, changes);
    log(*group, changes);
    group->clear();
    EXPECT_EQ(elementsOf(*settings), "<group/>\n<other/>\n");
    settings->clear();
    EXPECT_THAT(settings->values(), IsEmpty());
    EXPECT_THAT(changes, IsEmpty());
}

TEST(Settings, SubSettingsOfAMissingKeyCreatesNothing) {
    const Settings settings;
    EXPECT_THAT(settings.subSettings("a"), IsNull());
    EXPECT_THAT(settings.subSettings("a.b"), IsNull());
    EXPECT_THAT(settings.values(), IsEmpty());
}

TEST(Settings, AViewWritesIntoItsParentAndFiresItsOwnSignalAlone) {
    Settings settings;
    settings.setValue("Camera.Name", "Main");
    const auto view = settings.subSettings("Camera");
    const auto otherView = settings.subSettings("Camera");
    ASSERT_THAT(view, NotNull());
    Changes parents;
    Changes views;
    log(settings, parents);
    log(*otherView, parents);
    log(*view, views);

    view->setValue("Name", "Second");
    view->addValue("Tag", "a");
    EXPECT_EQ(settings.value("Camera.Name", ""), "Second");
    EXPECT_EQ(otherView->value("Tag", ""), "a");
    EXPECT_EQ(elementsOf(settings), "<Camera>\n\t<Name>Second</Name>\n\t<Tag>a</Tag>\n</Camera>\n");
    EXPECT_THAT(parents, IsEmpty());
    EXPECT_THAT(views, ElementsAre(Pair("Name", "Second"), Pair("Tag", "a")));
}

TEST(Settings, AViewSeesWhatItsParentDoes) {
    Settings settings;
    settings.setValue("a.b.c", "1");
    const auto view = settings.subSettings("a.b");
    settings.setValue("a.b.c", "2");
    settings.setValue("a.b", "text");
    EXPECT_EQ(view->value("c", ""), "2");
    EXPECT_EQ(view->subSettings("c")->value("", "none"), "2");
    EXPECT_EQ(view->value("", "none"), "text");
}

TEST(Settings, AViewIsAStoreOfItsOwnKindInEveryOperation) {
    const auto settings = storeOf("<a><k>1</k><k>2</k><g><x>3</x></g></a>");
    const auto view = settings->subSettings("a");
    EXPECT_THAT(view->valueList("k"), ElementsAre("1", "2"));
    view->remove("k");
    view->subSettings("g")->setValue("y", "4");
    EXPECT_EQ(elementsOf(*settings), "<a>\n\t<g>\n\t\t<x>3</x>\n\t\t<y>4</y>\n\t</g>\n</a>\n");
    EXPECT_EQ(elementsOf(*view), "<g>\n\t<x>3</x>\n\t<y>4</y>\n</g>\n");
    EXPECT_TRUE(view->loadSettingsFromString("<new>5</new>"));
    EXPECT_EQ(elementsOf(*settings), "<a>\n\t<new>5</new>\n</a>\n");
}

TEST(Settings, AViewThatGoesTakesNothingWithIt) {
    Settings settings;
    settings.setValue("a.b", "1");
    settings.subSettings("a").reset();
    EXPECT_EQ(settings.value("a.b", ""), "1");
}

TEST(Settings, AddSubSettingsStoresADeepCopy) {
    Settings settings;
    const auto group = storeOf("<x><y>1</y></x>");
    Changes changes;
    log(settings, changes);
    settings.addSubSettings("a.g", group);
    group->setValue("x.y", "changed there");
    EXPECT_EQ(settings.value("a.g.x.y", ""), "1");
    settings.setValue("a.g.x.z", "changed here");
    EXPECT_EQ(elementsOf(*group), "<x>\n\t<y>changed there</y>\n</x>\n");
    EXPECT_THAT(changes, ElementsAre(Pair("a.g.x.z", "changed here")));
}

TEST(Settings, AddSubSettingsReplacesTheFirstOfItsName) {
    const auto settings = storeOf("<g><old/></g><k/><g><other/></g>");
    settings->addSubSettings("g", storeOf("<first>1</first>"));
    settings->addSubSettings("g", storeOf("<second>2</second>"));
    EXPECT_EQ(elementsOf(*settings),
              "<g>\n\t<second>2</second>\n</g>\n<k/>\n<g>\n\t<other/>\n</g>\n");
}

TEST(Settings, AddSubSettingsAppendsAGroupThatIsNew) {
    Settings settings;
    settings.addSubSettings("g", storeOf("<first>1</first>"));
    settings.addSubSettings("g", storeOf("<second>2</second>"));
    settings.addSubSettings("h", std::make_shared<Settings>());
    EXPECT_EQ(elementsOf(settings), "<g>\n\t<second>2</second>\n</g>\n<h/>\n");
}

TEST(Settings, AddSubSettingsCopiesTheValueOfAViewToo) {
    const auto settings = storeOf("<a>text<b>1</b></a>");
    settings->addSubSettings("c", settings->subSettings("a"));
    EXPECT_EQ(settings->value("c", ""), "text");
    EXPECT_EQ(settings->value("c.b", ""), "1");
}

TEST(Settings, AStoreCanBePutIntoItself) {
    Settings settings;
    settings.setValue("a.b", "1");
    settings.addSubSettings("x.y", borrowed(settings));
    EXPECT_EQ(elementsOf(settings), "<a>\n\t<b>1</b>\n</a>\n<x>\n\t<y>\n\t\t<a>\n\t\t\t<b>1</b>\n"
                                    "\t\t</a>\n\t</y>\n</x>\n");
}

TEST(Settings, AGroupCanTakeThePlaceOfTheGroupItIsIn) {
    Settings settings;
    settings.setValue("a.b.c", "1");
    settings.addSubSettings("a", settings.subSettings("a.b"));
    EXPECT_EQ(elementsOf(settings), "<a>\n\t<c>1</c>\n</a>\n");
    settings.addSubSettings("a", settings.subSettings("a"));
    EXPECT_EQ(elementsOf(settings), "<a>\n\t<c>1</c>\n</a>\n");
}

TEST(Settings, AGroupCanBePutBelowItself) {
    Settings settings;
    settings.setValue("a.b", "1");
    const auto view = settings.subSettings("a");
    view->addSubSettings("b", borrowed(settings));
    EXPECT_EQ(elementsOf(settings),
              "<a>\n\t<b>\n\t\t<a>\n\t\t\t<b>1</b>\n\t\t</a>\n\t</b>\n</a>\n");
}

TEST(Settings, AnEmptyPathOrLastNameSetsTheNodeBeforeIt) {
    const auto settings = storeOf("<a><b>1</b></a>");
    Changes changes;
    log(*settings, changes);
    settings->setValue("a.", "2");
    settings->setValue("a.b.", "3");
    EXPECT_EQ(elementsOf(*settings), "<a>\n\t2\n\t<b>3</b>\n</a>\n");
    settings->setValue("", "4");
    EXPECT_EQ(settings->value("", "none"), "4");
    settings->subSettings("a")->setValue("", "5");
    EXPECT_EQ(settings->value("a", "none"), "5");
    EXPECT_THAT(changes, ElementsAre(Pair("a.", "2"), Pair("a.b.", "3"), Pair("", "4")));
}

TEST(Settings, AnEmptyLastNameMayBeTheNameOfANode) {
    Settings settings;
    settings.setValue("a..b", "1"); // a node without a name in a, and one in that
    settings.setValue("a..", "2");
    EXPECT_EQ(settings.subSettings("a")->values().at(""), "2");
    EXPECT_EQ(settings.value("a..b", "none"), "1");
    EXPECT_EQ(settings.value("a", "none"), "");
}

TEST(Settings, AWriteThatCanMakeNoNodeChangesAndAnnouncesNothing) {
    Settings settings;
    settings.setValue("a.b", "1");
    Changes changes;
    log(settings, changes);
    for (const char* const key : {".", "none.", "..", "a..", "a.none.", "none.b."}) {
        settings.setValue(key, "2");
    }
    for (const char* const key : {"", ".", "a.", "a.b.", "none.", "..", "a.."}) {
        settings.addValue(key, "3");
        settings.addSubSettings(key, storeOf("<x/>"));
    }
    EXPECT_EQ(elementsOf(settings), "<a>\n\t<b>1</b>\n</a>\n");
    EXPECT_THAT(changes, IsEmpty());
}

TEST(Settings, AnEmptyNameInsideAPathIsAName) {
    Settings settings;
    settings.setValue("a..b", "1");
    settings.addValue(".b", "2");
    EXPECT_EQ(settings.value("a..b", "none"), "1");
    EXPECT_EQ(settings.value("a.b", "none"), "none");
    EXPECT_THAT(settings.values(), ElementsAre(Pair("", ""), Pair("a", "")));
    EXPECT_EQ(settings.subSettings("a")->value(".b", "none"), "1");
}

TEST(Settings, APathMayHaveMoreNamesThanADocumentMayHaveLevels) {
    Settings settings;
    Changes changes;
    log(settings, changes);
    for (const int names : {Settings::maximumDepth, 1200}) {
        const std::string path = pathOf(names);
        settings.setValue(path, "deep");
        EXPECT_EQ(settings.value(path, ""), "deep");
        settings.addValue(path, "deeper");
        EXPECT_EQ(settings.subSettings(pathOf(names - 1))->valueList("a").size(), 2U);
        settings.addSubSettings(path, storeOf("<b>1</b>"));
        EXPECT_EQ(settings.value(path + ".b", ""), "1");
    }
    EXPECT_EQ(changes.size(), 4U);
    std::string document = "kept";
    EXPECT_FALSE(settings.saveSettingsToString(document));
    EXPECT_EQ(document, "kept");
}

TEST(Settings, ALookUpMayHaveAPathOfAnyLength) {
    Settings settings;
    settings.setValue("a.a", "1");
    EXPECT_EQ(settings.value(pathOf(100000), "none"), "none");
    EXPECT_THAT(settings.subSettings(pathOf(100000)), IsNull());
}

#ifndef NDEBUG

TEST(SettingsDeathTest, AddingAnEmptyPointerIsCaught) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    Settings settings;
    EXPECT_DEATH(settings.addSubSettings("a", nullptr), "settings");
}

#endif
