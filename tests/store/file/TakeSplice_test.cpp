// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_store/file/TakeSplice.h>

#include "store/RandomTakes.h"
#include "support/TemporaryDirectory.h"

#include <tarn/Actor.h>
#include <tarn/Character.h>
#include <tarn/Scene.h>
#include <tarn_kit/body/Markers.h>
#include <tarn_kit/files/C3d.h>
#include <tarn_store/file/StoredTakes.h>
#include <tarn_store/file/TakeCheck.h>
#include <tarn_store/file/TakeReader.h>
#include <tarn_store/file/TakeWriter.h>
#include <tarn_store/recording/TakeRecorder.h>

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace tarn::store {
namespace {

using tarn::testing::expectEqual;
using tarn::testing::TemporaryDirectory;

/// Records `count` frames from a frame index on, all but those that are multiples of 10, and
/// samples at ten times the rate.
void record(const std::string& file, unsigned first, unsigned count, int rate = 60,
            const TrackDescription& about = {}) {
    tsignal::Signal<std::shared_ptr<Frame>> poses;
    tsignal::Signal<std::shared_ptr<Frame>> samples;
    RecorderOptions options;
    const auto codecs = std::make_shared<kit::Codecs>();
    codecs->add<int>(
        "studio.number", 3, [](int number, kit::PayloadWriter& to) { to.put(number); },
        [](kit::PayloadReader& from, std::uint32_t) { return from.get<int>(); });
    options.codecs = codecs;
    TakeRecorder recorder(file, options);
    TrackDescription description = about;
    description.subject = "Ada";
    description.rate = kit::Rate(rate);
    recorder.tieToIFramePort(recorder.addTrack(kit::poseDataType, description), poses);
    description.rate = kit::Rate(10 * rate);
    recorder.tieToIFramePort(recorder.addTrack(20, description), samples);
    recorder.start();
    const auto fps = static_cast<unsigned>(rate);
    for (unsigned i = first; i < first + count; ++i) {
        if (i % 10 != 0 || i == first) {
            poses.emit(std::make_shared<Frame>(Time(i, fps), kit::poseDataType,
                                               kit::Pose{{static_cast<float>(i)}}));
        }
        for (unsigned k = 10 * i; k < 10 * i + 10; ++k) {
            samples.emit(std::make_shared<Frame>(Time(k, 10 * fps), 20, static_cast<int>(k)));
        }
    }
    recorder.end();
}

TEST(TakeSplice, CutsExactlyByFrame) {
    const TemporaryDirectory directory;
    record(directory / "take.tarn", 500, 200);
    cutTakeFile(directory / "take.tarn", 30, 99, directory / "cut.tarn");
    EXPECT_TRUE(checkTakeFile(directory / "cut.tarn").isWhole);
    TakeReader reader(directory / "cut.tarn");
    const auto whole = TakeReader(directory / "take.tarn").load();
    const auto cut = reader.load();
    EXPECT_EQ(cut->timeLength(), 70);
    EXPECT_EQ(cut->workRangeEnd(), 69);
    EXPECT_EQ(cut->getFrame(0, kit::poseDataType), nullptr) << "530 was never there";
    for (int i = 0; i < 70; ++i) {
        expectEqual(cut->getFrame(i, kit::poseDataType),
                    whole->getFrame(30 + i, kit::poseDataType));
    }
    ASSERT_EQ(cut->subTracksCount(), 1);
    EXPECT_EQ(cut->subTracks(0)->timeLength(), 700) << "cut at the same moments";
    for (int i = 0; i < 700; ++i) {
        expectEqual(cut->subTracks(0)->getFrame(i, 20), whole->subTracks(0)->getFrame(300 + i, 20));
    }
    EXPECT_EQ(reader.tracks()[0].description.subject, "Ada");
    EXPECT_EQ(cut->subTracks(0)->getFrame(0, 20)->dataAs<kit::EncodedPayload>().codec.version, 3U)
        << "a codec that is not known goes over as it is";
}

TEST(TakeSplice, JoinsCutsToWhatTheyWere) {
    const TemporaryDirectory directory;
    record(directory / "take.tarn", 500, 200);
    cutTakeFile(directory / "take.tarn", 0, 80, directory / "a.tarn");
    cutTakeFile(directory / "take.tarn", 81, 81, directory / "b.tarn");
    cutTakeFile(directory / "take.tarn", 82, 199, directory / "c.tarn");
    joinTakeFiles({directory / "a.tarn", directory / "b.tarn", directory / "c.tarn"},
                  directory / "joined.tarn");
    EXPECT_TRUE(checkTakeFile(directory / "joined.tarn").isWhole);
    const auto whole = TakeReader(directory / "take.tarn").load();
    const auto joined = TakeReader(directory / "joined.tarn").load();
    EXPECT_EQ(joined->timeLength(), whole->timeLength());
    expectEqual(*joined->getTrack(0), *whole->getTrack(0));
    expectEqual(*joined->subTracks(0)->getTrack(0), *whole->subTracks(0)->getTrack(0));
}

TEST(TakeSplice, CountsTimesOnWhereTheyWouldGoBack) {
    const TemporaryDirectory directory;
    record(directory / "a.tarn", 0, 20);
    record(directory / "b.tarn", 5, 20);
    joinTakeFiles({directory / "a.tarn", directory / "b.tarn"}, directory / "joined.tarn");
    const auto joined = TakeReader(directory / "joined.tarn").load();
    EXPECT_EQ(joined->timeLength(), 40);
    EXPECT_EQ(joined->getFrame(19, kit::poseDataType)->time(), Time(19, 60));
    EXPECT_EQ(joined->getFrame(20, kit::poseDataType)->time(), Time(20, 60));
    EXPECT_EQ(joined->getFrame(20, kit::poseDataType)->dataAs<kit::Pose>().values[0], 5);
    EXPECT_EQ(joined->getFrame(39, kit::poseDataType)->time(), Time(39, 60));
}

TEST(TakeSplice, RefusesWhatDoesNotFit) {
    const TemporaryDirectory directory;
    record(directory / "a.tarn", 0, 20);
    record(directory / "b.tarn", 0, 20, 50);
    EXPECT_THROW(
        joinTakeFiles({directory / "a.tarn", directory / "b.tarn"}, directory / "out.tarn"),
        StoreError);
    for (const auto& [first, last] : {std::pair(0, 20), std::pair(-1, 3), std::pair(4, 3)}) {
        EXPECT_THROW(cutTakeFile(directory / "a.tarn", first, last, directory / "out.tarn"),
                     StoreError);
    }
    EXPECT_EQ(directory.names(), (std::vector<std::string>{"a.tarn", "b.tarn"}));
}

TEST(TakeSplice, JoinsOnlyWhatMeansTheSame) {
    const TemporaryDirectory directory;
    const auto about = [](float length, const std::string& label) {
        auto rig = std::make_shared<kit::Rig>();
        rig->addJoint("Hips", -1, {0, length, 0}, {kit::Channel::Xposition});
        TrackDescription description;
        description.rig = rig;
        description.labels = {{"", label, "", ""}};
        return description;
    };
    record(directory / "a.tarn", 0, 20, 60, about(1, "x"));
    record(directory / "same.tarn", 20, 20, 60, about(1, "x"));
    record(directory / "longer.tarn", 20, 20, 60, about(2, "x"));
    record(directory / "other.tarn", 20, 20, 60, about(1, "y"));
    record(directory / "bare.tarn", 20, 20, 60);
    const auto join = [&](const std::string& second) {
        joinTakeFiles({directory / "a.tarn", directory / second}, directory / "out.tarn");
    };
    for (const char* const second : {"longer.tarn", "other.tarn", "bare.tarn"}) {
        EXPECT_THROW(join(second), StoreError) << second;
    }
    join("same.tarn");
    EXPECT_EQ(TakeReader(directory / "out.tarn").length(), 40);
}

TEST(TakeSplice, KeepsWhoRecordedAndWhatWasLost) {
    const TemporaryDirectory directory;
    const auto write = [&](const std::string& name, const std::string& program, unsigned first) {
        auto take = std::make_shared<Tracks>();
        auto track = std::make_shared<Track>(kit::poseDataType);
        track->setFrameCount(20);
        for (unsigned i = 0; i < 20; ++i) {
            if (i != 5 && i != 6 && i != 12) {
                track->setFrame(static_cast<int>(i),
                                std::make_shared<Frame>(Time(first + i, 60), kit::poseDataType,
                                                        kit::Pose{{1}}));
            }
        }
        take->setTimeLength(20);
        take->addTrack(track, 0);
        TakeWriter writer(directory / name, program);
        writer.write(take);
        writer.addLoss({1, first + 5, first + 6, 2, "no room"});
        writer.addLoss({1, first + 12, first + 12, 1, "no codec"});
        writer.commit();
    };
    write("a.tarn", "studio 1", 100);
    write("b.tarn", "studio 2", 100); // its times go back
    const TakeFileFacts facts = TakeReader(directory / "a.tarn").facts();

    cutTakeFile(directory / "a.tarn", 6, 9, directory / "cut.tarn");
    TakeReader cut(directory / "cut.tarn");
    ASSERT_EQ(cut.losses().size(), 1U);
    EXPECT_EQ(cut.losses()[0].first, 106);
    EXPECT_EQ(cut.losses()[0].last, 106);
    EXPECT_EQ(cut.losses()[0].count, 1);
    EXPECT_EQ(cut.losses()[0].reason, "no room");
    EXPECT_EQ(cut.facts().program, "studio 1");
    EXPECT_EQ(cut.facts().startedUtc, facts.startedUtc);
    EXPECT_EQ(cut.facts().startedClock, facts.startedClock);
    EXPECT_EQ(cut.facts().endedUtc, facts.endedUtc);

    joinTakeFiles({directory / "a.tarn", directory / "b.tarn"}, directory / "joined.tarn");
    TakeReader joined(directory / "joined.tarn");
    EXPECT_EQ(joined.facts().program, "studio 1");
    EXPECT_EQ(joined.tracks()[0].lost, 6);
    ASSERT_EQ(joined.losses().size(), 4U);
    EXPECT_EQ(joined.losses()[2].first, 125) << "counted on, as the times are";
    EXPECT_EQ(checkTakeFile(directory / "joined.tarn").line,
              "whole: 1 track, 34 frames, 6 lost while it was recorded");
}

TEST(TakeSplice, CutsAndJoinsAndRecoversPayloadsOfUnknownCodecs) {
    const TemporaryDirectory directory;
    record(directory / "take.tarn", 0, 20);
    cutTakeFile(directory / "take.tarn", 0, 9, directory / "a.tarn");
    cutTakeFile(directory / "take.tarn", 10, 19, directory / "b.tarn");
    joinTakeFiles({directory / "a.tarn", directory / "b.tarn"}, directory / "joined.tarn");
    recoverTakeFile(directory / "joined.tarn", directory / "out.tarn");
    const auto take = TakeReader(directory / "out.tarn").load();
    for (int k = 0; k < 200; ++k) {
        const auto& payload = take->subTracks(0)->getFrame(k, 20)->dataAs<kit::EncodedPayload>();
        EXPECT_EQ(payload.codec, (kit::CodecId{"studio.number", 3}));
        int number = -1;
        ASSERT_EQ(payload.bytes.size(), sizeof number);
        std::memcpy(&number, payload.bytes.data(), sizeof number);
        EXPECT_EQ(number, k);
    }
}

TEST(TakeSplice, KeepsNotesOfARecordingAtTheirFrames) {
    const TemporaryDirectory directory;
    {
        tsignal::Signal<std::shared_ptr<Frame>> port;
        TakeRecorder recorder(directory / "take.tarn");
        recorder.tieToIFramePort(recorder.addTrack(kit::poseDataType, {}), port);
        recorder.start();
        for (unsigned i = 500; i < 520; ++i) {
            port.emit(std::make_shared<Frame>(Time(i, 60), kit::poseDataType, kit::Pose{{1}}));
        }
        recorder.addNote({"note", 507, "", "", "", "in", ""});
        recorder.addNote({"note", 512, "", "", "", "out", ""});
        recorder.end();
    }
    cutTakeFile(directory / "take.tarn", 5, 9, directory / "cut.tarn");
    const auto notes = TakeReader(directory / "cut.tarn").notes();
    ASSERT_EQ(notes.size(), 1U);
    EXPECT_EQ(notes[0].text, "in");
    EXPECT_EQ(notes[0].frame, 2);
}

TEST(TakeSplice, KeepsNotesAtTheirFrames) {
    const TemporaryDirectory directory;
    record(directory / "a.tarn", 0, 20);
    noteInTakeFile(directory / "a.tarn", "x'); DROP TABLE note; --");
    cutTakeFile(directory / "a.tarn", 5, 9, directory / "cut.tarn");
    TakeReader reader(directory / "cut.tarn");
    ASSERT_EQ(reader.notes().size(), 1U);
    EXPECT_EQ(reader.notes()[0].text, "x'); DROP TABLE note; --");
    EXPECT_TRUE(checkTakeFile(directory / "a.tarn").isWhole);
}

/// A recording of three frames with a scene in which there is one character.
void recordWith(const std::string& file, const std::string& name, const std::string& clock) {
    Actor actor;
    actor.setActorName(name);
    Character character(name, name);
    character.setActor(&actor);
    Scene scene;
    scene.setDescription("with " + name);
    scene.addCharacter(&character);
    scene.setCurrentCharacter(&character);
    tsignal::Signal<std::shared_ptr<Frame>> poses;
    TakeRecorder recorder(file);
    TrackDescription description;
    description.rate = kit::Rate(60);
    recorder.tieToIFramePort(recorder.addTrack(kit::poseDataType, description), poses);
    recorder.addScene(scene);
    recorder.addNote(clockNote(clock, std::chrono::seconds(1), 0));
    recorder.start();
    for (unsigned i = 0; i < 3; ++i) {
        poses.emit(std::make_shared<Frame>(Time(i, 60), kit::poseDataType, kit::Pose{{1}}));
    }
    recorder.end();
    scene.removeCharacter(&character);
    character.setActor(nullptr);
}

/// "with Ada: Ada Bo", and an asterisk behind who is current.
std::string sceneIn(const std::string& file) {
    TakeReader reader(file);
    const StoredScene stored = reader.loadScene(SceneParts::WithoutTakes);
    std::string text = stored.scene().description() + ":";
    for (Character* const character : stored.scene().characters()) {
        text += " " + character->actor()->actorName();
        text += character == stored.scene().currentCharacter() ? "*" : "";
    }
    return text;
}

TEST(TakeSplice, KeepsCharactersAndActors) {
    const TemporaryDirectory directory;
    recordWith(directory / "ada.tarn", "Ada", "leader");
    recordWith(directory / "bo.tarn", "Bo", "leader");
    recordWith(directory / "cy.tarn", "Cy", "another");
    const std::string out = directory / "out.tarn";
    cutTakeFile(directory / "ada.tarn", 1, 2, out);
    EXPECT_EQ(sceneIn(out), "with Ada: Ada*");
    joinTakeFiles({directory / "ada.tarn", directory / "cy.tarn"}, out);
    EXPECT_EQ(sceneIn(out), "with Ada: Ada*") << "one after the other";
    joinTakeFiles({directory / "ada.tarn", directory / "bo.tarn"}, out);
    EXPECT_EQ(sceneIn(out), "with Ada: Ada* Bo") << "side by side";
    EXPECT_TRUE(checkTakeFile(out).isWhole);
}

/// Records frames, of which the first was captured then, by the clock of who led.
void recordAt(const std::string& file, unsigned first, unsigned count, std::chrono::nanoseconds at,
              const std::string& clock = "leader 1, take 2", int rate = 60) {
    tsignal::Signal<std::shared_ptr<Frame>> poses;
    TakeRecorder recorder(file);
    TrackDescription description;
    description.subject = file.substr(file.rfind('/') + 1);
    description.rate = kit::Rate(rate);
    recorder.tieToIFramePort(recorder.addTrack(kit::poseDataType, description), poses);
    recorder.start();
    for (unsigned i = first; i < first + count; ++i) {
        poses.emit(std::make_shared<Frame>(Time(i, static_cast<unsigned>(rate)), kit::poseDataType,
                                           kit::Pose{{static_cast<float>(i)}}));
    }
    recorder.addNote(clockNote(clock, at, first));
    recorder.end();
}

TEST(TakeSplice, JoinsFilesOfOneClockSideBySide) {
    const TemporaryDirectory directory;
    // Half a second, and less than half a frame, after the first.
    recordAt(directory / "late.tarn", 7, 50, std::chrono::milliseconds(10'507));
    recordAt(directory / "early.tarn", 1000, 40, std::chrono::seconds(10));
    joinTakeFiles({directory / "late.tarn", directory / "early.tarn"}, directory / "both.tarn");
    EXPECT_TRUE(checkTakeFile(directory / "both.tarn").isWhole);
    TakeReader reader(directory / "both.tarn");
    EXPECT_EQ(reader.length(), 80);
    const auto take = reader.load();
    ASSERT_EQ(take->subTracksCount(), 2);
    EXPECT_EQ(take->timeLength(), 80);
    take->setCurrentTime(39);
    const auto late = take->subTracks(0);
    const auto early = take->subTracks(1);
    EXPECT_EQ(late->currentTime(), 9);
    EXPECT_EQ(early->currentTime(), 39);
    EXPECT_EQ(late->getFrame(9, kit::poseDataType)->dataAs<kit::Pose>().values[0], 16.0F);
    EXPECT_EQ(early->getFrame(39, kit::poseDataType)->dataAs<kit::Pose>().values[0], 1039.0F);
    ASSERT_EQ(reader.notes().size(), 2U);
    EXPECT_EQ(reader.notes()[0].frame, 30) << "where it is on the one timeline";
    EXPECT_EQ(reader.notes()[1].frame, 0);
    EXPECT_EQ(reader.tracks()[0].description.subject, "late.tarn");

    // What was joined can be cut, and keeps its timeline.
    cutTakeFile(directory / "both.tarn", 20, 69, directory / "cut.tarn");
    TakeReader cut(directory / "cut.tarn");
    const auto part = cut.load();
    EXPECT_EQ(part->subTracks(0)->getFrame(9, kit::poseDataType), nullptr);
    EXPECT_EQ(part->subTracks(0)->getFrame(10, kit::poseDataType)->dataAs<kit::Pose>().values[0],
              7.0F);
    EXPECT_EQ(part->subTracks(1)->getFrame(0, kit::poseDataType)->dataAs<kit::Pose>().values[0],
              1020.0F);
}

TEST(TakeSplice, KeepsEventsApartOfTakesThatItPutsSideBySide) {
    const TemporaryDirectory directory;
    kit::C3dTake take;
    take.markers = {{"", "LFHD", ""}};
    take.rate = 60;
    std::vector<std::filesystem::path> files;
    for (const std::string name : {"a", "b"}) {
        take.events = {{"Foot Off " + name, "", "", 0.5, false, true}};
        files.emplace_back(directory / (name + ".tarn"));
        TakeRecorder recorder(files.back());
        tsignal::Signal<std::shared_ptr<Frame>> port;
        recorder.tieToIFramePort(
            recorder.addTrack(kit::markerDataType, describeMarkers(take, name)), port);
        Note event = eventNotes(take, name).at(0);
        event.text = "0.5"; // goes without saying in a file of one take
        recorder.addNote(event);
        recorder.addNote(clockNote("leader", std::chrono::seconds(1), 0));
        recorder.start();
        for (unsigned i = 0; i < 60; ++i) {
            port.emit(std::make_shared<Frame>(Time(i, 60), kit::markerDataType,
                                              kit::MarkerFrame(std::vector<kit::Marker>(1))));
        }
        recorder.end();
    }
    joinTakeFiles(files, directory / "both.tarn");
    TakeReader reader(directory / "both.tarn");
    for (const std::string name : {"a", "b"}) {
        const auto events = markerTakeOf(reader, name).events;
        ASSERT_EQ(events.size(), 1U) << name;
        EXPECT_EQ(events[0].label, "Foot Off " + name);
        EXPECT_EQ(events[0].time, 0.5);
    }
}

/// A take of markers, of which each is as far along x as its frame is from the first, with two
/// events in each frame.
void recordEvents(const std::string& file, const std::string& subject, double rate,
                  std::int64_t firstFrame, int count) {
    kit::C3dTake take;
    take.markers = {{"", "LFHD", ""}};
    take.rate = rate;
    take.firstFrame = firstFrame;
    for (int frame = 0; frame < count; ++frame) {
        const auto number = static_cast<double>(firstFrame + frame - 1);
        take.events.push_back({std::to_string(frame), "", "", number / rate, false, true});
        take.events.push_back({std::to_string(frame), "", "", (number + 0.75) / rate, true, true});
    }
    TakeRecorder recorder(file);
    tsignal::Signal<std::shared_ptr<Frame>> port;
    recorder.tieToIFramePort(recorder.addTrack(kit::markerDataType, describeMarkers(take, subject)),
                             port);
    for (const Note& event : eventNotes(take, subject)) {
        recorder.addNote(event);
    }
    recorder.start();
    const auto fps = static_cast<unsigned>(std::lround(rate));
    for (unsigned i = 0; i < static_cast<unsigned>(count); ++i) {
        port.emit(std::make_shared<Frame>(
            Time(i, fps), kit::markerDataType,
            kit::MarkerFrame({kit::Marker::at({static_cast<float>(i), 0, 0}, 0, 0)})));
    }
    recorder.end();
}

/// At which x the marker is in the frame of each event, and what the event is called.
std::vector<std::pair<int, std::string>> eventsIn(const std::string& file) {
    TakeReader reader(file);
    const kit::C3dTake take = markerTakeOf(reader);
    std::vector<std::pair<int, std::string>> events;
    for (const kit::C3dEvent& event : take.events) {
        const auto number = static_cast<std::int64_t>(std::floor(event.time * take.rate)) + 1;
        const auto frame =
            take.tracks->getFrame(static_cast<int>(number - take.firstFrame), kit::markerDataType);
        const bool isThere = frame != nullptr;
        events.emplace_back(
            isThere ? static_cast<int>(frame->dataAs<kit::MarkerFrame>()[0].position.x) : -1,
            event.label);
    }
    return events;
}

/// The events of a file that are from frame to frame.
std::vector<std::pair<int, std::string>> eventsIn(const std::string& file, int first, int last) {
    std::vector<std::pair<int, std::string>> events;
    for (const auto& event : eventsIn(file)) {
        if (event.first >= first && event.first <= last) {
            events.push_back(event);
        }
    }
    return events;
}

class TakeSpliceEvents : public ::testing::TestWithParam<double> {};

TEST_P(TakeSpliceEvents, StayAtTheirFramesWhereTheyAreCut) {
    const TemporaryDirectory directory;
    recordEvents(directory / "a.tarn", "walk", GetParam(), 201, 300);
    cutTakeFile(directory / "a.tarn", 21, 210, directory / "cut.tarn");
    const auto events = eventsIn(directory / "cut.tarn");
    EXPECT_EQ(events, eventsIn(directory / "a.tarn", 21, 210));
    EXPECT_EQ(events.size(), 2U * 190);
    cutTakeFile(directory / "cut.tarn", 7, 189, directory / "again.tarn");
    EXPECT_EQ(eventsIn(directory / "again.tarn"), eventsIn(directory / "a.tarn", 28, 210));
}

TEST_P(TakeSpliceEvents, GoWithTheirFramesWhereTakesAreJoined) {
    const TemporaryDirectory directory;
    recordEvents(directory / "a.tarn", "walk", GetParam(), 1, 300);
    recordEvents(directory / "b.tarn", "run", GetParam(), 501, 150);
    recordEvents(directory / "c.tarn", "jump", GetParam(), 1, 150);
    cutTakeFile(directory / "a.tarn", 0, 99, directory / "a1.tarn");
    cutTakeFile(directory / "a.tarn", 100, 299, directory / "a2.tarn");
    joinTakeFiles(
        {directory / "a1.tarn", directory / "a2.tarn", directory / "b.tarn", directory / "c.tarn"},
        directory / "joined.tarn");
    auto expected = eventsIn(directory / "a.tarn");
    for (const char* const file : {"b.tarn", "c.tarn"}) {
        for (const auto& event : eventsIn(directory / file)) {
            expected.push_back(event);
        }
    }
    EXPECT_EQ(eventsIn(directory / "joined.tarn"), expected);

    // And their notes, whose place is counted in frames of the file.
    TakeReader reader(directory / "joined.tarn");
    const auto notes = reader.notes();
    EXPECT_EQ(notes.back().frame, 599);
    EXPECT_EQ(reader.length(), 600);
}

// At rates that are not whole, hardly an event is where its frame begins in binary numbers.
INSTANTIATE_TEST_SUITE_P(Rates, TakeSpliceEvents,
                         ::testing::Values(60.0, 100.0, 60'000.0 / 1001, 24'000.0 / 1001));

TEST(TakeSplice, KeepsTheClockOfAFileThatIsCutFromOneOfSeveral) {
    const TemporaryDirectory directory;
    recordAt(directory / "a.tarn", 100, 200, std::chrono::seconds(10));
    recordAt(directory / "b.tarn", 0, 200, std::chrono::seconds(11));
    cutTakeFile(directory / "a.tarn", 90, 199, directory / "cut.tarn"); // 1.5 s later
    joinTakeFiles({directory / "cut.tarn", directory / "b.tarn"}, directory / "both.tarn");
    const auto take = TakeReader(directory / "both.tarn").load();
    ASSERT_EQ(take->subTracksCount(), 2) << "side by side";
    take->setCurrentTime(30);
    EXPECT_EQ(take->subTracks(0)->currentTime(), 0);
    EXPECT_EQ(take->subTracks(1)->currentTime(), 30);
}

TEST(TakeSplice, KeepsWorkRangeIndexMapAndTimeAtTheirFrames) {
    const TemporaryDirectory directory;
    auto take = std::make_shared<Tracks>();
    take->setTracksVersion(7);
    take->setTimeLength(100);
    auto track = std::make_shared<Track>(kit::poseDataType);
    track->setFrameCount(100);
    take->addTrack(track, 0);
    take->setFps(60);
    take->setWorkRange(20, 59);
    take->setCurrentTime(45);
    for (const int key : {0, 29, 30, 50, 70, 71}) {
        take->setFrameIndexMap(key, 1000 + key);
    }
    Scene scene;
    scene.setTracks(take);
    scene.setSceneTime(Time(45, 60));
    TakeWriter writer(directory / "a.tarn", "studio");
    writer.write(scene);
    writer.commit();

    cutTakeFile(directory / "a.tarn", 30, 70, directory / "cut.tarn");
    const auto cut = TakeReader(directory / "cut.tarn").load();
    EXPECT_EQ(cut->tracksVersion(), 7);
    EXPECT_EQ(cut->workRangeBegin(), 0);
    EXPECT_EQ(cut->workRangeEnd(), 29);
    EXPECT_EQ(cut->currentTime(), 15);
    EXPECT_EQ(cut->frameIndexMap(), (std::map<int, int>{{0, 1030}, {20, 1050}, {40, 1070}}));
    TakeReader cutReader(directory / "cut.tarn");
    EXPECT_EQ(cutReader.loadScene(SceneParts::WithoutTakes).scene().sceneTime(), Time(15, 60));

    cutTakeFile(directory / "a.tarn", 70, 99, directory / "outside.tarn");
    const auto outside = TakeReader(directory / "outside.tarn").load();
    EXPECT_EQ(outside->workRangeBegin(), 0);
    EXPECT_EQ(outside->workRangeEnd(), 29);
    EXPECT_EQ(outside->currentTime(), 0);

    joinTakeFiles({directory / "cut.tarn", directory / "outside.tarn"}, directory / "joined.tarn");
    const auto joined = TakeReader(directory / "joined.tarn").load();
    EXPECT_EQ(joined->workRangeEnd(), 29);
    EXPECT_EQ(joined->frameIndexMap(),
              (std::map<int, int>{{0, 1030}, {20, 1050}, {40, 1070}, {41, 1070}, {42, 1071}}));
}

TEST(TakeSplice, JoinsFilesOfDifferentClocksOneAfterTheOther) {
    const TemporaryDirectory directory;
    recordAt(directory / "a.tarn", 0, 50, std::chrono::seconds(10), "leader 1, take 1");
    recordAt(directory / "b.tarn", 0, 50, std::chrono::seconds(10), "leader 1, take 2");
    joinTakeFiles({directory / "a.tarn", directory / "b.tarn"}, directory / "c.tarn");
    TakeReader reader(directory / "c.tarn");
    EXPECT_EQ(reader.length(), 100);
    EXPECT_EQ(reader.tracks().size(), 1U);
}

TEST(TakeSplice, RefusesToPutSideBySideWhatDoesNotFit) {
    const TemporaryDirectory directory;
    recordAt(directory / "a.tarn", 0, 5, std::chrono::seconds(10));
    recordAt(directory / "rate.tarn", 0, 5, std::chrono::seconds(10), "leader 1, take 2", 100);
    recordAt(directory / "ages.tarn", 0, 5, std::chrono::hours(24 * 365 * 200));
    for (const std::string other : {"rate.tarn", "ages.tarn"}) {
        EXPECT_THROW(
            joinTakeFiles({directory / "a.tarn", directory / other}, directory / "out.tarn"),
            StoreError);
    }
    EXPECT_FALSE(std::filesystem::exists(directory / "out.tarn"));
}

} // namespace
} // namespace tarn::store
