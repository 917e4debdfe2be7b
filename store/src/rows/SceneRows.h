// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "rows/Database.h"

#include <tarn/Scene.h>
#include <tarn/Tracks.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <utility>

namespace tarn::store {

/// Under which id a take is in the file.
using TakeIds = std::function<std::int64_t(Tracks& take)>;

/// Writes a scene without its take: settings, texts, time, and its characters with their settings
/// and actors; their takes only where there is `takeOf`. Throws `StoreError`, of `file`, before it
/// has written anything, for settings that no document can hold.
void addScene(Database& database, const std::filesystem::path& file, Scene& scene,
              const TakeIds& takeOf = {});

/// Copies the characters of a file, without their takes, behind those that another has.
void copyCharacters(Database& from, Database& to);
/// Copies what else there is of a scene, of whose take frame indexes from `part.first` to
/// `part.second` go over: its time moves with them.
void copySceneFacts(Database& from, Database& to, std::pair<std::int64_t, std::int64_t> part);

} // namespace tarn::store
