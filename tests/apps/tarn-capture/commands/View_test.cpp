// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "apps/support/Programs.h"
#include "support/Samples.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <string>

// What pages say; what they do in a browser is for ViewPage_test.py.

namespace tarn::tests {
namespace {

using ::testing::HasSubstr;
using Json = nlohmann::json;

const std::string dance = tarn::testing::samplePath("cmu_60_12_salsa_a.bvh").string();
const std::string partner = tarn::testing::samplePath("cmu_61_12_salsa_b.bvh").string();
const std::string walk = tarn::testing::samplePath("cmu_131_01_walk.bvh").string();
const std::string jump = tarn::testing::samplePath("cmu_85_02.c3d").string();

class View : public ::testing::Test {
protected:
    std::string path(const std::string& name) const { return (directory.path() / name).string(); }
    Json facts() const {
        const std::string page = readFile(path("page.html"));
        const std::size_t start = page.find('>', page.find("id=\"facts\"")) + 1;
        return Json::parse(page.substr(start, page.find("</script>", start) - start));
    }
    Outcome view(Arguments arguments) const {
        arguments.insert(arguments.begin(), "view");
        arguments.insert(arguments.end(), {"--out", path("page.html")});
        return capture(arguments);
    }

    TempDirectory directory;
};

TEST_F(View, ShowsBodiesAndMarkersTogether) {
    const Outcome done = view({dance, jump});
    ASSERT_EQ(done.exitCode, 0) << done.err;
    EXPECT_EQ(facts()["performers"][0]["name"], "cmu_60_12_salsa_a");
    EXPECT_EQ(facts()["markers"][0]["markers"].size(), 41U);
    EXPECT_EQ(facts()["title"], "cmu_60_12_salsa_a, cmu_85_02");
}

TEST_F(View, SaysOfABodyInAnUnknownUnitHowTallItIsShown) {
    ASSERT_EQ(view({walk, "--title", "A walk"}).exitCode, 0);
    EXPECT_EQ(facts()["title"], "A walk");
    EXPECT_THAT(facts()["notes"].dump(), HasSubstr("1.75 m"));
}

TEST_F(View, ShowsASolvedTrialWithItsMeasuredMarkers) {
    ASSERT_EQ(capture({"calibrate", jump, "--markers", "cmu41", "--out", path("actor.xml"),
                       "--frames", "1..200"})
                  .exitCode,
              0);
    ASSERT_EQ(capture({"solve", jump, "--actor", path("actor.xml"), "--out", path("solved"),
                       "--frames", "101..140", "--no-pictures"})
                  .exitCode,
              0);
    const Outcome done = view({path("solved")});
    ASSERT_EQ(done.exitCode, 0) << done.err;
    EXPECT_EQ(facts()["performers"][0]["frames"], 40);
    EXPECT_EQ(facts()["performers"][0]["firstFrame"], 101) << "as solve.xml and the table count";
    const Json cloud = facts()["markers"][0];
    EXPECT_EQ(cloud["frames"], 40);
    EXPECT_EQ(cloud["firstFrame"], 101);
    EXPECT_EQ(cloud["residuals"], true);

    std::filesystem::create_directory(path("elsewhere"));
    for (const char* const file : {"solve.xml", "cmu_85_02.bvh"}) {
        std::filesystem::copy_file(path("solved/") + file, path("elsewhere/") + file);
    }
    std::filesystem::create_directory(path("elsewhere/deep"));
    std::filesystem::rename(path("elsewhere"), directory.path() / "solved" / "moved");
    ASSERT_EQ(view({path("solved/moved")}).exitCode, 0);
    EXPECT_TRUE(facts()["markers"].empty()) << "the take is not where it was";
    EXPECT_THAT(facts()["notes"].dump(), HasSubstr("measured markers of cmu_85_02 are not shown"));
}

TEST_F(View, ShowsRecordingsAsTheTakesThatTheyCameFrom) {
    ASSERT_EQ(view({jump}).exitCode, 0);
    const Json markers = facts()["markers"][0];
    const std::string recording = path("jump.tarn");
    ASSERT_EQ(capture({"stream", jump, "--speed", "0", "--record", recording}).exitCode, 0);
    const Outcome done = view({recording});
    ASSERT_EQ(done.exitCode, 0) << done.err;
    EXPECT_EQ(facts()["markers"][0]["markers"], markers["markers"]);
    EXPECT_EQ(facts()["markers"][0]["frames"], markers["frames"]);
    EXPECT_TRUE(facts()["performers"].empty());
    const Outcome none = view({recording + "#Nobody"});
    EXPECT_EQ(none.exitCode, 1);
    EXPECT_THAT(none.err, HasSubstr("holds no body"));
    EXPECT_EQ(capture({"view", recording + "#Male", "--out", recording}).exitCode, 2)
        << "a part of a file is of that file";
}

TEST_F(View, ShowsEverybodyOfARecordedSession) {
    const std::string recording = path("session.tarn");
    const Outcome run =
        capture({"run", dance, partner, "--out", path("session"), "--record", recording});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    ASSERT_EQ(view({recording}).exitCode, 0);
    EXPECT_EQ(facts()["performers"][0]["name"], "cmu_60_12_salsa_a");
    EXPECT_EQ(facts()["performers"][1]["name"], "cmu_61_12_salsa_b");
    ASSERT_EQ(view({recording + "#cmu_61_12_salsa_b"}).exitCode, 0);
    EXPECT_EQ(facts()["performers"].size(), 1U);
}

TEST_F(View, RefusesWhatCannotBe) {
    const Outcome none = view({path("missing.bvh")});
    EXPECT_EQ(none.exitCode, 1);
    EXPECT_THAT(none.err, HasSubstr("missing.bvh"));
    const Outcome bare = view({directory.path().string()});
    EXPECT_THAT(bare.err, HasSubstr("without a session.xml"));
    EXPECT_EQ(capture({"view", dance, "--out", dance}).exitCode, 2);
    EXPECT_FALSE(std::filesystem::exists(path("page.html")));
}

} // namespace
} // namespace tarn::tests
