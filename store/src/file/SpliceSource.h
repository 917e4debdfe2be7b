// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "rows/Database.h"
#include "rows/FrameRows.h"
#include "rows/TakeTree.h"
#include "rows/TrackRows.h"

#include <cstdint>
#include <filesystem>
#include <map>
#include <vector>

namespace tarn::store {

/// A file that stretches are taken from.
class SpliceSource {
public:
    /// Throws `StoreError`, as everything here does.
    explicit SpliceSource(const std::filesystem::path& file);

    /// The take that the file is about.
    std::int64_t rootTake();
    std::int64_t length() { return tree.lengthOf(rootTake()); }
    /// What notes of the frame index 0 say.
    std::int64_t base() { return tree.baseOf(rootTake()); }
    /// Whole frames per second of that take; 0 where nobody says.
    int fps() { return tree.stretch(rootTake(), 0, 0).fps; }
    /// The same exactly, as far as it is known.
    double exactRate();
    /// Says of an event whose it is, if that goes without saying in this file.
    void nameEvent(Note& note) const;

    Database database;
    FrameRows frames;
    TakeTree tree;
    std::map<std::int64_t, StoredTrack> tracks; ///< by id
    std::vector<Loss> losses;
};

} // namespace tarn::store
