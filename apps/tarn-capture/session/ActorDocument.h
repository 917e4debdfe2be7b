// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Actor.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tarn::capture {

// An actor's settings document, as people write it. What an actor does by itself suits a capture:
// it passes over changes too small to matter, and keeps entries of a sensor map only where there is
// one. Who edits a document wants in it what was asked for.

/// Loads a document, from standard input for "-", or out of a take file for "FILE.tarn#NAME", and
/// returns its text. Throws `std::runtime_error`, which names the file and the place in it, when it
/// cannot be read or is no actor's.
std::string loadActor(Actor& actor, const std::string& file);

/// The number that the whole of a text is, if it is one that a body dimension can be: finite, from
/// 0 on.
std::optional<float> dimensionIn(std::string_view text);

/// Puts a body dimension into the document, whatever was there, without the actor's signal.
void storeDimension(Actor& actor, const std::string& name, float value);
/// Puts an entry into the sensor map, where it is read.
void storeSensor(Actor& actor, const std::string& name, int number);

/// Removes an entry, by its key with or without "MocapActor." in front, and all that is in it.
/// Throws `std::runtime_error` if there is none.
void removeEntry(Actor& actor, const std::string& key);

/// Prints name, dimensions and sensor map.
void printActor(Actor& actor);

/// Something that is wrong with a document.
struct Problem {
    std::string key;
    std::size_t index; ///< which of the entries of that key
    std::string reason;
};

std::vector<Problem> problemsOf(Actor& actor);

} // namespace tarn::capture
