// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <CLI/CLI.hpp>

#include <functional>
#include <memory>
#include <string>
#include <utility>

namespace tarn::capture {

/// The program's command line: commands, each with options of its own, of which one is run.
class CommandLine {
public:
    /// `version` is all that `--version` prints.
    CommandLine(const std::string& program, const std::string& description,
                const std::string& version);

    CommandLine(const CommandLine&) = delete;
    CommandLine& operator=(const CommandLine&) = delete;

    /// Adds a command, to which its options are then added: what they are set to goes into the
    /// `Options` that come with it, which live as long as the command line. If the command is the
    /// one asked for, `function` is called with them and returns the exit code. Descriptions, those
    /// of options too, are plain text: their lines are broken where they are shown.
    template <class Options>
    std::pair<CLI::App&, Options&> add(const std::string& name, const std::string& description,
                                       int (*function)(const Options&)) {
        auto options = std::make_shared<Options>();
        CLI::App& command = *app_.add_subcommand(name, description)->group("Commands");
        command.callback([this, options, function] {
            chosen_ = [options, function] { return function(*options); };
        });
        return {command, *options};
    }

    /// All that is known of the commands, once they have been added.
    const CLI::App& app() const { return app_; }

    /// Runs the command that is asked for, and returns the exit code. Reports what is wrong with
    /// the command line, and whatever the command throws, in one line.
    int run(int argc, const char* const* argv);

private:
    int parseAndRun(int argc, const char* const* argv);
    void reportUsage(const std::string& reason) const;

    CLI::App app_;
    std::function<int()> chosen_;
};

} // namespace tarn::capture
