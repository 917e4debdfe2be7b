// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_store/file/TakeReader.h>

#include <string>
#include <vector>

namespace tarn::capture {

/// Each character of a take file in a line: "Ada, played by Ada L., 13 dimensions, 41 markers".
std::vector<std::string> castIn(store::TakeReader& reader);

/// The line of a character, by its name; of the only one, if `name` is empty. Empty if there is
/// none.
std::string castMemberIn(store::TakeReader& reader, const std::string& name);

/// The settings document of a character's actor. Throws `store::StoreError`, which lists whom there
/// is, if there is none.
std::string actorDocumentIn(store::TakeReader& reader, const std::string& character);

} // namespace tarn::capture
