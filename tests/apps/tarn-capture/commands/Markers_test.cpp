// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "apps/support/Programs.h"
#include "kit/files/C3dTesting.h"
#include "support/Images.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string>
#include <system_error>

// What the commands do with C3D files.

namespace tarn::tests {
namespace {

using c3d_testing::FileBuilder;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;
using Json = nlohmann::ordered_json;

/// Three markers in frames 7 to 10, of which some are not seen, with two channels and an event.
FileBuilder markers() {
    FileBuilder file;
    file.firstFrame = 7;
    file.channels = 2;
    file.samples = 2;
    file.rate = 50;
    file.header(150, 12345).header(151, 1).headerReal(153, 0.5F);
    file.standard().without("LABELS").texts(1, "LABELS", {"Anna:LFHD", "Anna:RFHD", "RFHD"});
    file.texts(2, "LABELS", {"Force", "Moment"});
    return file;
}

/// Whether memory is counted by a tool that needs more of it than there may be.
constexpr bool isInstrumented() {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    return true;
#elif defined(__has_feature)
    return __has_feature(address_sanitizer) || __has_feature(thread_sanitizer);
#else
    return false;
#endif
}

class Markers : public ::testing::Test {
protected:
    Markers() { writeFile(take_, markers().bytes()); }

    Json exported(const Arguments& more = {}) const {
        Arguments arguments{"export", take_, "--format", "json", "--out", out("out.json")};
        arguments.insert(arguments.end(), more.begin(), more.end());
        const Outcome outcome = capture(arguments);
        EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
        return Json::parse(readFile(out("out.json")));
    }
    std::string out(const std::string& name) const { return directory_ / name; }

    const TempDirectory directory_;
    const std::string take_ = directory_ / "walk.take"; // whatever it is called
};

TEST_F(Markers, AreDescribedByInfo) {
    const Outcome outcome = capture({"info", take_});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    for (const char* const fact :
         {"markers      3: 2 of Anna, 1 of nobody\n", "frames       4, numbered 7 to 10\n",
          "rate         50 frames per second\n", "length       0.080 s\n", "unit         mm\n",
          "up           Z, guessed\n", "encoding     intel-real\n",
          "events       1\n        0.500 s",
          "analog       2 channels at 100 samples per second\n    Force [V]\n    Moment [V]\n",
          "Anna:LFHD             75.0 %  longest gap 1 frame (9 to 9)\n",
          "Anna:RFHD            100.0 %\n", "report       nothing contradicts itself\n"}) {
        EXPECT_THAT(outcome.out, HasSubstr(fact));
    }
}

TEST_F(Markers, AreDescribedBrieflyByTheHeadOfTheFile) {
    // With room for a trillion bytes of samples, which no machine reads.
    constexpr int frames = 300'000'000;
    FileBuilder file = markers();
    file.points = 200;
    file.firstFrame = 1;
    file.dataBlock = 8;
    file.records.clear();
    file.standard().group(3, "TRIAL").integers(3, "ACTUAL_START_FIELD", {1, 0});
    file.integers(3, "ACTUAL_END_FIELD", {frames & 0xFFFF, frames >> 16});
    writeFile(take_, file.header(5, 65535).bytes());
    std::error_code error;
    const std::uintmax_t size = 7 * 512 + std::uintmax_t{frames} * (200 * 4 + 2 * 2) * 4;
    std::filesystem::resize_file(take_, size, error);
    if (error) {
        GTEST_SKIP() << "the disk has no files of that size: " << error.message();
    }
    const Outcome outcome = capture({"info", "--brief", take_});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_THAT(outcome.out, StartsWith("300000000 frames    50/s"));
    EXPECT_THAT(outcome.out, HasSubstr(" 200 markers"));
}

TEST_F(Markers, AreDescribedBrieflyWhereverTheyComeFrom) {
    const Outcome fromFile = capture({"info", "--brief", take_});
    EXPECT_THAT(fromFile.out,
                HasSubstr("4 frames    50/s      0.080 s     3 markers    0 findings"));
    const Outcome fromPipe =
        runProgram("sh", {"-c", "cat '" + take_ + "' | " + captureProgram() + " info --brief -"});
    const std::size_t facts = fromFile.out.find(take_);
    EXPECT_EQ(fromPipe.out, fromFile.out.substr(0, facts) + "-\n");
}

TEST_F(Markers, AreReportedWhereTheFileContradictsItself) {
    writeFile(take_, markers().header(2, 200).bytes());
    const Outcome outcome = capture({"info", take_});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_THAT(outcome.out, HasSubstr("  report\n    header word 2 (byte 2): 200, believed 3"));
}

TEST_F(Markers, ThatCannotBeReadAreAnErrorThatNamesTheByte) {
    writeFile(take_, std::string(100, '\0'));
    const Outcome outcome = capture({"info", take_});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_THAT(outcome.err, HasSubstr("byte 100: expected a header of 512 bytes"));
}

TEST_F(Markers, ThatDoNotFitIntoTheMemoryAreAnErrorThatNamesTheFile) {
    if (isInstrumented()) {
        GTEST_SKIP() << "the memory cannot be limited";
    }
    std::filesystem::resize_file(take_, std::uintmax_t{1} << 31U);
    const Outcome outcome = runProgram(
        "sh", {"-c", "ulimit -v 1000000; exec " + captureProgram() + " info '" + take_ + "'"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_THAT(outcome.err, HasSubstr(take_ + ": there is not enough memory"));
}

TEST_F(Markers, AreExportedAsTheDocumentThatIsPromised) {
    const Json document = exported();
    EXPECT_EQ(document["markers"], Json::parse(R"(["LFHD", "RFHD", "RFHD"])"));
    EXPECT_EQ(document["subjects"], Json::parse(R"(["Anna", "Anna", ""])"));
    EXPECT_EQ(document["unit"], "mm");
    EXPECT_EQ(document["rate"], 50.0);
    EXPECT_TRUE(document["rate"].is_number_float());
    EXPECT_EQ(document["first_frame"], 7);
    EXPECT_EQ(document.size(), 6U);
    ASSERT_EQ(document["frames"].size(), 4U);
    for (int frame = 0; frame < 4; ++frame) {
        const Json& one = document["frames"][static_cast<std::size_t>(frame)];
        EXPECT_EQ(one["frame"], 7 + frame);
        EXPECT_DOUBLE_EQ(one["time"].get<double>(), frame / 50.0);
        ASSERT_EQ(one["positions"].size(), 3U);
        for (int marker = 0; marker < 3; ++marker) {
            const Json& position = one["positions"][static_cast<std::size_t>(marker)];
            if (!FileBuilder::isSeen(marker, frame)) {
                EXPECT_TRUE(position.is_null());
                continue;
            }
            for (int axis = 0; axis < 3; ++axis) {
                EXPECT_EQ(position[static_cast<std::size_t>(axis)].get<float>(),
                          FileBuilder::coordinate(marker, frame, axis));
            }
        }
    }
}

TEST_F(Markers, AreExportedWithNumbersThatReadBackToTheSameValue) {
    FileBuilder file = markers();
    std::string bytes = file.bytes();
    const float value = 1234.5677F; // needs all of its digits
    bytes.replace(3 * 512, 4, c3d_testing::real(kit::C3dEncoding::IntelReal, value));
    writeFile(take_, bytes);
    EXPECT_EQ(exported()["frames"][0]["positions"][0][0].get<float>(), value);
}

TEST_F(Markers, AreChosenByTheNumbersThatTheFileGivesTheirFrames) {
    const Json some = exported({"--frames", "8..9"});
    ASSERT_EQ(some["frames"].size(), 2U);
    EXPECT_EQ(some["frames"][0]["frame"], 8);
    EXPECT_EQ(some["frames"][0]["time"], 0.02) << "from the first frame of the file";
    EXPECT_EQ(some["first_frame"], 7);
    EXPECT_EQ(exported({"--frames", "9.."})["frames"].size(), 2U);
    EXPECT_EQ(exported({"--frames", "3"})["frames"][0]["frame"], 7) << "the first three";
    const Outcome outcome =
        capture({"export", take_, "--format", "csv", "--out", out("x"), "--frames", "0..8"});
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_THAT(outcome.err, HasSubstr("--frames: the take has frames 7..10"));
}

TEST_F(Markers, AreConvertedToTheUnitAndTurnedToTheAxisThatIsAskedFor) {
    const Json document = exported({"--unit", "m", "--up", "y"});
    EXPECT_EQ(document["unit"], "m");
    const Json& position = document["frames"][0]["positions"][1]; // of 100.25, 50.25, 0.25 mm
    EXPECT_FLOAT_EQ(position[0].get<float>(), 0.05025F);
    EXPECT_FLOAT_EQ(position[1].get<float>(), 0.00025F);
    EXPECT_FLOAT_EQ(position[2].get<float>(), 0.10025F);
    EXPECT_EQ(exported({"--unit", "mm", "--up", "z"})["frames"], exported()["frames"]);
}

TEST_F(Markers, AreExportedAsATableWithEmptyCellsWhereTheyWereNotSeen) {
    const Outcome outcome = capture({"export", take_, "--format", "csv", "--out", "-"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_THAT(outcome.out,
                StartsWith("frame,time [s],Anna:LFHD.x [mm],Anna:LFHD.y [mm],Anna:LFHD.z [mm],"
                           "Anna:RFHD.x [mm],Anna:RFHD.y [mm],Anna:RFHD.z [mm],RFHD.x [mm],"
                           "RFHD.y [mm],RFHD.z [mm]\n"
                           "7,0,0.25,-49.75,-99.75,100.25,50.25,0.25,200.25,150.25,100.25\n"));
    EXPECT_THAT(outcome.out, HasSubstr("\n9,0.04,,,,")); // the first marker in the third frame
}

TEST_F(Markers, HaveNothingButPositionsToExport) {
    const Outcome outcome =
        capture({"export", take_, "--format", "csv", "--out", out("x"), "--what", "velocities"});
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_THAT(outcome.err, HasSubstr("--what"));
}

TEST_F(Markers, AreConvertedToTheSameBytesWhereNothingChanges) {
    EXPECT_EQ(capture({"convert", take_, out("same.c3d")}).exitCode, 0);
    EXPECT_EQ(readFile(out("same.c3d")), readFile(take_));
    EXPECT_EQ(capture({"convert", take_, out("said.c3d"), "--encoding", "intel-real"}).exitCode, 0);
    EXPECT_EQ(readFile(out("said.c3d")), readFile(take_));
}

TEST_F(Markers, AreConvertedToEveryEncodingAndStayWhereTheyAre) {
    const Json before = exported()["frames"];
    std::string name = take_;
    for (const char* const encoding :
         {"intel-int", "dec-real", "dec-int", "mips-real", "mips-int", "intel-real"}) {
        const std::string next = out(std::string(encoding) + ".c3d");
        EXPECT_EQ(capture({"convert", name, next, "--encoding", encoding}).exitCode, 0);
        EXPECT_THAT(capture({"info", next}).out,
                    HasSubstr(std::string("encoding     ") + encoding + "\n"));
        name = next;
    }
    EXPECT_EQ(capture({"convert", name, out("back.json")}).exitCode, 0);
    EXPECT_EQ(Json::parse(readFile(out("back.json")))["frames"], before);
}

TEST_F(Markers, AreConvertedByTheEndingOfTheFile) {
    exported();
    EXPECT_EQ(capture({"convert", take_, out("a.JSON")}).exitCode, 0);
    EXPECT_EQ(readFile(out("a.JSON")), readFile(out("out.json")));
    EXPECT_EQ(capture({"convert", take_, out("a.csv")}).exitCode, 0);
    EXPECT_THAT(readFile(out("a.csv")), StartsWith("frame,time [s],Anna:LFHD.x [mm]"));
    EXPECT_EQ(capture({"convert", take_, out("a.txt")}).exitCode, 2);
    EXPECT_EQ(capture({"convert", take_, out("a.csv"), "--encoding", "mips-int"}).exitCode, 2);
    EXPECT_EQ(capture({"convert", take_, out("a.c3d"), "--encoding", "vax"}).exitCode, 2);
    EXPECT_EQ(capture({"convert", take_, take_}).exitCode, 2) << "it would be overwritten";
    writeFile(out("body.bvh"), "HIERARCHY\n");
    const Outcome outcome = capture({"convert", out("body.bvh"), out("a.c3d")});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_THAT(outcome.err, HasSubstr("expected a C3D file"));
}

TEST_F(Markers, AreConvertedWithTheFramesThatAreAskedFor) {
    ASSERT_EQ(capture({"convert", take_, out("cut.c3d"), "--frames", "8..9"}).exitCode, 0);
    const kit::C3dTake cut = kit::readC3d(std::filesystem::path(out("cut.c3d")));
    EXPECT_TRUE(cut.report.empty());
    EXPECT_EQ(cut.frameCount, 2);
    EXPECT_EQ(cut.firstFrame, 8);
    EXPECT_EQ(c3d_testing::markersAt(cut, 0)[1].position.x, FileBuilder::coordinate(1, 1, 0));
    ASSERT_EQ(capture({"convert", take_, out("cut.json"), "--frames", "8..9"}).exitCode, 0);
    EXPECT_EQ(Json::parse(readFile(out("cut.json")))["frames"][0]["frame"], 8);
    EXPECT_EQ(capture({"convert", take_, out("cut.csv"), "--frames", "1..2"}).exitCode, 2);
    EXPECT_EQ(capture({"convert", take_, out("cut.glb"), "--frames", "8..9"}).exitCode, 2);
}

TEST_F(Markers, AreConvertedToAnotherUnitInTablesButNotInC3dFiles) {
    ASSERT_EQ(capture({"convert", take_, out("a.csv"), "--unit", "m"}).exitCode, 0);
    ASSERT_EQ(capture({"export", take_, "--format", "csv", "--unit", "m", "--out", out("b.csv")})
                  .exitCode,
              0);
    EXPECT_EQ(readFile(out("a.csv")), readFile(out("b.csv")));
    const Outcome outcome = capture({"convert", take_, out("a.c3d"), "--unit", "m"});
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_THAT(outcome.err, HasSubstr("force plates"));
}

TEST_F(Markers, AtTheOriginAreWhatTheUserSays) {
    std::string bytes = readFile(take_);
    bytes.replace(3 * 512 + 16, 16, std::string(16, '\0')); // the second marker at the start
    writeFile(take_, bytes);
    const auto secondIn = [this](const std::string& origin) {
        EXPECT_EQ(capture({"convert", take_, out("o.json"), "--origin", origin}).exitCode, 0);
        return Json::parse(readFile(out("o.json")))["frames"][0]["positions"][1];
    };
    EXPECT_EQ(secondIn("seen"), Json::parse("[0, 0, 0]"));
    EXPECT_TRUE(secondIn("gaps").is_null());
    EXPECT_THAT(capture({"info", take_}).out,
                HasSubstr("1 positions at exactly 0,0,0 without a residual, of Anna:RFHD, believed "
                          "that nothing was seen"));
    EXPECT_THAT(capture({"info", take_, "--origin", "seen"}).out, Not(HasSubstr("0,0,0")));
    const Outcome outcome = capture({"info", take_, "--origin", "gone"});
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_THAT(outcome.err, HasSubstr("--origin 'gone': expected seen or gaps"));
}

TEST_F(Markers, ArePlayedOntoAContactSheet) {
    const Outcome outcome = capture({"play", take_, "--out", out("pictures")});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_THAT(outcome.out, StartsWith("4 frames shown, 0.080 s at 50 per second: "));
    EXPECT_GT(Image::ofPng(readFile(out("pictures/poses.png"))).height(), 500);
    const std::string svg = readFile(out("pictures/poses.svg"));
    EXPECT_THAT(svg, HasSubstr("3 markers of 2 subjects, 4 frames at 50 per second"));
    EXPECT_THAT(svg, HasSubstr("frame 7, 0.00 s"));
}

TEST_F(Markers, AreStreamedAndRecordedAsTheyAre) {
    const Outcome outcome = capture({"stream", take_, "--speed", "0"});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_THAT(outcome.out, HasSubstr("streamed  4 frames of 4\n"));
    EXPECT_THAT(outcome.out, HasSubstr("recording identical to the take\n"));
    EXPECT_THAT(capture({"stream", take_, "--frames", "9..10"}).out,
                HasSubstr("streamed  2 frames of 4\n"));
}

} // namespace
} // namespace tarn::tests
