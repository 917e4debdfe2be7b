// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "help/Suggestion.h"

#include "help/HelpFormatter.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>

namespace tarn::capture {

namespace {

/// The optimal string alignment distance: how many characters have to be put in, taken out,
/// replaced, or swapped with their neighbour, each place at most once.
std::size_t distance(std::string_view a, std::string_view b) {
    std::vector<std::vector<std::size_t>> table(a.size() + 1,
                                                std::vector<std::size_t>(b.size() + 1));
    for (std::size_t i = 0; i <= a.size(); ++i) {
        for (std::size_t j = 0; j <= b.size(); ++j) {
            if (i == 0 || j == 0) {
                table[i][j] = i + j;
                continue;
            }
            table[i][j] = std::min({table[i - 1][j] + 1, table[i][j - 1] + 1,
                                    table[i - 1][j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1)});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
                table[i][j] = std::min(table[i][j], table[i - 2][j - 2] + 1);
            }
        }
    }
    return table[a.size()][b.size()];
}

std::string onlyOneThatBeginsWith(std::string_view word, const std::vector<std::string>& names) {
    const auto begins = [word](const std::string& name) {
        return name.compare(0, word.size(), word) == 0;
    };
    const auto first = std::find_if(names.begin(), names.end(), begins);
    if (first == names.end() || std::find_if(first + 1, names.end(), begins) != names.end()) {
        return {};
    }
    return *first;
}

std::vector<std::string> commandNames(const CLI::App& app) {
    std::vector<std::string> names;
    for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; })) {
        names.push_back(command->get_name());
    }
    return names;
}

std::vector<std::string> flagNames(const CLI::App& app) {
    const auto isTold = [](const CLI::Option* option) { return !isHidden(*option); };
    std::vector<std::string> names;
    for (const CLI::Option* option : app.get_options(isTold)) {
        for (const std::string& name : option->get_lnames()) {
            names.push_back("--" + name);
        }
    }
    return names;
}

std::string complaint(const char* kind, const std::string& word,
                      const std::vector<std::string>& names) {
    const std::string meant = nearestName(word, names);
    return fmt::format("unknown {} '{}'{}", kind, word,
                       meant.empty() ? "" : fmt::format("; did you mean '{}'?", meant));
}

} // namespace

std::string nearestName(std::string_view word, const std::vector<std::string>& names) {
    constexpr std::size_t longest = 64; // no name is longer, and comparing takes time
    std::string nearest;
    std::size_t smallest = longest;
    for (const std::string& name : names) {
        const std::size_t changes = word.size() > longest ? longest : distance(word, name);
        if (changes < smallest) {
            smallest = changes;
            nearest = name;
        }
    }
    if (!nearest.empty() && 3 * smallest <= nearest.size()) {
        return nearest;
    }
    constexpr std::size_t dashes = 2; // which every flag begins with
    return word.size() > dashes ? onlyOneThatBeginsWith(word, names) : std::string();
}

std::string unknownWord(const CLI::App& program) {
    const auto commands = program.get_subcommands();
    const CLI::App& asked = commands.empty() ? program : *commands.front();
    auto words = program.remaining();
    if (&asked != &program) {
        const auto more = asked.remaining();
        words.insert(words.end(), more.begin(), more.end());
    }
    if (words.empty()) {
        return {};
    }
    const std::string& word = words.front();
    if (word.size() > 1 && word.front() == '-') {
        return complaint("flag", word.substr(0, word.find('=')), flagNames(asked));
    }
    if (commands.empty()) {
        return complaint("command", word, commandNames(program));
    }
    return fmt::format("'{}' is one argument too many", word);
}

} // namespace tarn::capture
