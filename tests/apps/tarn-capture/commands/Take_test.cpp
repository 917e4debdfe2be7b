// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "apps/support/Programs.h"
#include "apps/support/Takes.h"
#include "support/Samples.h"

#include <gmock/gmock.h>

#include <string>

namespace tarn::tests {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::StartsWith;

class Take : public ::testing::Test {
protected:
    /// A take file of a sample take.
    std::string recorded(const std::string& sample, const std::string& ending = ".bvh") {
        std::string file = directory_ / (sample + ".tarn");
        const Outcome outcome =
            capture({"stream", samplePath(sample + ending), "--speed", "0", "--record", file});
        EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
        EXPECT_THAT(outcome.out, HasSubstr(" recorded in " + file + "\n"));
        return file;
    }
    static std::string samplePath(const std::string& name) {
        return tarn::testing::samplePath(name).string();
    }

    const TempDirectory directory_;
};

TEST_F(Take, ExportsAsTheTakeDoesThatWasRecorded) {
    const std::string file = recorded("cmu_131_01_walk");
    const Outcome take =
        capture({"export", samplePath("cmu_131_01_walk.bvh"), "--format", "csv", "--out", "-"});
    const Outcome again = capture({"export", file, "--format", "csv", "--out", "-"});
    EXPECT_EQ(again.exitCode, 0) << again.err;
    EXPECT_EQ(again.out, take.out);
    EXPECT_THAT(capture({"info", "--brief", file}).out, HasSubstr("    994 frames"));
}

TEST_F(Take, OfMarkersExportsAndConvertsAsTheTakeDoes) {
    const std::string file = recorded("cmu_85_02", ".c3d");
    const std::string sample = samplePath("cmu_85_02.c3d");
    const Outcome take = capture({"export", sample, "--format", "csv", "--out", "-"});
    const Outcome again = capture({"export", file, "--format", "csv", "--out", "-"});
    EXPECT_EQ(again.exitCode, 0) << again.err;
    EXPECT_EQ(again.out.substr(0, again.out.find('\n')), take.out.substr(0, take.out.find('\n')));
    EXPECT_EQ(capture({"convert", file, directory_ / "again.c3d"}).exitCode, 0);
    EXPECT_EQ(capture({"info", file}).exitCode, 0);
}

TEST_F(Take, IsListedCheckedCutJoinedAndNoted) {
    const std::string file = recorded("cmu_131_01_walk");
    EXPECT_THAT(capture({"take", "ls", file}).out,
                AllOf(HasSubstr("poses"), HasSubstr("994 frames"), HasSubstr("cmu_131_01_walk")));
    EXPECT_EQ(capture({"take", "check", file}).out, "whole: 1 track, 994 frames\n");
    const std::string a = directory_ / "a.tarn";
    const std::string b = directory_ / "b.tarn";
    const std::string joined = directory_ / "joined.tarn";
    EXPECT_EQ(capture({"take", "cut", file, "0..99", a}).exitCode, 0);
    EXPECT_EQ(capture({"take", "cut", file, "100..", b}).exitCode, 0);
    EXPECT_EQ(capture({"take", "join", a, b, joined}).out,
              "994 frames written to " + joined + "\n");
    EXPECT_EQ(capture({"take", "note", joined, "good one"}).exitCode, 0);
    EXPECT_THAT(capture({"take", "ls", joined}).out, HasSubstr("good one"));
    const auto csv = [](const std::string& take) {
        return capture({"export", take, "--format", "csv", "--out", "-"}).out;
    };
    EXPECT_EQ(csv(joined), csv(file));
}

TEST_F(Take, ThatIsDamagedIsToldAndRecovered) {
    const std::string file = recorded("cmu_131_01_walk");
    const std::string bytes = readFile(file);
    writeFile(file, bytes.substr(0, bytes.size() / 2));
    const Outcome check = capture({"take", "check", file});
    EXPECT_EQ(check.exitCode, 1);
    EXPECT_THAT(check.out, StartsWith("damaged: "));
    const std::string out = directory_ / "out.tarn";
    const Outcome recovery = capture({"take", "recover", file, out});
    EXPECT_EQ(recovery.exitCode, 0) << recovery.err;
    EXPECT_THAT(recovery.out, AllOf(HasSubstr(" frames recovered\n"), HasSubstr(" missing of ")));
    EXPECT_EQ(capture({"take", "check", out}).exitCode, 0);
}

TEST_F(Take, SaysWhatIsWrong) {
    EXPECT_EQ(capture({"take", "check", directory_ / "none.tarn"}).exitCode, 1);
    EXPECT_EQ(capture({"take", "check"}).exitCode, 2);
    EXPECT_EQ(capture({"take", "turn", "a"}).exitCode, 2);
    EXPECT_EQ(capture({"take", "cut", "a", "b"}).exitCode, 2);
    const std::string file = recorded("cmu_131_01_walk");
    EXPECT_EQ(capture({"take", "cut", file, "0..994", directory_ / "x.tarn"}).exitCode, 2);
    EXPECT_EQ(capture({"take", "recover", file, file}).exitCode, 2);
    const std::string sample = samplePath("cmu_131_01_walk.bvh");
    EXPECT_EQ(capture({"stream", sample, "--speed", "0", "--record", "walk.bvh"}).exitCode, 2);
    const Outcome twice = capture({"stream", sample, "--speed", "0", "--record", file});
    EXPECT_EQ(twice.exitCode, 1);
    EXPECT_THAT(twice.err, HasSubstr("is there already"));
}

TEST_F(Take, OfARunHasABodyPerPerformer) {
    const std::string file = directory_ / "session.tarn";
    const Outcome run =
        capture({"run", samplePath("cmu_131_01_walk.bvh"), samplePath("cmu_131_01_walk.bvh"),
                 "--out", directory_ / "out", "--record", file});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_THAT(run.out, HasSubstr("3976 frames recorded in "));
    EXPECT_THAT(capture({"info", file}).err,
                HasSubstr("holds several bodies: cmu_131_01_walk, cmu_131_01_walk-2"));
    EXPECT_THAT(capture({"info", file + "#cmu_131_01_walk-2"}).out, HasSubstr("994"));
}

} // namespace
} // namespace tarn::tests
