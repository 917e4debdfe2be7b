// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "session/SpaceChoice.h"

#include <tarn_kit/session/PerformerTake.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace tarn::capture {

/// The document that a name stands for: itself, if it ends in .xml, or the session.xml or solve.xml
/// of the directory. Throws `std::runtime_error` for a directory that has neither.
std::optional<std::filesystem::path> documentOf(const std::filesystem::path& name);

/// All performers that a name on the command line stands for: that of a motion file; those of a
/// take file; those of a session, by its session.xml or its directory; the solved bodies of a
/// solve.xml or its directory. What the user says of their space holds for all of them.
///
/// Throws `kit::ReadError`, naming the file, if one cannot be read, and `std::runtime_error` if the
/// name stands for no bodies.
std::vector<kit::PerformerTake> performersOf(const std::string& name, const SpaceChoice& space);

/// The same of several names, with a number added to the name of a performer that another has
/// already.
std::vector<kit::PerformerTake> performersOf(const std::vector<std::string>& names,
                                             const SpaceChoice& space);

} // namespace tarn::capture
