// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "help/Completion.h"

#include "help/HelpFormatter.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <vector>

namespace tarn::capture {

namespace {

std::vector<const CLI::App*> commandsOf(const CLI::App& program) {
    return program.get_subcommands([](const CLI::App*) { return true; });
}

/// Options that are no arguments.
std::vector<const CLI::Option*> flagsOf(const CLI::App& command) {
    return command.get_options(
        [](const CLI::Option* option) { return option->nonpositional() && !isHidden(*option); });
}

bool takesValue(const CLI::Option& flag) { return flag.get_items_expected_max() > 0; }

/// "csv json" where a flag, or an argument, takes one of a few words; empty otherwise.
std::string choicesOf(const CLI::Option& option) {
    const std::string type = option.get_type_name();
    const std::size_t begin = type.find('{');
    const std::size_t end = type.find('}');
    if (begin == std::string::npos || end == std::string::npos) {
        return {};
    }
    std::string words = type.substr(begin + 1, end - begin - 1);
    std::replace(words.begin(), words.end(), ',', ' ');
    return words;
}

/// What the arguments of a command may be, where they are a few words.
std::string argumentChoices(const CLI::App& command) {
    for (const CLI::Option* option :
         command.get_options([](const CLI::Option* each) { return each->get_positional(); })) {
        std::string words = choicesOf(*option);
        if (!words.empty()) {
            return words;
        }
    }
    return {};
}

/// The beginning of a description, for a list; without what shells would take for their own.
std::string brief(const std::string& description) {
    std::string text = description.substr(0, description.find_first_of(".;:["));
    text.erase(std::remove(text.begin(), text.end(), '\''), text.end());
    return text;
}

std::string joined(const std::vector<std::string>& words) {
    return fmt::format("{}", fmt::join(words, " "));
}

std::string namesOf(const std::vector<const CLI::Option*>& flags) {
    std::vector<std::string> names;
    for (const CLI::Option* flag : flags) {
        for (const std::string& name : flag->get_lnames()) {
            names.push_back("--" + name);
        }
    }
    return joined(names);
}

// ---- bash

std::string bashScript(const CLI::App& program) {
    std::vector<std::string> names;
    std::string cases;
    for (const CLI::App* command : commandsOf(program)) {
        names.push_back(command->get_name());
        cases +=
            fmt::format("        {})\n            flags='{}'\n            words='{}'\n",
                        command->get_name(), namesOf(flagsOf(*command)), argumentChoices(*command));
        std::string values;
        for (const CLI::Option* flag : flagsOf(*command)) {
            const std::string choices = choicesOf(*flag);
            if (!choices.empty()) {
                values += fmt::format("                --{}) words='{}' ;;\n",
                                      flag->get_lnames().front(), choices);
            }
        }
        if (!values.empty()) {
            cases += "            case $previous in\n" + values + "            esac\n";
        }
        cases += "            ;;\n";
    }
    return fmt::format(R"(# Completes {0} in bash; files where nothing else fits.
_tarn_capture() {{
    local current=${{COMP_WORDS[COMP_CWORD]}} previous=${{COMP_WORDS[COMP_CWORD - 1]}}
    local flags='{1}' words='{2}'
    if [ "$COMP_CWORD" -gt 1 ]; then
        words=
        case ${{COMP_WORDS[1]}} in
{3}        esac
    fi
    case $current in
        -*) words=$flags ;;
    esac
    COMPREPLY=($(compgen -W "$words" -- "$current"))
}}
complete -o bashdefault -o default -F _tarn_capture {0}
)",
                       program.get_name(), namesOf(flagsOf(program)), joined(names), cases);
}

// ---- zsh

std::string zshFlag(const CLI::Option& flag) {
    const std::string description = brief(flag.get_description());
    const std::string choices = choicesOf(flag);
    const std::string values = choices.empty() ? ":_files" : ":(" + choices + ")";
    const bool isList = flag.get_expected_max() == CLI::detail::expected_max_vector_size;
    std::string text;
    for (const std::string& name : flag.get_lnames()) {
        text += fmt::format(" \\\n                '{}--{}[{}]{}'", isList ? "*" : "", name,
                            description, takesValue(flag) ? ":value" + values : "");
    }
    return text;
}

std::string zshScript(const CLI::App& program) {
    std::string commands;
    std::string cases;
    for (const CLI::App* command : commandsOf(program)) {
        commands += fmt::format("        '{}:{}'\n", command->get_name(),
                                brief(command->get_description()));
        std::string flags;
        for (const CLI::Option* flag : flagsOf(*command)) {
            flags += zshFlag(*flag);
        }
        const std::string words = argumentChoices(*command);
        cases +=
            fmt::format("        {})\n            _arguments{} \\\n                '*:file:{}'\n"
                        "            ;;\n",
                        command->get_name(), flags, words.empty() ? "_files" : "(" + words + ")");
    }
    std::string flags;
    for (const CLI::Option* flag : flagsOf(program)) {
        flags += flag->get_lnames().empty() ? "" : " --" + flag->get_lnames().front();
    }
    return fmt::format(R"(#compdef {0}
# Completes {0} in zsh.
_tarn_capture() {{
    local -a commands
    commands=(
{1}    )
    if (( CURRENT == 2 )); then
        _describe command commands
        compadd --{2}
        return
    fi
    shift words
    (( CURRENT-- ))
    case $words[1] in
{3}    esac
}}
_tarn_capture "$@"
)",
                       program.get_name(), commands, flags, cases);
}

// ---- fish

std::string fishFlag(const std::string& begin, const CLI::Option& flag) {
    const std::string choices = choicesOf(flag);
    const std::string values = !takesValue(flag) ? ""
                               : choices.empty() ? " -r"
                                                 : fmt::format(" -x -a '{}'", choices);
    std::string text;
    for (const std::string& name : flag.get_lnames()) {
        text +=
            fmt::format("{} -l {}{} -d '{}'\n", begin, name, values, brief(flag.get_description()));
    }
    return text;
}

std::string fishScript(const CLI::App& program) {
    const std::string complete = "complete -c " + program.get_name();
    std::string text = fmt::format("# Completes {} in fish.\n{} -n __fish_use_subcommand -f\n",
                                   program.get_name(), complete);
    for (const CLI::Option* flag : flagsOf(program)) {
        text += fishFlag(complete + " -n __fish_use_subcommand", *flag);
    }
    for (const CLI::App* command : commandsOf(program)) {
        text += fmt::format("{} -n __fish_use_subcommand -a {} -d '{}'\n", complete,
                            command->get_name(), brief(command->get_description()));
        const std::string begin =
            fmt::format("{} -n '__fish_seen_subcommand_from {}'", complete, command->get_name());
        for (const CLI::Option* flag : flagsOf(*command)) {
            text += fishFlag(begin, *flag);
        }
        const std::string words = argumentChoices(*command);
        if (!words.empty()) {
            text += fmt::format("{} -f -a '{}'\n", begin, words);
        }
    }
    return text;
}

} // namespace

std::string completionScript(const CLI::App& program, const std::string& shell) {
    return shell == "bash"  ? bashScript(program)
           : shell == "zsh" ? zshScript(program)
                            : fishScript(program);
}

} // namespace tarn::capture
