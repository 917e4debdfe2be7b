// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "support/CommandLine.h"

#include "help/HelpFormatter.h"
#include "help/Suggestion.h"
#include "support/Errors.h"

#include <cstdio>
#include <exception>
#include <stdexcept>

namespace tarn::capture {

namespace {

/// Output that did not arrive, on a full disk for example, is a failure.
void flushOutput() {
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
        throw std::runtime_error("cannot write to standard output");
    }
}

} // namespace

CommandLine::CommandLine(const std::string& program, const std::string& description,
                         const std::string& version)
    : app_(description, program) {
    app_.formatter(std::make_shared<HelpFormatter>()); // for the commands as well
    app_.set_help_flag("-h,--help", "Print this help");
    app_.set_version_flag("--version", version,
                          "Print the versions of the program and its libraries");
    app_.footer("'" + program + " COMMAND --help' tells what a command takes.");
    app_.require_subcommand(0, 1); // none at all is reported after what is unknown
}

int CommandLine::run(int argc, const char* const* argv) {
    try {
        return parseAndRun(argc, argv);
    } catch (const std::exception& error) {
        reportError(error.what());
    } catch (...) {
        reportError("unknown failure");
    }
    return exitFailure;
}

int CommandLine::parseAndRun(int argc, const char* const* argv) {
    try {
        app_.parse(argc, argv);
        if (!chosen_) {
            throw UsageError("a command is required");
        }
        const int exitCode = chosen_();
        flushOutput();
        return exitCode;
    } catch (const CLI::Success& request) { // help or version
        app_.exit(request);
        flushOutput();
        return exitSuccess;
    } catch (const CLI::Error& error) {
        // A word that nobody knows explains what else seems to be missing.
        const std::string unknown = unknownWord(app_);
        reportUsage(unknown.empty() ? error.what() : unknown);
    } catch (const UsageError& error) {
        reportUsage(error.what());
    }
    return exitUsage;
}

void CommandLine::reportUsage(const std::string& reason) const {
    std::string program = app_.get_name();
    for (const CLI::App* command : app_.get_subcommands()) {
        program += " " + command->get_name();
    }
    reportError(reason);
    std::fputs(("Try '" + program + " --help'.\n").c_str(), stderr);
}

} // namespace tarn::capture
