// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "apps/support/LinkedTest.h"
#include "apps/support/MarkerTakes.h"

#include <gmock/gmock.h>
#include <tarn/Settings.h>

#include <csignal>
#include <filesystem>
#include <future>
#include <string>
#include <unistd.h>
#include <vector>

// Sessions of streams of other programs, and sessions that are streams themselves.

namespace tarn::tests {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

class RunStreams : public LinkedTest {
protected:
    /// The session of the stream, meanwhile; of whatever is `more` than that.
    Arguments session(const Arguments& more = {}) const {
        Arguments arguments = {"run", "--from", stream_, "--out", live_, "--wait", "60"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return arguments;
    }
    Arguments published(const Arguments& takes, const std::string& speed = "0") const {
        Arguments arguments = takes;
        arguments.insert(arguments.begin(), "publish");
        arguments.insert(arguments.end(), {"--as", stream_, "--await", "1", "--speed", speed});
        return arguments;
    }
    /// That the session of the stream made the same of it as one of the takes does.
    void expectSame(const Arguments& takes, const std::vector<std::string>& files,
                    const Arguments& more = {}) const {
        Arguments arguments = {"run", "--out", replayed_};
        arguments.insert(arguments.end(), takes.begin(), takes.end());
        arguments.insert(arguments.end(), more.begin(), more.end());
        const Outcome outcome = capture(arguments);
        EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
        for (const std::string& file : files) {
            EXPECT_EQ(readFile(live_ + "/" + file), readFile(replayed_ + "/" + file)) << file;
        }
    }
    std::string inSession(const std::string& key) const {
        Settings settings;
        EXPECT_TRUE(settings.loadSettingsFromFile(live_ + "/session.xml"));
        return settings.value(key, "(not there)");
    }

    const std::string stream_ = "stage" + std::to_string(getpid());
    const std::string live_ = directory_ / "live";
    const std::string replayed_ = directory_ / "replayed";
};

TEST_F(RunStreams, MakeOfBodiesWhatASessionOfTheirTakesDoes) {
    const Arguments takes = {sampleTake("cmu_60_12_salsa_a"), sampleTake("cmu_61_12_salsa_b")};
    auto publisher = captureMeanwhile(published(takes));
    const Outcome outcome = capture(linked(session()));
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_THAT(outcome.out,
                AllOf(HasSubstr("capturing until the end of the streams"),
                      HasSubstr("complete, nothing lost"), HasSubstr(stream_ + "\n  received  "),
                      HasSubstr("\n  lost      0\n")));
    EXPECT_EQ(publisher.get().exitCode, 0);
    expectSame(takes,
               {"cmu_60_12_salsa_a.csv", "cmu_60_12_salsa_a.bvh", "cmu_60_12_salsa_a.actor.xml",
                "cmu_61_12_salsa_b.csv", "cmu_61_12_salsa_b.bvh", "cmu_61_12_salsa_b.actor.xml"});
    EXPECT_EQ(inSession("Session.Complete"), "yes");
    EXPECT_EQ(inSession("Session.Characters.Character1.Stream"), stream_);
    EXPECT_EQ(inSession("Session.Characters.Character2.FramesLost"), "0");
    EXPECT_TRUE(std::filesystem::exists(live_ + "/poses.png"));
}

TEST_F(RunStreams, CalibrateAndSolveMarkersAsASessionOfTheirTakeDoes) {
    const std::string take = directory_ / "jumps.c3d";
    writeMarkerTake(take, {{"cmu_01_01_jumps.c3d", "Ann", 0, {}}}, 120);
    auto publisher = captureMeanwhile(published({take}));
    const Outcome outcome = capture(linked(session({"--calibrate", "0.5"})));
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_THAT(outcome.out, HasSubstr("Ann: 120 frames; markers off by"));
    EXPECT_EQ(publisher.get().exitCode, 0);
    expectSame({take}, {"Ann.csv", "Ann.bvh", "Ann.actor.xml", "Ann.markers.csv"},
               {"--calibrate", "0.5"});
}

TEST_F(RunStreams, AreMeasuredInWhatTheyStateOfThemselves) {
    Arguments arguments = published({walk_});
    arguments.insert(arguments.end(), {"--unit", "in"});
    auto publisher = captureMeanwhile(arguments);
    const Outcome outcome = capture(linked(session()));
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_EQ(publisher.get().exitCode, 0);
    EXPECT_EQ(inSession("Session.Unit"), "in");
}

TEST_F(RunStreams, RecordWhatCameAndWhatWasSolved) {
    const std::string file = directory_ / "session.tarn";
    auto publisher = captureMeanwhile(published({walk_}));
    const Outcome outcome = capture(linked(session({"--record", file})));
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_THAT(outcome.out, HasSubstr("1988 frames recorded in "));
    publisher.wait();
    const std::string original = directory_ / "original.csv";
    const std::string recorded = directory_ / "recorded.csv";
    EXPECT_EQ(capture({"export", walk_, "--format", "csv", "--out", original}).exitCode, 0);
    EXPECT_EQ(capture({"export", file, "--format", "csv", "--out", recorded}).exitCode, 0);
    EXPECT_EQ(readFile(original), readFile(recorded));
}

TEST_F(RunStreams, AreTakenFromASessionThatPublishesItsBodies) {
    const std::string file = directory_ / "bodies.tarn";
    auto recorder = captureMeanwhile({"record", "--from", stream_, "--out", file, "--wait", "60"});
    auto follower = captureMeanwhile(session());
    const Outcome outcome =
        capture(linked({"run", walk_, "--out", replayed_, "--publish", stream_, "--await", "2"}));
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_THAT(outcome.out, AllOf(HasSubstr("'" + stream_ + "' is offered in domain "),
                                   HasSubstr("  sent      994 frames of 994\n  lost      0\n")));
    const Outcome followed = follower.get();
    EXPECT_EQ(followed.exitCode, 0) << followed.err;
    const Outcome recorded = recorder.get();
    EXPECT_EQ(recorded.exitCode, 0) << recorded.err;
    EXPECT_THAT(recorded.out, HasSubstr("994 frames recorded in "));

    // Each frame has gone out as it stands in the motion file of the session.
    const std::string ofFile = directory_ / "file.csv";
    const std::string ofSession = directory_ / "session.csv";
    EXPECT_EQ(capture({"export", file, "--format", "csv", "--out", ofFile}).exitCode, 0);
    EXPECT_EQ(capture({"export", replayed_ + "/cmu_131_01_walk.bvh", "--format", "csv", "--out",
                       ofSession})
                  .exitCode,
              0);
    EXPECT_EQ(readFile(ofFile), readFile(ofSession));
    EXPECT_EQ(inSession("Session.Characters.Character1.FramesIn"), "994");
}

TEST_F(RunStreams, KeepWhatCameWhenTheyAreInterrupted) {
    const RunningCapture publisher(linked(published({walk_}, "0.05")));
    RunningCapture running(linked(session({"--calibrate", "0.01"})));
    EXPECT_TRUE(running.awaitOutput("capturing"));
    running.signal(SIGINT);
    const Outcome outcome = running.wait();
    EXPECT_EQ(outcome.exitCode, 128 + SIGINT);
    EXPECT_THAT(outcome.err, HasSubstr("interrupted after "));
    EXPECT_EQ(inSession("Session.Complete"), "no");
    EXPECT_TRUE(std::filesystem::exists(live_ + "/cmu_131_01_walk.csv"));
}

TEST_F(RunStreams, FailWhereAPublisherGoesBeforeTheEndAndKeepWhatCame) {
    RunningCapture publisher(linked(published({walk_}, "0.05")));
    RunningCapture running(linked(session({"--calibrate", "0.01"})));
    EXPECT_TRUE(running.awaitOutput("capturing"));
    publisher.signal(SIGKILL);
    const Outcome outcome = running.wait();
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_THAT(outcome.err, HasSubstr("'" + stream_ + "' has gone before its end"));
    EXPECT_EQ(inSession("Session.Complete"), "no");
    EXPECT_TRUE(std::filesystem::exists(live_ + "/cmu_131_01_walk.csv"));
}

TEST_F(RunStreams, EndWhereThereIsNoMoreRoomAndSaySo) {
    auto publisher = captureMeanwhile(published({walk_}));
    const Outcome outcome = capture(linked(session({"--at-most", "0.05"})));
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_THAT(outcome.err, HasSubstr("the streams went on after 0.05 minutes"));
    EXPECT_EQ(inSession("Session.Frames"), "360"); // 3 s at 120 per second
    EXPECT_EQ(inSession("Session.Complete"), "no");
    publisher.wait();
}

TEST_F(RunStreams, SayWhyThereIsNoneAndLeaveNothing) {
    const Outcome outcome =
        capture(linked({"run", "--from", stream_, "--out", live_, "--wait", "0.1"}));
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_THAT(outcome.err, AllOf(HasSubstr("nobody offers '" + stream_ + "' in domain "),
                                   HasSubstr("nothing was kept")));
    EXPECT_FALSE(std::filesystem::exists(live_));
}

TEST_F(RunStreams, RefuseACommandLineThatCannotBe) {
    const Arguments wrong[] = {
        {"run", "--out", live_},
        {"run", walk_, "--from", stream_, "--out", live_},
        {"run", "--from", stream_, "--out", live_, "--speed", "1"},
        {"run", "--from", stream_, "--out", live_, "--realtime"},
        {"run", "--from", stream_, "--out", live_, "--scale", "2"},
        {"run", "--from", "a*", "--out", live_},
        {"run", "--from", stream_, stream_, "--out", live_},
        {"run", "--from", stream_, "--out", live_, "--at-most", "0"},
        {"run", walk_, "--out", live_, "--at-most", "1"},
        {"run", walk_, "--out", live_, "--wait", "1"},
        {"run", walk_, "--out", live_, "--domain", "3"},
        {"run", walk_, "--out", live_, "--await", "1"},
        {"run", walk_, "--out", live_, "--publish", "a?"},
    };
    for (const Arguments& arguments : wrong) {
        const Outcome outcome = capture(arguments);
        EXPECT_EQ(outcome.exitCode, 2) << outcome.err;
        EXPECT_THAT(outcome.out, IsEmpty());
    }
    EXPECT_FALSE(std::filesystem::exists(live_));
}

} // namespace
} // namespace tarn::tests
