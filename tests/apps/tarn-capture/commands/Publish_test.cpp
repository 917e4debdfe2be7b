// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "apps/support/LinkedTest.h"

#include <gmock/gmock.h>

#include <csignal>
#include <filesystem>
#include <future>
#include <string>

namespace tarn::tests {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;

class Linked : public LinkedTest {
protected:
    const std::string file_ = directory_ / "recorded.tarn";
};

using Publish = Linked;
using Record = Linked;
using Watch = Linked;

TEST_F(Record, HasEveryFrameOfWhatIsPublished) {
    auto publisher =
        captureMeanwhile({"publish", walk_, "--as", "stage", "--await", "1", "--speed", "0"});
    const Outcome recorder =
        capture(linked({"record", "--from", "stage", "--out", file_, "--wait", "60"}));
    EXPECT_EQ(recorder.exitCode, 0);
    EXPECT_THAT(recorder.err, IsEmpty());
    EXPECT_THAT(recorder.out, AllOf(HasSubstr("stage\n  received  994 frames\n  lost      0\n"),
                                    HasSubstr("994 frames recorded in ")));
    const Outcome published = publisher.get();
    EXPECT_EQ(published.exitCode, 0) << published.err;
    EXPECT_THAT(published.out, AllOf(HasSubstr("'stage' is offered in domain " + domain_),
                                     HasSubstr("  sent      994 frames of 994\n  lost      0\n")));

    const std::string original = directory_ / "original.csv";
    const std::string recorded = directory_ / "recorded.csv";
    EXPECT_EQ(capture({"export", walk_, "--format", "csv", "--out", original}).exitCode, 0);
    EXPECT_EQ(capture({"export", file_, "--format", "csv", "--out", recorded}).exitCode, 0);
    EXPECT_EQ(readFile(original), readFile(recorded));
}

TEST_F(Record, KeepsTakesOfOneStreamApart) {
    const std::string other = sampleTake("cmu_60_12_salsa_a");
    auto publisher = captureMeanwhile(
        {"publish", walk_, other, "--as", "stage", "--await", "1", "--speed", "0"});
    const Outcome recorder =
        capture(linked({"record", "--from", "stage", "--out", file_, "--wait", "60"}));
    EXPECT_EQ(recorder.exitCode, 0) << recorder.err;
    EXPECT_EQ(publisher.get().exitCode, 0);
    EXPECT_EQ(capture({"info", file_ + "#cmu_131_01_walk"}).exitCode, 0);
    EXPECT_EQ(capture({"info", file_ + "#cmu_60_12_salsa_a"}).exitCode, 0);
}

TEST_F(Record, FailsWhereAPublisherGoesBeforeTheEndAndKeepsWhatCame) {
    auto recorder = captureMeanwhile({"record", "--from", "stage", "--out", file_, "--wait", "60"});
    const Outcome published = captureInterrupted(
        linked({"publish", walk_, "--as", "stage", "--await", "1", "--speed", "0.1"}), "playing",
        SIGKILL);
    EXPECT_EQ(published.exitCode, 128 + SIGKILL);
    const Outcome outcome = recorder.get();
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_THAT(outcome.err, HasSubstr("'stage' has gone before its end"));
    EXPECT_TRUE(std::filesystem::exists(file_));
}

TEST_F(Record, SaysWhyThereIsNothingToRecordAndLeavesNoFile) {
    const Outcome outcome =
        capture(linked({"record", "--from", "stage", "--out", file_, "--wait", "0.1"}));
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_THAT(outcome.err, HasSubstr("nobody offers 'stage' in domain " + domain_));
    EXPECT_FALSE(std::filesystem::exists(file_));
}

TEST_F(Record, RefusesACommandLineThatCannotBe) {
    EXPECT_EQ(capture({"record", "--from", "a*", "--out", file_}).exitCode, 2);
    EXPECT_EQ(capture({"record", "--from", "stage", "--out", "x.bvh"}).exitCode, 2);
    const Outcome twice = capture({"record", "--from", "a", "b", "a", "--out", file_});
    EXPECT_EQ(twice.exitCode, 2);
    EXPECT_THAT(twice.err, HasSubstr("--from 'a' is given twice"));
    EXPECT_EQ(capture({"record", "--from", "stage"}).exitCode, 2);
    EXPECT_EQ(capture({"record", "--out", file_}).exitCode, 2);
    EXPECT_EQ(capture({"record", "--from", "a", "--out", file_, "--domain", "201"}).exitCode, 2);
    const Outcome peer = capture({"record", "--from", "a", "--out", file_, "--peer", "no host"});
    EXPECT_EQ(peer.exitCode, 1);
    EXPECT_THAT(peer.err, HasSubstr("peer 'no host': "));
}

TEST_F(Publish, ThatIsInterruptedEndsItsStream) {
    const Outcome outcome = captureInterrupted(
        linked({"publish", walk_, "--as", "stage", "--await", "1"}), "waiting for 1 receiver");
    EXPECT_EQ(outcome.exitCode, 128 + SIGINT);
    EXPECT_THAT(outcome.err, HasSubstr("interrupted"));
    EXPECT_THAT(outcome.out, HasSubstr("  sent      0 frames of 994\n"));
}

TEST_F(Publish, RefusesACommandLineThatCannotBe) {
    EXPECT_EQ(capture({"publish", walk_}).exitCode, 2);
    EXPECT_EQ(capture({"publish", walk_, "--as", ""}).exitCode, 2);
    EXPECT_EQ(capture({"publish", walk_, "--as", "a?"}).exitCode, 2);
    EXPECT_EQ(capture({"publish", walk_, "--as", "a", "--await", "-1"}).exitCode, 2);
    EXPECT_EQ(capture({"publish", directory_ / "none.bvh", "--as", "a"}).exitCode, 1);
}

TEST_F(Watch, OnceFailsWhereNobodyOffersAnything) {
    const Outcome outcome = capture(linked({"watch", "--once", "--wait", "0.1"}));
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_THAT(outcome.err, HasSubstr("nobody offers anything in domain " + domain_));
}

TEST_F(Watch, OnceTellsOfAStreamWithoutCountingAsAReceiver) {
    std::string table;
    const Outcome published = [&] {
        auto publisher = std::async(std::launch::async, [this] {
            return captureInterrupted(linked({"publish", walk_, "--as", "stage", "--await", "1"}),
                                      "never printed");
        });
        do { // a second is short for all that it shows, on a busy machine
            table = capture(linked({"watch", "--once", "--wait", "60"})).out;
        } while (!table.empty() && table.find(" ms\n") == std::string::npos);
        auto recorder = capture(linked({"record", "--from", "stage", "--out", file_}));
        EXPECT_EQ(recorder.exitCode, 0) << recorder.err;
        EXPECT_THAT(recorder.out, HasSubstr("received  994 frames")); // from the first on
        return publisher.get();
    }();
    EXPECT_EQ(published.exitCode, 0);
    EXPECT_THAT(table, HasSubstr("\nstage   tarn-capture "));
    EXPECT_THAT(table, MatchesRegex("stream +offered by +tracks +rate/s +lost +latency +clock\n"
                                    "stage +tarn-capture [0-9.]+ on .+ 1 +0.0 +0 +- +.+ ms\n"));
}

} // namespace
} // namespace tarn::tests
