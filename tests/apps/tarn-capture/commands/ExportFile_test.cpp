// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "apps/support/Programs.h"
#include "apps/support/Takes.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <iterator>
#include <string>

namespace tarn::tests {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

/// Where an export goes, and what becomes of what was there.
class ExportFile : public ::testing::Test {
protected:
    ExportFile() { writeFile(take_, TakeText().text()); }

    Outcome exportTo(const std::string& out) const {
        return capture({"export", take_, "--format", "csv", "--out", out});
    }

    const TempDirectory directory_;
    const std::string take_ = directory_ / "take.bvh";
    const std::string out_ = directory_ / "out.csv";
};

void expectFailure(const Outcome& outcome, const std::string& reason) {
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.err, "tarn-capture: " + reason + "\n");
    EXPECT_THAT(outcome.out, IsEmpty());
}

TEST_F(ExportFile, ReplacesAFileAndLeavesNothingElseBehind) {
    writeFile(out_, "old");
    EXPECT_EQ(exportTo(out_).exitCode, 0);
    EXPECT_THAT(readFile(out_), StartsWith("frame,"));
    EXPECT_THAT(directory_.names(), ElementsAre("out.csv", "take.bvh"));
}

TEST_F(ExportFile, GoesIntoTheWorkingDirectoryByItsNameAlone) {
    const Outcome outcome =
        runProgram("sh", {"-c", "cd '" + directory_.path().string() + "' && '" + captureProgram() +
                                    "' export take.bvh --format csv --out out.csv"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_THAT(readFile(out_), StartsWith("frame,"));
}

TEST_F(ExportFile, KeepsThePermissionsOfTheFileItReplaces) {
    writeFile(out_, "old");
    fs::permissions(out_, fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_EQ(exportTo(out_).exitCode, 0);
    EXPECT_EQ(fs::status(out_).permissions(), fs::perms::owner_read | fs::perms::owner_write);
}

TEST_F(ExportFile, FollowsALinkAndLeavesItALink) {
    const std::string link = directory_ / "link.csv";
    writeFile(out_, "old");
    fs::create_symlink(out_, link);
    EXPECT_EQ(exportTo(link).exitCode, 0);
    EXPECT_TRUE(fs::is_symlink(link));
    EXPECT_FALSE(fs::is_symlink(out_));
    EXPECT_THAT(readFile(out_), StartsWith("frame,"));
}

TEST_F(ExportFile, WritesIntoAPipeAsItIs) {
    ASSERT_EQ(::mkfifo(out_.c_str(), 0600), 0);
    const int reader = ::open(out_.c_str(), O_RDONLY | O_NONBLOCK);
    ASSERT_GE(reader, 0);
    EXPECT_EQ(exportTo(out_).exitCode, 0);
    std::array<char, 6> start{};
    EXPECT_EQ(::read(reader, start.data(), start.size()), 6);
    ::close(reader);
    EXPECT_EQ(std::string(start.data(), start.size()), "frame,");
    EXPECT_TRUE(fs::is_fifo(out_));
}

TEST_F(ExportFile, APipeThatNobodyReadsIsAFailure) {
    ASSERT_EQ(::mkfifo(out_.c_str(), 0600), 0);
    expectFailure(exportTo(out_), "cannot write '" + out_ +
                                      "', a pipe that nobody reads: No such device or address");
    EXPECT_TRUE(fs::is_fifo(out_));
}

TEST_F(ExportFile, GoesIntoEveryNameOfTheFileItOverwrites) {
    writeFile(out_, "old");
    fs::create_hard_link(out_, directory_ / "other.csv");
    EXPECT_EQ(exportTo(out_).exitCode, 0);
    EXPECT_THAT(readFile(directory_ / "other.csv"), StartsWith("frame,"));
}

TEST_F(ExportFile, GoesIntoTheFileThatStandardOutputIs) {
    // Two names of one open file: what the second shows has gone into what the first has open.
    const Outcome outcome =
        runProgram("sh", {"-c", "exec 3<> '" + out_ + "'; '" + captureProgram() + "' export '" +
                                    take_ + "' --format csv --out /dev/stdout >&3; cat <&3"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_THAT(outcome.out, StartsWith("frame,"));
    EXPECT_EQ(readFile(out_), outcome.out);
}

TEST_F(ExportFile, AWriteThatFailsLeavesWhatWasThere) {
    writeFile(out_, "old");
    // A file may have 200 blocks of 512 bytes; the take needs more.
    const Outcome outcome = runProgram(
        "sh", {"-c", "trap '' XFSZ; ulimit -f 200; exec '" + captureProgram() + "' export '" +
                         sampleTake("cmu_131_01_walk") + "' --format json --out '" + out_ + "'"});
    expectFailure(outcome, "cannot write '" + out_ + "': File too large");
    EXPECT_EQ(readFile(out_), "old");
    EXPECT_THAT(directory_.names(), ElementsAre("out.csv", "take.bvh"));
}

TEST_F(ExportFile, AWriteThatFailsAtItsVeryEndLeavesWhatWasThere) {
    writeFile(out_, "old");
    // So little is written that it is still buffered when the file is closed.
    const Outcome outcome =
        runProgram("sh", {"-c", "trap '' XFSZ; ulimit -f 0; exec '" + captureProgram() +
                                    "' export '" + take_ + "' --format csv --out '" + out_ + "'"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(readFile(out_), "old");
    EXPECT_THAT(directory_.names(), ElementsAre("out.csv", "take.bvh"));
}

TEST_F(ExportFile, AFullDeviceIsAFailure) {
    expectFailure(exportTo("/dev/full"), "cannot write '/dev/full': No space left on device");
}

TEST_F(ExportFile, APlaceThatIsNoFileIsAFailure) {
    const std::string nowhere = take_ + "/out.csv";
    expectFailure(exportTo(nowhere),
                  "cannot create the directory '" + take_ + "': Not a directory");
    expectFailure(exportTo(""), "cannot write '': No such file or directory");
    EXPECT_THAT(directory_.names(), ElementsAre("take.bvh"));
}

TEST_F(ExportFile, GetsTheDirectoriesThatItNeeds) {
    const std::string deep = directory_ / "new/directory/out.csv";
    EXPECT_EQ(exportTo(deep).exitCode, 0);
    EXPECT_THAT(readFile(deep), StartsWith("frame,"));
}

TEST_F(ExportFile, IsNamedAfterTheTakeInADirectory) {
    const std::string there = directory_ / "there";
    fs::create_directory(there);
    EXPECT_EQ(exportTo(there).exitCode, 0);
    EXPECT_THAT(readFile(there + "/take.csv"), StartsWith("frame,"));
    const std::string made = directory_ / "made/";
    EXPECT_EQ(exportTo(made).exitCode, 0);
    EXPECT_EQ(readFile(made + "take.csv"), readFile(there + "/take.csv"));
}

TEST_F(ExportFile, IsOneForEachOfSeveralTakes) {
    fs::create_directory(directory_ / "b");
    TakeText other;
    other.root = "Other";
    writeFile(directory_ / "b/take.bvh", other.text());
    const std::string out = directory_ / "out";

    const Outcome outcome = capture({"export", take_, directory_ / "missing.bvh",
                                     directory_ / "b/take.bvh", "--format", "json", "--out", out});

    EXPECT_EQ(outcome.exitCode, 1); // of the one that is not there
    EXPECT_EQ(outcome.err,
              "tarn-capture: " + directory_ / "missing.bvh" + ": No such file or directory\n");
    EXPECT_THAT(readFile(out + "/take.json"), HasSubstr("\"name\":\"Hips\""));
    EXPECT_THAT(readFile(out + "/take-2.json"), HasSubstr("\"name\":\"Other\""));
    EXPECT_EQ(std::distance(fs::directory_iterator(out), fs::directory_iterator()), 2);
}

TEST_F(ExportFile, IsStandardOutputForADash) {
    ASSERT_EQ(exportTo(out_).exitCode, 0);
    const Outcome outcome = exportTo("-");
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.out, readFile(out_));
    EXPECT_THAT(directory_.names(), ElementsAre("out.csv", "take.bvh"));

    const Outcome full = runProgram("sh", {"-c", "'" + captureProgram() + "' export '" + take_ +
                                                     "' --format csv --out - > /dev/full"});
    EXPECT_EQ(full.exitCode, 1);
    EXPECT_EQ(full.err, "tarn-capture: cannot write to standard output\n");
}

TEST_F(ExportFile, NeverTakesThePlaceOfOneOfSeveralTakes) {
    const std::string odd = directory_ / "take.csv";
    writeFile(odd, TakeText().text());
    const Outcome outcome =
        capture({"export", take_, odd, "--format", "csv", "--out", directory_.path().string()});
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_EQ(readFile(odd), TakeText().text());
}

} // namespace
} // namespace tarn::tests
