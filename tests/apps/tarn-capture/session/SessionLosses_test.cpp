// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "apps/support/Takes.h"
#include "session/SessionFiles.h"
#include "session/SessionSummary.h"
#include "support/TemporaryDirectory.h"

#include <tarn_kit/devices/ReplayDevice.h>
#include <tarn_kit/files/Bvh.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <filesystem>
#include <memory>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace tarn::capture {
namespace {

using tarn::testing::readFile;
using tarn::testing::TemporaryDirectory;
using tarn::testing::writeFile;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr int frames = 8;

/// Replays a take and loses some of its frames on the way.
class LossyDevice : public Device {
public:
    LossyDevice(const std::string& name, std::set<unsigned> lost)
        : Device("lossy", name), lost_(std::move(lost)), replay_(name) {
        addOFramePort(port);
        replay_.oFramePort(port).connect([this](const std::shared_ptr<Frame>& frame) {
            if (lost_.count(frame->time().frameIndex()) == 0) {
                oFramePort(port).emit(frame);
            }
        });
        replay_.onStateChanged().connect([this](DeviceState state) { setState(state); });
    }
    kit::BvhTake open(const std::string& file) {
        kit::BvhTake take = replay_.open(file);
        replay_.setSpeed(0);
        return take;
    }

protected:
    void doRequest(std::shared_ptr<Request> request, std::shared_ptr<Reply> reply) override {
        reply->setResultCode(replay_.syncRequest(std::move(request))->resultCode());
        reply->finished();
    }

private:
    static constexpr int port = kit::ReplayDevice::posePort;

    const std::set<unsigned> lost_;
    kit::ReplayDevice replay_; // goes first: its thread uses the rest
};

TakeDeviceMaker losing(std::set<unsigned> lost) {
    return [lost = std::move(lost)](TakeFile& file, const std::string& name) {
        auto device = std::make_unique<LossyDevice>(name, lost);
        kit::BvhTake take = device->open(file.name());
        TakeDevice made;
        made.device = std::move(device);
        made.take = std::move(take);
        return made;
    };
}

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

/// What a session of one take leaves behind.
class Files : public ::testing::Test {
protected:
    Files() {
        tests::TakeText take;
        take.rootPositions.clear();
        for (int i = 0; i < frames; ++i) {
            take.rootPositions.push_back(std::to_string(i) + " 0 0");
        }
        writeFile(take_, take.text());
    }
    /// Plays the take and writes a directory; returns what could not be written.
    std::vector<std::string> write(const std::string& directory, const std::set<unsigned>& lost,
                                   std::vector<SessionPicture> pictures = sessionPictures()) {
        TakeSession session({take_}, losing(lost));
        EXPECT_TRUE(session.calibrate(frames, {}, {}));
        EXPECT_TRUE(session.play({}, {}));
        SessionFiles files(session, directory_ / directory, {}, std::move(pictures));
        auto problems = files.write(true, false);
        written_ = files.written();
        return problems;
    }
    std::string path(const std::string& name) const { return directory_ / name; }
    std::vector<std::string> table(const std::string& directory) const {
        return linesOf(readFile(path(directory + "/take.csv")));
    }
    /// Where the root is along x in each frame of the motion file.
    std::vector<float> motion(const std::string& directory) const {
        const kit::BvhTake take = kit::readBvh(path(directory + "/take.bvh"));
        std::vector<float> positions;
        positions.reserve(static_cast<std::size_t>(take.tracks->timeLength()));
        for (int i = 0; i < take.tracks->timeLength(); ++i) {
            positions.push_back(
                take.tracks->getFrame(i, kit::poseDataType)->dataAs<kit::Pose>().values.front());
        }
        return positions;
    }
    std::string session(const std::string& directory, const std::string& key) const {
        Settings settings;
        EXPECT_TRUE(settings.loadSettingsFromFile(path(directory + "/session.xml")));
        return settings.value(key, "(not there)");
    }

    TemporaryDirectory directory_;
    const std::string take_ = directory_ / "take.bvh";
    std::vector<std::string> written_;
};

TEST_F(Files, KeepEveryFrameAtItsPlaceInATableWhereOthersWereLost) {
    EXPECT_THAT(write("whole", {}), IsEmpty());
    EXPECT_THAT(write("lossy", {0, 3, 4, 7}), IsEmpty());
    const auto whole = table("whole");
    const auto lossy = table("lossy");
    ASSERT_EQ(whole.size(), frames + 1U); // with the names
    ASSERT_EQ(lossy.size(), whole.size());
    for (const std::size_t line : {0U, 2U, 3U, 6U, 7U}) {
        EXPECT_EQ(lossy[line], whole[line]);
    }
    EXPECT_EQ(lossy[4], "3,0.12" + std::string(15, ',')); // five nodes of three cells
    EXPECT_EQ(lossy[1].substr(0, 4), "0,0,");
    EXPECT_EQ(lossy[8].substr(0, 7), "7,0.28,");
}

TEST_F(Files, HoldThePoseBeforeALostFrameInAMotionFile) {
    EXPECT_THAT(write("lossy", {0, 3, 4, 7}), IsEmpty());
    EXPECT_THAT(motion("lossy"), ElementsAre(1, 1, 2, 2, 2, 5, 6, 6));
}

TEST_F(Files, SayHowManyFramesWereLost) {
    EXPECT_THAT(write("lossy", {0, 3, 4, 7}), IsEmpty());
    EXPECT_EQ(session("lossy", "Session.Frames"), "8");
    EXPECT_EQ(session("lossy", "Session.Characters.Character1.FramesIn"), "4");
    EXPECT_EQ(session("lossy", "Session.Characters.Character1.FramesOut"), "4");
    EXPECT_EQ(session("lossy", "Session.Characters.Character1.FramesLost"), "4");
}

std::size_t onePage(std::size_t /*performers*/) { return 1; }

TEST_F(Files, GivePicturesEachFrameAtItsPlace) {
    std::vector<int> drawn;
    const auto pages = [&drawn](const std::vector<draw::Subject>& subjects) {
        Tracks& solved = *subjects.at(0).take;
        for (int i = 0; i < solved.timeLength(); ++i) {
            const auto frame = solved.getFrame(i, kit::bodyDataType);
            drawn.push_back(frame == nullptr ? -1 : static_cast<int>(frame->time().frameIndex()));
        }
        return std::vector{draw::Picture{10, 10, "title", "text", [](draw::Canvas&) {}}};
    };
    EXPECT_THAT(write("lossy", {0, 3, 4, 7}, {{"drawn", onePage, pages}}), IsEmpty());
    EXPECT_THAT(drawn, ElementsAre(-1, 1, 2, -1, -1, 5, 6, -1));
    EXPECT_THAT(written_, Contains("drawn.svg"));
}

TEST_F(Files, HaveAsManyPagesAsThePerformersNeed) {
    TakeSession session(std::vector<std::string>(9, take_), losing({}));
    SessionFiles files(session, directory_ / "many", {});
    EXPECT_TRUE(session.play({}, {}));
    EXPECT_THAT(files.write(true, false), IsEmpty());
    EXPECT_THAT(files.written(), Contains("motion-2.png"));
    EXPECT_THAT(files.written(), Contains("motion-2.svg"));
    EXPECT_THAT(readFile(path("many/motion-2.svg")), HasSubstr("Performer 9: take-9"));
}

TEST_F(Files, AreRefusedBeforeAnythingPlaysWhereThereAreTooManyToDraw) {
    TakeSession session(std::vector<std::string>(draw::mostSubjects + 1, take_), losing({}));
    try {
        const SessionFiles files(session, directory_ / "out", {});
        ADD_FAILURE();
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "1001 performers are too many for a drawing: at most 1000 can "
                                   "be shown");
    }
    EXPECT_FALSE(std::filesystem::exists(path("out")));
}

TEST_F(Files, AreAllThereWhereEveryFrameWasLost) {
    EXPECT_THAT(write("lossy", {0, 1, 2, 3, 4, 5, 6, 7}), IsEmpty());
    EXPECT_EQ(table("lossy").size(), frames + 1U);
    EXPECT_THAT(motion("lossy"), IsEmpty());
    EXPECT_THAT(written_, Contains("motion.png"));
    EXPECT_EQ(session("lossy", "Session.Characters.Character1.FramesLost"), "8");
}

TEST_F(Files, AreWrittenBesideAPictureThatCannotBeDrawn) {
    const auto pages = [](const std::vector<draw::Subject>&) -> std::vector<draw::Picture> {
        throw std::length_error("too large to draw");
    };
    EXPECT_THAT(write("out", {}, {{"broken", onePage, pages}}),
                ElementsAre("cannot write '" + path("out/broken.png") + "': too large to draw",
                            "cannot write '" + path("out/broken.svg") + "': too large to draw"));
    EXPECT_THAT(written_, ElementsAre("take.actor.xml", "take.csv", "take.bvh", "session.xml"));
    EXPECT_EQ(session("out", "Session.Complete"), "no");
}

TEST_F(Files, AreSummedUpWithTheFramesThatWereLost) {
    TakeSession session({take_}, losing({0, 3, 4, 7}));
    ASSERT_TRUE(session.play({}, {}));
    EXPECT_THAT(summaryOf(session, false),
                HasSubstr("\ntake             4        4        4  not measured  not measured\n"));
    EXPECT_EQ(verdictOn(session, true, false), "complete, 4 of 8 frames lost");
    EXPECT_EQ(verdictOn(session, false, false), "not complete, 4 of 8 frames lost");
}

} // namespace
} // namespace tarn::capture
