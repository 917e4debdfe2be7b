// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "apps/support/Programs.h"
#include "support/Samples.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <tarn_kit/files/C3d.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace tarn::tests {
namespace {

using ::testing::ContainsRegex;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using Json = nlohmann::json;

const std::string sample = tarn::testing::samplePath("cmu_85_02.c3d").string();

kit::Marker markerIn(const kit::C3dTake& take, int frame, std::size_t marker) {
    return take.tracks->getFrame(frame, kit::markerDataType)->dataAs<kit::MarkerFrame>()[marker];
}

/// Changes the markers of some frames of a take.
template <class Change>
void change(const kit::C3dTake& take, int first, int last, Change markersOf) {
    for (int i = first; i <= last; ++i) {
        const auto frame = take.tracks->getFrame(i, kit::markerDataType);
        auto markers = frame->dataAs<kit::MarkerFrame>().toVector();
        markersOf(markers);
        take.tracks->setFrame(i, kit::markerDataType,
                              std::make_shared<Frame>(frame->time(), kit::markerDataType,
                                                      kit::MarkerFrame(std::move(markers))));
    }
}

class Clean : public ::testing::Test {
protected:
    /// The sample with the frames 301 to 350 of RFWT, as the file numbers them, cut out.
    void writeGap() const {
        const kit::C3dTake take = kit::readC3d(std::filesystem::path(sample));
        change(take, 300, 349, [](std::vector<kit::Marker>& markers) { markers[1] = {}; });
        write(take);
    }
    /// The sample with the labels of LFWT and RFWT exchanged in the frames 201 to 261.
    void writeSwap() const {
        const kit::C3dTake take = kit::readC3d(std::filesystem::path(sample));
        change(take, 200, 260,
               [](std::vector<kit::Marker>& markers) { std::swap(markers[0], markers[1]); });
        write(take);
    }
    void write(const kit::C3dTake& take) const {
        std::ofstream stream(in_, std::ios::binary);
        kit::writeC3d(take, stream);
    }

    const TempDirectory directory_;
    const std::string in_ = directory_ / "in.c3d";
    const std::string out_ = directory_ / "out.c3d";
    const std::string report_ = directory_ / "report.json";
};

TEST_F(Clean, WritesATakeThatIsInOrderByteForByteAsItWas) {
    const Outcome outcome = capture({"clean", sample, out_});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_THAT(outcome.err, IsEmpty());
    EXPECT_EQ(outcome.out, "cmu_85_02: 41 markers, 810 frames at 120 Hz\n"
                           "without a flag: --swaps and --fill\n"
                           "0 swaps put right, 0 spikes taken out\n"
                           "no gaps\n");
    EXPECT_EQ(readFile(out_), readFile(sample));
}

TEST_F(Clean, FillsAGapAndSaysFromWhichMarkers) {
    writeGap();
    const Outcome outcome = capture({"clean", in_, out_, "--fill", "--report", report_});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_THAT(outcome.out, HasSubstr("1 of 1 gap filled, 50 samples\n"
                                       "  Male:RFWT: frames 301..350, from "));
    EXPECT_THAT(outcome.out, ContainsRegex("expected[ \n]+error[ \n]+[0-9.]+[ \n]+mm\n"));
    EXPECT_THAT(outcome.out, Not(ContainsRegex("[^\n]{80}"))) << "a terminal's width";
    EXPECT_THAT(outcome.out, Not(HasSubstr("swap")));
    const kit::C3dTake truth = kit::readC3d(std::filesystem::path(sample));
    const kit::C3dTake cleaned = kit::readC3d(std::filesystem::path(out_));
    double worst = 0;
    for (int i = 300; i < 350; ++i) {
        const Vector3f at = markerIn(cleaned, i, 1).position;
        const Vector3f was = markerIn(truth, i, 1).position;
        worst = std::max(worst, std::hypot(static_cast<double>(at.x - was.x),
                                           static_cast<double>(at.y - was.y),
                                           static_cast<double>(at.z - was.z)));
    }
    EXPECT_LT(worst, 20);
    EXPECT_EQ(markerIn(cleaned, 320, 2).position.x, markerIn(truth, 320, 2).position.x);

    const Json document = Json::parse(readFile(report_));
    EXPECT_EQ(document["take"], "in");
    EXPECT_EQ(document["unit"], "mm");
    EXPECT_EQ(document.count("changes"), 0U);
    ASSERT_EQ(document["gaps"].size(), 1U);
    const Json& gap = document["gaps"][0];
    EXPECT_EQ(gap["marker"], "Male:RFWT");
    EXPECT_EQ(gap["first"], 301);
    EXPECT_EQ(gap["last"], 350);
    EXPECT_EQ(gap["frames"], 50);
    EXPECT_EQ(gap["filled"], 50);
    EXPECT_EQ(gap["method"], "neighbours");
    EXPECT_GE(gap["neighbours"].size(), 3U);
    EXPECT_LT(gap["expected_error"], 30);
    EXPECT_EQ(gap["reason"], "");
}

TEST_F(Clean, TellsLengthsInTheUnitThatIsAskedForAndWritesTheSameFile) {
    writeGap();
    ASSERT_EQ(capture({"clean", in_, out_, "--fill", "--report", report_}).exitCode, 0);
    const Json millimetres = Json::parse(readFile(report_));
    const std::string cleaned = readFile(out_);
    const Outcome outcome =
        capture({"clean", in_, out_, "--fill", "--unit", "cm", "--report", report_});
    ASSERT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_THAT(outcome.out, ContainsRegex("expected[ \n]+error[ \n]+[0-9.]+[ \n]+cm\n"));
    const Json centimetres = Json::parse(readFile(report_));
    EXPECT_EQ(centimetres["unit"], "cm");
    const double error = millimetres["gaps"][0]["expected_error"];
    EXPECT_DOUBLE_EQ(centimetres["gaps"][0]["expected_error"], error / 10);
    EXPECT_EQ(readFile(out_), cleaned);
}

TEST_F(Clean, ChangesNothingButTheSamplesInTheFile) {
    writeGap();
    ASSERT_EQ(capture({"clean", in_, out_, "--fill"}).exitCode, 0);
    const std::string before = readFile(in_);
    const std::string after = readFile(out_);
    ASSERT_EQ(before.size(), after.size());
    std::size_t changed = 0;
    for (std::size_t i = 0; i < before.size(); ++i) {
        changed += before[i] == after[i] ? 0U : 1U;
    }
    EXPECT_GT(changed, 0U);
    EXPECT_LE(changed, 50U * 16U); // a position and a word of four bytes each in fifty frames
}

TEST_F(Clean, PutsExchangedLabelsRight) {
    writeSwap();
    const Outcome outcome = capture({"clean", in_, out_, "--swaps", "--report", report_});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_THAT(outcome.out,
                HasSubstr("1 swap put right, 0 spikes taken out\n"
                          "  Male:LFWT, Male:RFWT: frames 201..261, labels exchanged"));
    EXPECT_THAT(outcome.out, Not(HasSubstr("gap")));
    EXPECT_EQ(readFile(out_), readFile(sample));
    const Json document = Json::parse(readFile(report_));
    ASSERT_EQ(document["changes"].size(), 1U);
    EXPECT_EQ(document["changes"][0]["fault"], "swap");
    EXPECT_EQ(document["changes"][0]["first"], 201);
    EXPECT_EQ(document["changes"][0]["last"], 261);
    EXPECT_EQ(document["changes"][0]["markers"], Json({"Male:LFWT", "Male:RFWT"}));
    EXPECT_EQ(document["changes"][0]["corrected"], true);
}

TEST_F(Clean, FiltersAllMarkers) {
    const Outcome outcome = capture({"clean", sample, out_, "--lowpass", "6"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.out, "cmu_85_02: 41 markers, 810 frames at 120 Hz\n"
                           "33210 samples low-passed: Butterworth, order 4, 6 Hz (-3 dB) over both "
                           "passes\n");
    const kit::C3dTake before = kit::readC3d(std::filesystem::path(sample));
    const kit::C3dTake after = kit::readC3d(std::filesystem::path(out_));
    EXPECT_NE(markerIn(after, 400, 5).position.x, markerIn(before, 400, 5).position.x);
    EXPECT_NEAR(markerIn(after, 400, 5).position.x, markerIn(before, 400, 5).position.x, 50);
}

TEST_F(Clean, StandsInAPipe) {
    const Outcome outcome = runProgram("sh", {"-c", "cat '" + sample + "' | '" + captureProgram() +
                                                        "' clean - - > '" + out_ + "'"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_THAT(outcome.err, HasSubstr("stdin: 41 markers, 810 frames at 120 Hz\n"));
    EXPECT_EQ(readFile(out_), readFile(sample));
}

TEST_F(Clean, LeavesUnlabelledPointsAsTheyCome) {
    kit::C3dTake take = kit::readC3d(std::filesystem::path(sample));
    take.markers[3].subject = "";
    take.markers[3].name = "*4";
    change(take, 300, 319, [](std::vector<kit::Marker>& markers) { markers[3] = {}; });
    write(take);
    const Outcome outcome = capture({"clean", in_, out_});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_THAT(outcome.out, HasSubstr("1 unlabelled point left as it comes\n"));
    EXPECT_THAT(outcome.out, HasSubstr("no gaps\n"));
    EXPECT_FALSE(markerIn(kit::readC3d(std::filesystem::path(out_)), 310, 3).hasPosition());
}

TEST_F(Clean, RefusesWhatItCannotDoBeforeItWritesAnything) {
    const auto refuses = [&](const Arguments& arguments, int exitCode, const std::string& reason) {
        Arguments all = {"clean"};
        all.insert(all.end(), arguments.begin(), arguments.end());
        const Outcome outcome = capture(all);
        EXPECT_EQ(outcome.exitCode, exitCode) << reason;
        EXPECT_THAT(outcome.err, HasSubstr(reason));
        EXPECT_THAT(outcome.out, IsEmpty());
        EXPECT_FALSE(std::filesystem::exists(out_));
    };
    refuses({sample, out_, "--lowpass", "x"}, 2, "--lowpass 'x'");
    refuses({sample, out_, "--lowpass", "0"}, 2, "--lowpass '0'");
    refuses({sample, out_, "--lowpass", "60"}, 2, "less than 60 Hz");
    refuses({sample}, 2, "OUT");
    refuses({directory_ / "none.c3d", out_}, 1, "none.c3d");
    writeFile(in_, "no C3D file at all");
    refuses({sample, out_, "--report", in_ + "/report.json"}, 1, "in.c3d");
    refuses({in_, out_}, 1, "in.c3d");
    refuses({in_, in_}, 2, "is what the command reads");
    refuses({in_, out_, "--report", in_}, 2, "is what the command reads");
    EXPECT_EQ(readFile(in_), "no C3D file at all");
}

} // namespace
} // namespace tarn::tests
