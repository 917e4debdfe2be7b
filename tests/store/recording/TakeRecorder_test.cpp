// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_store/recording/TakeRecorder.h>

#include "store/RandomTakes.h"
#include "support/FileSizeLimit.h"
#include "support/TemporaryDirectory.h"

#include <tarn/Actor.h>
#include <tarn/Character.h>
#include <tarn/Scene.h>
#include <tarn_store/file/TakeCheck.h>
#include <tarn_store/file/TakeReader.h>

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace tarn::store {
namespace {

using tarn::testing::FileSizeLimit;
using tarn::testing::TemporaryDirectory;
using Port = tsignal::Signal<std::shared_ptr<Frame>>;

std::shared_ptr<Frame> pose(unsigned index, unsigned rate = 120) {
    return std::make_shared<Frame>(Time(index, rate), kit::poseDataType,
                                   kit::Pose{{static_cast<float>(index), 2, 3}});
}

TrackDescription at(int rate, const std::string& subject = "") {
    TrackDescription description;
    description.subject = subject;
    description.rate = kit::Rate(rate);
    return description;
}

/// A recorder of one port, tied to a signal.
struct Recording {
    Recording(const std::string& file, RecorderOptions options = {})
        : recorder(file, std::move(options)) {
        recorder.tieToIFramePort(recorder.addTrack(kit::poseDataType, at(120)), port);
        recorder.start();
    }

    Port port;
    TakeRecorder recorder;
};

TEST(TakeRecorder, KeepsEachFrameInTheSlotOfItsIndex) {
    const TemporaryDirectory directory;
    {
        Recording recording(directory / "take.tarn");
        for (const unsigned index : {1005U, 1006U, 1009U, 1007U, 1006U}) { // some late, one again
            recording.port.emit(pose(index));
        }
        recording.recorder.end();
        EXPECT_EQ(recording.recorder.safeFrames(), 5);
        EXPECT_EQ(recording.recorder.lostFrames(), 0);
    }
    EXPECT_EQ(directory.names(), std::vector<std::string>{"take.tarn"}) << "one file is all";
    TakeReader reader(directory / "take.tarn");
    EXPECT_TRUE(reader.facts().ended);
    const auto take = reader.load();
    EXPECT_EQ(take->timeLength(), 5);
    EXPECT_EQ(take->fps(), 120);
    EXPECT_EQ(take->workRangeEnd(), 4);
    for (const int index : {0, 1, 2, 4}) {
        const auto frame = take->getFrame(index, kit::poseDataType);
        ASSERT_NE(frame, nullptr) << index;
        EXPECT_EQ(frame->time(), Time(1005 + static_cast<unsigned>(index), 120));
    }
    EXPECT_EQ(take->getFrame(3, kit::poseDataType), nullptr);
    EXPECT_EQ(reader.frame(1, 1007)->time(), Time(1007, 120)) << "one that came late";
    EXPECT_EQ(reader.frame(1, 1008), nullptr);
}

TEST(TakeRecorder, CountsTheLastOfSeveralFramesOfOneSlot) {
    const TemporaryDirectory directory;
    Recording recording(directory / "take.tarn");
    for (const float value : {1.0F, 2.0F, 3.0F}) {
        recording.port.emit(
            std::make_shared<Frame>(Time(7, 120), kit::poseDataType, kit::Pose{{value}}));
    }
    recording.recorder.end();
    TakeReader reader(directory / "take.tarn");
    const auto frames = reader.frames(1, 0, 10);
    ASSERT_EQ(frames.size(), 1U);
    EXPECT_EQ(frames[0].second->dataAs<kit::Pose>().values[0], 3);
}

TEST(TakeRecorder, PutsTracksOfOtherRatesIntoNestedTakes) {
    const TemporaryDirectory directory;
    Port poses;
    Port samples;
    Port bodies;
    TakeRecorder recorder(directory / "take.tarn");
    recorder.tieToIFramePort(recorder.addTrack(kit::poseDataType, at(60, "Ada")), poses);
    recorder.tieToIFramePort(recorder.addTrack(kit::analogDataType, at(600)), samples);
    recorder.tieToIFramePort(recorder.addTrack(kit::bodyDataType, at(60)), bodies);
    recorder.start();
    for (unsigned i = 0; i < 20; ++i) {
        poses.emit(pose(i, 60));
        for (unsigned k = 0; k < 10; ++k) {
            samples.emit(std::make_shared<Frame>(Time(10 * i + k, 600), kit::analogDataType,
                                                 kit::AnalogFrame({1, 2})));
        }
        bodies.emit(std::make_shared<Frame>(Time(i, 60), kit::bodyDataType, kit::BodyPose()));
    }
    recorder.end();
    TakeReader reader(directory / "take.tarn");
    const auto take = reader.load();
    EXPECT_EQ(take->trackCount(), 2);
    EXPECT_EQ(take->timeLength(), 20);
    ASSERT_EQ(take->subTracksCount(), 1);
    EXPECT_EQ(take->subTracks(0)->timeLength(), 200);
    EXPECT_EQ(take->subTracks(0)->fps(), 600);
    EXPECT_EQ(reader.tracks()[0].description.subject, "Ada");
}

TEST(TakeRecorder, AnnouncesAsSafeWhatReadersFindInTheFile) {
    const TemporaryDirectory directory;
    const std::string file = directory / "take.tarn";
    Recording recording(file);
    std::promise<void> announced;
    std::int64_t last = -1;
    recording.recorder.onSafe().connect([&](std::int64_t index) {
        EXPECT_GT(index, last);
        TakeReader reader(file);
        EXPECT_FALSE(reader.facts().ended);
        for (std::int64_t i = last + 1; i <= index; ++i) {
            EXPECT_NE(reader.frame(1, i), nullptr) << i;
        }
        last = index;
        if (index == 299) {
            announced.set_value();
        }
    });
    for (unsigned i = 0; i < 300; ++i) {
        recording.port.emit(pose(i));
    }
    announced.get_future().wait();
    recording.recorder.end();
}

TEST(TakeRecorder, AnnouncesNothingAsSafeThatAnotherPortStillLacks) {
    const TemporaryDirectory directory;
    Port fast;
    Port slow;
    TakeRecorder recorder(directory / "take.tarn");
    recorder.tieToIFramePort(recorder.addTrack(kit::poseDataType, at(120)), fast);
    recorder.tieToIFramePort(recorder.addTrack(kit::poseDataType, at(120)), slow);
    std::int64_t safe = -1;
    recorder.onSafe().connect([&](std::int64_t index) { safe = index; });
    recorder.start();
    slow.emit(pose(4));
    for (unsigned i = 0; i < 9; ++i) {
        fast.emit(pose(i));
    }
    recorder.end();
    EXPECT_EQ(safe, 4);
}

/// A payload whose encoding waits for a sign, so that the thread that writes is held up.
struct Held {
    std::shared_future<void> sign;
    std::shared_ptr<std::promise<void>> isReached;
};

RecorderOptions withHeld() {
    RecorderOptions options;
    const auto codecs = std::make_shared<kit::Codecs>();
    codecs->add<Held>(
        "test.held", 1,
        [](const Held& held, kit::PayloadWriter&) {
            held.isReached->set_value();
            held.sign.wait();
        },
        [](kit::PayloadReader&, std::uint32_t) { return Held(); });
    options.codecs = codecs;
    return options;
}

TEST(TakeRecorder, CountsAndAnnouncesWhatFindsNoRoom) {
    const TemporaryDirectory directory;
    std::promise<void> sign;
    RecorderOptions options = withHeld();
    options.queueFrames = 4;
    Recording recording(directory / "take.tarn", options);
    std::int64_t told = 0;
    recording.recorder.onLost().connect([&](std::int64_t lost) { told = lost; });
    const Held held = {sign.get_future().share(), std::make_shared<std::promise<void>>()};
    recording.port.emit(std::make_shared<Frame>(Time(0, 120), 9, held));
    held.isReached->get_future().wait();
    for (unsigned i = 1; i <= 10; ++i) {
        recording.port.emit(pose(i));
    }
    EXPECT_EQ(recording.recorder.lostFrames(), 7) << "three had room beside the first";
    sign.set_value();
    recording.recorder.end();
    EXPECT_EQ(told, 7);
    TakeReader reader(directory / "take.tarn");
    ASSERT_EQ(reader.losses().size(), 1U);
    EXPECT_EQ(reader.losses()[0].first, 4);
    EXPECT_EQ(reader.losses()[0].last, 10);
    EXPECT_EQ(reader.losses()[0].count, 7);
    EXPECT_EQ(reader.tracks()[0].lost, 7);
    EXPECT_EQ(reader.tracks()[0].frames, 4);
}

TEST(TakeRecorder, MakesSourcesWaitThatCan) {
    const TemporaryDirectory directory;
    RecorderOptions options;
    options.queueFrames = 8;
    options.whenFull = WhenFull::Wait;
    Recording recording(directory / "take.tarn", options);
    for (unsigned i = 0; i < 1000; ++i) {
        recording.port.emit(pose(i));
    }
    recording.recorder.end();
    EXPECT_EQ(recording.recorder.lostFrames(), 0);
    EXPECT_EQ(recording.recorder.safeFrames(), 1000);
}

TEST(TakeRecorder, CountsFramesWithoutACodecAndGoesOn) {
    const TemporaryDirectory directory;
    Recording recording(directory / "take.tarn");
    recording.port.emit(pose(0));
    recording.port.emit(std::make_shared<Frame>(Time(1, 120), 9, 1.5L));
    recording.port.emit(pose(2));
    recording.recorder.end();
    EXPECT_EQ(recording.recorder.safeFrames(), 2);
    EXPECT_EQ(recording.recorder.lostFrames(), 1);
    TakeReader reader(directory / "take.tarn");
    ASSERT_EQ(reader.losses().size(), 1U);
    EXPECT_NE(reader.losses()[0].reason.find("no codec"), std::string::npos);
}

TEST(TakeRecorder, BeginsNothingWhereItCannot) {
    const TemporaryDirectory directory;
    tarn::testing::writeFile(directory / "take.tarn", "mine");
    EXPECT_THROW(TakeRecorder(directory / "take.tarn"), StoreError);
    EXPECT_EQ(tarn::testing::readFile(directory / "take.tarn"), "mine");
    EXPECT_THROW(TakeRecorder(directory / "none/take.tarn"), StoreError);
    RecorderOptions options;
    options.expectedBytes = 2'000'000;
    options.freeSpace = [](const auto&) { return 1'000'000; };
    try {
        const TakeRecorder recorder(directory / "full.tarn", options);
        FAIL();
    } catch (const StoreError& error) {
        EXPECT_EQ(error.problem(), StoreProblem::Full);
        EXPECT_EQ(error.reason(), "the recording is expected to take 2 MB, and 1 MB are left");
    }
    EXPECT_EQ(directory.names(), std::vector<std::string>{"take.tarn"});
}

TEST(TakeRecorder, LeavesNoFileWhereItCannotMakeOneWhole) {
    const TemporaryDirectory directory;
    const FileSizeLimit limit(100'000);
    EXPECT_THROW(TakeRecorder(directory / "take.tarn"), StoreError);
    EXPECT_EQ(directory.names(), std::vector<std::string>{});
}

/// Two characters, of whom one is selected and has an actor.
struct SmallScene {
    SmallScene() {
        scene.setDescription("a stage");
        scene.setValue("Session.Rate", "120");
        actor.setActorName("Ada L.");
        actor.setBodyDimension("Height", 1.75F);
        ada.setActor(&actor);
        ada.setValue("Take", "walk.c3d");
        scene.addCharacter(&ada);
        scene.addCharacter(&bo);
        scene.selectCharacter(&ada);
        scene.setCurrentCharacter(&bo);
    }
    SmallScene(const SmallScene&) = delete;
    SmallScene& operator=(const SmallScene&) = delete;
    ~SmallScene() {
        ada.setActor(nullptr);
        scene.removeCharacter(&ada);
        scene.removeCharacter(&bo);
    }

    Actor actor;
    Character ada{"1", "Ada"};
    Character bo{"2", "Bo"};
    Scene scene;
};

void expectSmallScene(const StoredScene& stored) {
    Scene& scene = stored.scene();
    EXPECT_EQ(scene.description(), "a stage");
    EXPECT_EQ(scene.value("Session.Rate", ""), "120");
    const auto characters = scene.characters();
    ASSERT_EQ(characters.size(), 2U);
    Character* const ada = *characters.begin();
    EXPECT_EQ(ada->characterId(), "1");
    EXPECT_EQ(ada->characterName(), "Ada");
    EXPECT_EQ(ada->value("Take", ""), "walk.c3d");
    ASSERT_NE(ada->actor(), nullptr);
    EXPECT_EQ(ada->actor()->actorName(), "Ada L.");
    EXPECT_EQ(ada->actor()->bodyDimension("Height", 0), 1.75F);
    EXPECT_EQ(scene.selectedCharacters().size(), 1U);
    ASSERT_NE(scene.currentCharacter(), nullptr);
    EXPECT_EQ(scene.currentCharacter()->characterName(), "Bo");
    EXPECT_EQ(scene.currentCharacter()->actor(), nullptr);
}

TEST(TakeRecorder, KeepsTheSceneFromTheFirstMomentOn) {
    const TemporaryDirectory directory;
    const std::string file = directory / "take.tarn";
    Port port;
    TakeRecorder recorder(file);
    recorder.tieToIFramePort(recorder.addTrack(kit::poseDataType, at(120)), port);
    {
        SmallScene scene;
        recorder.addScene(scene.scene);
    }
    recorder.start();
    expectSmallScene(TakeReader(file).loadScene());
    port.emit(pose(7));
    recorder.end();
    TakeReader reader(file);
    const StoredScene stored = reader.loadScene();
    expectSmallScene(stored);
    ASSERT_NE(stored.scene().tracks(), nullptr);
    EXPECT_EQ(stored.scene().tracks()->timeLength(), 1) << "what was recorded is its take";
    const StoredScene alone = reader.loadScene(SceneParts::WithoutTakes);
    expectSmallScene(alone);
    EXPECT_EQ(alone.scene().tracks(), nullptr);
    EXPECT_TRUE(checkTakeFile(file).isWhole);
}

TEST(TakeRecorder, KeepsNothingOfASceneThatNoDocumentCanHold) {
    const TemporaryDirectory directory;
    const std::string file = directory / "take.tarn";
    TakeRecorder recorder(file);
    recorder.addTrack(kit::poseDataType, at(120));
    SmallScene scene;
    scene.bo.setValue("two words", "x");
    EXPECT_THROW(recorder.addScene(scene.scene), StoreError);
    recorder.end();
    EXPECT_TRUE(TakeReader(file).loadScene().scene().characters().empty());
    EXPECT_TRUE(TakeReader(file).loadScene().scene().description().empty());
}

TEST(TakeRecorder, GathersSmallTransactionsUnderTheEyesOfAReader) {
    const TemporaryDirectory directory;
    const std::string file = directory / "take.tarn";
    RecorderOptions options;
    options.maximumLoss = std::chrono::milliseconds(0);
    Recording recording(file, options);
    TakeReader reader(file);
    const std::string payload(8'400, 'x'); // half a page and a little more
    constexpr int count = 150;
    for (int i = 0; i < count; ++i) { // a transaction for each
        recording.port.emit(std::make_shared<Frame>(Time(static_cast<unsigned>(i), 120), 8,
                                                    payload + std::to_string(i)));
        while (recording.recorder.safeFrames() <= i) {
            std::this_thread::yield();
        }
        const std::int64_t first = i / 2;
        ASSERT_EQ(reader.frames(1, first, i).size(), static_cast<std::size_t>(i - first + 1));
    }
    recording.recorder.end(); // also while somebody reads
    EXPECT_TRUE(reader.facts().ended);
    if (std::filesystem::exists(file + "-wal")) {
        EXPECT_EQ(std::filesystem::file_size(file + "-wal"), 0U);
    }
    for (int i = 0; i < count; ++i) {
        const auto frame = reader.frame(1, i);
        ASSERT_NE(frame, nullptr);
        EXPECT_EQ(std::any_cast<std::string>(frame->data()), payload + std::to_string(i));
    }
    EXPECT_EQ(reader.tracks()[0].frames, count);
    EXPECT_LT(static_cast<double>(std::filesystem::file_size(file)),
              1.6 * count * static_cast<double>(payload.size()))
        << "each in a page of its own takes 2.1 times as much";
}

TEST(TakeRecorder, SaysOnceThatTheDiskWillSoonBeFull) {
    const TemporaryDirectory directory;
    RecorderOptions options;
    std::atomic<std::uint64_t> left = 1ULL << 60U;
    options.freeSpace = [&left](const auto&) { return left.load(); };
    options.maximumLoss = std::chrono::milliseconds(2);
    Recording recording(directory / "take.tarn", options);
    std::promise<int> said;
    std::atomic<int> times = 0;
    recording.recorder.onSpaceLow().connect([&](int seconds) {
        if (++times == 1) {
            said.set_value(seconds);
        }
    });
    recording.port.emit(pose(0));
    left = 10;
    auto future = said.get_future();
    for (unsigned i = 1; i < 200 || times == 0; ++i) {
        recording.port.emit(pose(i));
        std::this_thread::yield();
    }
    EXPECT_LT(future.get(), 60);
    recording.recorder.end();
    EXPECT_EQ(times, 1);
}

TEST(TakeRecorder, SetsSpaceAsideAndGivesBackWhatItDidNotNeed) {
    const TemporaryDirectory directory;
    RecorderOptions options;
    options.expectedBytes = 40'000'000;
    options.preallocate = true;
    const std::string file = directory / "take.tarn";
    Recording recording(file, options);
    EXPECT_GE(std::filesystem::file_size(file), 40'000'000U);
    for (unsigned i = 0; i < 100; ++i) {
        recording.port.emit(pose(i));
    }
    recording.recorder.end();
    EXPECT_LT(std::filesystem::file_size(file), 2'000'000U);
    EXPECT_EQ(TakeReader(file).load()->timeLength(), 100);
}

TEST(TakeRecorder, SaysThatWritingFailsAndGoesOnOnceItCan) {
    const TemporaryDirectory directory;
    RecorderOptions options;
    options.maximumLoss = std::chrono::milliseconds(2);
    Recording recording(directory / "take.tarn", options);
    std::promise<std::string> failed;
    std::atomic<int> failures = 0;
    recording.recorder.onFailed().connect([&](const std::string& why) {
        if (++failures == 1) {
            failed.set_value(why);
        }
    });
    unsigned index = 0;
    {
        const FileSizeLimit limit(400'000);
        auto future = failed.get_future();
        while (future.wait_for(std::chrono::seconds(0)) != std::future_status::ready) {
            recording.port.emit(
                std::make_shared<Frame>(Time(index++, 120), 8, std::string(20'000, 'x')));
            std::this_thread::yield();
        }
        EXPECT_NE(future.get().find("take.tarn: "), std::string::npos);
    }
    recording.recorder.end();
    EXPECT_EQ(recording.recorder.safeFrames() + recording.recorder.lostFrames(), index);
    TakeReader reader(directory / "take.tarn");
    EXPECT_TRUE(reader.facts().ended);
    EXPECT_EQ(reader.tracks()[0].frames, recording.recorder.safeFrames());
}

TEST(TakeRecorder, LetsNoSourceWaitWhileWritingFails) {
    const TemporaryDirectory directory;
    RecorderOptions options;
    options.maximumLoss = std::chrono::milliseconds(2);
    options.queueFrames = 8;
    options.whenFull = WhenFull::Wait;
    Recording recording(directory / "take.tarn", options);
    constexpr unsigned count = 200;
    {
        const FileSizeLimit limit(400'000);
        for (unsigned i = 0; i < count; ++i) {
            recording.port.emit(std::make_shared<Frame>(Time(i, 120), 8, std::string(20'000, 'x')));
        }
        EXPECT_GT(recording.recorder.lostFrames(), 0);
    }
    recording.recorder.end();
    EXPECT_EQ(recording.recorder.safeFrames() + recording.recorder.lostFrames(), count);
}

TEST(TakeRecorder, KeepsWhatIsSafeWhenItCannotBeEnded) {
    const TemporaryDirectory directory;
    std::int64_t safe = -1;
    {
        RecorderOptions options;
        options.maximumLoss = std::chrono::milliseconds(2);
        Recording recording(directory / "take.tarn", options);
        recording.recorder.onSafe().connect([&](std::int64_t index) { safe = index; });
        const FileSizeLimit limit(400'000);
        for (unsigned i = 0; i < 100; ++i) {
            recording.port.emit(std::make_shared<Frame>(Time(i, 120), 8, std::string(20'000, 'x')));
        }
        EXPECT_THROW(recording.recorder.end(), StoreError);
        EXPECT_EQ(recording.recorder.safeFrames(), safe + 1);
        EXPECT_EQ(recording.recorder.lostFrames(), 99 - safe);
    }
    TakeReader reader(directory / "take.tarn");
    EXPECT_FALSE(reader.facts().ended);
    EXPECT_EQ(reader.tracks()[0].frames, safe + 1);
}

TEST(TakeRecorder, IgnoresWhatComesBeforeTheStartAndAfterTheEnd) {
    const TemporaryDirectory directory;
    Port port;
    {
        TakeRecorder recorder(directory / "take.tarn");
        recorder.tieToIFramePort(recorder.addTrack(kit::poseDataType, at(120)), port);
        port.emit(pose(0));
        recorder.start();
        port.emit(pose(1));
        recorder.addNote({"note", 1, "", "", "", "here", ""});
        recorder.end();
        port.emit(pose(2));
        recorder.end();
    }
    port.emit(pose(3));
    TakeReader reader(directory / "take.tarn");
    EXPECT_EQ(reader.tracks()[0].frames, 1);
    ASSERT_EQ(reader.notes().size(), 1U);
    EXPECT_EQ(reader.notes()[0].text, "here");
}

TEST(TakeRecorderThreads, TenDevicesAndTwoReaders) {
    const TemporaryDirectory directory;
    const std::string file = directory / "take.tarn";
    constexpr int devices = 10;
    constexpr unsigned frames = 200;
    std::vector<Port> ports(devices);
    RecorderOptions options;
    options.maximumLoss = std::chrono::milliseconds(4);
    TakeRecorder recorder(file, options);
    for (Port& port : ports) {
        recorder.tieToIFramePort(recorder.addTrack(kit::poseDataType, at(120)), port);
    }
    std::atomic<std::int64_t> safe = -1;
    recorder.onSafe().connect([&safe](std::int64_t index) { safe = index; });
    recorder.start();
    std::atomic<bool> isOver = false;
    std::vector<std::thread> threads;
    threads.reserve(devices + 2);
    for (int i = 0; i < 2; ++i) {
        threads.emplace_back([&] {
            TakeReader reader(file);
            while (!isOver) {
                for (const StoredTrack& track : reader.tracks()) {
                    reader.frames(track.id, 0, frames);
                }
                reader.load(0, 10);
            }
        });
    }
    for (int i = 0; i < devices; ++i) {
        threads.emplace_back([&port = ports[static_cast<std::size_t>(i)]] {
            for (unsigned k = 0; k < frames; ++k) {
                port.emit(pose(k));
                std::this_thread::yield();
            }
        });
    }
    for (std::size_t i = 2; i < threads.size(); ++i) {
        threads[i].join();
    }
    isOver = true;
    threads[0].join();
    threads[1].join();
    recorder.end();
    EXPECT_EQ(recorder.lostFrames(), 0);
    EXPECT_EQ(recorder.safeFrames(), devices * std::int64_t{frames});
    TakeReader reader(file);
    for (const StoredTrack& track : reader.tracks()) {
        EXPECT_EQ(reader.frames(track.id, 0, frames).size(), frames);
    }
}

} // namespace
} // namespace tarn::store
