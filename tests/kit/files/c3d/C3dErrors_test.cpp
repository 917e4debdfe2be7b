// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "kit/files/C3dTesting.h"
#include "support/Samples.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

// What cannot be opened says why and where; files and streams give the same.

namespace tarn::kit {
namespace {

namespace fs = std::filesystem;
using namespace c3d_testing;

void expectRefused(const std::string& bytes, std::uint64_t offset, const std::string& reason) {
    const auto error = errorOf(bytes);
    ASSERT_TRUE(error);
    EXPECT_EQ(error->offset(), offset);
    EXPECT_EQ(error->what(), "bytes: byte " + std::to_string(offset) + ": " + reason);
}

TEST(C3dErrors, AFileWithoutAWholeHeaderEndsTooSoon) {
    expectRefused("", 0, "expected a header of 512 bytes, found the end of the file");
    expectRefused(FileBuilder().standard().bytes().substr(0, 511), 511,
                  "expected a header of 512 bytes, found the end of the file");
}

TEST(C3dErrors, AFileWithoutTheKeyIsAnotherFile) {
    expectRefused(std::string(2000, 'a'), 1, "expected 80, by which C3D files are known, found 97");
}

TEST(C3dErrors, AFileWithTheKeyNeedsParametersOrAHeaderThatMakesSense) {
    std::string bytes(2000, '\0');
    bytes[0] = 2;
    bytes[1] = 0x50;
    expectRefused(bytes, 512, "expected a section of parameters");
}

TEST(C3dErrors, StrictReadingNamesTheFirstContradiction) {
    const std::string bytes = FileBuilder().standard().header(2, 200).bytes();
    const auto error = errorOf(bytes, C3dMode::Strict);
    ASSERT_TRUE(error);
    EXPECT_STREQ(error->what(), "bytes: byte 2: header word 2: 200, expected 3: with that the data "
                                "fills the file");
}

TEST(C3dErrors, FilesThatCannotBeOpenedAreNamed) {
    try {
        readC3d(fs::path("/nowhere/walk.c3d"));
        FAIL() << "accepted";
    } catch (const ReadError& error) {
        EXPECT_EQ(error.file(), "/nowhere/walk.c3d");
        EXPECT_EQ(error.offset(), std::nullopt);
    }
    EXPECT_THROW(readC3d(fs::path("/")), ReadError);
    EXPECT_THROW(readC3dInfo(fs::path("/")), ReadError);
}

TEST(C3dErrors, StreamsThatFailedAreRefused) {
    std::istringstream stream(FileBuilder().standard().bytes());
    stream.setstate(std::ios::failbit);
    EXPECT_THROW(readC3d(stream), ReadError);
}

/// A test with a directory of its own.
class C3dFiles : public ::testing::Test {
protected:
    fs::path write(const std::string& name, const std::string& bytes) const {
        testing::writeFile(directory_ / name, bytes);
        return directory_ / name;
    }

private:
    testing::TemporaryDirectory directory_;
};

TEST_F(C3dFiles, AreReadByPathAndNameTheirTake) {
    const fs::path file = write("walk.v1.c3d", FileBuilder().standard().bytes());
    const C3dTake take = readC3d(file);
    EXPECT_EQ(take.tracks->tracksName(), "walk.v1");
    EXPECT_EQ(take.frameCount, 4);
    EXPECT_EQ(markersAt(take, 3)[2].position.x, FileBuilder::coordinate(2, 3, 0));
}

/// Expects header and parameters alone to say what the whole file says.
void expectSameInfo(const fs::path& file) {
    const C3dTake take = readC3d(file);
    const C3dInfo info = readC3dInfo(file);
    EXPECT_EQ(info.frameCount, take.frameCount);
    EXPECT_EQ(info.firstFrame, take.firstFrame);
    EXPECT_EQ(info.rate, take.rate);
    EXPECT_EQ(info.unit, take.unit);
    EXPECT_EQ(info.encoding, take.encoding);
    EXPECT_EQ(info.parameters, take.parameters);
    EXPECT_EQ(info.report.size(), take.report.size());
    ASSERT_EQ(info.markers.size(), take.markers.size());
    for (std::size_t i = 0; i < info.markers.size(); ++i) {
        EXPECT_EQ(info.markers[i].label(), take.markers[i].label());
    }
}

TEST_F(C3dFiles, SayInTheirHeadersWhatTheyHold) {
    expectSameInfo(testing::samplePath("cmu_01_01_jumps.c3d"));
    expectSameInfo(testing::samplePath("cmu_85_02.c3d"));
    expectSameInfo(write("small.c3d", FileBuilder().standard().bytes()));
}

TEST_F(C3dFiles, SayItAlsoWhereTheParametersAreFarBehind) {
    FileBuilder file;
    file.points = 100;
    file.frames = 200;
    file.dataBlock = 2;
    std::string bytes = file.standard().header() + file.data();
    bytes.resize((bytes.size() + 511) / 512 * 512);
    bytes[0] = 0;
    expectSameInfo(write("late.c3d", bytes + file.section()));
    FileBuilder wordy;
    wordy.dataBlock = 1200;
    wordy.standard();
    for (int i = 0; i < 10; ++i) {
        wordy.texts(1, "LONG" + std::to_string(i),
                    std::vector<std::string>(255, std::string(200, 'x')));
    }
    expectSameInfo(write("wordy.c3d", wordy.bytes()));
    EXPECT_NE(readC3dInfo(write("wordy.c3d", wordy.bytes())).parameters.find("POINT", "LONG9"),
              nullptr);
}

/// A file that is larger than what is read of it at a time.
FileBuilder longFile() {
    FileBuilder file;
    file.points = 100;
    file.frames = 400;
    file.channels = 4;
    file.samples = 5;
    file.dataBlock = 6;
    return file.standard();
}

/// Expects a take to hold the samples, the report and the bytes of another one.
void expectSameTake(const C3dTake& take, const C3dTake& other) {
    ASSERT_EQ(take.frameCount, other.frameCount);
    ASSERT_EQ(take.markers.size(), other.markers.size());
    for (int i = 0; i < take.frameCount; ++i) {
        const MarkerFrame markers = markersAt(take, i);
        const MarkerFrame others = markersAt(other, i);
        for (std::size_t k = 0; k < markers.size(); ++k) {
            ASSERT_EQ(markers[k].state, others[k].state) << i;
            ASSERT_EQ(markers[k].residual, others[k].residual) << i;
            ASSERT_TRUE(!markers[k].hasPosition() || markers[k].position == others[k].position);
        }
    }
    ASSERT_EQ(take.samplesPerFrame, other.samplesPerFrame);
    for (int i = 0; i < take.frameCount * take.samplesPerFrame; ++i) {
        ASSERT_EQ(samplesAt(take, i).toVector(), samplesAt(other, i).toVector()) << i;
    }
    ASSERT_EQ(take.report.size(), other.report.size());
    for (std::size_t i = 0; i < take.report.size(); ++i) {
        ASSERT_EQ(to_string(take.report[i]), to_string(other.report[i]));
    }
    std::ostringstream written;
    std::ostringstream expected;
    writeC3d(take, written);
    writeC3d(other, expected);
    ASSERT_TRUE(written.str() == expected.str());
}

TEST_F(C3dFiles, AreTheSameByPathAndByStreamHoweverLongAndDamaged) {
    const std::string bytes = longFile().bytes();
    expectSameTake(readC3d(write("whole.c3d", bytes)), readBytes(bytes));
    for (std::size_t at = 0; at < std::size_t{5} * 512; at += 37) {
        std::string damaged = bytes;
        damaged[at] = static_cast<char>(damaged[at] ^ 0x5A);
        const fs::path file = write("damaged.c3d", damaged);
        expectSameTake(readC3d(file), readBytes(damaged));
        ASSERT_FALSE(HasFatalFailure()) << at;
    }
}

TEST_F(C3dFiles, HaveTheirLastFrameAndWhatFollowsIt) {
    const std::string bytes = longFile().bytes() + std::string(3000, 'x');
    const C3dTake take = readC3d(write("long.c3d", bytes));
    EXPECT_EQ(take.frameCount, 400);
    EXPECT_EQ(markersAt(take, 399)[98].position.x, FileBuilder::coordinate(98, 399, 0));
    EXPECT_EQ(samplesAt(take, 1999)[3],
              static_cast<float>(FileBuilder::stored(3, 1999) - 10)); // less the offset, times 1
    std::ostringstream written;
    writeC3d(take, written);
    EXPECT_TRUE(written.str() == bytes);
}

TEST(C3dSamples, HaveTheMarkersOfTheirDescription) {
    C3dOptions strict;
    strict.mode = C3dMode::Strict;
    const C3dTake jumps = readC3d(testing::samplePath("cmu_01_01_jumps.c3d"), strict);
    EXPECT_EQ(jumps.markers.size(), 42U);
    EXPECT_EQ(jumps.frameCount, 840);
    EXPECT_EQ(jumps.firstFrame, 160);
    EXPECT_EQ(jumps.rate, 120);
    EXPECT_EQ(jumps.unit, "mm");
    EXPECT_EQ(jumps.markers[0].name, "LBWT");
    EXPECT_EQ(jumps.markers[0].description, "Left back waist");
    int missing = 0;
    for (int i = 0; i < jumps.frameCount; ++i) {
        for (const Marker& marker : markersAt(jumps, i)) {
            missing += marker.hasPosition() ? 0 : 1;
        }
    }
    EXPECT_EQ(missing, 832);
    const C3dTake acrobat = readC3d(testing::samplePath("cmu_85_02.c3d"), strict);
    EXPECT_EQ(acrobat.markers.size(), 41U);
    EXPECT_EQ(acrobat.frameCount, 810);
    EXPECT_EQ(acrobat.markers[0].subject, "Male");
    EXPECT_EQ(acrobat.markers[0].name, "LFWT");
}

} // namespace
} // namespace tarn::kit
