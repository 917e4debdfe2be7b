// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "apps/support/Programs.h"

#include <gmock/gmock.h>

#include <csignal>

namespace tarn::tests {
namespace {

TEST(Programs, HandleSignalsByDefaultWhateverTheTestsWereStartedWith) {
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        // As a shell has it that runs the tests in the background.
        const auto before = std::signal(number, SIG_IGN);
        const Outcome outcome =
            runProgram("sh", {"-c", "kill -" + std::to_string(number) + " $$; exit 3"});
        std::signal(number, before);
        EXPECT_EQ(outcome.exitCode, 128 + number);
    }
}

} // namespace
} // namespace tarn::tests
