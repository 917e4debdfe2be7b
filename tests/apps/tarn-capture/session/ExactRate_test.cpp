// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "apps/support/SessionTest.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <tarn_kit/files/Bvh.h>

#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

namespace tarn::tests {
namespace {

using ::testing::Each;
using ::testing::HasSubstr;
using ::testing::Lt;

/// A take of 29.97 frames per second, and when its frames are in microseconds.
class ExactRate : public SessionTest {
protected:
    static constexpr int count = 500;
    static double microsecondsAt(int frame) { return frame * 1001.0 * 1e6 / 30000; }

    std::string take() const {
        TakeText take;
        take.frameTime = "0.0333667"; // as files commonly write it
        take.rootPositions.assign(count, "0 0 0");
        writeFile(directory_ / "take.bvh", take.text());
        return directory_ / "take.bvh";
    }
    /// By how many microseconds each frame's time, in seconds, is off; all frames are there.
    static std::vector<double> errorsOf(const std::vector<double>& times) {
        EXPECT_EQ(times.size(), static_cast<std::size_t>(count));
        std::vector<double> errors;
        for (const double time : times) {
            const int frame = static_cast<int>(errors.size());
            errors.push_back(std::abs(time * 1e6 - microsecondsAt(frame)));
        }
        return errors;
    }
    static std::vector<double> timesInTable(const std::string& file) {
        std::istringstream table(readFile(file));
        std::vector<double> times;
        std::string line;
        std::getline(table, line);
        while (std::getline(table, line)) {
            times.push_back(std::stod(line.substr(line.find(',') + 1)));
        }
        return times;
    }
    std::string exported(const std::string& format) const {
        std::string out = directory_ / ("take." + format);
        EXPECT_EQ(capture({"export", take(), "--format", format, "--out", out}).exitCode, 0);
        return out;
    }
};

TEST_F(ExactRate, IsThatOfAllThatASessionWrites) {
    ASSERT_EQ(run({take()}).exitCode, 0);
    EXPECT_THAT(errorsOf(timesInTable(output("take.csv"))), Each(Lt(1)));
    const auto motion = kit::readBvh(output("take.bvh"));
    std::vector<double> times;
    times.reserve(count);
    for (int i = 0; i < motion.tracks->timeLength(); ++i) {
        times.push_back(i * motion.frameTime);
    }
    EXPECT_THAT(errorsOf(times), Each(Lt(1)));
    EXPECT_EQ(session("Session.Rate"), "30000/1001");
    // 500 x 1001 / 30000 s
    for (const char* const picture : {"poses.svg", "motion.svg"}) {
        EXPECT_THAT(readFile(output(picture)),
                    HasSubstr("500 frames at 29.97 per second, 16.683 s"))
            << picture;
    }
}

TEST_F(ExactRate, IsThatOfExportedTables) {
    EXPECT_THAT(errorsOf(timesInTable(exported("csv"))), Each(Lt(1)));
}

TEST_F(ExactRate, IsThatOfExportedDocuments) {
    const auto document = nlohmann::json::parse(readFile(exported("json")));
    EXPECT_EQ(document["exact_rate"], (std::vector<int>{30000, 1001}));
    EXPECT_DOUBLE_EQ(document["rate"].get<double>(), 30000.0 / 1001);
    std::vector<double> times;
    for (const auto& pose : document["poses"]) {
        times.push_back(pose["time"].get<double>());
    }
    EXPECT_THAT(errorsOf(times), Each(Lt(1)));
}

TEST_F(ExactRate, IsThatOfADrawnTake) {
    const Outcome outcome = capture({"play", take(), "--out", out_});
    EXPECT_THAT(outcome.out, HasSubstr("500 frames shown, 16.683 s at 29.97 per second"));
    EXPECT_THAT(readFile(output("poses.svg")), HasSubstr("29.97 per second, 16.683 s"));
}

TEST_F(ExactRate, IsNotMixedWithTheWholeRateNextToIt) {
    const Outcome outcome = run({take(), sampleTake("cmu_60_12_salsa_a")});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_THAT(outcome.err, HasSubstr("30 frames per second, but 'take' has 30000/1001"));
}

} // namespace
} // namespace tarn::tests
