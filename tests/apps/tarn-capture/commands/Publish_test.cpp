// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "apps/support/LinkedTest.h"

#include <gmock/gmock.h>
#include <tarn_kit/body/Analog.h>
#include <tarn_kit/body/Markers.h>
#include <tarn_kit/body/Payload.h>
#include <tarn_kit/body/RigidBodies.h>
#include <tarn_kit/files/C3d.h>
#include <tarn_kit/session/TakeOf.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <future>
#include <memory>
#include <string>
#include <utility>
#include <vector>

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

/// A take of markers that was measured by a force plate and with a rigid body as well.
kit::C3dTake measuredTake() {
    constexpr int frames = 40;
    constexpr int each = 4;
    kit::C3dTake take;
    take.markers = {{"", "LFHD", ""}};
    take.channels = {{"Fx1", "left plate", "N"}, {"EMG 1", "", "V"}};
    take.bodies = {{"Box", "on the floor"}};
    take.rate = 100;
    take.unit = "mm";
    take.metresPerUnit = 0.001;
    take.frameCount = frames;
    take.samplesPerFrame = each;
    take.bodiesPerFrame = 1;
    std::vector<std::shared_ptr<Frame>> markers;
    std::vector<std::shared_ptr<Frame>> samples;
    std::vector<std::shared_ptr<Frame>> bodies;
    for (unsigned i = 0; i < frames; ++i) {
        const auto value = static_cast<float>(i);
        markers.push_back(std::make_shared<Frame>(
            Time(i, 100), kit::markerDataType, kit::MarkerFrame({kit::Marker::at({value, 1, 2})})));
        kit::RigidBody body;
        body.position = {value, 3, 4};
        body.state = kit::MarkerState::Seen;
        bodies.push_back(std::make_shared<Frame>(Time(i, 100), kit::rigidBodyDataType,
                                                 kit::RigidBodyFrame({body})));
        for (unsigned k = each * i; k < each * (i + 1); ++k) {
            samples.push_back(std::make_shared<Frame>(
                Time(k, 100 * each), kit::analogDataType,
                kit::AnalogFrame({static_cast<float>(k), static_cast<float>(k) / 7})));
        }
    }
    take.tracks = kit::takeOf(kit::markerDataType, std::move(markers), 100);
    take.analogTracks = kit::takeOf(kit::analogDataType, std::move(samples), 100 * each);
    take.bodyTracks = kit::takeOf(kit::rigidBodyDataType, std::move(bodies), 100);
    return take;
}

TEST_F(Record, HasAllThatATakeOfMarkersHas) {
    const std::string take = directory_ / "measured.c3d";
    {
        std::ofstream file(take, std::ios::binary);
        kit::writeC3d(measuredTake(), file);
    }
    auto publisher =
        captureMeanwhile({"publish", take, "--as", "stage", "--await", "1", "--speed", "0"});
    const Outcome recorder =
        capture(linked({"record", "--from", "stage", "--out", file_, "--wait", "60"}));
    EXPECT_EQ(recorder.exitCode, 0) << recorder.err;
    const Outcome published = publisher.get();
    EXPECT_EQ(published.exitCode, 0) << published.err;
    EXPECT_THAT(published.out, AllOf(HasSubstr(": 3 tracks\n"), HasSubstr("playing 240 frames\n"),
                                     HasSubstr("  sent      240 frames of 240\n")));

    const std::string converted = directory_ / "again.c3d";
    ASSERT_EQ(capture({"convert", file_, converted}).exitCode, 0);
    const auto before = kit::readC3d(take);
    const auto after = kit::readC3d(converted);
    ASSERT_EQ(after.channels.size(), 2U);
    EXPECT_EQ(after.channels[0].unit, "N");
    ASSERT_EQ(after.bodies.size(), 1U);
    EXPECT_EQ(after.bodies[0].name, "Box");
    ASSERT_EQ(after.analogTracks->timeLength(), 160);
    for (int i = 0; i < 160; ++i) {
        EXPECT_EQ(kit::payloadOf<kit::AnalogFrame>(
                      after.analogTracks->getFrame(i, kit::analogDataType))[1],
                  static_cast<float>(i) / 7);
    }
    ASSERT_EQ(after.bodyTracks->timeLength(), 40);
    for (int i = 0; i < 40; ++i) {
        EXPECT_EQ(kit::payloadOf<kit::RigidBodyFrame>(
                      after.bodyTracks->getFrame(i, kit::rigidBodyDataType))[0]
                      .position.x,
                  static_cast<float>(i));
    }
    EXPECT_EQ(after.frameCount, before.frameCount);
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
