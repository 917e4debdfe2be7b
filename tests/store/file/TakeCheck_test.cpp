// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_store/file/TakeCheck.h>

#include "store/RandomTakes.h"
#include "store/UnendedRecording.h"
#include "support/TemporaryDirectory.h"

#include <tarn_store/file/TakeReader.h>
#include <tarn_store/file/TakeWriter.h>

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <sqlite3.h>
#include <string>
#include <vector>

namespace tarn::store {
namespace {

using tarn::testing::copyUnended;
using tarn::testing::expectEqual;
using tarn::testing::RandomTakes;
using tarn::testing::readFile;
using tarn::testing::TemporaryDirectory;
using tarn::testing::writeFile;

constexpr int frames = 6000;
constexpr int values = 50;

/// What every damaged file here was.
void writeWhole(const std::string& file) {
    auto take = std::make_shared<Tracks>();
    take->setTimeLength(frames);
    auto track = std::make_shared<Track>(kit::poseDataType);
    track->setFrameCount(frames);
    for (int i = 0; i < frames; ++i) {
        track->setFrame(i, std::make_shared<Frame>(
                               Time(static_cast<unsigned>(i), 120), kit::poseDataType,
                               kit::Pose{std::vector<float>(values, static_cast<float>(i))}));
    }
    take->addTrack(track, 0);
    TakeWriter writer(file, "test");
    TrackDescription description;
    description.subject = "Ada";
    description.rate = kit::Rate(120);
    writer.describe(track, description);
    writer.write(take);
    writer.commit();
}

TEST(TakeCheck, SaysThatAWholeFileIsWhole) {
    const TemporaryDirectory directory;
    writeWhole(directory / "take.tarn");
    const TakeVerdict verdict = checkTakeFile(directory / "take.tarn");
    EXPECT_TRUE(verdict.isWhole);
    EXPECT_EQ(verdict.line, "whole: 1 track, 6000 frames");
    for (unsigned seed = 0; seed < 5; ++seed) {
        TakeWriter writer(directory / "random.tarn", "test");
        writer.write(RandomTakes(seed).take());
        writer.commit();
        EXPECT_TRUE(checkTakeFile(directory / "random.tarn").isWhole) << seed;
    }
}

TEST(TakeCheck, SaysWhereARecordingWasBrokenOff) {
    const TemporaryDirectory directory;
    copyUnended(directory / "take.tarn", 513);
    const TakeVerdict verdict = checkTakeFile(directory / "take.tarn");
    EXPECT_FALSE(verdict.isWhole);
    EXPECT_EQ(verdict.line, "broken off at frame 512, 00:00:04:32");
    copyUnended(directory / "none.tarn", 0);
    EXPECT_EQ(checkTakeFile(directory / "none.tarn").line, "broken off before the first frame");
}

TEST(TakeCheck, RefusesWhatIsNoTakeFile) {
    const TemporaryDirectory directory;
    EXPECT_THROW(checkTakeFile(directory / "none.tarn"), StoreError);
    writeFile(directory / "text.tarn", std::string(1000, 'x'));
    EXPECT_THROW(checkTakeFile(directory / "text.tarn"), StoreError);
}

int rounds() {
    const char* const asked = std::getenv("TARN_BIT_ERRORS");
    return asked == nullptr ? 30 : std::atoi(asked);
}

TEST(TakeCheck, FindsBitErrorsAndARecoveryKeepsTheRest) {
    const TemporaryDirectory directory;
    const std::string file = directory / "take.tarn";
    writeWhole(file);
    const std::string bytes = readFile(file);
    const auto whole = TakeReader(file).load();
    std::mt19937 random(4);
    int recovered = 0;
    for (int i = 0; i < rounds(); ++i) {
        std::string damaged = bytes;
        for (int errors = 0; errors < 3; ++errors) {
            char& byte = damaged[random() % damaged.size()];
            byte = static_cast<char>(static_cast<unsigned char>(byte) ^ (1U << (random() % 8)));
        }
        writeFile(directory / "damaged.tarn", damaged);
        try {
            EXPECT_FALSE(checkTakeFile(directory / "damaged.tarn").line.empty());
            const TakeRecovery recovery =
                recoverTakeFile(directory / "damaged.tarn", directory / "out.tarn");
            EXPECT_TRUE(checkTakeFile(directory / "out.tarn").isWhole)
                << checkTakeFile(directory / "out.tarn").line;
            std::int64_t missing = 0;
            for (const MissingFrames& part : recovery.missing) {
                missing += part.count;
            }
            EXPECT_EQ(recovery.frames + missing, frames);
            const auto again = TakeReader(directory / "out.tarn").load();
            for (int k = 0; k < frames; ++k) {
                if (const auto frame = again->getFrame(k, kit::poseDataType)) {
                    expectEqual(frame, whole->getFrame(k, kit::poseDataType));
                }
            }
            recovered += recovery.frames > 0 ? 1 : 0;
        } catch (const StoreError& error) { // the schema is hit
            EXPECT_FALSE(error.reason().empty());
        }
    }
    EXPECT_GT(recovered, rounds() * 2 / 3);
}

void change(const std::string& file, const std::string& sql) {
    sqlite3* database = nullptr;
    ASSERT_EQ(sqlite3_open(file.c_str(), &database), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(database, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK)
        << sqlite3_errmsg(database);
    sqlite3_close(database);
}

struct Contradiction {
    const char* sql;
    const char* verdict;
};

class TakeCheckOf : public ::testing::TestWithParam<Contradiction> {};

/// What no checksum covers.
TEST_P(TakeCheckOf, RowsThatContradictEachOther) {
    const TemporaryDirectory directory;
    const std::string file = directory / "take.tarn";
    writeWhole(file);
    change(file, GetParam().sql);
    const TakeVerdict verdict = checkTakeFile(file);
    EXPECT_FALSE(verdict.isWhole);
    EXPECT_NE(verdict.line.find(GetParam().verdict), std::string::npos) << verdict.line;
    recoverTakeFile(file, directory / "out.tarn");
    const TakeVerdict after = checkTakeFile(directory / "out.tarn");
    EXPECT_TRUE(after.isWhole) << after.line;
    TakeReader(directory / "out.tarn").loadScene();
}

INSTANTIATE_TEST_SUITE_P(
    All, TakeCheckOf,
    ::testing::Values(
        Contradiction{"UPDATE chunk SET codec = 99 WHERE id = 2", "a codec is missing"},
        Contradiction{"INSERT INTO chunk SELECT 999, 7, late, first, last, data_type, codec, crc, "
                      "heads, data FROM chunk WHERE id = 1",
                      "frames of no track"},
        Contradiction{"UPDATE chunk SET crc = crc + 1 WHERE id = 2", "its checksum is another"},
        Contradiction{"UPDATE chunk SET last = last + 1 WHERE id = 2",
                      "chunk 2 has other slots than it says"},
        Contradiction{"UPDATE chunk SET first = -5 WHERE id = 1", "stands in no slot"},
        Contradiction{"DELETE FROM chunk WHERE id = 2", "frames of 6000"},
        Contradiction{"UPDATE track SET frames = frames + 1", "6000 frames of 6001"},
        Contradiction{"UPDATE track SET slots = 10", "track 1 has frames behind its end"},
        Contradiction{"UPDATE track SET lost = 3", "losses that were counted otherwise"},
        Contradiction{"UPDATE track SET rate_denominator = 0", "rate"},
        Contradiction{"UPDATE track SET rig = 7", "a rig is missing"},
        Contradiction{"UPDATE placement SET track = 7", "a track is missing"},
        Contradiction{"UPDATE placement SET take = 7", "a track in no take"},
        Contradiction{"UPDATE placement SET frame_offset = 5000000000", "too far off"},
        Contradiction{"INSERT INTO nested VALUES (1, 0, 1, 0)", "nested without an end"},
        Contradiction{"INSERT INTO nested VALUES (1, 0, 7, 0)", "a take is missing"},
        Contradiction{"INSERT INTO nested VALUES (7, 0, 1, 0)", "a take in no take"},
        Contradiction{"INSERT INTO fact VALUES ('scene', '<')", "a settings document"},
        Contradiction{"INSERT INTO character VALUES (0, '', '', '<', NULL, NULL, NULL, 0)",
                      "a settings document"},
        Contradiction{"INSERT INTO character VALUES (0, '', '', '', NULL, 7, NULL, 0)",
                      "a take is missing"}));

TEST(TakeCheck, FindsFramesInOtherSlotsThanTheirTimes) {
    const TemporaryDirectory directory;
    const std::string file = directory / "take.tarn";
    auto take = std::make_shared<Tracks>();
    take->setTimeLength(1);
    take->setFrame(0, kit::poseDataType,
                   std::make_shared<Frame>(Time(5, 120), kit::poseDataType, kit::Pose{{1}}));
    {
        TakeWriter writer(file, "test");
        writer.write(take);
        writer.commit();
    }
    EXPECT_TRUE(checkTakeFile(file).isWhole) << "of takes that were written, times are free";
    change(file, "UPDATE track SET slots = NULL; UPDATE take SET length = NULL");
    EXPECT_EQ(checkTakeFile(file).line, "damaged: a frame in slot 0 has the time of frame 5");
}

/// A file that claims more than memory holds.
TEST(TakeCheck, RefusesTakesOfNothingButEmptySlots) {
    const TemporaryDirectory directory;
    const std::string file = directory / "take.tarn";
    {
        TakeWriter writer(file, "test");
        writer.write(std::make_shared<Tracks>());
        writer.commit();
    }
    change(file, "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 1000) "
                 "INSERT INTO track (id, data_type, slots, frames, lost) SELECT i, 1, 9000000, 0, "
                 "0 FROM n; INSERT INTO placement SELECT 1, id, id, 0 FROM track");
    EXPECT_NE(checkTakeFile(file).line.find("of 18000000 slots 0 have frames"), std::string::npos)
        << checkTakeFile(file).line;
    EXPECT_THROW(TakeReader(file).load(), StoreError);
}

TEST(TakeCheck, SaysWhatARecoveryLacksFromWhenToWhen) {
    const TemporaryDirectory directory;
    const std::string file = directory / "take.tarn";
    writeWhole(file);
    std::string bytes = readFile(file);
    const std::vector<float> pose(values, 3000);
    const std::string hit(reinterpret_cast<const char*>(pose.data()), values * sizeof(float));
    const auto at = bytes.find(hit.substr(0, 100));
    ASSERT_NE(at, std::string::npos);
    bytes[at + 50] = static_cast<char>(bytes[at + 50] ^ 1);
    writeFile(file, bytes);
    EXPECT_NE(checkTakeFile(file).line.find("damaged: "), std::string::npos);
    const TakeRecovery recovery = recoverTakeFile(file, directory / "out.tarn");
    ASSERT_EQ(recovery.missing.size(), 1U);
    const MissingFrames& missing = recovery.missing[0];
    EXPECT_EQ(missing.subject, "Ada");
    EXPECT_LE(missing.first, 3000);
    EXPECT_GE(missing.last, 3000);
    EXPECT_EQ(missing.count, *missing.last - *missing.first + 1);
    EXPECT_EQ(*missing.first / 120, 20);
    EXPECT_EQ(missing.timecodes, "00:00:20:24 to 00:00:25:29") << "2424 to 3029, one row";
    TakeReader reader(directory / "out.tarn");
    EXPECT_EQ(reader.frame(1, 3000), nullptr);
    EXPECT_NE(reader.frame(1, *missing.last + 1), nullptr);
}

TEST(TakeCheck, RecoversWhatIsLeftOfAFileThatWasCutShort) {
    const TemporaryDirectory directory;
    writeWhole(directory / "take.tarn");
    const std::string bytes = readFile(directory / "take.tarn");
    writeFile(directory / "short.tarn", bytes.substr(0, bytes.size() / 2));
    EXPECT_FALSE(checkTakeFile(directory / "short.tarn").isWhole);
    const TakeRecovery recovery = recoverTakeFile(directory / "short.tarn", directory / "out.tarn");
    EXPECT_GT(recovery.frames, frames / 4);
    EXPECT_LT(recovery.frames, frames);
    EXPECT_TRUE(checkTakeFile(directory / "out.tarn").isWhole);
}

TEST(TakeCheck, RecoversAFileThatWasCutShortWhereverThatIs) {
    const TemporaryDirectory directory;
    writeWhole(directory / "take.tarn");
    const std::string bytes = readFile(directory / "take.tarn");
    constexpr std::size_t page = 16'384;
    std::int64_t most = 0;
    for (std::size_t size = page + 4'000; size < bytes.size(); size += page) {
        writeFile(directory / "short.tarn", bytes.substr(0, size));
        try {
            const TakeRecovery recovery =
                recoverTakeFile(directory / "short.tarn", directory / "out.tarn");
            EXPECT_GE(recovery.frames, std::max<std::int64_t>(most, 1)) << size;
            most = recovery.frames;
            EXPECT_TRUE(checkTakeFile(directory / "out.tarn").isWhole) << size;
        } catch (const StoreError& error) {
            EXPECT_EQ(most, 0) << size << ": " << error.what();
        }
    }
    EXPECT_GT(most, frames / 2);
}

TEST(TakeCheck, RecoversNothingOfAFileWithoutAFrameThatCanBeReadAndLeavesWhatIsThere) {
    const TemporaryDirectory directory;
    const std::string out = directory / "out.tarn";
    writeFile(out, "kept");
    const auto reasonOf = [&](const std::string& file) -> std::string {
        try {
            recoverTakeFile(file, out);
        } catch (const StoreError& error) {
            return error.reason();
        }
        return "none";
    };
    for (const char* const loss : {"DELETE FROM chunk", "DELETE FROM codec"}) {
        writeWhole(directory / "take.tarn");
        change(directory / "take.tarn", loss);
        EXPECT_EQ(reasonOf(directory / "take.tarn"), "none of its 6000 frames can be recovered");
    }
    EXPECT_EQ(directory.names(), (std::vector<std::string>{"out.tarn", "take.tarn"}));
    copyUnended(directory / "none.tarn", 0);
    EXPECT_EQ(reasonOf(directory / "none.tarn"), "holds no frames to recover");
    EXPECT_EQ(readFile(out), "kept");
}

TEST(TakeCheck, MakesUpNothingThatARecoveredFileDoesNotSay) {
    const TemporaryDirectory directory;
    const std::string file = directory / "take.tarn";
    writeWhole(file);
    change(file, "DELETE FROM fact WHERE key <> 'take'");
    EXPECT_EQ(recoverTakeFile(file, directory / "out.tarn").frames, frames);
    const TakeFileFacts facts = TakeReader(directory / "out.tarn").facts();
    EXPECT_EQ(facts.startedUtc, "");
    EXPECT_EQ(facts.program, "");
}

/// Where the pages of a tree begin in a file that hold its rows; first that of its root.
std::vector<std::size_t> pagesOf(const std::string& file, const std::string& tree) {
    const std::string bytes = readFile(file);
    const auto number = [&bytes](std::size_t at, std::size_t size) {
        std::size_t value = 0;
        for (std::size_t i = 0; i < size; ++i) {
            value = value << 8U | static_cast<unsigned char>(bytes.at(at + i));
        }
        return value;
    };
    const std::size_t pageSize = number(16, 2);
    sqlite3* database = nullptr;
    sqlite3_stmt* statement = nullptr;
    sqlite3_open(file.c_str(), &database);
    sqlite3_prepare_v2(database, "SELECT rootpage FROM sqlite_schema WHERE name = ?1", -1,
                       &statement, nullptr);
    sqlite3_bind_text(statement, 1, tree.c_str(), -1, SQLITE_STATIC);
    sqlite3_step(statement);
    const auto page = static_cast<std::size_t>(sqlite3_column_int(statement, 0));
    sqlite3_finalize(statement);
    sqlite3_close(database);
    // An inner page has pointers to cells, which begin with the number of a page; the last page's
    // number is in the head.
    const std::size_t root = (page - 1) * pageSize;
    std::vector<std::size_t> pages = {root};
    const std::size_t cells = number(root + 3, 2);
    for (std::size_t i = 0; i < cells; ++i) {
        pages.push_back((number(root + number(root + 12 + 2 * i, 2), 4) - 1) * pageSize);
    }
    pages.push_back((number(root + 8, 4) - 1) * pageSize);
    return pages;
}

void wipe(const std::string& file, const std::vector<std::size_t>& pages) {
    std::string bytes = readFile(file);
    constexpr std::size_t length = 1000;
    for (const std::size_t page : pages) {
        bytes.replace(page, length, length, '\0');
    }
    writeFile(file, bytes);
}

/// So many frames, each in a row of its own, as no two that follow each other are of one type.
constexpr int manyRows = 4000;
void writeRows(const std::string& file) {
    auto track = std::make_shared<Track>(1);
    track->setFrameCount(manyRows);
    for (int i = 0; i < manyRows; ++i) {
        track->setFrame(i, std::make_shared<Frame>(Time(static_cast<unsigned>(i), 120), i % 2,
                                                   std::string("x")));
    }
    auto take = std::make_shared<Tracks>();
    take->setTimeLength(manyRows);
    take->addTrack(track, 0);
    TakeWriter writer(file, "test");
    writer.write(take);
    writer.commit();
}

TEST(TakeCheck, RecoversWhatLiesBehindADamagedPageOfATableWithoutAnIndex) {
    const TemporaryDirectory directory;
    const std::string file = directory / "take.tarn";
    writeRows(file);
    const auto pages = pagesOf(file, "chunk");
    ASSERT_GE(pages.size(), 6U) << "the root and several others";
    wipe(file, {pages[pages.size() / 2], pagesOf(file, "chunk_place").front()});
    const TakeRecovery recovery = recoverTakeFile(file, directory / "out.tarn");
    const auto pagesOfRows = static_cast<std::int64_t>(pages.size() - 1);
    EXPECT_GT(recovery.frames, manyRows - 2 * manyRows / pagesOfRows)
        << "all but those of one page";
    TakeReader reader(directory / "out.tarn");
    EXPECT_NE(reader.frame(1, 0), nullptr);
    EXPECT_EQ(reader.frame(1, manyRows / 2), nullptr);
    EXPECT_NE(reader.frame(1, manyRows - 1), nullptr);
}

TEST(TakeCheck, RecoversByTheIndexWhatLiesBetweenDamagedPagesOfATable) {
    const TemporaryDirectory directory;
    const std::string file = directory / "take.tarn";
    writeRows(file);
    const auto table = pagesOf(file, "chunk");
    const auto index = pagesOf(file, "chunk_place");
    ASSERT_GE(table.size(), 6U);
    ASSERT_GE(index.size(), 4U);
    // The index is read from both ends, too.
    wipe(file, {table[1], table.back(), index[index.size() / 2]});
    recoverTakeFile(file, directory / "out.tarn");
    TakeReader reader(directory / "out.tarn");
    EXPECT_EQ(reader.frame(1, 0), nullptr);
    EXPECT_NE(reader.frame(1, manyRows / 5), nullptr);
    EXPECT_NE(reader.frame(1, manyRows - manyRows / 5), nullptr);
    EXPECT_EQ(reader.frame(1, manyRows - 1), nullptr);
}

TEST(TakeCheck, MakesAWholeFileOfOneThatWasBrokenOff) {
    const TemporaryDirectory directory;
    copyUnended(directory / "take.tarn", 100);
    const TakeRecovery recovery = recoverTakeFile(directory / "take.tarn", directory / "out.tarn");
    EXPECT_EQ(recovery.frames, 100);
    EXPECT_TRUE(recovery.missing.empty());
    EXPECT_TRUE(checkTakeFile(directory / "out.tarn").isWhole);
    EXPECT_EQ(TakeReader(directory / "out.tarn").load()->timeLength(), 100);
}

} // namespace
} // namespace tarn::store
