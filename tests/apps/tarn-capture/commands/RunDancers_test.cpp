// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "apps/support/Programs.h"
#include "apps/support/ReferenceTake.h"
#include "apps/support/Takes.h"
#include "apps/support/Xml.h"
#include "support/Images.h"

#include <gmock/gmock.h>
#include <tarn/Actor.h>
#include <tarn_kit/body/BodyNames.h>
#include <tarn_kit/files/Bvh.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

namespace tarn::tests {
namespace {

namespace fs = std::filesystem;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

const char* const dancerA = "cmu_60_12_salsa_a";
const char* const dancerB = "cmu_61_12_salsa_b";

std::vector<double> numbers(const std::string& line) {
    std::vector<double> values;
    std::istringstream stream(line);
    for (std::string field; std::getline(stream, field, ',');) {
        values.push_back(std::stod(field));
    }
    return values;
}

double distance(const std::vector<double>& row, std::size_t node, const Vector& other) {
    const double* const at = row.data() + 2 + 3 * node; // after frame and time
    return std::hypot(at[0] - other[0], at[1] - other[1], at[2] - other[2]);
}

/// How far apart a table of positions and a take are at most, in the unit of both.
double farthest(const std::string& csv, const ReferenceTake& take) {
    std::istringstream lines(csv);
    std::string line;
    std::getline(lines, line); // the names
    double most = 0;
    for (std::size_t frame = 0; frame < take.frames.size(); ++frame) {
        std::getline(lines, line);
        const auto row = numbers(line);
        const auto positions = take.positions(frame);
        for (std::size_t node = 0; node < positions.size(); ++node) {
            most = std::max(most, distance(row, node, positions[node]));
        }
    }
    return most;
}

/// One session of both dancers, which all of these tests look at. They run in one process.
class RunDancers : public ::testing::Test {
protected:
    static void SetUpTestSuite() { session_ = new Session; }
    static void TearDownTestSuite() {
        delete session_;
        session_ = nullptr;
    }

    struct Session {
        TempDirectory directory;
        Outcome outcome =
            capture({"run", sampleTake(dancerA), sampleTake(dancerB), "--out", directory / "out"});
    };
    static const Outcome& outcome() { return session_->outcome; }
    static std::string result(const std::string& name) {
        return session_->directory / ("out/" + name);
    }

private:
    static const Session* session_;
};
const RunDancers::Session* RunDancers::session_ = nullptr;

TEST_F(RunDancers, SolvesAndRecordsEveryFrameOfBoth) {
    EXPECT_EQ(outcome().exitCode, 0);
    EXPECT_THAT(outcome().err, IsEmpty());
    EXPECT_THAT(outcome().out,
                AllOf(HasSubstr("calibrating over 30 frames\n"), HasSubstr("playing 423 frames\n"),
                      HasSubstr("\n" + std::string(dancerA) +
                                "      423      423        0  not paced     152.7 cm\n"),
                      HasSubstr("\n" + std::string(dancerB) +
                                "      423      423        0  not paced     152.7 cm\n"),
                      HasSubstr("\ncomplete, nothing lost; 11 files written to ")));
}

TEST_F(RunDancers, FindsDimensionsWithinAPercentOfTheSkeletons) {
    for (const char* const name : {dancerA, dancerB}) {
        const auto rig = kit::readBvh(sampleTake(name)).rig;
        Actor actor;
        ASSERT_TRUE(actor.loadSettingsFromFile(result(name + std::string(".actor.xml"))));
        EXPECT_EQ(actor.actorName(), name);
        const auto height = rig->height();
        EXPECT_NEAR(actor.bodyDimension("Height", 0), height, 0.01F * height);
        EXPECT_GT(actor.bodyDimension("LeftUpLeg", 0), 0.2F * height); // the thigh, not the hip
        const auto names = kit::boneLengthNames(*rig, kit::BodyNames().match(*rig));
        for (const kit::RigNode& node : rig->nodes()) {
            const auto& bone = names.at(static_cast<std::size_t>(&node - rig->nodes().data()));
            const float length = std::hypot(node.offset.x, node.offset.y, node.offset.z);
            if (node.parent >= 0 && length > 0) {
                EXPECT_NEAR(actor.bodyDimension(bone, 0), length, 0.01F * length) << bone;
            }
        }
    }
}

TEST_F(RunDancers, WritesWhereAnIndependentReaderOfTheTakesHasEveryJoint) {
    for (const char* const name : {dancerA, dancerB}) {
        const ReferenceTake take(sampleTake(name));
        ASSERT_EQ(take.frames.size(), 423U);
        EXPECT_LT(farthest(readFile(result(name + std::string(".csv"))), take), 1e-3) << name;
    }
}

TEST_F(RunDancers, WritesMotionFilesThatReadBackToTheSamePoses) {
    for (const char* const name : {dancerA, dancerB}) {
        const kit::BvhTake take = kit::readBvh(sampleTake(name));
        const kit::BvhTake written = kit::readBvh(result(name + std::string(".bvh")));
        ASSERT_EQ(written.tracks->timeLength(), take.tracks->timeLength());
        EXPECT_EQ(written.frameTime, take.exactRate().frameTime());
        EXPECT_LT(farthest(readFile(result(name + std::string(".csv"))),
                           ReferenceTake(result(name + std::string(".bvh")))),
                  1e-3);
    }
}

TEST_F(RunDancers, DrawsBothInOnePicture) {
    for (const char* const picture : {"poses", "motion"}) {
        const Image png(result(picture + std::string(".png")));
        ASSERT_TRUE(png.valid());
        EXPECT_FALSE(png.isBlank({0, 0, png.width(), png.height()}));
        const std::string svg = readFile(result(picture + std::string(".svg")));
        EXPECT_EQ(xmlError(svg), "");
        EXPECT_THAT(svg, AllOf(HasSubstr(dancerA), HasSubstr(dancerB)));
    }
}

TEST_F(RunDancers, WritesDownTheSession) {
    Settings session;
    ASSERT_TRUE(session.loadSettingsFromFile(result("session.xml")));
    EXPECT_EQ(session.value("Session.Complete", ""), "yes");
    EXPECT_EQ(session.value("Session.Rate", ""), "30");
    EXPECT_EQ(session.value("Session.Frames", ""), "423");
    const auto files = session.subSettings("Session")->valueList("File");
    EXPECT_EQ(files.size(), 11U);
    for (const std::string& file : files) {
        EXPECT_TRUE(fs::exists(result(file))) << file;
    }
    EXPECT_EQ(session.value("Session.Characters.Character2.Name", ""), dancerB);
    EXPECT_EQ(session.value("Session.Characters.Character2.FramesOut", ""), "423");
    EXPECT_EQ(session.value("Session.Characters.Character2.FramesLost", ""), "0");
    EXPECT_EQ(session.value("Session.Characters.Character2.Solver.smoothingWindow", ""), "1");
    EXPECT_EQ(session.value("Session.Characters.Character1.Dimensions.Length1.Name", ""), "Height");
}

} // namespace
} // namespace tarn::tests
