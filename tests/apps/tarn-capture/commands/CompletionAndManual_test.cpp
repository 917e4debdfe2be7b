// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "apps/support/Programs.h"

#include <gmock/gmock.h>

#include <ostream>
#include <regex>
#include <string>
#include <vector>

namespace tarn::tests {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

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
    return listedIn(capture({command, "--help"}).out, "--[a-z-]+");
}

/// What a shell would ask of a user who has its program: to write its completion script and a line.
struct Shell {
    std::string name;
    Outcome (*complete)(const std::string& line, const TempDirectory& directory);

    friend void PrintTo(const Shell& shell, std::ostream* stream) { *stream << shell.name; }
};

/// Asks the function that bash would call.
Outcome completeInBash(const std::string& line, const TempDirectory& directory) {
    const std::string last = line.back() == ' ' ? "''" : "";
    return runProgram("bash", {"-c",
                               "source \"$0\"; COMP_WORDS=(" + line + last +
                                   "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _tarn_capture; "
                                   "echo ${COMPREPLY[*]}",
                               directory / "_tarn-capture"});
}

/// Presses the tabulator in a terminal, and has zsh tell what its completion adds to its list.
Outcome completeInZsh(const std::string& line, const TempDirectory& directory) {
    writeFile(directory / ".zshrc", R"(
        PS1= RPS1=
        fpath=($ZDOTDIR $fpath)
        autoload -U compinit
        compinit -u -D
        offers=()
        compadd() {
            if [[ ${@[1,(i)(-|--)]} != *-[OAD]* ]]; then
                local -a fitting
                builtin compadd -A fitting "$@"
                offers+=($fitting)
            fi
            builtin compadd "$@"
        }
        tell() {
            print "<offers ${(o)offers}>"
            exit
        }
        comppostfuncs=(tell)
        bindkey '^I' complete-word
    )");
    writeFile(directory / "press", R"(
        zmodload zsh/zpty
        zpty shell zsh -i
        zpty -w -n shell "$1"$'\t'
        zpty -r -m shell text '*<offers *>*'
        print -r -- ${${text##*<offers }%%>*}
    )");
    return runProgram(
        "env", {"ZDOTDIR=" + directory.path().string(), "zsh", "-f", directory / "press", line});
}

Outcome completeInFish(const std::string& line, const TempDirectory& directory) {
    const std::string script = "source $argv[1]; echo (complete -C $argv[2] | cut -f 1 | sort)";
    return runProgram("env", {"HOME=" + directory.path().string(), "fish", "--no-config", "-c",
                              script, directory / "_tarn-capture", line});
}

class CompletionIn : public ::testing::TestWithParam<Shell> {
protected:
    /// The words that the shell offers at the end of a line, in alphabetical order.
    std::string offered(const std::string& line) const {
        const Outcome outcome = GetParam().complete(line, directory_);
        EXPECT_EQ(outcome.exitCode, 0) << line;
        EXPECT_THAT(outcome.err, IsEmpty()) << line;
        return outcome.out.substr(0, outcome.out.find('\n'));
    }

    void SetUp() override {
        if (runProgram("sh", {"-c", "command -v " + GetParam().name}).exitCode != 0) {
            GTEST_SKIP() << GetParam().name << " is not installed";
        }
        writeFile(directory_ / "_tarn-capture", capture({"completion", GetParam().name}).out);
    }

private:
    const TempDirectory directory_;
};

TEST_P(CompletionIn, OffersWhatFits) {
    EXPECT_EQ(offered("tarn-capture ex"), "export");
    EXPECT_EQ(offered("tarn-capture --v"), "--version");
    EXPECT_EQ(offered("tarn-capture export --fo"), "--format");
    EXPECT_EQ(offered("tarn-capture export --format "), "csv json");
    EXPECT_EQ(offered("tarn-capture completion z"), "zsh");
    EXPECT_EQ(offered("tarn-capture info --fo"), "");
}

TEST_P(CompletionIn, KnowsWhichFlagsTakeAValue) {
    EXPECT_EQ(offered("tarn-capture run --force --dim"), "--dimensions");
    EXPECT_EQ(offered("tarn-capture completion --help fi"), "fish");
}

INSTANTIATE_TEST_SUITE_P(Shells, CompletionIn,
                         ::testing::Values(Shell{"bash", completeInBash},
                                           Shell{"zsh", completeInZsh},
                                           Shell{"fish", completeInFish}),
                         [](const auto& shell) { return shell.param.name; });

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

TEST(Completion, OffersNoFlagThatOnlyOtherCommandsHave) {
    const std::string fish = capture({"completion", "fish"}).out;
    EXPECT_THAT(fish, HasSubstr("_from info' -l scale "));
    EXPECT_THAT(fish, Not(HasSubstr("_from take' -l scale ")));
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

TEST(Manual, HasNoFlagThatOnlyOtherCommandsHave) {
    const std::string page = capture({"manual"}).out;
    const std::size_t start = page.find(".SS tarn\\-capture take ");
    ASSERT_NE(start, std::string::npos);
    const std::string section = page.substr(start, page.find(".SS", start + 1) - start);
    EXPECT_THAT(section, HasSubstr(".B \\-h"));
    EXPECT_THAT(section, Not(HasSubstr("scale")));
    EXPECT_THAT(section, Not(HasSubstr(".B  "))) << "nor an entry without a name";
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
