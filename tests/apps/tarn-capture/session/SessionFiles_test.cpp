// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "apps/support/SessionTest.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <utility>

namespace tarn::tests {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class SessionFiles : public SessionTest {
protected:
    /// Runs a session that can write nothing.
    Outcome runWithoutRoom(const std::string& take) const {
        return runProgram("sh", {"-c", "trap '' XFSZ; ulimit -f 0; exec '" + captureProgram() +
                                           "' run '" + take + "' --out '" + out_ + "' --force"});
    }
};

TEST_F(SessionFiles, HoldTheTableThatAnExportOfTheTakeMakes) {
    TakeText take;
    take.rootPositions = {"0 0 0", "0.1 0.2 0.3", "1e-3 -7 123456"};
    writeFile(directory_ / "take.bvh", take.text());

    ASSERT_EQ(run({directory_ / "take.bvh"}).exitCode, 0);
    ASSERT_EQ(capture({"export", directory_ / "take.bvh", "--format", "csv", "--out",
                       directory_ / "export.csv"})
                  .exitCode,
              0);

    EXPECT_EQ(readFile(output("take.csv")), readFile(directory_ / "export.csv"));
}

TEST_F(SessionFiles, HoldAPictureOfPosesAndOneOfMotion) {
    ASSERT_EQ(run({writeTake("take.bvh", 30)}).exitCode, 0);
    EXPECT_THAT(readFile(output("poses.svg")), HasSubstr("\nPose 1: frame 0, 0.000 s\n"));
    EXPECT_THAT(readFile(output("motion.svg")), HasSubstr("height and speed of "));
    EXPECT_NE(readFile(output("poses.png")), readFile(output("motion.png")));
}

TEST_F(SessionFiles, HoldWhatWasPlayedAndNothingOfTheCalibration) {
    ASSERT_EQ(run({writeTake("take.bvh", 30)}, {"--calibrate", "0.5"}).exitCode, 0);
    EXPECT_EQ(session("Session.Characters.Character1.FramesOut"), "30");
    const std::string table = readFile(output("take.csv"));
    EXPECT_EQ(std::count(table.begin(), table.end(), '\n'), 31);
}

TEST_F(SessionFiles, NeverTakeThePlaceOfATake) {
    for (const char* const name :
         {"poses.png", "poses.svg", "motion.png", "motion.svg", "take.csv", "take.bvh"}) {
        const TempDirectory directory;
        const std::string take = directory / name;
        writeFile(take, TakeText().text());

        const Outcome outcome = capture({"run", take, "--out", directory.path().string()});

        EXPECT_EQ(outcome.exitCode, 2);
        EXPECT_THAT(outcome.err, HasSubstr("--out: '" + take + "' is what the command reads\n"));
        EXPECT_EQ(readFile(take), TakeText().text());
        EXPECT_THAT(directory.names(), ElementsAre(name));
    }
}

TEST_F(SessionFiles, NeverTakeThePlaceOfASecondTake) {
    const std::string other = writeTake("motion.svg", 2);
    const Outcome outcome =
        capture({"run", writeTake("take.bvh", 2), other, "--out", directory_.path().string()});
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_THAT(outcome.err, HasSubstr("'" + directory_.path().string() + "/take.bvh' is what"));
}

TEST_F(SessionFiles, StayAsTheyWereWhereNoNewDocumentCanBeWritten) {
    ASSERT_EQ(run({writeTake("old.bvh", 3)}).exitCode, 0);
    const auto before = outputs();
    const std::string document = readFile(output("session.xml"));

    const Outcome outcome = runWithoutRoom(writeTake("new.bvh", 3));

    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outputs(), before);
    EXPECT_EQ(readFile(output("session.xml")), document);
}

TEST_F(SessionFiles, ReplaceAnOlderSessionOnlyWhenTheyAreToldTo) {
    ASSERT_EQ(run({writeTake("old.bvh", 3), writeTake("both.bvh", 3)}).exitCode, 0);
    writeFile(output("notes.txt"), "mine");
    const auto before = outputs();
    const std::string document = readFile(output("session.xml"));

    const Outcome refused = run({writeTake("new.bvh", 3)});
    EXPECT_EQ(refused.exitCode, 2);
    EXPECT_THAT(refused.err, HasSubstr("--out: '" + out_ + "' holds a session; --force replaces"));
    EXPECT_EQ(outputs(), before);
    EXPECT_EQ(readFile(output("session.xml")), document);

    EXPECT_EQ(run({writeTake("new.bvh", 3), writeTake("both.bvh", 3)}, {"--force"}).exitCode, 0);
    EXPECT_THAT(outputs(), ElementsAre("both.actor.xml", "both.bvh", "both.csv", "motion.png",
                                       "motion.svg", "new.actor.xml", "new.bvh", "new.csv",
                                       "notes.txt", "poses.png", "poses.svg", "session.xml"));
}

TEST_F(SessionFiles, AreAllListedInTheirDocument) {
    ASSERT_EQ(run({writeTake("old.bvh", 3), writeTake("both.bvh", 3)}).exitCode, 0);
    ASSERT_EQ(run({writeTake("new.bvh", 3)}, {"--force"}).exitCode, 0);
    Settings document;
    ASSERT_TRUE(document.loadSettingsFromFile(output("session.xml")));
    const auto list = document.subSettings("Session")->valueList("File");
    std::vector<std::string> files(list.begin(), list.end());
    std::sort(files.begin(), files.end());
    EXPECT_EQ(files, outputs());
}

TEST_F(SessionFiles, RemoveNothingThatLiesElsewhereWhateverAnOldDocumentLists) {
    const std::string take = writeTake("take.bvh", 3);
    fs::create_directory(out_);
    fs::create_directory(output("sub"));
    writeFile(output("sub/file"), "mine");
    writeFile(directory_ / "file", "mine");
    fs::create_symlink(directory_ / "file", output("link"));
    writeFile(output("session.xml"), "<Session><File>../file</File><File>sub/file</File>"
                                     "<File>sub</File><File>link</File><File>..</File><File/>"
                                     "<File>" +
                                         directory_ / "file" + "</File></Session>");

    EXPECT_EQ(run({take}, {"--force"}).exitCode, 0);

    EXPECT_TRUE(fs::exists(output("sub/file")));
    EXPECT_TRUE(fs::exists(output("link")));
    EXPECT_TRUE(fs::exists(directory_ / "file"));
}

TEST_F(SessionFiles, AreNotMixedWithThoseOfASessionThatDoesNotSayWhatIsItsOwn) {
    const std::string take = writeTake("take.bvh", 3);
    fs::create_directory(out_);
    for (const auto& [text, reason] :
         {std::pair("no document", ":1:1: expected an element, found 'no'"),
          std::pair("<Actor/>", ": not a session's document")}) {
        writeFile(output("session.xml"), text);
        const Outcome outcome = run({take}, {"--force"});
        EXPECT_EQ(outcome.exitCode, 1);
        EXPECT_THAT(outcome.err, HasSubstr(output("session.xml") + reason));
        EXPECT_THAT(outputs(), ElementsAre("session.xml"));
    }
}

TEST_F(SessionFiles, NeverTakeThePlaceOfATakeThatAnOlderSessionLeft) {
    ASSERT_EQ(run({writeTake("take.bvh", 3)}).exitCode, 0);
    const auto before = outputs();
    for (const char* const name : {"take.bvh", "other.bvh"}) {
        if (!fs::exists(output(name))) {
            fs::create_hard_link(output("take.bvh"), output(name));
        }
        const Outcome outcome = run({output(name)}, {"--force"});
        EXPECT_EQ(outcome.exitCode, 2) << name;
        EXPECT_THAT(outcome.err, HasSubstr("' is what the command reads\n"));
    }
    EXPECT_TRUE(fs::exists(output("take.bvh")));
}

TEST_F(SessionFiles, LeaveALinkInThePlaceOfTheDocument) {
    const std::string take = writeTake("take.bvh", 3);
    const std::string elsewhere = directory_ / "elsewhere.xml";
    writeFile(elsewhere, "<Session/>");
    fs::create_directory(out_);
    fs::create_symlink(elsewhere, output("session.xml"));

    EXPECT_EQ(runWithoutRoom(take).exitCode, 1);
    EXPECT_TRUE(fs::is_symlink(output("session.xml")));
    EXPECT_EQ(readFile(elsewhere), "<Session/>");

    EXPECT_EQ(run({take}, {"--force"}).exitCode, 0);
    EXPECT_TRUE(fs::is_symlink(output("session.xml")));
    EXPECT_THAT(readFile(elsewhere), HasSubstr("<Complete>yes</Complete>"));
}

TEST_F(SessionFiles, AreKnownToBeImpossibleBeforeAnythingPlays) {
    // A directory in which nobody can make a file.
    const Outcome outcome = capture({"run", writeTake("take.bvh", 3), "--out", "/proc/self"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_THAT(outcome.out, IsEmpty());
    EXPECT_THAT(outcome.err, HasSubstr("cannot write '/proc/self/poses.png': "));
    EXPECT_THAT(outcome.err, HasSubstr("; nothing was kept\n"));
}

TEST_F(SessionFiles, GoThroughLinksAndIntoPipes) {
    const std::string take = writeTake("take.bvh", 3);
    fs::create_directory(out_);
    fs::create_symlink("/dev/null", output("poses.png"));
    EXPECT_EQ(run({take}).exitCode, 0);
    EXPECT_TRUE(fs::is_symlink(output("poses.png")));
}

} // namespace
} // namespace tarn::tests
