// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "commands/Commands.h"

#include "help/Completion.h"
#include "support/Errors.h"

#include <fmt/core.h>

#include <string>

namespace tarn::capture {

namespace {

struct CompletionOptions {
    std::string shell;
    const CLI::App* program = nullptr;
};

int completion(const CompletionOptions& options) {
    fmt::print("{}", completionScript(*options.program, options.shell));
    return exitSuccess;
}

} // namespace

void addCompletion(CommandLine& line) {
    auto [command, options] = line.add("completion",
                                       "Print a script with which a shell completes the commands "
                                       "and flags of this program",
                                       completion);
    options.program = &line.app();
    command.add_option("SHELL", options.shell, "bash, zsh or fish")
        ->required()
        ->type_name("")
        ->check(CLI::IsMember({"bash", "zsh", "fish"}));
}

} // namespace tarn::capture
