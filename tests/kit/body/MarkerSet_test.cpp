// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/body/MarkerSet.h>

#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>
#include <tarn_kit/body/HumanBody.h>

using namespace tarn::kit;
using tarn::Settings;

namespace {

std::string errorOf(const std::string& document) {
    Settings settings;
    settings.loadSettingsFromString(document);
    try {
        MarkerSet::of(settings, "set.xml");
    } catch (const MarkerSetError& error) {
        return error.what();
    }
    return "";
}

std::string withMarker(const std::string& inside) {
    return "<MarkerSet><Markers><LKNE>" + inside + "</LKNE></Markers></MarkerSet>";
}

} // namespace

TEST(MarkerSet, ComesWithSetsForWholeBodiesAndLegs) {
    EXPECT_EQ(MarkerSet::load("cmu41").markers.size(), 41U);
    EXPECT_EQ(MarkerSet::load("gait16").markers.size(), 16U);
    const MarkerSet most = MarkerSet::load("cmu53");
    EXPECT_EQ(most.markers.size(), 53U);
    for (const MarkerPlace& marker : MarkerSet::load("cmu41").markers) {
        EXPECT_GE(most.markerOf(marker.name), 0) << marker.name;
        EXPECT_FALSE(marker.description.empty()) << marker.name;
    }
    EXPECT_EQ(MarkerSet::shippedNames().size(), 3U);
}

TEST(MarkerSet, IsReadFromADocumentOfItsPath) {
    const tarn::testing::TemporaryDirectory directory;
    const std::string file = (directory.path() / "legs.xml").string();
    tarn::testing::writeFile(file, "<MarkerSet><Name>legs</Name><Markers>"
                                   "<!-- a comment --><RKNE><Segment>RightUpLeg</Segment>"
                                   "<Along>1</Along><Right>0.05</Right><Down>0.01</Down>"
                                   "<Weight>2</Weight></RKNE></Markers></MarkerSet>");
    const MarkerSet set = MarkerSet::load(file);
    ASSERT_EQ(set.markers.size(), 1U);
    EXPECT_EQ(set.name, "legs");
    EXPECT_EQ(set.markers[0].name, "RKNE");
    EXPECT_EQ(set.markers[0].segment, "RightUpLeg");
    EXPECT_EQ(set.markers[0].along, 1);
    EXPECT_EQ(set.markers[0].offset, (Vector3d{-0.05, -0.01, 0}));
    EXPECT_EQ(set.markers[0].weight, 2);
}

TEST(MarkerSet, ComesBackFromItsOwnDocument) {
    const MarkerSet set = MarkerSet::load("cmu53");
    std::string document;
    ASSERT_TRUE(set.toSettings()->saveSettingsToString(document));
    Settings settings;
    ASSERT_TRUE(settings.loadSettingsFromString(document));
    const MarkerSet back = MarkerSet::of(settings, "document");
    ASSERT_EQ(back.markers.size(), set.markers.size());
    for (std::size_t m = 0; m < set.markers.size(); ++m) {
        EXPECT_EQ(back.markers[m].name, set.markers[m].name);
        EXPECT_EQ(back.markers[m].segment, set.markers[m].segment);
        EXPECT_EQ(back.markers[m].offset, set.markers[m].offset);
        EXPECT_EQ(back.markers[m].along, set.markers[m].along);
    }
}

TEST(MarkerSet, NamesTheFileTheMarkerAndWhatIsWrong) {
    std::string segments;
    const HumanBody body;
    for (const HumanJoint& joint : body.joints()) {
        segments += (segments.empty() ? "" : ", ") + joint.name;
    }
    EXPECT_EQ(errorOf("<Other/>"), "set.xml: has no element MarkerSet");
    EXPECT_EQ(errorOf("<MarkerSet/>"), "set.xml: MarkerSet has no element Markers");
    EXPECT_EQ(errorOf("<MarkerSet><Markers/></MarkerSet>"), "set.xml: holds no markers");
    EXPECT_EQ(errorOf(withMarker("")), "set.xml: LKNE: has no Segment");
    EXPECT_EQ(errorOf(withMarker("<Segment>Tail</Segment>")),
              "set.xml: LKNE: Segment 'Tail' is no segment of a body; those are " + segments);
    EXPECT_EQ(errorOf(withMarker("<Segment>Hips</Segment><Up>high</Up>")),
              "set.xml: LKNE: Up 'high': expected a number from -1 to 1");
    EXPECT_EQ(errorOf(withMarker("<Segment>Hips</Segment><Weight>-1</Weight>")),
              "set.xml: LKNE: Weight '-1': expected a number from 0 to 1000");
}

TEST(MarkerSet, RefusesWhatIsASlipOfWhoWroteIt) {
    EXPECT_EQ(errorOf(withMarker("<Segment>Hips</Segment><Lefft>0.1</Lefft>")),
              "set.xml: LKNE: there is no 'Lefft' in Segment, Along, Weight, Description, Left, "
              "Right, Up, Down, Front, Back");
    EXPECT_EQ(errorOf(withMarker("<Segment>Hips</Segment><Up>0.1</Up><Up>0.2</Up>")),
              "set.xml: LKNE: Up stands there more than once");
    EXPECT_EQ(errorOf(withMarker("<Segment>Hips</Segment><Right>0.1</Right><Left>0.1</Left>")),
              "set.xml: LKNE: Right stands beside Left");
    EXPECT_EQ(errorOf("<MarkerSet><Markers><A><Segment>Hips</Segment></A>"
                      "<A><Segment>Head</Segment></A></Markers></MarkerSet>"),
              "set.xml: A: stands there more than once");
    EXPECT_EQ(errorOf("<MarkerSet><Markers><L.A><Segment>Hips</Segment></L.A></Markers>"
                      "</MarkerSet>"),
              "set.xml: L.A: names of markers hold no '.' here; without it, the marker is found "
              "all the same");
    EXPECT_EQ(errorOf("<MarkerSet><Title>a</Title><Markers><A><Segment>Hips</Segment></A>"
                      "</Markers></MarkerSet>"),
              "set.xml: MarkerSet: there is no 'Title' in Name, Description, Markers");
}

TEST(MarkerSet, SaysWhereInAFileItIsWrong) {
    const tarn::testing::TemporaryDirectory directory;
    const std::string file = (directory.path() / "set.xml").string();
    const auto errorIn = [&](const std::string& document) -> std::string {
        tarn::testing::writeFile(file, document);
        try {
            MarkerSet::load(file);
        } catch (const MarkerSetError& error) {
            return error.what();
        }
        return "";
    };
    const std::string head = "<MarkerSet>\n <Markers>\n  <A><Segment>Hips</Segment></A>\n";
    const std::string tail = "\n </Markers>\n</MarkerSet>\n";
    EXPECT_EQ(errorIn(head + "  <B><Segment>Hips</Segment><Up>12cm</Up></B>" + tail),
              file + ":4:29: B: Up '12cm': expected a number from -1 to 1");
    EXPECT_EQ(errorIn(head + "  <B></B>" + tail), file + ":4:3: B: has no Segment");
    EXPECT_EQ(errorIn(head + "  <A><Segment>Hips</Segment></A>" + tail),
              file + ":4:3: A: stands there more than once");
    EXPECT_EQ(errorIn(head + "  <B><Segment>Hips</Segment>" + tail),
              file + ":5:2: expected the end tag of 'B', found 'Markers'");
}

TEST(MarkerSet, SaysWhichSetsThereAreWhenItFindsNone) {
    try {
        MarkerSet::load("no/such/set");
        FAIL();
    } catch (const MarkerSetError& error) {
        EXPECT_NE(std::string(error.what()).find("cmu41"), std::string::npos);
        EXPECT_NE(std::string(error.what()).find("no/such/set"), std::string::npos);
    }
}

TEST(MarkerSet, FindsAMarkerWhoseNameIsWrittenInAnotherWay) {
    const std::vector<std::string> names = {"c7", "L FWT", "L_FWT", "rfwt", "RFWT", "R-KNE", ""};
    EXPECT_EQ(markerNamed("C7", names), 0);
    EXPECT_EQ(markerNamed("RFWT", names), 4) << "exactly that name goes before";
    EXPECT_EQ(markerNamed("RKNE", names), 5);
    EXPECT_EQ(markerNamed("LFWT", names), -1) << "which of the two nobody knows";
    EXPECT_EQ(markerNamed("LKNE", names), -1);
    EXPECT_EQ(markerNamed("-", names), -1) << "nothing is left of that name";
}
