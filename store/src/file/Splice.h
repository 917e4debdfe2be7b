// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "file/SpliceSource.h"
#include "rows/Chunk.h"
#include "rows/Database.h"
#include "rows/Schema.h"
#include "rows/TrackRows.h"
#include "rows/UnfinishedFile.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tarn::store {

/// The kind of notes that say when a frame was captured.
inline constexpr const char* clockKind = "clock";

/// A file into which stretches of others go: one after the other, or beside one another.
class Splice {
public:
    /// It is at `out` once it is committed. Throws `StoreError`, as everything here does.
    explicit Splice(const std::filesystem::path& out);

    /// Appends frame indexes `first` to `last` of the take that a source is about.
    void append(SpliceSource& source, std::int64_t first, std::int64_t last);
    /// Makes a take for others to be beside one another in.
    void makeStage(const std::string& name, int fps);
    /// Puts the take that a source is about into it, to begin at a frame index.
    void addBeside(SpliceSource& source, std::int64_t begin);
    /// Of the take that was appended to.
    std::int64_t length() const { return parts_.empty() ? 0 : parts_.front().length; }
    void commit();

private:
    struct NewSchema {
        explicit NewSchema(Database& database) {
            createSchema(database, "tarn_store", Writing::AtOnce);
        }
    };
    struct PartTrack {
        std::int64_t id;
        StoredTrack model;           ///< that of the first file
        std::int64_t lastIndex = -1; ///< of the times so far
    };
    /// A take of the new file.
    struct Part {
        std::int64_t take = 0;
        std::int64_t length = 0;
        std::vector<PartTrack> tracks;
    };
    /// The frames of markers of the source that is appended, which have other numbers now.
    struct MarkerMove {
        std::string from; ///< the subject of the track
        std::string to;
        double fromRate = 0;
        double toRate = 0;
        std::int64_t frames = 0; ///< how much higher the numbers are
    };
    using Parent = std::optional<std::pair<std::int64_t, std::int64_t>>; ///< take, and place in it

    void appendTake(SpliceSource& source, const TakeStretch& stretch, std::size_t& at,
                    Parent parent);
    Part& partFor(SpliceSource& source, const TakeStretch& stretch, std::size_t at, Parent parent);
    void addPart(SpliceSource& source, const TakeStretch& stretch, Parent parent);
    void appendTrack(SpliceSource& source, PartTrack& track, std::int64_t id,
                     std::int64_t firstSlot, std::int64_t count, std::int64_t at);
    void noteMove(const StoredTrack& from, const PartTrack& track, std::int64_t shift);
    void addIndexMap(SpliceSource& source, const TakeStretch& stretch, const Part& part);
    void addLosses(const SpliceSource& source, std::int64_t track, const Loss& span,
                   std::int64_t shift);
    void addNotes(SpliceSource& source, std::int64_t first, std::int64_t last, std::int64_t at);
    void moveEvent(Note& note) const;
    void addFacts(SpliceSource& source, std::int64_t first, std::int64_t last);

    UnfinishedFile unfinished_;
    Database database_;
    NewSchema schema_;
    Transaction transaction_;
    ChunkWriter chunks_;
    TrackRows rows_;
    std::vector<Part> parts_; ///< in the order in which takes are visited
    std::vector<MarkerMove> moves_;
    bool isFirst_ = true;
    std::string ended_;      ///< when the last file was
    std::int64_t stage_ = 0; ///< 0: there is none
    std::int64_t stageLength_ = 0;
    std::int64_t besides_ = 0; ///< takes in it
    std::int64_t besideBegin_ = 0;
};

} // namespace tarn::store
