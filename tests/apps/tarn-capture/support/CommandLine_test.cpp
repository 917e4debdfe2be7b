// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "support/CommandLine.h"

#include "support/Errors.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <stdexcept>
#include <string>

namespace tarn::capture {
namespace {

struct Options {
    std::string how;
};

int fail(const Options& options) {
    if (options.how == "usage") {
        throw UsageError("not like that");
    }
    if (options.how == "failure") {
        throw std::runtime_error("first line\nsecond");
    }
    if (options.how == "thing") {
        throw 1; // NOLINT(hicpp-exception-baseclass,misc-throw-by-value-catch-by-reference)
    }
    return 42;
}

/// A program with one command, which fails in the way it is told.
int run(const char* how) {
    CommandLine line("program", "Fails.", "1.2");
    auto [command, options] = line.add("fail", "Fails", fail);
    command.add_option("HOW", options.how);
    const std::array<const char*, 3> arguments{"program", "fail", how};
    return line.run(3, arguments.data());
}

[[noreturn]] void runAndExit(const char* how) { std::exit(run(how)); }

TEST(CommandLine, ReturnsWhatTheCommandReturns) { EXPECT_EQ(run("not"), 42); }

TEST(CommandLineDeathTest, ReportsWhateverACommandThrows) {
    using ::testing::ExitedWithCode;
    EXPECT_EXIT(runAndExit("usage"), ExitedWithCode(exitUsage),
                "^tarn-capture: not like that\nTry 'program fail --help'.\n$");
    EXPECT_EXIT(runAndExit("failure"), ExitedWithCode(exitFailure),
                "^tarn-capture: first line\xEF\xBF\xBDsecond\n$");
    EXPECT_EXIT(runAndExit("thing"), ExitedWithCode(exitFailure),
                "^tarn-capture: unknown failure\n$");
}

} // namespace
} // namespace tarn::capture
