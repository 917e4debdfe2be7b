// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "commands/Commands.h"

#include "help/ManualPage.h"
#include "support/Errors.h"

#include <fmt/core.h>
#include <tarn/Version.h>

namespace tarn::capture {

namespace {

struct ManualOptions {
    const CLI::App* program = nullptr;
};

int manual(const ManualOptions& options) {
    fmt::print("{}", manualPage(*options.program, TARN_VERSION));
    return exitSuccess;
}

} // namespace

void addManual(CommandLine& line) {
    auto [command, options] =
        line.add("manual", "Print the manual page of this program, for man to show", manual);
    options.program = &line.app();
    static_cast<void>(command); // takes nothing
}

} // namespace tarn::capture
