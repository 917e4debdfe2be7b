// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "rows/Chunk.h"
#include "rows/Database.h"
#include "rows/TrackRows.h"

#include <tarn/Frame.h>
#include <tarn/Scene.h>
#include <tarn_store/recording/TakeRecorder.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tarn::store {

/// Losses on the way, one entry per track and reason.
class LossCount {
public:
    void count(std::int64_t track, std::int64_t index, const std::string& reason,
               std::int64_t frames = 1);
    void add(const LossCount& other);
    std::vector<Loss> losses() const;
    bool isEmpty() const { return losses_.empty(); }

private:
    std::map<std::pair<std::int64_t, std::string>, Loss> losses_;
};

/// What goes into the file in one transaction.
struct RecordingBatch {
    struct Item {
        std::int64_t track;
        std::shared_ptr<Frame> frame;
    };
    std::vector<Item> frames;
    LossCount losses;
    std::vector<Note> notes;
    std::size_t refused = 0; ///< of the frames, those that cannot be encoded; after writing
    std::uint64_t bytes = 0; ///< that the frames take; after writing

    bool isEmpty() const { return frames.empty() && losses.isEmpty() && notes.empty(); }
    void append(RecordingBatch&& other);
};

/// The file of a recording, for one thread at a time.
class RecordingFile {
public:
    RecordingFile(const std::filesystem::path& file, const RecorderOptions& options);

    std::int64_t addTrack(int dataType, const TrackDescription& description);
    /// Adds a scene, its takes left out.
    void addScene(Scene& scene);
    /// Puts tracks and scene on the disk. None are added later.
    void commitTracks();
    /// Writes all or nothing; it can be tried again.
    void write(RecordingBatch& batch);
    /// Marks the file as complete and makes it a single one.
    void end();

private:
    /// Takes the file away again if it cannot be made.
    struct Unmade {
        explicit Unmade(Database& of) : database(&of) {}
        Unmade(const Unmade&) = delete;
        Unmade& operator=(const Unmade&) = delete;
        ~Unmade();
        Database* database; ///< none once it is made
    };

    std::int64_t takeFor(const std::optional<kit::Rate>& rate);
    /// Whether the files beside it can go.
    bool becomesSingle();

    Database database_;
    Unmade unmade_;
    std::int64_t reserved_ = 0;
    std::string takeName_;
    std::optional<Transaction> setup_; ///< until the tracks are committed
    ChunkWriter chunks_;
    TrackRows rows_;
    std::vector<std::pair<std::optional<kit::Rate>, std::int64_t>> takes_; ///< by their rates
    std::map<std::int64_t, std::int64_t> places_; ///< how many tracks a take has
};

} // namespace tarn::store
