// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "kit/devices/ReplayTesting.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <optional>
#include <type_traits>

// The commands: what each takes, what it answers, and what it does to the state.

namespace tarn::kit {
namespace {

using namespace replay_testing;
using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

static_assert(std::is_base_of_v<Device, ReplayDevice>);
static_assert(!std::is_copy_constructible_v<ReplayDevice>);
static_assert(ReplayDevice::failed == 2);

/// Expects a reply of a command that failed, with a text that says why.
void expectFailed(Reply& reply, ReplayDevice::Error error, const std::string& text) {
    EXPECT_FALSE(reply);
    EXPECT_EQ(reply.resultCode(), ReplayDevice::failed);
    EXPECT_EQ(reply.errorCode(), error);
    EXPECT_THAT(reply.errorString(), HasSubstr(text));
    EXPECT_FALSE(reply.data().has_value());
}

void expectSucceeded(Reply& reply) {
    EXPECT_TRUE(reply);
    EXPECT_EQ(reply.errorCode(), 0);
    EXPECT_EQ(reply.errorString(), "");
}

TEST(ReplayDevice, IsADeviceWithAPortForPosesAndOneForMarkers) {
    Replay replay;
    EXPECT_EQ(replay.device().type(), "replay");
    EXPECT_EQ(replay.device().id(), "replay 1");
    EXPECT_THAT(replay.device().supportOFramePorts(),
                ElementsAre(ReplayDevice::posePort, ReplayDevice::markerPort));
    EXPECT_THAT(replay.device().supportIFramePorts(), IsEmpty());
}

TEST(ReplayDevice, RunsOnTheRealClockUnlessToldOtherwise) {
    const TakeFile file(3);
    ReplayDevice device("replay 1");
    Heard<State> states;
    device.onStateChanged().connect([&](State state) { states.add(state); });
    device.syncRequest(std::make_shared<Request>("open", file.path()));
    device.syncRequest("start");
    states.await(3);
    EXPECT_THAT(states.all(), ElementsAre(Device::Ready, Device::Busy, Device::Ready));
}

TEST(ReplayDevice, IsLostUntilATakeIsOpen) {
    Replay replay;
    EXPECT_TRUE(replay.device().isLost());
    const ReplayStatus status = replay.status();
    EXPECT_EQ(status.state, Device::Lost);
    EXPECT_EQ(status.file, "");
    EXPECT_EQ(status.nextFrame, 0);
    EXPECT_EQ(status.frameCount, 0);
    EXPECT_EQ(status.rate, 0);
    EXPECT_EQ(status.factor, 1);
    EXPECT_EQ(status.framesSent, 0);
    EXPECT_THAT(replay.states(), IsEmpty());
}

TEST(ReplayDevice, OpensATakeAndGivesItToTheHost) {
    const TakeFile file(5);
    Replay replay;
    const auto reply = replay.command("open", file.path());
    expectSucceeded(*reply);
    const auto& take = reply->dataAs<BvhTake>();
    EXPECT_EQ(take.rig->nodes().at(0).name, "Hips");
    EXPECT_EQ(take.tracks->timeLength(), 5);
    EXPECT_DOUBLE_EQ(take.frameTime, 0.01);
    EXPECT_THAT(replay.states(), ElementsAre(Device::Ready));
    EXPECT_TRUE(replay.device().isReady());

    const ReplayStatus status = replay.status();
    EXPECT_EQ(status.state, Device::Ready);
    EXPECT_EQ(status.file, file.path());
    EXPECT_EQ(status.nextFrame, 0);
    EXPECT_EQ(status.frameCount, 5);
    EXPECT_EQ(status.rate, 100);
}

TEST(ReplayDevice, TakesAFileNameAsStringOrAsPath) {
    const TakeFile file(5);
    Replay replay;
    expectSucceeded(*replay.command("open", file.path().string()));
    EXPECT_EQ(replay.status().file, file.path());
    expectSucceeded(*replay.command("open", file.path()));
}

TEST(ReplayDevice, OpensATakeThatHasBeenRead) {
    const TakeFile file(5);
    const BvhTake take = readBvh(file.path());
    Replay replay;
    const auto reply = replay.command("open", take);
    expectSucceeded(*reply);
    EXPECT_EQ(reply->dataAs<BvhTake>().tracks, take.tracks);
    EXPECT_THAT(replay.states(), ElementsAre(Device::Ready));
    EXPECT_EQ(replay.status().file, "");
    EXPECT_EQ(replay.status().frameCount, 5);
    EXPECT_EQ(replay.status().rate, 100);
    replay.device().open(take); // as a call
}

TEST(ReplayDevice, RefusesATakeThatCannotBeReplayed) {
    const TakeFile file(5);
    Replay replay;
    expectFailed(*replay.command("open", BvhTake()), ReplayDevice::BadPayload, "without a rig");
    const BvhTake gap = readBvh(file.path());
    gap.tracks->setTimeLength(6); // of which the last has no pose
    expectFailed(*replay.command("open", gap), ReplayDevice::BadPayload, "without a pose");
    const BvhTake still = readBvh(file.path());
    still.tracks->setFps(0);
    expectFailed(*replay.command("open", still), ReplayDevice::BadPayload, "rate");
    EXPECT_EQ(replay.status().state, Device::Lost);
}

TEST(ReplayDevice, RefusesAFileNameOfAnotherType) {
    Replay replay;
    const char* const volatileName = "take.bvh";
    for (const std::any& payload : {std::any(), std::any(volatileName), std::any(7)}) {
        expectFailed(*replay.command("open", payload), ReplayDevice::BadPayload, "file name");
    }
    EXPECT_EQ(replay.status().state, Device::Lost);
}

TEST(ReplayDevice, SaysWhatIsWrongWithAFile) {
    const TakeFile file(5);
    const std::string missing = file.path().string() + ".gone";
    Replay replay;
    expectFailed(*replay.command("open", missing), ReplayDevice::BadFile, missing + ": ");
    std::ofstream(file.path()) << "HIERARCHY\nROT";
    expectFailed(*replay.command("open", file.path()), ReplayDevice::BadFile,
                 ":2:1: expected ROOT, found 'ROT'");
    EXPECT_EQ(replay.status().state, Device::Lost);
    EXPECT_THAT(replay.states(), IsEmpty());
}

TEST(ReplayDevice, KeepsItsTakeWhenItCannotOpenAnother) {
    const TakeFile file(5);
    Replay replay;
    replay.open(file);
    replay.command("seek", 3);
    expectFailed(*replay.command("open", std::string("missing.bvh")), ReplayDevice::BadFile, "");
    const ReplayStatus status = replay.status();
    EXPECT_EQ(status.state, Device::Ready);
    EXPECT_EQ(status.file, file.path());
    EXPECT_EQ(status.nextFrame, 3);
    EXPECT_EQ(status.frameCount, 5);
    EXPECT_THAT(replay.states(), ElementsAre(Device::Ready));
}

TEST(ReplayDevice, GoesOnStreamingWhenItCannotOpenAnother) {
    const TakeFile file(5);
    Replay replay;
    replay.open(file);
    replay.command("start");
    expectFailed(*replay.command("open", std::string("missing.bvh")), ReplayDevice::BadFile, "");
    EXPECT_EQ(replay.status().state, Device::Busy);
    replay.steps(4);
    replay.awaitStates(3);
    EXPECT_EQ(replay.indexes(), upTo(5));
}

TEST(ReplayDevice, ReplacesItsTakeAndStartsFromItsFirstFrame) {
    const TakeFile first(5);
    const TakeFile second(7, "0.02");
    Replay replay;
    replay.open(first);
    replay.command("start");
    replay.step();
    replay.settle();
    replay.open(second);
    EXPECT_THAT(replay.states(), ElementsAre(Device::Ready, Device::Busy, Device::Ready));
    const ReplayStatus status = replay.status();
    EXPECT_EQ(status.state, Device::Ready);
    EXPECT_EQ(status.file, second.path());
    EXPECT_EQ(status.nextFrame, 0);
    EXPECT_EQ(status.frameCount, 7);
    EXPECT_EQ(status.rate, 50);
    EXPECT_EQ(status.framesSent, 0);
}

TEST(ReplayDevice, DoesNotMindWhatTheHostDoesToTheTracks) {
    const TakeFile file(2);
    Replay replay;
    const auto take = replay.command("open", file.path())->dataAs<BvhTake>();
    take.tracks->removeTrack(take.tracks->getTrack(0));
    replay.command("rate", 0);
    replay.command("start");
    replay.awaitStates(3);
    EXPECT_EQ(replay.indexes(), upTo(2));
}

TEST(ReplayDevice, AnswersUnknownCommandsAsEveryChannelDoes) {
    const TakeFile file(5);
    Replay replay;
    for (const bool isOpen : {false, true}) {
        if (isOpen) {
            replay.open(file);
        }
        for (const char* id : {"", "Open", "play"}) {
            const auto reply = replay.command(id, 7);
            EXPECT_EQ(reply->resultCode(), 1);
            EXPECT_EQ(reply->errorCode(), 0);
            EXPECT_EQ(reply->errorString(), "");
        }
    }
}

TEST(ReplayDevice, SeeksAFrameOfTheTake) {
    const TakeFile file(5);
    Replay replay;
    replay.open(file);
    for (const int index : {4, 0, 2}) {
        expectSucceeded(*replay.command("seek", index));
        EXPECT_EQ(replay.status().nextFrame, index);
    }
    for (const int index :
         {5, -1, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()}) {
        expectFailed(*replay.command("seek", index), ReplayDevice::BadIndex,
                     "from 0 to below 5, found " + std::to_string(index));
    }
    for (const std::any& payload : {std::any(), std::any(1.0), std::any(std::string("1"))}) {
        expectFailed(*replay.command("seek", payload), ReplayDevice::BadPayload, "frame index");
    }
    EXPECT_EQ(replay.status().nextFrame, 2);
}

TEST(ReplayDevice, FindsNoFrameInATakeWithoutFrames) {
    const TakeFile file(0);
    Replay replay;
    replay.open(file);
    expectFailed(*replay.command("seek", 0), ReplayDevice::BadIndex, "below 0, found 0");
}

TEST(ReplayDevice, TakesAFactorOfAnyUsualNumberType) {
    Replay replay;
    expectSucceeded(*replay.command("rate", 2.5));
    EXPECT_EQ(replay.status().factor, 2.5);
    expectSucceeded(*replay.command("rate", 0.5F));
    EXPECT_EQ(replay.status().factor, 0.5);
    expectSucceeded(*replay.command("rate", 3));
    EXPECT_EQ(replay.status().factor, 3);
    expectSucceeded(*replay.command("rate", 0));
    EXPECT_EQ(replay.status().factor, 0);
}

TEST(ReplayDevice, RefusesAFactorThatMakesNoSense) {
    Replay replay;
    replay.command("rate", 2);
    for (const double factor : {-1.0, -1e-300, std::nan(""), HUGE_VAL, -HUGE_VAL}) {
        expectFailed(*replay.command("rate", factor), ReplayDevice::BadFactor, "0 or greater");
    }
    expectFailed(*replay.command("rate", -1), ReplayDevice::BadFactor, "0 or greater");
    for (const std::any& payload : {std::any(), std::any(true), std::any(std::string("2"))}) {
        expectFailed(*replay.command("rate", payload), ReplayDevice::BadPayload, "factor");
    }
    EXPECT_EQ(replay.status().factor, 2);
}

TEST(ReplayDevice, KeepsItsFactorFromTakeToTake) {
    const TakeFile file(5);
    Replay replay;
    replay.command("rate", 4);
    replay.open(file);
    replay.command("start");
    replay.command("stop");
    replay.open(file);
    EXPECT_EQ(replay.status().factor, 4);
}

TEST(ReplayDevice, ReportsWhereItIsWhileItStreams) {
    const TakeFile file(5);
    Replay replay;
    replay.open(file);
    replay.command("start");
    replay.steps(2);
    replay.settle();
    const ReplayStatus status = replay.status();
    EXPECT_EQ(status.state, Device::Busy);
    EXPECT_EQ(status.nextFrame, 3);
    EXPECT_EQ(status.framesSent, 3);
    replay.command("seek", 1);
    replay.step();
    replay.settle();
    EXPECT_EQ(replay.status().nextFrame, 2);
    EXPECT_EQ(replay.status().framesSent, 4);
}

TEST(ReplayDevice, AnnouncesANewStateBeforeItAnswers) {
    const TakeFile file(5);
    Replay replay;
    Heard<std::string> heard;
    replay.device().onStateChanged().connect([&](State /*state*/) { heard.add("state"); });
    const auto callback = [&](const std::shared_ptr<Reply>& reply) { heard.add(reply->id()); };
    replay.device().asyncRequest(std::make_shared<Request>("open", file.path()), callback);
    replay.device().asyncRequest("start", callback);
    replay.device().asyncRequest("stop", callback);
    heard.await(6);
    EXPECT_THAT(heard.all(), ElementsAre("state", "open", "state", "start", "state", "stop"));
}

/// What a command is expected to lead to.
struct Outcome {
    const char* command;
    State before;
    std::optional<ReplayDevice::Error> error;
    State after;
    int nextFrame;
};

void PrintTo(const Outcome& outcome, std::ostream* stream) {
    *stream << outcome.command << " in state " << outcome.before;
}

class ReplayCommands : public ::testing::TestWithParam<Outcome> {
protected:
    /// Lost, ready at frame 2 of 5, or busy with frame 2 to be sent next.
    void bringTo(State state) {
        if (state != Device::Lost) {
            replay_.open(file_);
            replay_.command("seek", state == Device::Ready ? 2 : 1);
        }
        if (state == Device::Busy) {
            replay_.command("start");
            replay_.settle();
        }
    }
    std::any payload(const std::string& command) const {
        if (command == "open") {
            return file_.path();
        }
        return command == "seek" ? std::any(4) : command == "rate" ? std::any(2.0) : std::any();
    }
    Replay& replay() { return replay_; }

private:
    TakeFile file_{5};
    Replay replay_;
};

TEST_P(ReplayCommands, LeadFromEveryStateToTheNext) {
    const Outcome& expected = GetParam();
    bringTo(expected.before);
    const std::size_t announced = replay().states().size();
    const auto reply = replay().command(expected.command, payload(expected.command));
    if (expected.error) {
        expectFailed(*reply, *expected.error, "");
    } else {
        expectSucceeded(*reply);
    }
    const ReplayStatus status = replay().status();
    EXPECT_EQ(status.state, expected.after);
    EXPECT_EQ(status.nextFrame, expected.nextFrame);
    EXPECT_EQ(replay().states().size() - announced, expected.before == expected.after ? 0U : 1U);
}

constexpr auto none = std::nullopt;
// Started at frame 2, the device has sent that frame by the time it answers "status".
INSTANTIATE_TEST_SUITE_P(
    All, ReplayCommands,
    ::testing::Values(Outcome{"open", Device::Lost, none, Device::Ready, 0},
                      Outcome{"start", Device::Lost, ReplayDevice::NoTake, Device::Lost, 0},
                      Outcome{"pause", Device::Lost, ReplayDevice::NoTake, Device::Lost, 0},
                      Outcome{"stop", Device::Lost, ReplayDevice::NoTake, Device::Lost, 0},
                      Outcome{"seek", Device::Lost, ReplayDevice::NoTake, Device::Lost, 0},
                      Outcome{"rate", Device::Lost, none, Device::Lost, 0},
                      Outcome{"open", Device::Ready, none, Device::Ready, 0},
                      Outcome{"start", Device::Ready, none, Device::Busy, 3},
                      Outcome{"pause", Device::Ready, none, Device::Ready, 2},
                      Outcome{"stop", Device::Ready, none, Device::Ready, 0},
                      Outcome{"seek", Device::Ready, none, Device::Ready, 4},
                      Outcome{"rate", Device::Ready, none, Device::Ready, 2},
                      Outcome{"open", Device::Busy, none, Device::Ready, 0},
                      Outcome{"start", Device::Busy, none, Device::Busy, 2},
                      Outcome{"pause", Device::Busy, none, Device::Ready, 2},
                      Outcome{"stop", Device::Busy, none, Device::Ready, 0},
                      Outcome{"seek", Device::Busy, none, Device::Busy, 4},
                      Outcome{"rate", Device::Busy, none, Device::Busy, 2}));

} // namespace
} // namespace tarn::kit
