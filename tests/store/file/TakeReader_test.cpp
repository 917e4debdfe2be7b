// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_store/file/TakeReader.h>

#include "store/RandomTakes.h"
#include "support/TemporaryDirectory.h"

#include <tarn_store/file/TakeWriter.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace tarn::store {
namespace {

using tarn::testing::expectEqual;
using tarn::testing::RandomTakes;
using tarn::testing::readFile;
using tarn::testing::TemporaryDirectory;
using tarn::testing::writeFile;

StoreProblem problemOf(const std::string& file) {
    try {
        const TakeReader reader(file);
    } catch (const StoreError& error) {
        return error.problem();
    }
    ADD_FAILURE() << "no error";
    return StoreProblem::Failed;
}

/// A take of `count` poses, each slot but every seventh filled, at an offset of 3.
std::shared_ptr<Tracks> poses(int count) {
    auto take = std::make_shared<Tracks>();
    auto track = std::make_shared<Track>(kit::poseDataType);
    track->setFrameCount(count);
    for (int i = 0; i < count; ++i) {
        if (i % 7 != 6) {
            track->setFrame(i, std::make_shared<Frame>(Time(static_cast<unsigned>(i), 120),
                                                       kit::poseDataType,
                                                       kit::Pose{{static_cast<float>(i), 1, 2}}));
        }
    }
    take->setFps(120);
    take->setTimeLength(count + 3);
    take->addTrack(track, 3);
    return take;
}

void writeTake(const std::string& file, const std::shared_ptr<Tracks>& take,
               std::shared_ptr<const kit::Codecs> codecs = kit::Codecs::standard()) {
    TakeWriter writer(file, "test", std::move(codecs));
    writer.write(take);
    writer.commit();
}

/// Reads all that there is; what is damaged is an error.
void readAll(const std::string& file) {
    try {
        TakeReader reader(file);
        reader.facts();
        reader.notes();
        reader.losses();
        for (const StoredTrack& track : reader.tracks()) {
            reader.frame(track.id, track.firstSlot);
        }
        reader.loadScene();
    } catch (const StoreError& error) {
        EXPECT_FALSE(error.reason().empty());
    }
}

TEST(TakeReader, SaysWhyAFileCannotBeOpened) {
    const TemporaryDirectory directory;
    EXPECT_EQ(problemOf(directory / "none.tarn"), StoreProblem::Missing);
    EXPECT_EQ(problemOf(directory.path().string()), StoreProblem::Foreign);
    writeFile(directory / "text.tarn", "HIERARCHY and much more than a hundred bytes of text, as "
                                       "files of another kind have them, of whatever length");
    EXPECT_EQ(problemOf(directory / "text.tarn"), StoreProblem::Foreign);
    writeFile(directory / "empty.tarn", "");
    EXPECT_EQ(problemOf(directory / "empty.tarn"), StoreProblem::Foreign);
}

TEST(TakeReader, RefusesALaterFormatAndForeignTables) {
    const TemporaryDirectory directory;
    const std::string file = directory / "take.tarn";
    writeTake(file, poses(3));
    std::string bytes = readFile(file);
    constexpr std::size_t versionPlace = 60; // of `user_version` in the header of a database
    ASSERT_EQ(bytes[versionPlace + 3], 1);
    bytes[versionPlace + 3] = 2;
    writeFile(file, bytes);
    EXPECT_EQ(problemOf(file), StoreProblem::TooNew);

    bytes[versionPlace + 3] = 1;
    const auto table = bytes.find("CREATE TABLE note");
    ASSERT_NE(table, std::string::npos);
    bytes[table + 13] = 'm';
    writeFile(file, bytes);
    EXPECT_EQ(problemOf(file), StoreProblem::Damaged);
}

TEST(TakeReader, FindsAnyFrameOfALongTake) {
    const TemporaryDirectory directory;
    const int count = 5000;
    const auto take = poses(count);
    writeTake(directory / "take.tarn", take);
    TakeReader reader(directory / "take.tarn");
    const auto tracks = reader.tracks();
    ASSERT_EQ(tracks.size(), 1U);
    const std::int64_t id = tracks[0].id;
    EXPECT_EQ(tracks[0].firstSlot, 0);
    EXPECT_EQ(tracks[0].lastSlot, count - 1);
    EXPECT_EQ(tracks[0].frames, count - count / 7);
    std::mt19937 random(1);
    for (int i = 0; i < 500; ++i) {
        const int slot = static_cast<int>(random() % count);
        expectEqual(reader.frame(id, slot), take->getTrack(0)->getFrame(slot));
    }
    EXPECT_EQ(reader.frame(id, count), nullptr);
    EXPECT_EQ(reader.frame(id, -1), nullptr);
    EXPECT_EQ(reader.frame(id + 1, 0), nullptr);

    const auto some = reader.frames(id, 1020, 1030);
    ASSERT_EQ(some.size(), 9U) << "1021 and 1028 are empty";
    EXPECT_EQ(some.front().first, 1020);
    EXPECT_EQ(some.back().first, 1030);
    expectEqual(some[1].second, take->getTrack(0)->getFrame(1022));
}

TEST(TakeReader, LoadsAPartThatBeginsWithItsFirstFrame) {
    const TemporaryDirectory directory;
    const auto outer = poses(100);
    const auto inner = poses(60);
    inner->setTracksName("inner");
    outer->addSubTracks(inner, 5);
    writeTake(directory / "take.tarn", outer);
    TakeReader reader(directory / "take.tarn");
    EXPECT_EQ(reader.length(), 103);
    const auto part = reader.load(1, 80);
    EXPECT_EQ(part->timeLength(), 80);
    EXPECT_EQ(part->fps(), 120);
    for (int i = 0; i < 80; ++i) {
        expectEqual(part->getFrame(i, kit::poseDataType),
                    outer->getFrame(1 + i, kit::poseDataType));
        expectEqual(part->subTracks(0)->getFrame(i, kit::poseDataType),
                    inner->getFrame(1 + i + 5, kit::poseDataType));
    }
}

TEST(TakeReader, LeavesPayloadsOfUnknownCodecsAsTheyAreAndWritesThemBackUnharmed) {
    struct Glove {
        float bend;
    };
    const TemporaryDirectory directory;
    const auto codecs = std::make_shared<kit::Codecs>();
    codecs->add<Glove>(
        "studio.glove", 2, [](const Glove& glove, kit::PayloadWriter& to) { to.put(glove.bend); },
        [](kit::PayloadReader& from, std::uint32_t) { return Glove{from.get<float>()}; });
    const auto take = std::make_shared<Tracks>();
    take->setTimeLength(1);
    take->setFrame(0, 100, std::make_shared<Frame>(Time(0, 60), 100, Glove{0.5F}));
    writeTake(directory / "theirs.tarn", take, codecs);

    const auto here = TakeReader(directory / "theirs.tarn").load();
    const auto& payload = here->getFrame(0, 100)->dataAs<kit::EncodedPayload>();
    EXPECT_EQ(payload.codec, (kit::CodecId{"studio.glove", 2}));
    writeTake(directory / "again.tarn", here);
    const auto back = TakeReader(directory / "again.tarn", codecs).load();
    EXPECT_EQ(back->getFrame(0, 100)->dataAs<Glove>().bend, 0.5F);
}

TEST(TakeReader, ReadsAFileWithoutATake) {
    const TemporaryDirectory directory;
    TakeWriter(directory / "take.tarn", "test").commit();
    TakeReader reader(directory / "take.tarn");
    EXPECT_EQ(reader.load(), nullptr);
    EXPECT_EQ(reader.load(0, 5), nullptr);
    EXPECT_EQ(reader.length(), 0);
    EXPECT_TRUE(reader.tracks().empty());
    EXPECT_TRUE(reader.loadScene().scene().characters().empty());
}

int rounds() {
    const char* const asked = std::getenv("TARN_BIT_ERRORS");
    return asked == nullptr ? 100 : std::atoi(asked);
}

TEST(TakeReader, SurvivesBitErrors) {
    const TemporaryDirectory directory;
    writeTake(directory / "take.tarn", RandomTakes(5).take());
    const std::string bytes = readFile(directory / "take.tarn");
    std::mt19937 random(2);
    for (int i = 0; i < rounds(); ++i) {
        std::string damaged = bytes;
        for (int errors = 1 + static_cast<int>(random() % 4); errors > 0; --errors) {
            char& byte = damaged[random() % (i % 2 == 0 ? damaged.size() : 40'000)];
            byte = static_cast<char>(static_cast<unsigned char>(byte) ^ (1U << (random() % 8)));
        }
        writeFile(directory / "damaged.tarn", damaged);
        readAll(directory / "damaged.tarn");
    }
}

TEST(TakeReader, SurvivesAFileThatIsCutShort) {
    const TemporaryDirectory directory;
    writeTake(directory / "take.tarn", RandomTakes(5).take());
    const std::string bytes = readFile(directory / "take.tarn");
    std::mt19937 random(3);
    for (int i = 0; i < rounds(); ++i) {
        writeFile(directory / "short.tarn", bytes.substr(0, random() % bytes.size()));
        readAll(directory / "short.tarn");
    }
}

TEST(TakeReader, FindsADamagedPayloadByItsChecksum) {
    const TemporaryDirectory directory;
    writeTake(directory / "take.tarn", poses(2000));
    std::string bytes = readFile(directory / "take.tarn");
    const float values[] = {999, 1, 2}; // of a pose
    const std::string pose(reinterpret_cast<const char*>(values), sizeof values);
    const auto at = bytes.find(pose);
    ASSERT_NE(at, std::string::npos);
    bytes[at] ^= 1;
    writeFile(directory / "take.tarn", bytes);
    try {
        TakeReader(directory / "take.tarn").load();
        FAIL();
    } catch (const StoreError& error) {
        EXPECT_EQ(error.problem(), StoreProblem::Damaged);
    }
}

TEST(TakeReaderThreads, ReadOneFileAtOnce) {
    const TemporaryDirectory directory;
    writeTake(directory / "take.tarn", poses(1000));
    std::vector<std::thread> threads;
    threads.reserve(3);
    for (int i = 0; i < 3; ++i) {
        threads.emplace_back([&] {
            TakeReader reader(directory / "take.tarn");
            EXPECT_EQ(reader.load()->timeLength(), 1003);
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

} // namespace
} // namespace tarn::store
