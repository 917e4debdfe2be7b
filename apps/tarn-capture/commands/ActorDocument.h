// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Actor.h>

#include <optional>
#include <string>
#include <vector>

namespace tarn::capture {

/// Loads an actor's settings document. Throws `std::runtime_error`, which names the file, when it
/// cannot be read or is none.
void loadActor(Actor& actor, const std::string& file);

struct ActorOptions {
    std::string file;
    std::optional<std::string> name;
    std::vector<std::string> dimensions; ///< each "NAME=VALUE"
    std::vector<std::string> sensors;    ///< each "NAME=NUMBER"
    bool check = false;
};

/// Shows an actor's settings document, after setting what is to be set: a document that is not
/// there is made then. With `check` it also lists what is wrong with it. Returns the exit code;
/// throws `UsageError`, or `std::runtime_error` when the document cannot be read or written.
int actor(const ActorOptions& options);

} // namespace tarn::capture
