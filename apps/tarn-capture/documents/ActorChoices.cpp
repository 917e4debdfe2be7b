// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "documents/ActorChoices.h"

#include "session/ActorDocument.h"
#include "support/Errors.h"

#include <fmt/format.h>
#include <tarn_kit/files/SettingsFile.h>
#include <tarn_kit/files/Text.h>

#include <algorithm>
#include <filesystem>
#include <stdexcept>
#include <system_error>

namespace tarn::capture {

ActorChoices::ActorChoices(const std::vector<std::string>& choices) {
    for (const std::string& text : choices) {
        Choice choice;
        const std::size_t sign = text.find('=');
        std::error_code error; // a file may have that sign in its name
        if (sign == std::string::npos || std::filesystem::exists(text, error)) {
            choice.file = text;
        } else {
            choice.performer = text.substr(0, sign);
            choice.file = text.substr(sign + 1);
        }
        const bool isThere = std::any_of(choices_.begin(), choices_.end(), [&](const Choice& one) {
            return one.performer == choice.performer;
        });
        if (isThere) {
            throw UsageError(choice.performer
                                 ? fmt::format("--actor: two documents for '{}'",
                                               kit::printable(*choice.performer))
                                 : "--actor: two documents for every performer; NAME=FILE is one "
                                   "for the performer of that name");
        }
        Actor actor;
        choice.text = loadActor(actor, choice.file);
        choices_.push_back(choice);
    }
}

std::vector<std::string> ActorChoices::files() const {
    std::vector<std::string> files;
    for (const Choice& choice : choices_) {
        files.push_back(choice.file);
    }
    return files;
}

void ActorChoices::check(const std::vector<std::string>& performers) const {
    for (const Choice& choice : choices_) {
        if (choice.performer && std::find(performers.begin(), performers.end(),
                                          *choice.performer) == performers.end()) {
            std::string known;
            for (const std::string& name : performers) {
                known += (known.empty() ? "'" : ", '") + kit::printable(name) + "'";
            }
            throw UsageError(fmt::format("--actor: there is no performer '{}', but {}",
                                         kit::printable(*choice.performer), known));
        }
    }
}

bool ActorChoices::isNamed(const std::string& performer) const {
    const Choice* const choice = choiceFor(performer);
    return choice != nullptr && choice->performer.has_value();
}

bool ActorChoices::load(Actor& actor, const std::string& performer) const {
    const Choice* const choice = choiceFor(performer);
    if (choice != nullptr) {
        kit::loadSettings(actor, choice->text, choice->file);
    }
    return choice != nullptr;
}

std::optional<kit::MarkerBody> ActorChoices::bodyOf(const std::string& performer) const {
    Actor actor;
    if (!load(actor, performer) || actor.subSettings("MarkerBody") == nullptr) {
        return std::nullopt;
    }
    try {
        return kit::MarkerBody::of(actor);
    } catch (const kit::MarkerBodyError& error) {
        throw std::runtime_error(
            fmt::format("{}: {}", kit::printable(choiceFor(performer)->file), error.what()));
    }
}

const ActorChoices::Choice* ActorChoices::choiceFor(const std::string& performer) const {
    const Choice* every = nullptr;
    for (const Choice& choice : choices_) {
        if (choice.performer == performer) {
            return &choice;
        }
        every = choice.performer ? every : &choice;
    }
    return every;
}

} // namespace tarn::capture
