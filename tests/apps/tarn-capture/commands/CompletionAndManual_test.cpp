// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "apps/support/Programs.h"

#include <gmock/gmock.h>

#include <regex>
#include <string>
#include <vector>

namespace tarn::tests {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;

/// The names that a list in a help gives, one at the beginning of each line.
std::vector<std::string> listedIn(const std::string& help, const std::string& pattern) {
    std::vector<std::string> names;
    const std::regex line("\n  (?:-h,)?(" + pattern + ")(?= )");
    for (std::sregex_iterator i(help.begin(), help.end(), line), end; i != end; ++i) {
        names.push_back((*i)[1]);
    }
    return names;
}

std::vector<std::string> commands() {
    const std::string help = capture({"--help"}).out;
    return listedIn(help.substr(help.find("\nCommands:")), "[a-z]+");
}

std::vector<std::string> flagsOf(const std::string& command) {
    return listedIn(capture({command, "--help"}).out, "--[a-z]+");
}

/// What bash offers for the last of the words on a command line.
std::string completed(const std::vector<std::string>& words) {
    std::string line = "COMP_WORDS=(tarn-capture";
    for (const std::string& word : words) {
        line += " '" + word + "'";
    }
    const Outcome outcome =
        runProgram("bash", {"-c",
                            "eval \"$(\"$0\" completion bash)\"; " + line +
                                "); COMP_CWORD=" + std::to_string(words.size()) +
                                "; _tarn_capture; echo ${COMPREPLY[*]}",
                            captureProgram()});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_THAT(outcome.err, IsEmpty());
    return outcome.out;
}

TEST(Completion, KnowsEveryCommandAndEveryFlagInEveryShell) {
    const std::string bash = capture({"completion", "bash"}).out;
    const std::string zsh = capture({"completion", "zsh"}).out;
    const std::string fish = capture({"completion", "fish"}).out;
    ASSERT_GE(commands().size(), 8U);
    for (const std::string& command : commands()) {
        EXPECT_THAT(bash, HasSubstr("        " + command + ")\n"));
        EXPECT_THAT(zsh, HasSubstr("        " + command + ")\n"));
        EXPECT_THAT(fish, HasSubstr(" -a " + command + " -d '"));
        ASSERT_FALSE(flagsOf(command).empty()) << command;
        for (const std::string& flag : flagsOf(command)) {
            EXPECT_THAT(bash, HasSubstr(flag)) << command;
            EXPECT_THAT(zsh, HasSubstr(flag + "[")) << command;
            EXPECT_THAT(fish, HasSubstr("_from " + command + "' -l " + flag.substr(2) + " "));
        }
    }
}

TEST(Completion, OffersWhatFitsInBash) {
    EXPECT_EQ(completed({"ex"}), "export\n");
    EXPECT_EQ(completed({"--v"}), "--version\n");
    EXPECT_EQ(completed({"export", "--fo"}), "--format\n");
    EXPECT_EQ(completed({"export", "--format", ""}), "csv json\n");
    EXPECT_EQ(completed({"completion", "z"}), "zsh\n");
    EXPECT_EQ(completed({"info", "take"}), "\n"); // the shell's files
    EXPECT_EQ(completed({"info", "--fo"}), "\n");
}

TEST(Completion, IsForShellsThatAreKnown) {
    EXPECT_EQ(capture({"completion"}).exitCode, 2);
    EXPECT_EQ(capture({"completion", "cmd"}).exitCode, 2);
}

TEST(Manual, HasTheTextOfTheHelpOfEveryCommand) {
    const Outcome outcome = capture({"manual"});
    EXPECT_EQ(outcome.exitCode, 0);
    // Without what roff needs, and without line breaks.
    const auto plain = [](std::string text) {
        text = std::regex_replace(text, std::regex("\\\\([-&])"), "$1");
        return std::regex_replace(text, std::regex("\\s+"), " ");
    };
    const std::string page = plain(outcome.out);
    for (const std::string& command : commands()) {
        const std::string help = capture({command, "--help"}).out;
        EXPECT_THAT(page, HasSubstr(plain(help.substr(0, help.find("\n\n"))))) << command;
        for (const std::string& flag : flagsOf(command)) {
            EXPECT_THAT(page, HasSubstr(flag)) << command;
        }
    }
}

TEST(Manual, IsUnderstoodByGroff) {
    const TempDirectory directory;
    writeFile(directory / "page.1", capture({"manual"}).out);
    if (runProgram("sh", {"-c", "command -v groff"}).exitCode != 0) {
        GTEST_SKIP() << "groff is not installed";
    }
    const Outcome outcome = runProgram("groff", {"-man", "-Tascii", "-ww", directory / "page.1"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_THAT(outcome.err, IsEmpty());
    EXPECT_THAT(outcome.out, HasSubstr("The command line is at fault."));
}

} // namespace
} // namespace tarn::tests
