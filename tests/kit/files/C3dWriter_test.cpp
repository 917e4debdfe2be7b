// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "kit/files/C3dTesting.h"
#include "support/Samples.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <limits>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

// What is written reads back the same; what was not changed keeps its bytes.

namespace tarn::kit {
namespace {

using namespace c3d_testing;

std::string written(const C3dTake& take, const C3dWriteOptions& options = {}) {
    std::ostringstream stream;
    writeC3d(take, stream, options);
    return stream.str();
}

std::string writtenAs(const C3dTake& take, C3dEncoding encoding) {
    C3dWriteOptions options;
    options.encoding = encoding;
    return written(take, options);
}

/// A take with the payload of one frame replaced by what `change` makes of it.
template <class Payload, class Value>
void change(const std::shared_ptr<Tracks>& tracks, int index, int dataType,
            const std::function<void(std::vector<Value>&)>& change) {
    const auto frame = tracks->getFrame(index, dataType);
    std::vector<Value> values = frame->dataAs<Payload>().toVector();
    change(values);
    tracks->setFrame(index, dataType,
                     std::make_shared<Frame>(frame->time(), dataType, Payload(std::move(values))));
}

void changeMarkers(const C3dTake& take, int index,
                   const std::function<void(std::vector<Marker>&)>& how) {
    change<MarkerFrame, Marker>(take.tracks, index, markerDataType, how);
}

/// The take without any of its source, as if it had never been a file.
C3dTake orphaned(C3dTake take) {
    take.source.reset();
    take.parameters = {};
    return take;
}

/// The offsets at which two strings of one length differ.
std::vector<std::size_t> differences(const std::string& a, const std::string& b) {
    EXPECT_EQ(a.size(), b.size());
    std::vector<std::size_t> offsets;
    for (std::size_t i = 0; i < std::min(a.size(), b.size()); ++i) {
        if (a[i] != b[i]) {
            offsets.push_back(i);
        }
    }
    return offsets;
}

/// Expects the samples of two takes to be the same, positions within `step`.
void expectSameSamples(const C3dTake& found, const C3dTake& expected, float step = 0) {
    ASSERT_EQ(found.frameCount, expected.frameCount);
    ASSERT_EQ(found.markers.size(), expected.markers.size());
    for (int i = 0; i < found.frameCount; ++i) {
        for (std::size_t k = 0; k < found.markers.size(); ++k) {
            const Marker a = markersAt(found, i)[k];
            const Marker b = markersAt(expected, i)[k];
            ASSERT_EQ(a.state, b.state);
            ASSERT_EQ(a.cameras, b.cameras);
            if (a.hasPosition()) {
                ASSERT_NEAR(a.position.x, b.position.x, step);
                ASSERT_NEAR(a.position.y, b.position.y, step);
                ASSERT_NEAR(a.position.z, b.position.z, step);
            }
        }
    }
    ASSERT_EQ(found.analogTracks == nullptr, expected.analogTracks == nullptr);
    for (int i = 0; found.analogTracks && i < found.analogTracks->timeLength(); ++i) {
        for (std::size_t k = 0; k < found.channels.size(); ++k) {
            ASSERT_EQ(samplesAt(found, i)[k], samplesAt(expected, i)[k]);
        }
    }
}

/// A file with analog channels, events and a group that nobody knows.
FileBuilder fullFile(C3dEncoding encoding = C3dEncoding::IntelReal) {
    FileBuilder file(encoding);
    file.channels = 2;
    file.samples = 3;
    file.header(150, 12345).header(151, 1).headerReal(153, 0.5F);
    file.headerWords[199] = "RHS ";
    file.standard().group(3, "TRIAL").integers(3, "ACTUAL_START_FIELD", {1, 0});
    file.integers(3, "ACTUAL_END_FIELD", {4, 0});
    file.group(4, "EVENT").integer(4, "USED", 1).texts(4, "LABELS", {"Foot Strike"});
    file.texts(4, "CONTEXTS", {"Left"}).numbers(4, "TIMES", {0, 1.5F}, {2, 1});
    file.group(99, "MAKER", "of something").add(99, "SECRET", 1, {3}, "\x01\x02\x03", "hush");
    return file;
}

class C3dWriting : public ::testing::TestWithParam<C3dEncoding> {};

TEST_P(C3dWriting, GivesBackTheBytesOfWhatWasNotChanged) {
    const std::string bytes = fullFile(GetParam()).bytes();
    EXPECT_EQ(written(readBytes(bytes)), bytes);
}

TEST_P(C3dWriting, TurnsEveryEncodingIntoEveryOther) {
    const C3dTake take = readStrictly(fullFile(GetParam()).bytes());
    for (const C3dEncoding encoding : allEncodings) {
        const C3dTake again = readStrictly(writtenAs(take, encoding));
        EXPECT_EQ(again.encoding, encoding);
        expectSameSamples(again, take);
        ASSERT_EQ(again.events.size(), 2U);
        EXPECT_EQ(again.events[0].label, "RHS");
        EXPECT_EQ(again.events[0].time, 0.5);
        EXPECT_EQ(again.events[1].label, "Foot Strike");
        EXPECT_EQ(again.events[1].time, 1.5);
        const C3dParameter* const secret = again.parameters.find("MAKER", "SECRET");
        ASSERT_NE(secret, nullptr);
        EXPECT_EQ(*secret, *take.parameters.find("MAKER", "SECRET"));
        EXPECT_EQ(again.parameters.find("MAKER")->description, "of something");
    }
}

TEST_P(C3dWriting, WritesTakesThatNeverWereAFile) {
    const C3dTake take = orphaned(readStrictly(fullFile(GetParam()).bytes()));
    for (const C3dEncoding encoding : allEncodings) {
        const std::string bytes = writtenAs(take, encoding);
        EXPECT_EQ(bytes.size() % 512, 0U);
        const C3dTake again = readStrictly(bytes);
        EXPECT_TRUE(again.report.empty());
        EXPECT_EQ(again.encoding, encoding);
        expectSameSamples(again, take);
        EXPECT_EQ(again.rate, take.rate);
        EXPECT_EQ(again.unit, "mm");
        EXPECT_EQ(again.markers[2].name, "M3");
        EXPECT_EQ(again.channels[1].name, "A2");
        EXPECT_EQ(again.events.size(), 2U);
    }
}

INSTANTIATE_TEST_SUITE_P(All, C3dWriting, ::testing::ValuesIn(allEncodings));

TEST(C3dWriter, GivesBackTheBytesOfOddFiles) {
    std::vector<std::string> odd;
    FileBuilder broken = fullFile();
    odd.push_back(broken.bytes() + std::string(3000, 'x'));
    odd.push_back(broken.bytes().substr(0, broken.bytes().size() - 700));
    broken.padded = false;
    odd.push_back(broken.header(2, 17).headerReal(7, 3).header(9, 0).bytes());
    broken.record("RATE").distance = 1;
    broken.record("SECRET").content += "more";
    broken.blocks = 0;
    broken.behindParameters = "and so on";
    odd.push_back(broken.bytes());
    std::string bytes = broken.bytes();
    bytes[515] = 0;
    bytes[1] = 'x';
    odd.push_back(bytes);
    FileBuilder headerOnly(C3dEncoding::MipsReal);
    headerOnly.parameterBlock = 0;
    headerOnly.dataBlock = 2;
    odd.push_back(headerOnly.bytes());
    FileBuilder none;
    none.frames = 0;
    odd.push_back(none.standard().bytes());
    for (const std::string& one : odd) {
        EXPECT_EQ(differences(written(readBytes(one)), one), std::vector<std::size_t>());
    }
}

TEST(C3dWriter, GivesBackTheBytesOfDataThatDecodeToTheSame) {
    FileBuilder file = fullFile(C3dEncoding::DecReal);
    std::string bytes = file.bytes();
    bytes.replace(std::size_t{3} * 512, 4,
                  std::string("\x12\x00\x34\x56", 4)); // a zero with a fraction
    bytes.replace(3U * 512 + 16 + 12, 4, real(C3dEncoding::DecReal, -7.5F));
    bytes.replace(3U * 512 + 32 + 12, 4, real(C3dEncoding::DecReal, 6.75F));
    EXPECT_EQ(written(readBytes(bytes)), bytes);
}

TEST(C3dWriter, GivesBackTheBytesOfTheSamples) {
    for (const char* const name : {"cmu_01_01_jumps.c3d", "cmu_85_02.c3d"}) {
        const std::string bytes = testing::readFile(testing::samplePath(name));
        ASSERT_GT(bytes.size(), 500'000U);
        EXPECT_TRUE(written(readBytes(bytes)) == bytes) << name;
    }
}

TEST(C3dWriter, ChangesNoMoreThanTheMarkerThatWasChanged) {
    for (const C3dEncoding encoding : allEncodings) {
        const std::string bytes = fullFile(encoding).bytes();
        const C3dTake take = readBytes(bytes);
        changeMarkers(take, 2,
                      [](std::vector<Marker>& markers) { markers[1].position.y += 12.25F; });
        const std::string changed = written(take);
        const std::size_t word = isReal(encoding) ? 4 : 2;
        const std::size_t frame = (3 * 4 + 2 * 3) * word;
        const std::size_t at = std::size_t{3} * 512 + 2 * frame + (4 + 1) * word;
        for (const std::size_t offset : differences(bytes, changed)) {
            EXPECT_GE(offset, at);
            EXPECT_LT(offset, at + word);
        }
        expectSameSamples(readStrictly(changed), take);
    }
}

TEST(C3dWriter, ChangesNoMoreThanTheSampleThatWasChanged) {
    const std::string bytes = fullFile(C3dEncoding::MipsInteger).bytes();
    const C3dTake take = readBytes(bytes);
    change<AnalogFrame, float>(take.analogTracks, 4, analogDataType,
                               [](std::vector<float>& samples) { samples[1] = -3; });
    const std::string changed = written(take);
    EXPECT_FALSE(differences(bytes, changed).empty());
    EXPECT_LE(differences(bytes, changed).size(), 2U);
    expectSameSamples(readStrictly(changed), take);
}

TEST(C3dWriter, WritesAMarkerThatIsNotSeenAnyMoreAndOneThatWasFilled) {
    const C3dTake take = readBytes(fullFile().bytes());
    changeMarkers(take, 0, [](std::vector<Marker>& markers) {
        markers[0] = Marker();
        markers[1].state = MarkerState::Filled;
    });
    const C3dTake again = readStrictly(written(take));
    EXPECT_FALSE(markersAt(again, 0)[0].hasPosition());
    EXPECT_EQ(markersAt(again, 0)[1].state, MarkerState::Seen);
    EXPECT_EQ(markersAt(again, 0)[1].cameras, 0);
    EXPECT_EQ(markersAt(again, 0)[1].residual, 0);
    EXPECT_EQ(markersAt(again, 0)[1].position, markersAt(take, 0)[1].position);
}

TEST(C3dWriter, ChangesNoMoreThanTheParameterThatWasChanged) {
    const std::string bytes = fullFile().bytes();
    C3dTake take = readBytes(bytes);
    take.parameters.set("MAKER", C3dParameter::text("SECRET", "abc"));
    const std::string changed = written(take);
    const std::size_t at = bytes.find("SECRET");
    for (const std::size_t offset : differences(bytes, changed)) {
        EXPECT_GE(offset, at);
        EXPECT_LT(offset, at + 20);
    }
    EXPECT_EQ(readStrictly(changed).parameters, take.parameters);
}

TEST(C3dWriter, MakesRoomForParametersThatGrow) {
    for (const std::size_t length : {100U, 200U}) {
        for (const int count : {1, 40}) {
            C3dTake take = readBytes(fullFile().bytes());
            for (int i = 0; i < count; ++i) {
                take.parameters.set("NOTES", C3dParameter::text("NOTE" + std::to_string(i),
                                                                std::string(length, 'n')));
            }
            const C3dTake again = readStrictly(written(take));
            EXPECT_TRUE(again.report.empty());
            expectSameSamples(again, take);
            EXPECT_EQ(again.parameters.find("NOTES", "NOTE" + std::to_string(count - 1))->text(),
                      std::string(length, 'n'));
            EXPECT_EQ(*again.parameters.find("MAKER"), *take.parameters.find("MAKER"));
        }
    }
}

TEST(C3dWriter, KeepsUnknownGroupsByteForByteWhereverTheyMoveTo) {
    const std::string bytes = fullFile().bytes();
    const std::string group = bytes.substr(bytes.find("MAKER") - 2, 50);
    C3dTake take = readBytes(bytes);
    take.parameters.set("POINT", C3dParameter::text("NOTE", std::string(250, 'n')));
    take.parameters.set("POINT", C3dParameter::text("NOTE2", std::string(250, 'n')));
    take.parameters.set("POINT", C3dParameter::text("NOTE3", std::string(250, 'n')));
    EXPECT_NE(written(take).find(group.substr(0, 40)), std::string::npos);
}

TEST(C3dWriter, BringsTheParametersIntoLineWithTheTake) {
    C3dTake take = readBytes(fullFile().bytes());
    take.markers[1].subject = "Anna";
    take.markers[1].name = "left front waist";
    take.markers[2].description = "at the back";
    take.unit = "m";
    take.rate = 250;
    take.firstFrame = 70'000;
    take.events[0].label = "LTO";
    take.events.push_back({"Foot Off", "Right", "Anna", 62.5, false, true});
    take.channels[0].name = "EMG";
    const C3dTake again = readStrictly(written(take));
    EXPECT_TRUE(again.report.empty());
    EXPECT_EQ(again.markers[1].label(), "Anna:left front waist");
    EXPECT_EQ(again.markers[0].label(), "M1");
    EXPECT_EQ(again.markers[2].description, "at the back");
    EXPECT_EQ(again.unit, "m");
    EXPECT_EQ(again.rate, 250);
    EXPECT_EQ(again.firstFrame, 70'000);
    ASSERT_EQ(again.events.size(), 3U);
    EXPECT_EQ(again.events[0].label, "LTO");
    EXPECT_EQ(again.events[2].label, "Foot Off");
    EXPECT_EQ(again.events[2].context, "Right");
    EXPECT_EQ(again.events[2].subject, "Anna");
    EXPECT_EQ(again.events[2].time, 62.5);
    EXPECT_EQ(again.channels[0].name, "EMG");
    expectSameSamples(again, take);
}

/// A take of so many frames with one marker at (frame, 0, 0).
C3dTake madeTake(int frames, std::size_t markers = 1) {
    C3dTake take;
    for (std::size_t i = 0; i < markers; ++i) {
        take.markers.push_back({"", "M" + std::to_string(i), ""});
    }
    take.rate = 100;
    take.unit = "mm";
    take.tracks = std::make_shared<Tracks>();
    const auto track = std::make_shared<Track>(markerDataType);
    track->setFrameCount(frames);
    for (int i = 0; i < frames; ++i) {
        std::vector<Marker> all(markers, Marker::at({static_cast<float>(i), 0, 0}));
        track->setFrame(i, std::make_shared<Frame>(Time(static_cast<unsigned>(i), 100),
                                                   markerDataType, MarkerFrame(std::move(all))));
    }
    take.tracks->addTrack(track, 0);
    take.tracks->setTimeLength(frames);
    take.frameCount = frames;
    return take;
}

TEST(C3dWriter, WritesWhatReadersRequire) {
    const C3dTake take = readStrictly(written(madeTake(3)));
    for (const char* const name :
         {"USED", "SCALE", "RATE", "DATA_START", "FRAMES", "LABELS", "DESCRIPTIONS", "UNITS"}) {
        EXPECT_NE(take.parameters.find("POINT", name), nullptr) << name;
    }
    for (const char* const name :
         {"USED", "LABELS", "DESCRIPTIONS", "GEN_SCALE", "SCALE", "OFFSET", "UNITS", "RATE"}) {
        EXPECT_NE(take.parameters.find("ANALOG", name), nullptr) << name;
    }
    EXPECT_EQ(take.encoding, C3dEncoding::IntelReal);
    EXPECT_EQ(take.firstFrame, 1);
}

TEST(C3dWriter, FlagsLongTakesInEveryWayThatIsExpected) {
    const std::string bytes = written(madeTake(70'000));
    const C3dTake take = readStrictly(bytes);
    EXPECT_EQ(take.frameCount, 70'000);
    EXPECT_TRUE(take.report.empty());
    EXPECT_EQ(take.parameters.find("POINT", "FRAMES")->number(), -1) << "65535";
    EXPECT_EQ(take.parameters.find("POINT", "LONG_FRAMES")->number(), 70'000);
    EXPECT_EQ(take.parameters.numbers("TRIAL", "ACTUAL_START_FIELD"), (std::vector<double>{1, 0}));
    EXPECT_EQ(take.parameters.numbers("TRIAL", "ACTUAL_END_FIELD"),
              (std::vector<double>{70'000 - 65536, 1}));
    EXPECT_EQ(bytes.substr(8, 2), "\xff\xff");
    EXPECT_EQ(markersAt(take, 69'999)[0].position.x, 69'999);
}

TEST(C3dWriter, ContinuesListsBeyondTwoHundredAndFiftyFive) {
    const C3dTake take = readStrictly(written(madeTake(2, 600)));
    ASSERT_EQ(take.markers.size(), 600U);
    EXPECT_EQ(take.markers[255].name, "M255");
    EXPECT_EQ(take.markers[599].name, "M599");
    EXPECT_NE(take.parameters.find("POINT", "LABELS3"), nullptr);
    C3dTake fewer = madeTake(2, 100);
    fewer.parameters = take.parameters;
    const C3dTake again = readStrictly(written(fewer));
    EXPECT_EQ(again.parameters.find("POINT", "LABELS2"), nullptr);
    EXPECT_EQ(again.markers.size(), 100U);
}

TEST(C3dWriter, CutsATakeAndKeepsWhatItKnowsOfIt) {
    C3dTake take = readBytes(fullFile().bytes());
    take.tracks->setTimeLength(2);
    take.analogTracks->setTimeLength(6);
    const C3dTake again = readStrictly(written(take));
    EXPECT_TRUE(again.report.empty());
    EXPECT_EQ(again.frameCount, 2);
    EXPECT_EQ(again.analogTracks->timeLength(), 6);
    EXPECT_EQ(again.parameters.numbers("TRIAL", "ACTUAL_END_FIELD"), (std::vector<double>{2, 0}));
    EXPECT_EQ(*again.parameters.find("MAKER"), *take.parameters.find("MAKER"));
}

TEST(C3dWriter, PutsRightWhatAFileSaidWronglyWhereItLaysItOutAnew) {
    FileBuilder file = fullFile();
    file.without("USED").integer(1, "USED", 17).integer(2, "USED", 0).header(5, 90);
    const C3dTake take = readBytes(file.bytes());
    ASSERT_FALSE(take.report.empty());
    const C3dTake again = readStrictly(writtenAs(take, C3dEncoding::MipsReal));
    EXPECT_TRUE(again.report.empty());
    expectSameSamples(again, take);
}

TEST(C3dWriter, ScalesIntegersSuchThatTheFarthestMarkerFits) {
    C3dTake take = madeTake(3);
    changeMarkers(take, 1, [](std::vector<Marker>& markers) {
        markers[0].position = {1e6F, -2e6F, 0.5F};
    });
    const C3dTake again = readStrictly(writtenAs(take, C3dEncoding::IntelInteger));
    EXPECT_NEAR(again.scale, 2e6 / 32767, 1e-4);
    EXPECT_NEAR(markersAt(again, 1)[0].position.y, -2e6, 40);
    C3dTake kept = madeTake(3);
    kept.scale = 0.5;
    EXPECT_EQ(readStrictly(writtenAs(kept, C3dEncoding::IntelInteger)).scale, 0.5);
}

TEST(C3dWriter, ScalesChannelsThatDoNotFitIntegers) {
    C3dTake take = readBytes(fullFile().bytes());
    change<AnalogFrame, float>(take.analogTracks, 4, analogDataType,
                               [](std::vector<float>& all) { all[1] = 1e5F; });
    const C3dTake again = readStrictly(writtenAs(take, C3dEncoding::IntelInteger));
    EXPECT_NEAR(samplesAt(again, 4)[1], 1e5F, 2);
    EXPECT_NEAR(samplesAt(again, 3)[1], samplesAt(take, 3)[1], 2);
    EXPECT_EQ(samplesAt(again, 3)[0], samplesAt(take, 3)[0]) << "this one fits as it is";
}

TEST(C3dWriter, WritesRigidBodiesBehindTheOtherData) {
    C3dTake take = madeTake(3);
    take.bodies.push_back({"pelvis", ""});
    take.bodiesPerFrame = 2;
    take.bodyTracks = std::make_shared<Tracks>();
    const auto track = std::make_shared<Track>(rigidBodyDataType);
    track->setFrameCount(6);
    for (int i = 0; i < 6; ++i) {
        std::vector<RigidBody> bodies(1);
        if (i != 4) {
            bodies[0].position = {1, 2, static_cast<float>(i)};
            bodies[0].rotation = {0, 0.6F, 0, 0.8F};
            bodies[0].state = MarkerState::Seen;
        }
        track->setFrame(i, std::make_shared<Frame>(Time(static_cast<unsigned>(i), 200),
                                                   rigidBodyDataType, RigidBodyFrame(bodies)));
    }
    take.bodyTracks->addTrack(track, 0);
    take.bodyTracks->setTimeLength(6);
    for (const C3dEncoding encoding :
         {C3dEncoding::IntelReal, C3dEncoding::DecReal, C3dEncoding::MipsReal}) {
        const std::string bytes = writtenAs(take, encoding);
        const C3dTake again = readStrictly(bytes);
        ASSERT_EQ(again.bodyTracks->timeLength(), 6);
        EXPECT_EQ(again.bodies[0].name, "pelvis");
        const auto bodyAt = [&again](int i) {
            return again.bodyTracks->getFrame(i, rigidBodyDataType)->dataAs<RigidBodyFrame>()[0];
        };
        EXPECT_EQ(bodyAt(5).position.z, 5);
        EXPECT_NEAR(bodyAt(5).rotation.y, 0.6, 1e-6);
        EXPECT_NEAR(bodyAt(5).rotation.w, 0.8, 1e-6);
        EXPECT_FALSE(bodyAt(4).hasPosition());
        EXPECT_EQ(written(again), bytes);
    }
}

void expectRefused(const C3dTake& take) {
    std::ostringstream stream;
    EXPECT_THROW(writeC3d(take, stream), std::invalid_argument);
    EXPECT_EQ(stream.str(), "");
}

TEST(C3dWriter, RefusesWhatCannotBeWrittenBeforeItStarts) {
    C3dTake take = madeTake(3);
    take.tracks.reset();
    expectRefused(take);
    take = madeTake(3);
    take.rate = 0;
    expectRefused(take);
    take = madeTake(3);
    take.markers.pop_back();
    expectRefused(take);
    take = madeTake(3);
    take.tracks->setTimeLength(4);
    expectRefused(take);
    take = madeTake(3);
    take.tracks->setFrame(1, markerDataType, std::make_shared<Frame>(Time(), markerDataType, 7));
    expectRefused(take);
    take = madeTake(3);
    take.channels.emplace_back();
    expectRefused(take);
    take = madeTake(3);
    take.bodies.emplace_back();
    expectRefused(take);
    take = madeTake(3);
    take.markers[0].name = std::string(256, 'x');
    expectRefused(take);
    take = madeTake(3);
    take.events.push_back({"Strike", "", "", 1, true, true});
    expectRefused(take);
    take = madeTake(3);
    for (int i = 0; i < 700; ++i) {
        take.parameters.set("NOTES", C3dParameter::text(std::to_string(i), std::string(255, 'x')));
    }
    expectRefused(take);
}

TEST(C3dWriter, LeavesAStreamThatFailsInThatState) {
    std::ostringstream stream;
    stream.setstate(std::ios::badbit);
    writeC3d(madeTake(3), stream);
    EXPECT_TRUE(stream.bad());
}

TEST(C3dThreads, ReadAndWriteOneTakeAtATime) {
    const std::string bytes = fullFile().bytes();
    const C3dTake take = readBytes(bytes);
    std::vector<std::string> results(4);
    std::vector<std::thread> threads;
    threads.reserve(results.size());
    for (std::string& result : results) {
        threads.emplace_back([&] {
            const C3dTake own = readBytes(bytes);
            result = written(own) + written(take);
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (const std::string& result : results) {
        EXPECT_TRUE(result == bytes + bytes);
    }
}

} // namespace
} // namespace tarn::kit
