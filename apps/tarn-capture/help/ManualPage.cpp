// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "help/ManualPage.h"

#include "help/HelpFormatter.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>

namespace tarn::capture {

namespace {

/// Text as roff has it, so that nothing in it is taken for a request.
std::string roff(const std::string& text) {
    std::string escaped;
    for (const char c : text) {
        escaped += c == '\\' ? "\\e" : c == '-' ? "\\-" : std::string(1, c);
    }
    const bool isRequest = !escaped.empty() && (escaped[0] == '.' || escaped[0] == '\'');
    return isRequest ? "\\&" + escaped : escaped;
}

std::string upperCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return text;
}

/// "play [OPTIONS] TAKE...", as the help has it.
std::string usageOf(const CLI::App& command, const std::string& program) {
    const std::string usage = HelpFormatter().make_usage(&command, program);
    const std::size_t begin = usage.find(program);
    const std::size_t end = usage.find('\n', begin);
    return usage.substr(begin, end - begin);
}

std::string optionsOf(const CLI::App& command) {
    const auto isTold = [](const CLI::Option* option) { return !isHidden(*option); };
    const HelpFormatter formatter;
    std::string text;
    for (const CLI::Option* option : command.get_options(isTold)) {
        const bool isArgument = option->get_positional();
        const std::string name =
            option->get_name(isArgument, !isArgument) + formatter.make_option_opts(option);
        text += fmt::format(".TP\n.B {}\n{}.\n", roff(name), roff(option->get_description()));
    }
    return text;
}

} // namespace

std::string manualPage(const CLI::App& program, const std::string& version) {
    const std::string& name = program.get_name();
    std::string text = fmt::format(".TH {} 1 \"\" \"{} {}\" \"User Commands\"\n",
                                   upperCase(roff(name)), roff(name), version);
    text += fmt::format(".SH NAME\n{} \\- {}\n", roff(name), roff(program.get_description()));
    text += fmt::format(".SH SYNOPSIS\n.B {}\n", roff(usageOf(program, name)));
    text += ".SH OPTIONS\n" + optionsOf(program);
    text += ".SH COMMANDS\n";
    for (const CLI::App* command : program.get_subcommands([](const CLI::App*) { return true; })) {
        text += fmt::format(".SS {}\n{}.\n{}",
                            roff(usageOf(*command, name + " " + command->get_name())),
                            roff(command->get_description()), optionsOf(*command));
    }
    text += ".SH EXIT STATUS\n"
            ".TP\n.B 0\nAll is well.\n"
            ".TP\n.B 1\nThe input is at fault, or the output cannot be written.\n"
            ".TP\n.B 2\nThe command line is at fault.\n"
            ".TP\n.B 128 and more\nA signal ended the program: 128 and the number of the signal.\n";
    return text;
}

} // namespace tarn::capture
