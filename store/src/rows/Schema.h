// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "rows/Database.h"

#include <tarn_store/file/TakeDescription.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace tarn::store {

/// The format that is written.
inline constexpr int schemaFormat = 1;
/// How many bytes a page of a file has that is made.
inline constexpr int pageSize = 16'384;

/// How a file comes about.
enum class Writing : std::uint8_t {
    AtOnce, ///< nobody sees it before it is complete, nor needs what there is of it
    Live,   ///< others read it meanwhile, and each commit is on the disk when it returns
};

/// Makes an empty database one for takes, with who begins it and when.
void createSchema(Database& database, const std::string& program, Writing writing);
/// Throws `StoreError` unless the database is one for takes, in a format that is known, and its
/// tables are those that were made: nothing in a schema from elsewhere is trusted.
void checkSchema(Database& database);

TakeFileFacts factsOf(Database& database);
void setFact(Database& database, std::string_view key, std::string_view value);
/// Notes that everything is in the file.
void setEnded(Database& database);

/// Now, as "2026-11-22T04:47:00.125Z".
std::string utcNow();

} // namespace tarn::store
