// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "help/HelpFormatter.h"

#include "support/Terminal.h"
#include "support/Wrapped.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <utility>

namespace tarn::capture {

namespace {

std::string paragraph(const std::string& text) {
    std::string lines;
    for (const std::string& line : wrapped(text, outputWidth())) {
        lines += line + "\n";
    }
    return lines;
}

/// A name, and what it means beside it, or below it where the name is long.
std::string entry(const std::string& name, const std::string& description) {
    constexpr std::size_t column = 26;
    std::string text = "  " + name;
    bool isBeside = columnsOf(text) + 2 <= column;
    for (const std::string& line : wrapped(description, outputWidth() - column)) {
        text +=
            isBeside ? std::string(column - columnsOf(text), ' ') : "\n" + std::string(column, ' ');
        text += line;
        isBeside = false;
    }
    return text + "\n";
}

} // namespace

HelpFormatter::HelpFormatter() {
    label("SUBCOMMAND", "COMMAND");
    label("Positionals", "Arguments");
}

std::string HelpFormatter::make_description(const CLI::App* app) const {
    return paragraph(app->get_description());
}

std::string HelpFormatter::make_usage(const CLI::App* app, std::string name) const {
    return "\n" + CLI::Formatter::make_usage(app, std::move(name));
}

std::string HelpFormatter::make_subcommand(const CLI::App* command) const {
    return entry(command->get_display_name(true), command->get_description());
}

std::string HelpFormatter::make_option(const CLI::Option* option, bool isPositional) const {
    const std::string name = make_option_name(option, isPositional) + make_option_opts(option);
    return entry(name, option->get_description());
}

/// What the usage line says of a positional is not said again.
std::string HelpFormatter::make_option_opts(const CLI::Option* option) const {
    if (option->get_positional()) {
        return {};
    }
    const bool isList = option->get_expected_max() == CLI::detail::expected_max_vector_size;
    std::string type = option->get_type_size() == 0 ? "" : option->get_type_name();
    type.erase(std::min(type.find(':'), type.size())); // what its checks say is for the errors
    return fmt::format("{}{}{}{}", type.empty() ? "" : " ", type, isList ? " ..." : "",
                       option->get_required() ? " (required)" : "");
}

std::string HelpFormatter::make_footer(const CLI::App* app) const {
    // Commands inherit the program's, which is of no use to them.
    return app->get_parent() == nullptr ? paragraph(app->get_footer()) : std::string();
}

} // namespace tarn::capture
