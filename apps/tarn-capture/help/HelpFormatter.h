// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <CLI/CLI.hpp>

#include <string>

namespace tarn::capture {

/// The group of options of which neither help nor manual page, completion or suggestion tells.
inline constexpr const char* hiddenGroup = "";
inline bool isHidden(const CLI::Option& option) { return option.get_group() == hiddenGroup; }

/// Writes the help of the program and its commands: names on the left, what they mean on the right,
/// in lines that fit the terminal. Descriptions are plain sentences; their lines are broken here.
class HelpFormatter : public CLI::Formatter {
public:
    HelpFormatter();

    std::string make_description(const CLI::App* app) const override;
    std::string make_usage(const CLI::App* app, std::string name) const override;
    std::string make_subcommand(const CLI::App* command) const override;
    std::string make_option(const CLI::Option* option, bool isPositional) const override;
    std::string make_option_opts(const CLI::Option* option) const override;
    std::string make_footer(const CLI::App* app) const override;
};

} // namespace tarn::capture
