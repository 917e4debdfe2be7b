// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Actor.h>
#include <tarn_kit/solving/MarkerBody.h>

#include <optional>
#include <string>
#include <vector>

namespace tarn::capture {

/// The documents that actors begin with, as the command line names them: "FILE" for every
/// performer, "NAME=FILE" for one. Each is read once, when this is made.
class ActorChoices {
public:
    ActorChoices() = default;
    /// Throws `UsageError` for a performer that is named twice, or two documents for every one, and
    /// `std::runtime_error` for a document that cannot be read or is no actor's.
    explicit ActorChoices(const std::vector<std::string>& choices);

    /// The files that are named.
    std::vector<std::string> files() const;
    /// Throws `UsageError`, which says who there is, if a performer is named that there is not.
    void check(const std::vector<std::string>& performers) const;

    /// Whether a performer is named.
    bool isNamed(const std::string& performer) const;
    /// Loads the document that is for a performer. False, with the actor as it was, if there is
    /// none.
    bool load(Actor& actor, const std::string& performer) const;
    /// The body in that document, if it was calibrated with markers. Throws `std::runtime_error`
    /// for a broken one.
    std::optional<kit::MarkerBody> bodyOf(const std::string& performer) const;

private:
    struct Choice {
        std::optional<std::string> performer;
        std::string file;
        std::string text;
    };
    const Choice* choiceFor(const std::string& performer) const;

    std::vector<Choice> choices_;
};

} // namespace tarn::capture
