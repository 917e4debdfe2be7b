// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "rows/Database.h"

#include <tarn/Frame.h>
#include <tarn_kit/files/Codec.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace tarn::store {

/// What stands before the bytes of a frame; in the file as it is here.
struct FrameHead {
    std::uint32_t slot;
    std::uint32_t index; ///< of the frame's time
    std::uint32_t rate;  ///< of the frame's time
    std::uint32_t size;  ///< of its payload, in bytes
};
static_assert(sizeof(FrameHead) == 16);

/// A frame with its slot in the track.
using SlottedFrame = std::pair<std::int64_t, std::shared_ptr<Frame>>;

/// Of heads and data of a chunk.
std::uint32_t checksumOf(const void* heads, std::size_t headsSize, const void* data,
                         std::size_t dataSize);

/// Takes frames and writes them as chunks: rows that hold some frames of one track, so that a row
/// costs little and a frame is found fast. Within a track, chunks that are not late have ascending
/// slots; a frame that comes out of order goes into a chunk marked late.
///
/// What is flushed often, as in a recording, comes in rows that are too small for the pages of the
/// file; once there are enough of them one full row takes their place.
class ChunkWriter {
public:
    ChunkWriter(Database& database, std::shared_ptr<const kit::Codecs> codecs);

    /// Throws `kit::CodecError` if there is no codec for the payload or it is too large, and keeps
    /// what was added before. Precondition: in a transaction.
    /// Returns how many bytes it takes.
    std::size_t add(std::int64_t track, std::uint32_t slot, const Frame& frame);
    /// Adds bytes that are encoded already.
    void add(std::int64_t track, std::uint32_t slot, const Time& time, int dataType,
             const kit::CodecId& codec, const std::byte* bytes, std::size_t size);
    /// Writes what has been added, with the counts of the tracks.
    void flush();
    /// The same, with nothing left in small rows.
    void finish();

    /// What `rollback` goes back to.
    void mark() { marked_ = lastSlots_; }
    /// Forgets what was added since `mark`, whose transaction was not committed.
    void rollback();
    /// Lets go of the database.
    void close() {
        insert_.reset();
        remove_.reset();
        count_.reset();
    }

private:
    struct Open {
        bool late = false;
        int dataType = 0;
        kit::CodecId codec;
        std::vector<FrameHead> heads;
        std::vector<std::byte> data;
        std::vector<std::int64_t> rows; ///< small ones, which hold the first of these frames
        std::size_t rowFrames = 0;      ///< how many those are
        std::size_t rowBytes = 0;       ///< of their data
        std::int64_t written = 0;       ///< frames since the last flush
    };

    static bool fits(const Open& open, bool late, int dataType, const kit::CodecId& codec,
                     std::size_t size);
    /// Writes everything as one row, in place of the small ones, and begins anew.
    void write(std::int64_t track, Open& open);
    /// Writes what is in no small row yet as one.
    void writeSmall(std::int64_t track, Open& open);
    void insert(std::int64_t track, const Open& open, std::size_t firstFrame,
                std::size_t firstByte);
    std::int64_t idOf(const kit::CodecId& codec);

    Database* database_;
    std::shared_ptr<const kit::Codecs> codecs_;
    std::optional<Statement> insert_;
    std::optional<Statement> remove_;
    std::optional<Statement> count_;
    std::map<std::int64_t, Open> open_;
    std::unordered_map<std::int64_t, std::int64_t> lastSlots_;
    std::unordered_map<std::int64_t, std::int64_t> marked_;
    std::map<std::pair<std::string, std::uint32_t>, std::int64_t> codecIds_;
    std::vector<std::byte> scratch_;
};

/// A chunk as it stands in the file. What it says of itself has been checked.
struct ChunkRow {
    std::int64_t id = 0;
    std::int64_t track = 0;
    bool late = false;
    int dataType = 0;
    kit::CodecId codec;
    std::vector<FrameHead> heads;
    const std::byte* data = nullptr; ///< valid until the next step of the statement
};

/// What the columns of a chunk are read by, in this order.
#define TARN_CHUNK_COLUMNS                                                                         \
    "chunk.id, chunk.track, chunk.late, chunk.data_type, codec.name, codec.version, chunk.crc, "   \
    "chunk.heads, chunk.data"

/// The chunk of a row with these columns. Throws `StoreError` if it is damaged.
ChunkRow chunkIn(const Statement& row, const std::filesystem::path& file);
/// One of them, by its place in `heads`. Throws as below.
std::shared_ptr<Frame> frameOf(const ChunkRow& chunk, std::size_t place, const std::byte* bytes,
                               const kit::Codecs& codecs, const std::filesystem::path& file);
/// Its frames. Throws `StoreError` if its bytes are not what its codec writes.
std::vector<SlottedFrame> framesOf(const ChunkRow& chunk, const kit::Codecs& codecs,
                                   const std::filesystem::path& file);

} // namespace tarn::store
