// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "takes/MeasuredMarkers.h"

#include "apps/support/MarkerTakes.h"
#include "apps/support/Programs.h"
#include "takes/TakeSource.h"

#include <gmock/gmock.h>
#include <tarn_kit/body/Payload.h>
#include <tarn_kit/files/C3d.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

// Measured markers and solved bodies, as pages show them together.

namespace tarn::capture {
namespace {

using ::testing::Each;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::StartsWith;
using tests::Arguments;
using tests::Outcome;
using tests::TempDirectory;

constexpr int frames = 240;

/// Two performers in one take, which states a wrong axis, in sessions with two spaces.
class MeasuredMarkers : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        directory = new TempDirectory;
        tests::writeMarkerTake(path("right.c3d"),
                               {{"cmu_01_01_jumps.c3d", "Ada", 300}, {"cmu_85_02.c3d", "Ben", 400}},
                               frames);
        kit::C3dTake take = kit::readC3d(path("right.c3d"));
        take.parameters.set("POINT", kit::C3dParameter::text("Y_SCREEN", "+X"));
        std::ofstream file(path("duo.c3d"), std::ios::binary);
        kit::writeC3d(take, file);
        file.close();
        run({"--calibrate", "1.5", "--out", path("y")});
        run({"--actor", "Ada=" + path("y/Ada.actor.xml"), "--actor",
             "Ben=" + path("y/Ben.actor.xml"), "--up", "z", "--unit", "mm", "--out", path("z")});
    }
    static void TearDownTestSuite() {
        delete directory;
        directory = nullptr;
    }
    static void run(Arguments arguments) {
        arguments.insert(arguments.begin(), {"run", path("duo.c3d")});
        const Outcome outcome = tests::capture(arguments);
        ASSERT_EQ(outcome.exitCode, 0) << outcome.err;
    }
    static std::string path(const std::string& name) { return (directory->path() / name).string(); }

    static TempDirectory* directory;
};

TempDirectory* MeasuredMarkers::directory = nullptr;

/// In metres, Y up; no number where it is not seen.
kit::Vector3d placeOf(const view::MarkerCloud& cloud, const std::string& name, int frame) {
    const auto at = std::find(cloud.names.begin(), cloud.names.end(), name) - cloud.names.begin();
    const auto payload = cloud.take->getFrame(frame, kit::markerDataType);
    const kit::Marker& marker =
        kit::payloadOf<kit::MarkerFrame>(payload)[static_cast<std::size_t>(at)];
    return cloud.metresPerUnit * (cloud.turn * kit::toDouble(marker.position));
}

kit::Vector3d placeOf(const kit::PerformerTake& performer, const std::string& joint, int frame) {
    const auto body = kit::bodyAt(*performer.rig, *performer.take, frame);
    const auto& nodes = performer.rig->nodes();
    const auto at = std::find_if(nodes.begin(), nodes.end(),
                                 [&](const auto& node) { return node.name == joint; }) -
                    nodes.begin();
    const kit::Space& space = performer.rig->space();
    return space.unit.metres *
           kit::toDouble(
               kit::upright(body->segments[static_cast<std::size_t>(at)].position, space.up));
}

TEST_F(MeasuredMarkers, AreEachPerformersOwn) {
    std::vector<std::string> notes;
    const auto sources = measuredMarkersOf(path("y/session.xml"), notes);
    ASSERT_THAT(sources, SizeIs(2));
    EXPECT_THAT(notes, IsEmpty());
    EXPECT_EQ(sources[0].cloud.name, "Ada");
    EXPECT_EQ(sources[1].cloud.name, "Ben");
    for (const MarkerSource& source : sources) {
        EXPECT_GE(source.cloud.names.size(), 41U);
        EXPECT_THAT(source.cloud.names, Each(StartsWith(source.cloud.name + ":")));
        EXPECT_EQ(source.cloud.take->timeLength(), frames);
        EXPECT_EQ(source.cloud.firstFrame, 11) << "as the file numbers it";
    }
}

TEST_F(MeasuredMarkers, LieOnTheBodiesWhateverTheSpaceOfTheSession) {
    for (const std::string session : {"y", "z"}) {
        std::vector<std::string> notes;
        const auto sources = measuredMarkersOf(path(session + "/session.xml"), notes);
        const auto performers = performersOf(path(session), {});
        ASSERT_EQ(sources.size(), performers.size());
        for (std::size_t i = 0; i < sources.size(); ++i) {
            const view::MarkerCloud& cloud = sources[i].cloud;
            for (int frame = 0; frame < frames; frame += 40) {
                const auto distance = [&](const char* marker, const char* joint) {
                    return kit::lengthOf(placeOf(cloud, cloud.name + ":" + marker, frame) -
                                         placeOf(performers[i], joint, frame));
                };
                EXPECT_LT(distance("LANK", "LeftFoot"), 0.1) << session << cloud.name << frame;
                EXPECT_LT(distance("RELB", "RightForeArm"), 0.1) << session << cloud.name << frame;
            }
        }
    }
}

TEST_F(MeasuredMarkers, SayHowFarTheyAreOffWhateverTheUnitOfTheSession) {
    std::vector<std::string> notes;
    const auto centimetres = measuredMarkersOf(path("y/session.xml"), notes);
    const auto millimetres = measuredMarkersOf(path("z/session.xml"), notes);
    for (std::size_t i = 0; i < centimetres.size(); ++i) {
        const auto& some = centimetres[i].cloud.residuals;
        const auto& others = millimetres[i].cloud.residuals;
        ASSERT_THAT(some, SizeIs(frames));
        ASSERT_THAT(others, SizeIs(frames));
        double sum = 0;
        int count = 0;
        for (std::size_t marker = 0; marker < 41; ++marker) {
            if (std::isfinite(some[100].at(marker))) {
                EXPECT_NEAR(some[100].at(marker), others[100].at(marker), 1e-3);
                sum += static_cast<double>(some[100][marker]);
                ++count;
            }
        }
        EXPECT_GT(count, 35);
        EXPECT_GT(sum / count, 0.0002) << "metres";
        EXPECT_LT(sum / count, 0.02);
    }
}

TEST_F(MeasuredMarkers, LieOnABodyThatWasSolvedWithLengthsAndAxesAsTheUserSaid) {
    const Outcome outcome = tests::capture(
        {"solve", path("duo.c3d"), "--actor", path("y/Ada.actor.xml"), "--subject", "Ada",
         "--no-pictures", "--up", "z", "--unit", "m", "--scale", "1", "--out", path("solved")});
    ASSERT_EQ(outcome.exitCode, 0) << outcome.err;
    std::vector<std::string> notes;
    const auto sources = measuredMarkersOf(path("solved/solve.xml"), notes);
    const auto performers = performersOf(path("solved"), {});
    ASSERT_THAT(sources, SizeIs(1));
    ASSERT_THAT(performers, SizeIs(1));
    const view::MarkerCloud& cloud = sources[0].cloud;
    EXPECT_NEAR(cloud.metresPerUnit, 1, 1e-9);
    for (int frame = 0; frame < frames; frame += 40) {
        EXPECT_LT(kit::lengthOf(placeOf(cloud, "Ada:LANK", frame) -
                                placeOf(performers[0], "LeftFoot", frame)),
                  0.1)
            << frame;
    }
}

TEST_F(MeasuredMarkers, OfATakeThatIsGoneAreToldOfInstead) {
    std::filesystem::create_directories(path("far/away"));
    std::filesystem::copy_file(path("y/session.xml"), path("far/away/session.xml"));
    std::vector<std::string> notes;
    EXPECT_THAT(measuredMarkersOf(path("far/away/session.xml"), notes), IsEmpty());
    ASSERT_THAT(notes, SizeIs(2));
    EXPECT_THAT(notes[1], HasSubstr("measured markers of Ben are not shown"));
}

TEST_F(MeasuredMarkers, OfADocumentThatSaysWhatCannotBeAreAnErrorWhichNamesThePlace) {
    const std::string document = path("edited.xml");
    const auto errorOf = [&](const std::string& entry) -> std::string {
        std::ofstream(document) << "<Solve>\n<Trials><Trial1>\n<Name>Ada</Name>\n"
                                << "<Reading>" << entry << "</Reading></Trial1></Trials></Solve>";
        std::vector<std::string> notes;
        try {
            EXPECT_THAT(measuredMarkersOf(document, notes), IsEmpty());
        } catch (const std::runtime_error& error) {
            return error.what();
        }
        return {};
    };
    const std::string place = document + ":4:10: Solve.Trials.Trial1.Reading.";
    for (const char* const scale : {"0", "-1", "nan", "inf", "1e7", "two"}) {
        EXPECT_EQ(errorOf("<Scale>" + std::string(scale) + "</Scale>"),
                  place + "Scale: expected a number from 0.000001 to 1000000, found '" + scale +
                      "'");
    }
    EXPECT_EQ(errorOf("<Unit>yd</Unit>"), place + "Unit: expected m, cm, mm, in or ft, found 'yd'");
    EXPECT_EQ(errorOf("<Up>w</Up>"), place + "Up: expected x, y or z, found 'w'");
    EXPECT_EQ(errorOf("<Scale>1000000</Scale><Unit>in</Unit><Up>Z</Up>"), "");
}

TEST_F(MeasuredMarkers, AreOnThePageOfTheirSession) {
    const Outcome done = tests::capture({"view", path("y"), "--out", path("page.html")});
    ASSERT_EQ(done.exitCode, 0) << done.err;
    const std::string page = tests::readFile(path("page.html"));
    EXPECT_THAT(page, HasSubstr("\"Ada:LANK\""));
    EXPECT_THAT(page, HasSubstr("\"Ben:LANK\""));
}

} // namespace
} // namespace tarn::capture
