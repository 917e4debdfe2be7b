// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "apps/support/Programs.h"
#include "apps/support/Takes.h"
#include "support/Samples.h"
#include "support/SmallDisk.h"

#include <gmock/gmock.h>
#include <tarn_kit/body/Analog.h>
#include <tarn_kit/files/C3d.h>
#include <tarn_kit/session/TakeOf.h>

#include <csignal>
#include <filesystem>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace tarn::tests {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

class Take : public ::testing::Test {
protected:
    /// A take file of a sample take.
    std::string recorded(const std::string& sample, const std::string& ending = ".bvh") {
        std::string file = directory_ / (sample + ".tarn");
        const Outcome outcome =
            capture({"stream", samplePath(sample + ending), "--speed", "0", "--record", file});
        EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
        EXPECT_THAT(outcome.out, HasSubstr(" recorded in " + file + "\n"));
        return file;
    }
    static std::vector<std::string> lines(const std::string& text) {
        std::istringstream stream(text);
        std::vector<std::string> found;
        for (std::string line; std::getline(stream, line);) {
            found.push_back(line);
        }
        return found;
    }
    /// Byte for byte.
    static void expectSameExports(const std::string& take, const std::string& recording) {
        for (const char* const format : {"csv", "json"}) {
            const Outcome a = capture({"export", take, "--format", format, "--out", "-"});
            const Outcome b = capture({"export", recording, "--format", format, "--out", "-"});
            EXPECT_EQ(b.exitCode, 0) << b.err;
            EXPECT_GT(a.out.size(), 1000U);
            EXPECT_TRUE(a.out == b.out) << take << " as " << format;
        }
    }
    static std::string samplePath(const std::string& name) {
        return tarn::testing::samplePath(name).string();
    }

    const TempDirectory directory_;
};

/// A take of markers with all that its file may say: it begins at frame 101, is measured by force
/// plates and a rigid body as well, and somebody has marked the steps.
kit::C3dTake fullTake() {
    auto take = kit::readC3d(tarn::testing::samplePath("cmu_85_02.c3d"));
    take.source = nullptr;
    take.firstFrame = 101;
    take.channels = {{"Fx1", "left plate", "N"}, {"EMG 1", "", "V"}};
    take.samplesPerFrame = 4;
    std::vector<std::shared_ptr<Frame>> samples;
    for (int i = 0; i < 4 * take.frameCount; ++i) {
        const auto value = static_cast<float>(i);
        samples.push_back(std::make_shared<Frame>(Time(static_cast<unsigned>(i), 480),
                                                  kit::analogDataType,
                                                  kit::AnalogFrame({value, value / 7})));
    }
    take.analogTracks = kit::takeOf(kit::analogDataType, std::move(samples), 480);
    take.events = {{"Foot Strike", "Left", "Male", 1.234567, false, true},
                   {"Foot Off", "Right", "", 3.5, false, true}};
    return take;
}

/// "Left Foot Strike of Male at 1.2345"
std::vector<std::string> eventsIn(const std::string& file) {
    std::vector<std::string> events;
    for (const kit::C3dEvent& event : kit::readC3dInfo(file).events) {
        events.push_back(event.context + " " + event.label + " of " + event.subject + " at " +
                         std::to_string(event.time));
    }
    EXPECT_FALSE(events.empty());
    return events;
}

std::string textOf(const kit::C3dTake& take) {
    std::ostringstream text;
    kit::writeC3d(take, text);
    return text.str();
}

TEST_F(Take, ExportsAsTheTakeDoesThatWasRecorded) {
    for (const char* const sample : {"cmu_131_01_walk", "cmu_60_12_salsa_a", "cmu_61_12_salsa_b"}) {
        const std::string file = recorded(sample);
        expectSameExports(samplePath(sample + std::string(".bvh")), file);
    }
    EXPECT_THAT(capture({"info", "--brief", directory_ / "cmu_131_01_walk.tarn"}).out,
                HasSubstr("    994 frames"));
}

TEST_F(Take, OfMarkersExportsAndConvertsAsTheTakeDoes) {
    for (const char* const sample : {"cmu_85_02", "cmu_01_01_jumps"}) {
        const std::string file = recorded(sample, ".c3d");
        expectSameExports(samplePath(sample + std::string(".c3d")), file);
        EXPECT_EQ(capture({"convert", file, directory_ / "again.c3d"}).exitCode, 0);
    }
}

/// What `info` says of a take of markers in whatever file.
std::string linesOfBoth(const std::string& info) {
    std::istringstream stream(info.substr(info.find('\n') + 1));
    std::string text;
    bool isReport = false;
    for (std::string line; std::getline(stream, line);) {
        isReport = isReport || line.rfind("  report", 0) == 0; // which comes last
        const bool isOfOne =
            isReport || line.rfind("  encoding", 0) == 0 || line.rfind("  recorded", 0) == 0;
        text += isOfOne ? "" : line.substr(0, line.find(" (take cut")) + "\n";
    }
    return text;
}

TEST_F(Take, OfMarkersHasAllThatTheFileSays) {
    const std::string take = directory_ / "full.c3d";
    const std::string file = directory_ / "full.tarn";
    writeFile(take, textOf(fullTake()));
    ASSERT_EQ(capture({"stream", take, "--speed", "0", "--record", file}).exitCode, 0);
    expectSameExports(take, file);
    const std::string info = capture({"info", take}).out;
    const std::string again = capture({"info", file}).out;
    EXPECT_THAT(info, AllOf(HasSubstr("numbered 101 to 910"), HasSubstr("2 channels at 480"),
                            HasSubstr("Left Foot Strike of Male"), HasSubstr("Fx1 [N]")));
    EXPECT_THAT(again, AllOf(HasSubstr("810, numbered 101 to 910 (take cut counts from 0)\n"),
                             HasSubstr("\n  recorded     20"), Not(HasSubstr("encoding")),
                             Not(HasSubstr("\n  report"))));
    EXPECT_EQ(linesOfBoth(again), linesOfBoth(info));

    const std::string converted = directory_ / "again.c3d";
    ASSERT_EQ(capture({"convert", file, converted}).exitCode, 0);
    const auto back = kit::readC3d(converted);
    ASSERT_EQ(back.analogTracks->timeLength(), 4 * 810);
    const auto& sample =
        back.analogTracks->getFrame(3000, kit::analogDataType)->dataAs<kit::AnalogFrame>();
    EXPECT_EQ(sample[1], 3000.0F / 7);
}

TEST_F(Take, OfSomeFramesKeepsTheirNumbers) {
    const std::string take = directory_ / "full.c3d";
    const std::string file = directory_ / "part.tarn";
    writeFile(take, textOf(fullTake()));
    ASSERT_EQ(capture({"stream", take, "--speed", "0", "--frames", "301..400", "--record", file})
                  .exitCode,
              0);
    const std::string info = capture({"info", file}).out;
    EXPECT_THAT(info, HasSubstr("100, numbered 301 to 400"));
    EXPECT_THAT(info, HasSubstr("2 channels at 480"));
    const std::string cut = directory_ / "cut.tarn";
    ASSERT_EQ(capture({"take", "cut", file, "10..19", cut}).exitCode, 0);
    EXPECT_THAT(capture({"info", cut}).out, HasSubstr("10, numbered 311 to 320"));
    EXPECT_EQ(capture({"export", cut, "--format", "csv", "--out", "-"}).out.find("time"), 6U);
}

TEST_F(Take, IsRecordedAtTheRateThatIsAskedFor) {
    const std::string sample = samplePath("cmu_131_01_walk.bvh");
    const std::string file = directory_ / "slow.tarn";
    const Outcome slow = capture(
        {"stream", sample, "--speed", "0", "--frames", "0..99", "--rate", "30", "--record", file});
    EXPECT_EQ(slow.exitCode, 0) << slow.err;
    EXPECT_THAT(slow.out, AllOf(HasSubstr("streamed  25 frames of 25\n"),
                                HasSubstr("recording identical to the take\n")));
    EXPECT_THAT(capture({"info", file}).out, HasSubstr("30 frames per second"));
    const auto rows = [](const std::string& take, const std::string& frames) {
        return lines(
            capture({"export", take, "--format", "csv", "--frames", frames, "--out", "-"}).out);
    };
    const auto all = rows(sample, "0..99");
    const auto some = rows(file, "0..24");
    ASSERT_EQ(some.size(), 26U);
    const auto numbers = [](const std::string& row) { // behind frame and time
        return row.substr(row.find(',', row.find(',') + 1));
    };
    for (std::size_t i = 0; i < 25; ++i) {
        EXPECT_EQ(numbers(some.at(i + 1)), numbers(all.at(4 * i + 1))) << "every fourth";
    }

    const std::string markers = directory_ / "fast.tarn";
    EXPECT_THAT(capture({"stream", samplePath("cmu_85_02.c3d"), "--speed", "0", "--frames",
                         "10..19", "--rate", "240", "--record", markers})
                    .out,
                HasSubstr("streamed  20 frames of 20\n"));
    const auto twice = rows(markers, "1..20");
    EXPECT_EQ(numbers(twice.at(1)), numbers(twice.at(2))) << "each is repeated";
    EXPECT_NE(numbers(twice.at(2)), numbers(twice.at(3)));
    EXPECT_EQ(capture({"stream", sample, "--rate", "0"}).exitCode, 2);
}

TEST_F(Take, IsNotBegunWhereThereIsTooLittleSpaceForIt) {
    const tarn::testing::SmallDisk disk(299'008); // 73 pages, which are what a disk in memory has

    if (!disk.isThere()) {
        GTEST_SKIP() << "nothing can be mounted here";
    }
    const Outcome outcome =
        capture({"stream", samplePath("cmu_131_01_walk.bvh"), "--record", disk / "take.tarn"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_THAT(outcome.err, HasSubstr("is expected to take 397 kB, and 299 kB are left"));
    EXPECT_THAT(outcome.out, ::testing::IsEmpty());
}

TEST_F(Take, ThatCannotBeWrittenIsToldAndTheRestGoesOn) {
    const tarn::testing::SmallDisk disk(700'000);
    if (!disk.isThere()) {
        GTEST_SKIP() << "nothing can be mounted here";
    }
    const std::string sample = samplePath("cmu_131_01_walk.bvh");
    const Outcome stream = capture({"stream", sample, "--speed", "0", "--record", disk / "a.tarn"});
    EXPECT_EQ(stream.exitCode, 1);
    EXPECT_THAT(stream.out, HasSubstr("recording identical to the take\n"));
    EXPECT_THAT(stream.err, HasSubstr("a.tarn: no space is left"));

    const tarn::testing::SmallDisk larger(2'000'000);
    const std::string out = directory_ / "out";
    const Outcome run = capture({"run", sample, "--out", out, "--record", larger / "b.tarn"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_THAT(run.out, HasSubstr("complete, nothing lost; "));
    EXPECT_THAT(run.err, HasSubstr("b.tarn: no space is left"));
    EXPECT_THAT(readFile(out + "/session.xml"), HasSubstr("cmu_131_01_walk"));
}

TEST_F(Take, IsListedCheckedCutJoinedAndNoted) {
    const std::string file = recorded("cmu_131_01_walk");
    EXPECT_THAT(capture({"take", "ls", file}).out,
                AllOf(HasSubstr("poses"), HasSubstr("994 frames"), HasSubstr("cmu_131_01_walk")));
    EXPECT_EQ(capture({"take", "check", file}).out, "whole: 1 track, 994 frames\n");
    const std::string a = directory_ / "a.tarn";
    const std::string b = directory_ / "b.tarn";
    const std::string joined = directory_ / "joined.tarn";
    EXPECT_EQ(capture({"take", "cut", file, "0..99", a}).exitCode, 0);
    EXPECT_EQ(capture({"take", "cut", file, "100..", b}).exitCode, 0);
    EXPECT_EQ(capture({"take", "join", a, b, joined}).out,
              "994 frames written to " + joined + "\n");
    EXPECT_EQ(capture({"take", "note", joined, "good one"}).exitCode, 0);
    EXPECT_THAT(capture({"take", "ls", joined}).out, HasSubstr("good one"));
    const auto csv = [](const std::string& take) {
        return capture({"export", take, "--format", "csv", "--out", "-"}).out;
    };
    EXPECT_EQ(csv(joined), csv(file));
}

TEST_F(Take, ThatIsDamagedIsToldAndRecovered) {
    const std::string file = recorded("cmu_131_01_walk");
    const std::string bytes = readFile(file);
    writeFile(file, bytes.substr(0, bytes.size() * 9 / 10));
    const Outcome check = capture({"take", "check", file});
    EXPECT_EQ(check.exitCode, 1);
    EXPECT_THAT(check.out, StartsWith("damaged: "));
    const std::string out = directory_ / "out.tarn";
    const Outcome recovery = capture({"take", "recover", file, out});
    EXPECT_EQ(recovery.exitCode, 0) << recovery.err;
    EXPECT_THAT(recovery.out, AllOf(HasSubstr(" frames recovered\n"), HasSubstr(" missing of ")));
    EXPECT_EQ(capture({"take", "check", out}).exitCode, 0);
}

TEST_F(Take, OfAStreamThatIsInterruptedEndsThere) {
    const std::string file = directory_ / "walk.tarn";
    // It would take hours.
    const Outcome outcome =
        captureInterrupted({"stream", samplePath("cmu_131_01_walk.bvh"), "--speed", "0.001",
                            "--record", file, "--view", "0"},
                           "watch at ");
    EXPECT_EQ(outcome.exitCode, 128 + SIGINT);
    EXPECT_THAT(outcome.err, HasSubstr("interrupted before the end of the take"));
    EXPECT_THAT(outcome.out, AllOf(HasSubstr("\n  lost      0\n"),
                                   HasSubstr("\n  recording identical to the take\n")));
    const Outcome check = capture({"take", "check", file});
    EXPECT_EQ(check.exitCode, 0);
    EXPECT_THAT(check.out, StartsWith("whole: 1 track, "));
}

TEST_F(Take, SaysWhatIsWrong) {
    EXPECT_EQ(capture({"take", "check", directory_ / "none.tarn"}).exitCode, 1);
    EXPECT_EQ(capture({"take", "check"}).exitCode, 2);
    EXPECT_EQ(capture({"take", "turn", "a"}).exitCode, 2);
    EXPECT_EQ(capture({"take", "cut", "a", "b"}).exitCode, 2);
    const std::string file = recorded("cmu_131_01_walk");
    const Outcome beyond = capture({"take", "cut", file, "0..994", directory_ / "x.tarn"});
    EXPECT_EQ(beyond.exitCode, 2);
    EXPECT_THAT(beyond.err, HasSubstr("A..B: the take has frames 0.."));
    const Outcome backwards = capture({"take", "cut", file, "9..1", directory_ / "x.tarn"});
    EXPECT_EQ(backwards.exitCode, 2);
    EXPECT_THAT(backwards.err, HasSubstr("A..B '9..1': expected"));
    EXPECT_EQ(capture({"take", "recover", file, file}).exitCode, 2);
    const std::string bytes = readFile(file);
    writeFile(directory_ / "head.tarn", bytes.substr(0, 16'384));
    const Outcome nothing =
        capture({"take", "recover", directory_ / "head.tarn", directory_ / "x.tarn"});
    EXPECT_EQ(nothing.exitCode, 1);
    EXPECT_THAT(nothing.err, HasSubstr("head.tarn: holds no frames to recover"));
    EXPECT_FALSE(std::filesystem::exists(directory_ / "x.tarn"));
    const std::string sample = samplePath("cmu_131_01_walk.bvh");
    EXPECT_EQ(capture({"stream", sample, "--speed", "0", "--record", "walk.bvh"}).exitCode, 2);
    const Outcome twice = capture({"stream", sample, "--speed", "0", "--record", file});
    EXPECT_EQ(twice.exitCode, 1);
    EXPECT_THAT(twice.err, HasSubstr("is there already"));
}

TEST_F(Take, OfARunHasABodyPerPerformer) {
    const std::string file = directory_ / "session.tarn";
    const Outcome run =
        capture({"run", samplePath("cmu_131_01_walk.bvh"), samplePath("cmu_131_01_walk.bvh"),
                 "--out", directory_ / "out", "--record", file});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_THAT(run.out, HasSubstr("3976 frames recorded in "));
    EXPECT_THAT(capture({"info", file}).err,
                HasSubstr("holds several bodies: cmu_131_01_walk, cmu_131_01_walk-2"));
    EXPECT_THAT(capture({"info", file + "#cmu_131_01_walk-2"}).out, HasSubstr("994"));
    const Outcome none = capture({"info", file + "#Ada"});
    EXPECT_EQ(none.exitCode, 1);
    EXPECT_THAT(none.err, HasSubstr("holds no body 'Ada', but cmu_131_01_walk"));
    for (const char* const command : {"play", "export"}) {
        Arguments arguments = {command, file + "#cmu_131_01_walk-2", "--out",
                               directory_ / "played/"};
        if (command == std::string("export")) {
            arguments.insert(arguments.end(), {"--format", "csv"});
        }
        EXPECT_EQ(capture(arguments).exitCode, 0) << command;
    }
}

TEST_F(Take, OfARunHasItsActors) {
    const std::string file = directory_ / "session.tarn";
    const std::string walk = samplePath("cmu_131_01_walk.bvh");
    const std::string document = directory_ / "Ada.xml";
    EXPECT_EQ(capture({"actor", document, "--name", "Ada L.", "--sensor", "Hips=3"}).exitCode, 0);
    EXPECT_EQ(
        capture({"run", walk, walk, "--unit", "in", "--up", "z", "--actor",
                 "cmu_131_01_walk=" + document, "--out", directory_ / "out", "--record", file})
            .exitCode,
        0);
    EXPECT_THAT(capture({"take", "ls", file}).out,
                AllOf(HasSubstr("  character cmu_131_01_walk, played by Ada L., "),
                      HasSubstr("  character cmu_131_01_walk-2, ")));
    EXPECT_THAT(capture({"actor", file + "#cmu_131_01_walk"}).out,
                AllOf(HasSubstr("Ada L."), HasSubstr("Hips  3")));
    EXPECT_THAT(capture({"actor", file + "#Bo"}).err,
                HasSubstr("holds no actor of 'Bo', but cmu_131_01_walk, cmu_131_01_walk-2"));
    EXPECT_THAT(capture({"actor", recorded("cmu_131_01_walk") + "#Bo"}).err,
                HasSubstr("holds no actors"));
    // A body is in the space that was said to be that of its take.
    EXPECT_THAT(capture({"info", file + "#cmu_131_01_walk"}).out,
                AllOf(HasSubstr("  unit         in, as given\n"),
                      HasSubstr("  up           Z, as given\n")));
    const Outcome changed = capture({"actor", file + "#cmu_131_01_walk", "--name", "Bo"});
    EXPECT_EQ(changed.exitCode, 2);
    EXPECT_THAT(changed.err, HasSubstr("the actors of a recording stay as they were"));
}

TEST_F(Take, OfARunHasTheMarkersBesideTheBody) {
    const std::string file = directory_ / "session.tarn";
    const std::string take = directory_ / "full.c3d";
    const std::string other = directory_ / "other.c3d";
    writeFile(take, textOf(fullTake()));
    auto second = fullTake();
    second.events = {{"Turn", "General", "", 2.25, false, true}};
    writeFile(other, textOf(second));
    const Outcome run = capture({"run", take, other, "--unit", "mm", "--up", "z", "--out",
                                 directory_ / "out", "--record", file});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    expectSameExports(take, file + "#full.c3d");
    EXPECT_THAT(capture({"info", file + "#full.c3d"}).out,
                AllOf(HasSubstr("2 channels at 480"), HasSubstr("Left Foot Strike of Male")));
    EXPECT_THAT(capture({"info", file + "#Male"}).out, HasSubstr("120 frames per second"));
    EXPECT_THAT(capture({"take", "ls", file}).out,
                AllOf(HasSubstr("  character Male, 26 dimensions, 41 markers\n"),
                      HasSubstr("  character Male-2, 26 dimensions, 41 markers\n")));
    EXPECT_THAT(capture({"info", file + "#Male"}).out,
                AllOf(HasSubstr("  character    Male, 26 dimensions, 41 markers\n"),
                      HasSubstr(" by tarn-capture ")));
    const std::string part = directory_ / "part.tarn";
    EXPECT_EQ(capture({"take", "cut", file, "0..99", part}).exitCode, 0);
    for (const std::string& recording : {file, part}) {
        const std::string actor = recording + "#Male-2";
        const std::string shown = capture({"actor", actor}).out;
        const std::string document = directory_ / "out/Male-2.actor.xml";
        const std::string expected = capture({"actor", document}).out;
        EXPECT_THAT(expected, HasSubstr("Height"));
        EXPECT_EQ(shown.substr(shown.find('\n')), expected.substr(expected.find('\n')));
    }
    // Who was calibrated in a recording is not calibrated again.
    const Outcome anew =
        capture({"run", take, "--unit", "mm", "--up", "z", "--actor", part + "#Male", "--calibrate",
                 "0", "--out", directory_ / "again"});
    EXPECT_EQ(anew.exitCode, 0) << anew.err;
    EXPECT_EQ(readFile(directory_ / "again/Male.actor.xml"),
              readFile(directory_ / "out/Male.actor.xml"));
    const std::string inFile = file + "#";
    for (const std::string name : {"full.c3d", "other.c3d"}) {
        const std::string again = directory_ / ("again-" + name);
        EXPECT_EQ(capture({"convert", inFile + name, again}).exitCode, 0);
        EXPECT_EQ(eventsIn(again), eventsIn(directory_ / name)) << "each take has its own";
    }
}

} // namespace
} // namespace tarn::tests
