// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "kit/files/c3d/C3dSettling.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <limits>
#include <string>
#include <vector>

// What is in the data: markers, channels, events and rigid bodies, and what they are called.

namespace tarn::kit {
namespace {

using namespace c3d_testing;

TEST(C3dEvents, OneEventMayBeAListOfItsMinutesAndSeconds) {
    const auto eventsOf = [](int used, const std::vector<float>& times) {
        FileBuilder file;
        file.standard().group(4, "EVENT").integer(4, "USED", used).numbers(4, "TIMES", times);
        return readBytes(file.bytes()).events;
    };
    const std::vector<C3dEvent> one = eventsOf(1, {1, 1.5F});
    ASSERT_EQ(one.size(), 1U);
    EXPECT_EQ(one[0].time, 61.5);
    const std::vector<C3dEvent> two = eventsOf(2, {1, 1.5F});
    ASSERT_EQ(two.size(), 2U);
    EXPECT_EQ(two[1].time, 1.5);
}

TEST(C3dMarkers, AreNotSeenIfTheFourthWordIsNegativeOrACoordinateIsNone) {
    FileBuilder file;
    std::string bytes = file.standard().bytes();
    const std::size_t data = std::size_t{3} * 512;
    const auto put = [&](std::size_t marker, std::size_t at, float value) {
        bytes.replace(data + marker * 16 + at * 4, 4, real(C3dEncoding::IntelReal, value));
    };
    put(0, 3, -0.5F);
    put(1, 1, std::numeric_limits<float>::quiet_NaN());
    put(2, 2, std::numeric_limits<float>::infinity());
    for (const Marker& marker : markersAt(readBytes(bytes), 0)) {
        EXPECT_FALSE(marker.hasPosition());
        EXPECT_TRUE(std::isnan(marker.position.x));
    }
}

TEST(C3dMarkers, AreSeenHoweverFarAwayTheyAre) {
    FileBuilder file;
    std::string bytes = file.standard().bytes();
    for (const std::size_t axis : {0U, 1U, 2U}) { // together too large for a number
        bytes.replace(std::size_t{3} * 512 + axis * 4, 4, real(C3dEncoding::IntelReal, 3e38F));
    }
    EXPECT_EQ(markersAt(readBytes(bytes), 0)[0].position, (Vector3f{3e38F, 3e38F, 3e38F}));
}

TEST(C3dMarkers, MayHaveAFourthWordThatIsNoWholeNumberOrLarge) {
    FileBuilder file;
    std::string bytes = file.standard().bytes();
    const auto put = [&](std::size_t marker, float value) {
        bytes.replace(std::size_t{3} * 512 + marker * 16 + 12, 4,
                      real(C3dEncoding::IntelReal, value));
    };
    put(0, 3.9F);
    put(1, 1e30F);
    put(2, -0.0F);
    const C3dTake take = readBytes(bytes);
    EXPECT_EQ(markersAt(take, 0)[0].residual, 0.75F) << "3 steps";
    EXPECT_EQ(markersAt(take, 0)[1].cameras, 0x7F);
    EXPECT_TRUE(markersAt(take, 0)[2].hasPosition());
}

TEST(C3dMarkers, AreNamedByTheirLabelsWithoutTheSubject) {
    FileBuilder file;
    file.points = 6;
    file.standard().without("LABELS");
    file.texts(1, "LABELS", {"Male:LFWT", "RFWT", ":x", "y:", "A:B:C"});
    file.texts(1, "DESCRIPTIONS", {"Left front waist", ""});
    const C3dTake take = readBytes(file.bytes());
    ASSERT_EQ(take.markers.size(), 6U);
    EXPECT_EQ(take.markers[0].subject, "Male");
    EXPECT_EQ(take.markers[0].name, "LFWT");
    EXPECT_EQ(take.markers[0].label(), "Male:LFWT");
    EXPECT_EQ(take.markers[0].description, "Left front waist");
    EXPECT_EQ(take.markers[1].subject, "");
    EXPECT_EQ(take.markers[1].label(), "RFWT");
    EXPECT_EQ(take.markers[2].name, ":x");
    EXPECT_EQ(take.markers[3].name, "y:");
    EXPECT_EQ(take.markers[4].subject, "A");
    EXPECT_EQ(take.markers[4].name, "B:C");
    EXPECT_EQ(take.markers[5].name, "*6");
    EXPECT_EQ(findingOn(take, "POINT:LABELS")->found, "5 labels");
}

TEST(C3dMarkers, MayShareALabelWhichIsReported) {
    FileBuilder file;
    file.standard().without("LABELS").texts(1, "LABELS", {"A", "B", "A"});
    const C3dTake take = readStrictly(file.bytes());
    EXPECT_EQ(take.markers[2].name, "A");
    ASSERT_TRUE(findingOn(take, "POINT:LABELS"));
    EXPECT_EQ(findingOn(take, "POINT:LABELS")->found, "labels that repeat: A");
    EXPECT_FALSE(findingOn(take, "POINT:LABELS")->isContradiction);
}

TEST(C3dMarkers, MayHaveLabelsBeyondAsciiAndPaddedWithNul) {
    FileBuilder file;
    file.standard().without("LABELS");
    file.add(1, "LABELS", -1, {6, 3},
             std::string("H\xfc"
                         "fte ",
                         6) +
                 std::string("B\0zzzz", 6) + std::string("C     ", 6));
    const C3dTake take = readStrictly(file.bytes());
    EXPECT_EQ(take.markers[0].name, "H\xfc"
                                    "fte");
    EXPECT_EQ(take.markers[1].name, "B");
    EXPECT_EQ(take.markers[2].name, "C");
}

TEST(C3dMarkers, BeyondTwoHundredAndFiftyFiveContinueTheirLabels) {
    FileBuilder file(C3dEncoding::MipsReal);
    file.points = 600;
    file.frames = 2;
    file.dataBlock = 40;
    std::vector<std::string> labels;
    labels.reserve(600);
    for (int i = 0; i < 600; ++i) {
        labels.push_back("M" + std::to_string(i));
    }
    const std::vector<std::string> none;
    file.points = 0;
    file.standard().without("LABELS").without("USED").integer(1, "USED", 600);
    file.points = 600;
    file.texts(1, "LABELS", {labels.begin(), labels.begin() + 255});
    file.texts(1, "LABELS2", {labels.begin() + 255, labels.begin() + 510});
    file.texts(1, "LABELS3", {labels.begin() + 510, labels.end()});
    const C3dTake take = readStrictly(file.bytes());
    expectData(take, 600, 2);
    EXPECT_EQ(take.markers[254].name, "M254");
    EXPECT_EQ(take.markers[255].name, "M255");
    EXPECT_EQ(take.markers[599].name, "M599");
}

TEST(C3dMarkers, HaveTheUnitOfTheFileHoweverItIsSpelled) {
    const auto unitOf = [](const std::string& text) {
        FileBuilder file;
        file.standard().without("UNITS").text(1, "UNITS", text);
        return readStrictly(file.bytes());
    };
    EXPECT_EQ(unitOf("mm").unit, "mm");
    EXPECT_EQ(unitOf(std::string("mm\0\0", 4)).unit, "mm");
    EXPECT_EQ(unitOf("MM  ").metresPerUnit, 0.001);
    EXPECT_EQ(unitOf("mete").unit, "m");
    EXPECT_EQ(unitOf("meters").unit, "m");
    EXPECT_EQ(unitOf("Metre").metresPerUnit, 1);
    EXPECT_EQ(unitOf("mill").unit, "mm");
    EXPECT_EQ(unitOf("cm").metresPerUnit, 0.01);
    EXPECT_EQ(unitOf("inch").unit, "in");
    EXPECT_EQ(unitOf("furlong").unit, "furlong");
    EXPECT_EQ(unitOf("furlong").metresPerUnit, 0);
    EXPECT_EQ(unitOf("").unit, "");
    FileBuilder file;
    EXPECT_EQ(readBytes(file.standard().without("UNITS").bytes()).unit, "");
}

FileBuilder analog(C3dEncoding encoding = C3dEncoding::IntelReal) {
    FileBuilder file(encoding);
    file.channels = 2;
    file.samples = 3;
    return file;
}

TEST(C3dAnalog, MayComeWithoutMarkers) {
    FileBuilder file = analog();
    file.points = 0;
    file.frames = 40;
    const C3dTake take = readStrictly(file.standard().bytes());
    EXPECT_TRUE(take.markers.empty());
    EXPECT_EQ(take.frameCount, 40);
    EXPECT_EQ(take.analogTracks->timeLength(), 120);
    EXPECT_EQ(samplesAt(take, 119)[1], static_cast<float>(FileBuilder::stored(1, 119) - 10));
    EXPECT_TRUE(markersAt(take, 39).empty());
}

TEST(C3dAnalog, HasNamesUnitsScalesAndOffsets) {
    FileBuilder file = analog();
    file.standard().without("OFFSET").integers(2, "OFFSET", {5, -7});
    file.texts(2, "DESCRIPTIONS", {"", "knee"});
    const C3dTake take = readStrictly(file.bytes());
    ASSERT_EQ(take.channels.size(), 2U);
    EXPECT_EQ(take.channels[0].name, "A1");
    EXPECT_EQ(take.channels[1].unit, "V");
    EXPECT_EQ(take.channels[1].description, "knee");
    EXPECT_EQ(take.channels[1].scale, 1);
    EXPECT_EQ(take.channels[1].offset, -7);
    EXPECT_EQ(samplesAt(take, 0)[1], 1007);
}

TEST(C3dAnalog, OfUnsignedIntegersReachesUpTo65535) {
    FileBuilder file = analog(C3dEncoding::DecInteger);
    file.standard().text(2, "FORMAT", "UNSIGNED").without("OFFSET");
    file.integers(2, "OFFSET", {32768 - 65536, 0});
    std::string bytes = file.bytes();
    bytes.replace(3U * 512 + 3 * 8, 4, std::string("\xff\xff\x00\x80", 4));
    const C3dTake take = readStrictly(bytes);
    EXPECT_EQ(take.channels[0].offset, 32768);
    EXPECT_EQ(samplesAt(take, 0)[0], 65535 - 32768);
    EXPECT_EQ(samplesAt(take, 0)[1], 32768);
    EXPECT_EQ(readStrictly(analog(C3dEncoding::DecInteger).standard().bytes()).channels[0].offset,
              10);
}

TEST(C3dAnalog, WithoutSamplesPerFrameIsThere) {
    FileBuilder file = analog();
    file.standard().header(10, 0);
    const C3dTake take = readBytes(file.bytes());
    EXPECT_EQ(take.samplesPerFrame, 3);
    EXPECT_EQ(take.channels.size(), 2U);
    EXPECT_TRUE(findingOn(take, "header word 10"));
}

TEST(C3dAnalog, IsAsMuchAsTheHeaderSaysIfThereIsNoGroupOfIt) {
    FileBuilder file = analog();
    file.standard();
    for (const char* name : {"ANALOG", "GEN_SCALE", "OFFSET"}) {
        file.without(name);
    }
    file.records.resize(8); // up to the labels of the markers
    const C3dTake take = readBytes(file.bytes());
    ASSERT_EQ(take.channels.size(), 2U);
    EXPECT_EQ(take.channels[1].name, "*2");
    EXPECT_EQ(samplesAt(take, 4)[1], static_cast<float>(FileBuilder::stored(1, 4)));
}

TEST(C3dAnalog, OfTheHeaderAloneIsNotThereIfTheFileIsFullWithoutIt) {
    FileBuilder file;
    file.frames = 100;
    for (const int words : {1, 2, 300}) {
        const C3dTake take = readBytes(FileBuilder(file).standard().header(3, words).bytes());
        EXPECT_TRUE(take.channels.empty());
        EXPECT_EQ(take.frameCount, 100);
        EXPECT_EQ(findingOn(take, "header word 3")->believed, "0");
    }
}

TEST(C3dAnalog, ThatTheGroupDeniesIsThereIfItFillsTheFile) {
    FileBuilder file = analog();
    file.frames = 60;
    file.standard();
    file.records.erase(file.records.begin() + 9); // its USED
    file.integer(2, "USED", 0);
    const C3dTake take = readBytes(file.bytes());
    EXPECT_EQ(take.channels.size(), 2U);
    EXPECT_EQ(findingOn(take, "ANALOG:USED")->believed, "2");
}

TEST(C3dAnalog, HasTheRateOfItsSamples) {
    FileBuilder file = analog();
    file.standard();
    file.records.erase(file.records.begin() + 10); // its RATE
    file.number(2, "RATE", 1000);
    const C3dTake take = readBytes(file.bytes());
    EXPECT_EQ(take.analogRate(), 300);
    EXPECT_EQ(findingOn(take, "ANALOG:RATE")->believed, "300");
}

TEST(C3dEvents, OfTheHeaderAreRead) {
    for (const C3dEncoding encoding : allEncodings) {
        FileBuilder file(encoding);
        file.header(150, 12345).header(151, 2).headerReal(153, 0.5F).headerReal(155, 1.25F);
        file.headerWords[189] = std::string("\0\1", 2);
        file.headerWords[199] = "RHS LTO ";
        const C3dTake take = readStrictly(file.standard().bytes());
        ASSERT_EQ(take.events.size(), 2U);
        EXPECT_EQ(take.events[0].label, "RHS");
        EXPECT_EQ(take.events[0].time, 0.5);
        EXPECT_TRUE(take.events[0].shown);
        EXPECT_TRUE(take.events[0].inHeader);
        EXPECT_EQ(take.events[1].label, "LTO");
        EXPECT_EQ(take.events[1].time, 1.25);
        EXPECT_FALSE(take.events[1].shown);
    }
}

TEST(C3dEvents, OfTheHeaderAreNoMoreThanEighteen) {
    FileBuilder many;
    many.header(150, 12345).header(151, 900);
    const C3dTake take = readBytes(many.standard().bytes());
    EXPECT_EQ(take.events.size(), 18U);
    EXPECT_TRUE(findingOn(take, "header word 151"));
}

TEST(C3dEvents, OfTheHeaderWithoutTheirKeyAreReadIfTheyMakeSense) {
    for (const C3dEncoding encoding : allEncodings) {
        FileBuilder old(encoding); // labels of two characters
        old.header(151, 2).headerReal(153, 0.5F).headerReal(155, 1.25F);
        old.headerWords[189] = std::string("\0\1", 2);
        old.headerWords[199] = "HSTO";
        const C3dTake take = readStrictly(old.standard().bytes());
        ASSERT_EQ(take.events.size(), 2U);
        EXPECT_EQ(take.events[0].label, "HS");
        EXPECT_EQ(take.events[0].time, 0.5);
        EXPECT_EQ(take.events[1].label, "TO");
        EXPECT_EQ(take.events[1].time, 1.25);
        EXPECT_FALSE(take.events[1].shown);
        EXPECT_EQ(findingOn(take, "header word 151")->believed, "2");
        FileBuilder forgotten(encoding); // labels of four, but no key
        forgotten.header(151, 2).headerReal(153, 0.5F).headerReal(155, 1.25F);
        forgotten.headerWords[199] = "RHS LTO ";
        EXPECT_EQ(readStrictly(forgotten.standard().bytes()).events[1].label, "LTO");
    }
}

TEST(C3dEvents, OfTheHeaderWithoutTheirKeyAreReportedIfTheyMakeNoSense) {
    FileBuilder unnamed;
    unnamed.header(151, 2).headerReal(153, 0.5F);
    FileBuilder early;
    early.header(151, 1).headerReal(153, -0.5F);
    early.headerWords[199] = "HS";
    FileBuilder many;
    many.header(151, 900);
    for (FileBuilder* const file : {&unnamed, &early, &many}) {
        const C3dTake take = readStrictly(file->standard().bytes());
        EXPECT_TRUE(take.events.empty());
        ASSERT_TRUE(findingOn(take, "header word 151"));
        EXPECT_EQ(findingOn(take, "header word 151")->believed, "0");
        EXPECT_FALSE(findingOn(take, "header word 151")->isContradiction);
    }
}

TEST(C3dEvents, OfTheParametersHaveContextsAndSubjects) {
    FileBuilder file;
    file.standard().group(4, "EVENT").integer(4, "USED", 2);
    file.texts(4, "LABELS", {"Foot Strike", "Foot Off"}).texts(4, "CONTEXTS", {"Left", "Right"});
    file.texts(4, "SUBJECTS", {"Anna", "Anna"}).numbers(4, "TIMES", {0, 1.5F, 2, 3.25F}, {2, 2});
    const C3dTake take = readStrictly(file.bytes());
    ASSERT_EQ(take.events.size(), 2U);
    EXPECT_EQ(take.events[0].label, "Foot Strike");
    EXPECT_EQ(take.events[0].context, "Left");
    EXPECT_EQ(take.events[0].subject, "Anna");
    EXPECT_EQ(take.events[0].time, 1.5);
    EXPECT_FALSE(take.events[0].inHeader);
    EXPECT_EQ(take.events[1].time, 2 * 60 + 3.25);
}

TEST(C3dEvents, ThatHaveNoTimeAreNone) {
    FileBuilder file;
    file.standard().group(4, "EVENT").integer(4, "USED", 5);
    file.texts(4, "LABELS", {"Foot Strike"}).numbers(4, "TIMES", {0, 1.5F}, {2, 1});
    const C3dTake take = readBytes(file.bytes());
    EXPECT_EQ(take.events.size(), 1U);
    EXPECT_EQ(findingOn(take, "EVENT:USED")->found, "5");
}

/// Two bodies, the first turned by a quarter about z and at (frame, 2, 3), the second not seen.
std::string bodyData(C3dEncoding encoding, int frames) {
    std::string bytes;
    for (int frame = 0; frame < frames; ++frame) {
        const auto x = static_cast<float>(frame);
        for (const float number : {0.F, 1.F, 0.F, 0.F, -1.F, 0.F, 0.F, 0.F, 0.F, 0.F, 1.F, 0.F, x,
                                   2.F, 3.F, 1.F, 0.125F}) {
            bytes += real(encoding, number);
        }
        for (int i = 0; i < 16; ++i) {
            bytes += real(encoding, 0);
        }
        bytes += real(encoding, -1);
    }
    return bytes;
}

TEST(C3dRigidBodies, AreReadFromTheRotationGroup) {
    for (const C3dEncoding encoding :
         {C3dEncoding::IntelReal, C3dEncoding::DecReal, C3dEncoding::MipsReal}) {
        FileBuilder file(encoding);
        file.standard().group(5, "ROTATION").integer(5, "USED", 2).integer(5, "DATA_START", 5);
        file.number(5, "RATE", 100).texts(5, "LABELS", {"pelvis", "thigh"});
        const C3dTake take = readStrictly(file.bytes() + bodyData(encoding, 4));
        expectData(take);
        ASSERT_EQ(take.bodies.size(), 2U);
        EXPECT_EQ(take.bodies[1].name, "thigh");
        ASSERT_EQ(take.bodyTracks->timeLength(), 4);
        const auto& bodies =
            take.bodyTracks->getFrame(3, rigidBodyDataType)->dataAs<RigidBodyFrame>();
        EXPECT_EQ(bodies[0].position.x, 3);
        EXPECT_EQ(bodies[0].position.z, 3);
        EXPECT_EQ(bodies[0].residual, 0.125F);
        EXPECT_NEAR(bodies[0].rotation.z, std::sqrt(0.5), 1e-6);
        EXPECT_NEAR(bodies[0].rotation.w, std::sqrt(0.5), 1e-6);
        EXPECT_FALSE(bodies[1].hasPosition());
    }
}

TEST(C3dRigidBodies, MayComeWithoutMarkersAndMoreOftenThanFrames) {
    FileBuilder file;
    file.points = 0;
    file.standard().group(5, "ROTATION").integer(5, "USED", 2).integer(5, "DATA_START", 4);
    file.number(5, "RATE", 200).texts(5, "LABELS", {"pelvis", "thigh"});
    std::string bytes = file.bytes();
    bytes.resize(std::size_t{3} * 512);
    const C3dTake take = readStrictly(bytes + bodyData(C3dEncoding::IntelReal, 8));
    EXPECT_EQ(take.frameCount, 4);
    EXPECT_EQ(take.bodiesPerFrame, 2);
    EXPECT_EQ(take.bodyTracks->timeLength(), 8);
    EXPECT_EQ(take.bodyTracks->fps(), 200);
}

TEST(C3dRigidBodies, AreReportedWhereTheirLabelsOrTheirRateDisagree) {
    FileBuilder file;
    file.standard().group(5, "ROTATION").integer(5, "USED", 2).integer(5, "DATA_START", 5);
    file.integer(5, "RATIO", 1).number(5, "RATE", 200).texts(5, "LABELS", {"pelvis"});
    const C3dTake take = readBytes(file.bytes() + bodyData(C3dEncoding::IntelReal, 4));
    ASSERT_EQ(take.bodies.size(), 2U);
    EXPECT_EQ(take.bodies[1].name, "*2");
    EXPECT_EQ(take.bodiesPerFrame, 1);
    EXPECT_EQ(findingOn(take, "ROTATION:LABELS")->found, "1 labels");
    EXPECT_EQ(findingOn(take, "ROTATION:RATE")->believed, "100");
}

} // namespace
} // namespace tarn::kit
