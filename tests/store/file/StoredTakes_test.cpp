// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_store/file/StoredTakes.h>

#include "support/Samples.h"
#include "support/TemporaryDirectory.h"

#include <tarn_kit/body/Analog.h>
#include <tarn_kit/body/RigidBodies.h>
#include <tarn_kit/files/Bvh.h>
#include <tarn_kit/files/C3d.h>
#include <tarn_kit/session/TakeOf.h>
#include <tarn_store/recording/TakeRecorder.h>

#include <gtest/gtest.h>

#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace tarn::store {
namespace {

using tarn::testing::TemporaryDirectory;

struct Part {
    int dataType;
    TrackDescription description;
    std::shared_ptr<Tracks> take;
    std::set<int> lost;
};

/// Frame indexes begin at 1000, wherever the take's begin.
void record(const std::string& file, const std::vector<Part>& parts) {
    RecorderOptions options;
    options.whenFull = WhenFull::Wait;
    TakeRecorder recorder(file, options);
    std::vector<tsignal::Signal<std::shared_ptr<Frame>>> ports(parts.size());
    for (std::size_t i = 0; i < parts.size(); ++i) {
        recorder.tieToIFramePort(recorder.addTrack(parts[i].dataType, parts[i].description),
                                 ports[i]);
    }
    recorder.start();
    for (std::size_t i = 0; i < parts.size(); ++i) {
        for (int k = 0; k < parts[i].take->timeLength(); ++k) {
            if (parts[i].lost.count(k) == 0) {
                auto frame =
                    std::make_shared<Frame>(*parts[i].take->getFrame(k, parts[i].dataType));
                frame->setTime(Time(1000 + static_cast<unsigned>(k), frame->time().fps()));
                ports[i].emit(frame);
            }
        }
    }
    recorder.end();
}

std::string bvhOf(const kit::BvhTake& take) {
    std::ostringstream text;
    kit::writeBvh(take, text);
    return text.str();
}

Part body(const kit::BvhTake& take, const std::string& subject, std::set<int> lost = {}) {
    return {kit::poseDataType, TrackDescription::of(take, subject), take.tracks, std::move(lost)};
}

TEST(StoredTakes, GiveBackTheBodyThatWasRecorded) {
    const TemporaryDirectory directory;
    const auto take = kit::readBvh(tarn::testing::samplePath("cmu_131_01_walk.bvh"));
    record(directory / "take.tarn", {body(take, "Ada")});
    EXPECT_TRUE(isTakeFile(directory / "take.tarn"));
    TakeReader reader(directory / "take.tarn");
    EXPECT_FALSE(holdsMarkersOnly(reader));
    const auto again = bodyTakeOf(reader);
    EXPECT_EQ(again.exactRate(), take.exactRate());
    kit::BvhTake same = again;
    same.frameTime = take.frameTime;
    EXPECT_EQ(bvhOf(same), bvhOf(take));
    EXPECT_EQ(again.tracks->getFrame(3, kit::poseDataType)->time(),
              take.tracks->getFrame(3, kit::poseDataType)->time());
}

TEST(StoredTakes, HoldThePoseBeforeOneThatWasLost) {
    const TemporaryDirectory directory;
    const auto take = kit::readBvh(tarn::testing::samplePath("cmu_131_01_walk.bvh"));
    record(directory / "take.tarn", {body(take, "Ada", {5, 6})});
    TakeReader reader(directory / "take.tarn");
    const auto again = bodyTakeOf(reader);
    ASSERT_EQ(again.tracks->timeLength(), take.tracks->timeLength());
    const auto values = [](const kit::BvhTake& of, int index) {
        return of.tracks->getFrame(index, kit::poseDataType)->dataAs<kit::Pose>().values;
    };
    EXPECT_EQ(values(again, 6), values(take, 4));
    EXPECT_EQ(values(again, 7), values(take, 7));
    EXPECT_EQ(again.tracks->getFrame(6, kit::poseDataType)->time().frameIndex(), 6U);
}

TEST(StoredTakes, AreToldByTheirSubjects) {
    const TemporaryDirectory directory;
    const auto take = kit::readBvh(tarn::testing::samplePath("cmu_131_01_walk.bvh"));
    record(directory / "take.tarn", {body(take, "Ada"), body(take, "Bo")});
    TakeReader reader(directory / "take.tarn");
    EXPECT_EQ(bodiesIn(reader), (std::vector<std::string>{"Ada", "Bo"}));
    EXPECT_EQ(bodyTakeOf(reader, "Bo").tracks->tracksName(), "Bo");
    try {
        bodyTakeOf(reader);
        FAIL();
    } catch (const StoreError& error) {
        EXPECT_EQ(error.reason(), "holds several bodies: Ada, Bo");
    }
    EXPECT_THROW(bodyTakeOf(reader, "Cy"), StoreError);
    EXPECT_THROW(markerTakeOf(reader), StoreError);
}

TEST(StoredTakes, GiveBackTheMarkersThatWereRecorded) {
    const TemporaryDirectory directory;
    const auto take = kit::readC3d(tarn::testing::samplePath("cmu_85_02.c3d"));
    record(directory / "take.tarn",
           {{kit::markerDataType, TrackDescription::of(take, ""), take.tracks, {2}}});
    TakeReader reader(directory / "take.tarn");
    EXPECT_TRUE(holdsMarkersOnly(reader));
    const auto again = markerTakeOf(reader);
    EXPECT_EQ(again.rate, take.rate);
    EXPECT_EQ(again.unit, take.unit);
    EXPECT_EQ(again.metresPerUnit, take.metresPerUnit);
    ASSERT_EQ(again.markers.size(), take.markers.size());
    EXPECT_EQ(again.markers[1].label(), take.markers[1].label());
    ASSERT_EQ(again.frameCount, take.frameCount);
    const auto marker = [](const kit::C3dTake& of, int frame) {
        return of.tracks->getFrame(frame, kit::markerDataType)->dataAs<kit::MarkerFrame>()[0];
    };
    EXPECT_EQ(marker(again, 1).position.x, marker(take, 1).position.x);
    EXPECT_FALSE(marker(again, 2).hasPosition());
}

/// Two frames of one marker each second, four samples and a rigid body with each.
kit::C3dTake smallTake(int frames) {
    kit::C3dTake take;
    take.markers = {{"Ada", "LFHD", "left front head"}};
    take.frameCount = frames;
    take.firstFrame = 11;
    take.rate = 119.88;
    take.unit = "mm";
    take.metresPerUnit = 0.001;
    take.channels = {{"Fx", "plate", "N"}};
    take.samplesPerFrame = 4;
    take.bodies = {{"box", "a box"}};
    take.bodiesPerFrame = 1;
    take.events = {{"Foot Off", "Left", "Ada", 0.1, false, true}, {"LABL", "", "", 2, true, false}};
    std::vector<std::shared_ptr<Frame>> markers;
    std::vector<std::shared_ptr<Frame>> samples;
    std::vector<std::shared_ptr<Frame>> bodies;
    for (int i = 0; i < frames; ++i) {
        kit::Marker marker;
        marker.position = {static_cast<float>(i), 1, 2};
        marker.residual = 0;
        markers.push_back(std::make_shared<Frame>(Time(static_cast<unsigned>(i), 120),
                                                  kit::markerDataType, kit::MarkerFrame({marker})));
        for (int k = 4 * i; k < 4 * i + 4; ++k) {
            samples.push_back(std::make_shared<Frame>(Time(static_cast<unsigned>(k), 480),
                                                      kit::analogDataType,
                                                      kit::AnalogFrame({static_cast<float>(k)})));
        }
        kit::RigidBody body;
        body.residual = static_cast<float>(i);
        bodies.push_back(std::make_shared<Frame>(Time(static_cast<unsigned>(i), 120),
                                                 kit::rigidBodyDataType,
                                                 kit::RigidBodyFrame({body})));
    }
    take.tracks = kit::takeOf(kit::markerDataType, std::move(markers), 120);
    take.analogTracks = kit::takeOf(kit::analogDataType, std::move(samples), 480);
    take.bodyTracks = kit::takeOf(kit::rigidBodyDataType, std::move(bodies), 120);
    return take;
}

/// Frame indexes begin where the take's do.
void recordAll(const std::string& file, const kit::C3dTake& take, const std::string& subject,
               int first) {
    RecorderOptions options;
    options.whenFull = WhenFull::Wait;
    TakeRecorder recorder(file, options);
    tsignal::Signal<std::shared_ptr<Frame>> markers;
    tsignal::Signal<std::shared_ptr<Frame>> samples;
    tsignal::Signal<std::shared_ptr<Frame>> bodies;
    recorder.tieToIFramePort(recorder.addTrack(kit::markerDataType, describeMarkers(take, subject)),
                             markers);
    recorder.tieToIFramePort(
        recorder.addTrack(kit::analogDataType, describeChannels(take, subject)), samples);
    recorder.tieToIFramePort(
        recorder.addTrack(kit::rigidBodyDataType, describeRigidBodies(take, subject)), bodies);
    for (const Note& note : eventNotes(take, subject)) {
        recorder.addNote(note);
    }
    recorder.start();
    for (int i = first; i < take.frameCount; ++i) {
        markers.emit(take.tracks->getFrame(i, kit::markerDataType));
        bodies.emit(take.bodyTracks->getFrame(i, kit::rigidBodyDataType));
        for (int k = 4 * i; k < 4 * i + 4; ++k) {
            if (k % 10 != 9) { // some samples are lost
                samples.emit(take.analogTracks->getFrame(k, kit::analogDataType));
            }
        }
    }
    recorder.end();
}

TEST(StoredTakes, AreKnownByTheirDescriptionBeforeTheirFramesCome) {
    const auto take = smallTake(3);
    const auto again = markerTakeOf(describeMarkers(take, "walk"));
    ASSERT_EQ(again.markers.size(), take.markers.size());
    EXPECT_EQ(again.markers.back().name, take.markers.back().name);
    EXPECT_EQ(again.markers.back().subject, take.markers.back().subject);
    EXPECT_EQ(again.firstFrame, 11);
    EXPECT_EQ(again.rate, 119.88) << "as stated, not as meant";
    EXPECT_EQ(again.unit, take.unit);
    EXPECT_EQ(again.metresPerUnit, take.metresPerUnit);
    EXPECT_EQ(again.frameCount, 0);
    EXPECT_EQ(again.tracks, nullptr);
}

TEST(StoredTakes, GiveBackWhatCameWithTheMarkers) {
    const TemporaryDirectory directory;
    const auto take = smallTake(30);
    recordAll(directory / "take.tarn", take, "walk", 5);
    TakeReader reader(directory / "take.tarn");
    EXPECT_EQ(markersIn(reader), std::vector<std::string>{"walk"});
    EXPECT_THROW(markerTakeOf(reader, "run"), StoreError);
    const auto again = markerTakeOf(reader, "walk");
    EXPECT_EQ(again.frameCount, 25);
    EXPECT_EQ(again.firstFrame, 16) << "the sixth frame of a take that begins at 11";
    EXPECT_EQ(again.rate, 119.88) << "as stated, not as meant";
    EXPECT_EQ(again.samplesPerFrame, 4);
    EXPECT_EQ(again.channels.at(0).unit, "N");
    EXPECT_EQ(again.channels.at(0).description, "plate");
    EXPECT_EQ(again.bodies.at(0).description, "a box");
    const auto sample = [&again](int index) {
        return again.analogTracks->getFrame(index, kit::analogDataType)
            ->dataAs<kit::AnalogFrame>()[0];
    };
    ASSERT_EQ(again.analogTracks->timeLength(), 100);
    EXPECT_EQ(sample(0), 20);
    EXPECT_EQ(sample(8), 28);
    EXPECT_EQ(sample(9), 28) << "29 was lost";
    EXPECT_EQ(sample(10), 30);
    EXPECT_EQ(sample(99), 118) << "so was the last one";
    ASSERT_EQ(again.bodyTracks->timeLength(), 25);
    EXPECT_EQ(again.bodyTracks->getFrame(3, kit::rigidBodyDataType)
                  ->dataAs<kit::RigidBodyFrame>()[0]
                  .residual,
              8);
    ASSERT_EQ(again.events.size(), 2U);
    EXPECT_EQ(again.events[0].label, "Foot Off");
    EXPECT_EQ(again.events[0].context, "Left");
    EXPECT_EQ(again.events[0].subject, "Ada");
    EXPECT_EQ(again.events[0].time, 0.1);
    EXPECT_TRUE(again.events[1].inHeader);
    EXPECT_FALSE(again.events[1].shown);
    EXPECT_EQ(reader.notes()[0].frame, 1)
        << "0.1 s are in number 12, and number 11 has the index 0";
}

TEST(StoredTakes, HaveEachTheirOwnEvents) {
    const TemporaryDirectory directory;
    kit::C3dTake walk = smallTake(3);
    kit::C3dTake run = smallTake(3);
    run.events = {{"Foot Strike", "Right", "Bo", 0.25, false, true}};
    Note nobodys;
    nobodys.kind = "event";
    nobodys.text = "0.5";
    const auto eventsIn = [](TakeReader& reader, const std::string& subject) {
        std::vector<std::string> labels;
        for (const kit::C3dEvent& event : markerTakeOf(reader, subject).events) {
            labels.push_back(event.context + " " + event.label + " " + std::to_string(event.time));
        }
        return labels;
    };
    {
        TakeRecorder recorder(directory / "both.tarn");
        for (const auto& [take, subject] : {std::pair(&walk, "walk of Ada"), {&run, "run"}}) {
            recorder.addTrack(kit::markerDataType, describeMarkers(*take, subject));
            for (const Note& note : eventNotes(*take, subject)) {
                recorder.addNote(note);
            }
        }
        recorder.addNote(nobodys);
        recorder.end();
    }
    TakeReader both(directory / "both.tarn");
    EXPECT_EQ(eventsIn(both, "walk of Ada"),
              (std::vector<std::string>{"Left Foot Off 0.100000", " LABL 2.000000"}));
    EXPECT_EQ(eventsIn(both, "run"), std::vector<std::string>{"Right Foot Strike 0.250000"});
    EXPECT_EQ(eventsIn(both, ""), eventsIn(both, "walk of Ada")) << "the first";
    {
        TakeRecorder recorder(directory / "one.tarn");
        recorder.addTrack(kit::markerDataType, describeMarkers(run, "run"));
        recorder.addNote(nobodys);
        recorder.end();
    }
    TakeReader one(directory / "one.tarn");
    EXPECT_EQ(eventsIn(one, "run"), std::vector<std::string>{"  0.500000"});
}

TEST(StoredTakes, AreNotOtherFiles) {
    const TemporaryDirectory directory;
    tarn::testing::writeFile(directory / "text", "SQLite");
    EXPECT_FALSE(isTakeFile(directory / "text"));
    EXPECT_FALSE(isTakeFile(directory / "none"));
    EXPECT_FALSE(isTakeFile(directory.path()));
}

} // namespace
} // namespace tarn::store
