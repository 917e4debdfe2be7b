// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "apps/support/Programs.h"
#include "apps/support/Takes.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <tarn/Version.h>

#include <sstream>
#include <string>

namespace tarn::tests {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

/// A take and a place for what is made of it.
class CommandLine : public ::testing::Test {
protected:
    CommandLine() { writeFile(take_, TakeText().text()); }

    const TempDirectory directory_;
    const std::string take_ = directory_ / "take.bvh";
    const std::string out_ = directory_ / "out";
};

/// A wrong command line: told in one line, with a pointer to the help of what was asked for.
void expectUsageError(const Arguments& arguments, const std::string& reason,
                      const std::string& program) {
    const Outcome outcome = capture(arguments);
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_EQ(outcome.err, "tarn-capture: " + reason + "\nTry '" + program + " --help'.\n");
    EXPECT_THAT(outcome.out, IsEmpty());
}

TEST_F(CommandLine, WithoutACommandIsAUsageError) {
    expectUsageError({}, "a command is required", "tarn-capture");
}

TEST_F(CommandLine, AnUnknownCommandIsAUsageErrorThatNamesIt) {
    expectUsageError({"stand"}, "unknown command 'stand'", "tarn-capture");
    expectUsageError({"stand", take_, "--out", out_}, "unknown command 'stand'", "tarn-capture");
}

TEST_F(CommandLine, AnUnknownOptionIsAUsageErrorThatNamesIt) {
    expectUsageError({"--loud"}, "unknown flag '--loud'", "tarn-capture");
    expectUsageError({"info", take_, "--loud"}, "unknown flag '--loud'", "tarn-capture info");
    expectUsageError({"info", take_, "-l"}, "unknown flag '-l'", "tarn-capture info");
}

TEST_F(CommandLine, SaysWhatWasProbablyMeantByAWordThatIsUnknown) {
    expectUsageError({"exprot", take_}, "unknown command 'exprot'; did you mean 'export'?",
                     "tarn-capture");
    expectUsageError({"inf", take_}, "unknown command 'inf'; did you mean 'info'?", "tarn-capture");
    expectUsageError({"play", take_, "--ot=" + out_}, "unknown flag '--ot'; did you mean '--out'?",
                     "tarn-capture play");
    expectUsageError({"export", take_, "--form", "csv"},
                     "unknown flag '--form'; did you mean '--format'?", "tarn-capture export");
}

TEST_F(CommandLine, SaysWhyAFlagOfOtherCommandsMeansNothingInOne) {
    expectUsageError({"clean", take_, out_, "--up", "y"},
                     "--up: OUT is the same file with repaired samples, which keeps its lengths "
                     "and axes",
                     "tarn-capture clean");
    for (const std::string flag : {"--unit", "--up", "--scale"}) {
        expectUsageError({"markers", "check", "cmu41", flag + "=1"},
                         flag + ": names of markers are compared, which have no lengths and axes",
                         "tarn-capture markers");
        expectUsageError({"take", "ls", "a.tarn", flag, "1"},
                         flag + ": take files keep the lengths and axes with which they were "
                                "recorded",
                         "tarn-capture take");
    }
    for (const std::string command : {"markers", "take"}) {
        EXPECT_THAT(capture({command, "--help"}).out, Not(HasSubstr("--scale")));
        expectUsageError({command, "--scal"}, "unknown flag '--scal'", "tarn-capture " + command);
    }
}

TEST_F(CommandLine, EveryCommandNeedsATake) {
    expectUsageError({"info"}, "TAKE is required", "tarn-capture info");
    expectUsageError({"play", "--out", out_}, "TAKE is required", "tarn-capture play");
    expectUsageError({"export", "--format", "csv", "--out", out_}, "TAKE is required",
                     "tarn-capture export");
    expectUsageError({"stream"}, "TAKE is required", "tarn-capture stream");
    expectUsageError({"run", "--out", out_}, "TAKE is required, or streams with --from",
                     "tarn-capture run");
    expectUsageError({"actor", "--check"}, "FILE is required", "tarn-capture actor");
}

TEST_F(CommandLine, TooManyArgumentsAreAUsageErrorThatNamesThem) {
    expectUsageError({"stream", take_, "second"}, "'second' is one argument too many",
                     "tarn-capture stream");
    expectUsageError({"actor", "one.xml", "two.xml"}, "'two.xml' is one argument too many",
                     "tarn-capture actor");
}

TEST_F(CommandLine, ADashIsStandardInputAndAPipeIsReadToItsEnd) {
    const std::string expected = capture({"export", take_, "--format", "csv", "--out", "-"}).out;
    const std::string pipe = directory_ / "pipe.bvh";
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    // In scripts: $1 is the program, $2 the take, $3 the pipe, $4 a directory.
    const auto script = [&](const std::string& text) {
        return runProgram("sh", {"-c", text, "sh", captureProgram(), take_, pipe, out_});
    };
    for (const char* const text : {R"(cat "$2" | "$1" export - --format csv --out -)",
                                   R"(cat "$2" > "$3" & "$1" export "$3" --format csv --out -)"}) {
        const Outcome outcome = script(text);
        EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
        EXPECT_EQ(outcome.out, expected);
    }
    // Compared with a reading of its own, which a pipe gives only once.
    EXPECT_THAT(script(R"(cat "$2" | "$1" stream - --speed 0)").out,
                HasSubstr("identical to the take"));
    EXPECT_EQ(script(R"(cat "$2" | "$1" run - --out "$4")").exitCode, 0);
    EXPECT_FALSE(readFile(out_ + "/stdin.bvh").empty());
}

TEST_F(CommandLine, WhatIsWrongOnStandardInputIsToldWithItsPlace) {
    const Outcome outcome =
        runProgram("sh", {"-c", "echo HIERARCHY | '" + captureProgram() + "' info -"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_THAT(outcome.err, StartsWith("tarn-capture: stdin:2:1: expected"));
}

TEST_F(CommandLine, SeveralFilesCannotGoToStandardOutput) {
    for (const Arguments& arguments :
         {Arguments{"play", take_, "--out", "-"}, Arguments{"run", take_, "--out", "-"},
          Arguments{"export", take_, take_, "--format", "csv", "--out", "-"}}) {
        expectUsageError(arguments, "--out -: several files cannot go to standard output",
                         "tarn-capture " + arguments[0]);
    }
}

TEST_F(CommandLine, StandardInputIsReadOnce) {
    for (const Arguments& command :
         {Arguments{"info"}, Arguments{"play", "--out", out_}, Arguments{"run", "--out", out_},
          Arguments{"export", "--format", "csv", "--out", out_}}) {
        Arguments arguments = command;
        arguments.insert(arguments.end(), {"-", "-"});
        expectUsageError(arguments, "-: standard input can be read only once",
                         "tarn-capture " + command[0]);
    }
}

TEST_F(CommandLine, WhatIsWrittenNeedsAPlace) {
    expectUsageError({"play", take_}, "--out is required", "tarn-capture play");
    expectUsageError({"export", take_, "--format", "csv"}, "--out is required",
                     "tarn-capture export");
    expectUsageError({"run", take_}, "--out is required", "tarn-capture run");
    expectUsageError({"play", take_, "--out"}, "--out: 1 required DIR missing",
                     "tarn-capture play");
}

TEST_F(CommandLine, AnExportNeedsAFormatThatIsKnown) {
    expectUsageError({"export", take_, "--out", out_}, "--format is required",
                     "tarn-capture export");
    expectUsageError({"export", take_, "--out", out_, "--format", "xml"},
                     "--format: xml not in {csv,json}", "tarn-capture export");
}

TEST_F(CommandLine, ARateThatCannotBePlayedIsAUsageError) {
    for (const char* rate : {"0", "-1", "nan", "inf", "1000.1", "fast", "1/0"}) {
        expectUsageError({"play", take_, "--out", out_, "--rate", rate},
                         "--rate '" + std::string(rate) +
                             "': expected frames per second, greater than 0 and at most 1000, such "
                             "as 25, 29.97 or 30000/1001",
                         "tarn-capture play");
    }
    EXPECT_THAT(directory_.names(), ElementsAre("take.bvh"));
}

TEST_F(CommandLine, FramesThatAreNoneAreAUsageError) {
    for (const std::string frames : {"2..1", "-1..1", "0", "..1", "..", "", "a..b", "1..a", "0...1",
                                     "0..1..2", " 0..1", "+0..1", "0x1..2", "99999999999..1"}) {
        expectUsageError({"export", take_, "--format", "csv", "--out", out_, "--frames", frames},
                         "--frames '" + frames +
                             "': expected A..B with A not after B, A.. for all from A on, or N for "
                             "the first N",
                         "tarn-capture export");
    }
    EXPECT_THAT(directory_.names(), ElementsAre("take.bvh"));
}

TEST_F(CommandLine, FramesThatTheTakeDoesNotHaveAreAUsageErrorThatSaysWhatItHas) {
    for (const std::string frames : {"1..3", "3..3", "3..", "4", "0..99999999999"}) {
        expectUsageError({"export", take_, "--format", "csv", "--out", out_, "--frames", frames},
                         "--frames: the take has frames 0..2", "tarn-capture export");
    }
    EXPECT_THAT(directory_.names(), ElementsAre("take.bvh"));
}

TEST_F(CommandLine, NoFramesCanBeChosenFromATakeThatHasNone) {
    TakeText empty;
    empty.rootPositions.clear();
    writeFile(take_, empty.text());
    expectUsageError({"export", take_, "--format", "csv", "--out", out_, "--frames", "0..0"},
                     "--frames: the take has no frames", "tarn-capture export");
}

TEST_F(CommandLine, IsFoundAtFaultBeforeAnyFileIsOpened) {
    const std::string none = directory_ / "missing.bvh";
    const auto expectUsage = [](const Arguments& arguments) {
        EXPECT_EQ(capture(arguments).exitCode, 2) << ::testing::PrintToString(arguments);
    };
    expectUsage({"play", none, "--out", out_, "--rate", "0"});
    expectUsage({"export", none, "--format", "csv", "--out", out_, "--frames", "2..1"});
    expectUsage({"stream", none, "--speed", "-1"});
    expectUsage({"stream", none, "--frames", "0"});
    expectUsage({"run", none, "--out", ""});
    expectUsage({"run", none, "--out", out_, "--calibrate", "-1"});
    expectUsage({"actor", none, "--dimension", "Height"});
    expectUsage({"actor", none, "--sensor", "Hips=up"});
    EXPECT_THAT(directory_.names(), ElementsAre("take.bvh"));
}

TEST_F(CommandLine, WouldOverwriteATakeEvenIfThatIsBroken) {
    writeFile(take_, "no take");
    expectUsageError({"export", take_, "--format", "csv", "--out", take_},
                     "--out: '" + take_ + "' is what the command reads", "tarn-capture export");
    const std::string oddName = directory_ / "poses.png";
    writeFile(oddName, "no take");
    expectUsageError({"play", oddName, "--out", directory_.path().string()},
                     "--out: '" + oddName + "' is what the command reads", "tarn-capture play");
}

TEST_F(CommandLine, AnOptionGivenTwiceIsAUsageError) {
    EXPECT_EQ(capture({"play", take_, "--out", out_, "--out", out_}).exitCode, 2);
}

TEST_F(CommandLine, ATakeIsNeverOverwritten) {
    const std::string before = readFile(take_);
    const std::string sameFile = directory_ / "./take.bvh";
    expectUsageError({"export", take_, "--format", "csv", "--out", sameFile},
                     "--out: '" + sameFile + "' is what the command reads", "tarn-capture export");
    EXPECT_EQ(readFile(take_), before);

    const std::string oddName = directory_ / "poses.svg";
    writeFile(oddName, before);
    expectUsageError({"play", oddName, "--out", directory_.path().string()},
                     "--out: '" + oddName + "' is what the command reads", "tarn-capture play");
    EXPECT_EQ(readFile(oddName), before);
}

TEST_F(CommandLine, HelpListsTheCommands) {
    const Outcome outcome = capture({"--help"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_THAT(outcome.err, IsEmpty());
    EXPECT_THAT(outcome.out, HasSubstr("Usage: tarn-capture"));
    for (const char* word : {"info", "play", "export", "stream", "run", "actor", "completion",
                             "manual", "-h,--help", "--version"}) {
        EXPECT_THAT(outcome.out, HasSubstr("\n  " + std::string(word) + " "));
    }
}

TEST_F(CommandLine, HelpOfACommandListsWhatItTakes) {
    const auto expectHelp = [](const std::string& command, const Arguments& words) {
        const Outcome outcome = capture({command, "--help"});
        EXPECT_EQ(outcome.exitCode, 0);
        EXPECT_THAT(outcome.err, IsEmpty());
        EXPECT_THAT(outcome.out, HasSubstr("Usage: tarn-capture " + command));
        for (const std::string& word : words) {
            EXPECT_THAT(outcome.out, HasSubstr("\n  " + word));
        }
    };
    expectHelp("info", {"TAKE "});
    expectHelp("play", {"TAKE ", "--out DIR (required)", "--rate R ", "--speed F ", "--realtime "});
    expectHelp("export", {"TAKE ", "--format FORMAT (required)", "--out PATH (required)",
                          "--what LIST ", "--frames A..B "});
    expectHelp("stream", {"TAKE ", "--rate R ", "--speed F ", "--frames A..B "});
    expectHelp("run", {"TAKE ", "--out DIR (required)", "--actor FILE ", "--calibrate SECONDS ",
                       "--speed F ", "--realtime "});
    expectHelp("actor", {"FILE ", "--name NAME ", "--dimension NAME=VALUE ...",
                         "--sensor NAME=NUMBER ...", "--check "});
}

TEST_F(CommandLine, NoLineOfTheHelpIsWiderThanATerminal) {
    for (const char* command : {"", "info", "play", "export", "stream", "run", "actor"}) {
        const Arguments arguments =
            *command == 0 ? Arguments{"--help"} : Arguments{command, "--help"};
        std::istringstream help(capture(arguments).out);
        for (std::string line; std::getline(help, line);) {
            EXPECT_LT(line.size(), 80U) << line;
        }
    }
}

TEST_F(CommandLine, VersionIsThatOfTheProgramAndItsLibraries) {
    const Outcome outcome = capture({"--version"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.out, "tarn-capture " TARN_VERSION " (tarn_sdk " TARN_VERSION
                           ", tarn_kit " TARN_VERSION ")\n");
}

TEST_F(CommandLine, AFileNameMayStartWithADash) {
    const Outcome outcome = capture({"info", "--", "--nothing.bvh"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.err, "tarn-capture: --nothing.bvh: No such file or directory\n");
}

TEST_F(CommandLine, ABrokenTakeIsReportedWithFileLineAndColumnByEveryCommand) {
    std::string text = TakeText().text();
    text.replace(text.find("CHANNELS"), 8, "CHANELLS");
    writeFile(take_, text);
    for (const Arguments& arguments :
         {Arguments{"info", take_}, Arguments{"play", take_, "--out", out_},
          Arguments{"export", take_, "--format", "json", "--out", out_}}) {
        const Outcome outcome = capture(arguments);
        EXPECT_EQ(outcome.exitCode, 1);
        EXPECT_THAT(outcome.err, StartsWith("tarn-capture: " + take_ + ":5:1: expected"));
        EXPECT_EQ(outcome.err.find('\n'), outcome.err.size() - 1) << outcome.err;
        EXPECT_THAT(outcome.out, IsEmpty());
    }
    EXPECT_THAT(directory_.names(), ElementsAre("take.bvh"));
}

TEST_F(CommandLine, ATakeThatIsNotThereIsReportedByEveryCommand) {
    const std::string missing = directory_ / "missing.bvh";
    for (const Arguments& arguments :
         {Arguments{"info", missing}, Arguments{"play", missing, "--out", out_},
          Arguments{"export", missing, "--format", "csv", "--out", out_}}) {
        const Outcome outcome = capture(arguments);
        EXPECT_EQ(outcome.exitCode, 1);
        EXPECT_EQ(outcome.err, "tarn-capture: " + missing + ": No such file or directory\n");
    }
    EXPECT_THAT(directory_.names(), ElementsAre("take.bvh"));
}

TEST_F(CommandLine, AReasonIsOneLineWhateverTheFileIsCalled) {
    const Outcome outcome = capture({"info", directory_ / "two\nlines\x1B[31m"});
    EXPECT_EQ(outcome.err.find('\n'), outcome.err.size() - 1) << outcome.err;
    EXPECT_EQ(outcome.err.find('\x1B'), std::string::npos);
}

TEST_F(CommandLine, RunsOneCommandOnly) {
    EXPECT_EQ(capture({"actor", directory_ / "a.xml", "--name", "Ada", "info", take_}).exitCode, 2);
    EXPECT_THAT(directory_.names(), ElementsAre("take.bvh"));
}

TEST_F(CommandLine, WhatWasPrintedBeforeAnErrorComesBeforeIt) {
    const Outcome outcome = runProgram("sh", {"-c", "'" + captureProgram() + "' info '" + take_ +
                                                        "' missing '" + take_ + "' 2>&1"});
    const std::string shown = capture({"info", take_}).out;
    EXPECT_EQ(outcome.out, shown + "tarn-capture: missing: No such file or directory\n\n" + shown);
}

TEST_F(CommandLine, OutputThatDoesNotArriveIsAFailure) {
    for (const std::string& command : {"info '" + take_ + "'", std::string("--help")}) {
        const Outcome outcome =
            runProgram("sh", {"-c", "'" + captureProgram() + "' " + command + " > /dev/full"});
        EXPECT_EQ(outcome.exitCode, 1);
        EXPECT_EQ(outcome.err, "tarn-capture: cannot write to standard output\n");
    }
}

} // namespace
} // namespace tarn::tests
