// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "rows/Chunk.h"

#include "rows/Schema.h"

#include <cassert>
#include <cstring>
#include <string>
#include <zlib.h>

namespace tarn::store {

namespace {

constexpr std::size_t mostFrames = 1024;
// A row of so many bytes leaves next to nothing of its last page empty: it fills one page but for
// what surrounds it, and seven that hold nothing else.
constexpr std::size_t mostBytes = (pageSize - 128) + 7 * (pageSize - 4);
constexpr std::size_t largestPayload = 256UL * 1024 * 1024;

[[noreturn]] void failDamaged(const std::filesystem::path& file, std::int64_t chunk,
                              const std::string& why) {
    throw StoreError(file, StoreProblem::Damaged,
                     "is damaged (chunk " + std::to_string(chunk) + ": " + why + ")");
}

} // namespace

std::uint32_t checksumOf(const void* heads, std::size_t headsSize, const void* data,
                         std::size_t dataSize) {
    auto crc = crc32_z(0, static_cast<const Bytef*>(heads), headsSize);
    if (dataSize > 0) { // without an address it would begin anew
        crc = crc32_z(crc, static_cast<const Bytef*>(data), dataSize);
    }
    return static_cast<std::uint32_t>(crc);
}

ChunkWriter::ChunkWriter(Database& database, std::shared_ptr<const kit::Codecs> codecs)
    : database_(&database), codecs_(std::move(codecs)) {
    insert_.emplace(database, "INSERT INTO chunk (track, late, first, last, data_type, codec, crc, "
                              "heads, data) VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9)");
    remove_.emplace(database, "DELETE FROM chunk WHERE id = ?1");
    count_.emplace(database, "UPDATE track SET frames = frames + ?2 WHERE id = ?1");
}

std::size_t ChunkWriter::add(std::int64_t track, std::uint32_t slot, const Frame& frame) {
    scratch_.clear();
    const kit::CodecId& codec = codecs_->encode(frame.data(), scratch_);
    if (scratch_.size() > largestPayload) {
        throw kit::CodecError("a payload of " + std::to_string(scratch_.size()) +
                              " bytes; 256 MiB is the most");
    }
    add(track, slot, frame.time(), frame.dataType(), codec, scratch_.data(), scratch_.size());
    return scratch_.size() + sizeof(FrameHead);
}

void ChunkWriter::add(std::int64_t track, std::uint32_t slot, const Time& time, int dataType,
                      const kit::CodecId& codec, const std::byte* bytes, std::size_t size) {
    const auto last = lastSlots_.emplace(track, -1).first;
    const bool late = slot <= last->second;
    Open& open = open_[track];
    if (!open.heads.empty() &&
        (!fits(open, late, dataType, codec, size) || (late && slot <= open.heads.back().slot))) {
        write(track, open);
    }
    if (open.heads.empty()) {
        open.late = late;
        open.dataType = dataType;
        open.codec = codec;
    }
    open.heads.push_back({slot, time.frameIndex(), time.fps(), static_cast<std::uint32_t>(size)});
    open.data.insert(open.data.end(), bytes, bytes + size);
    if (!late) {
        last->second = slot;
    }
}

bool ChunkWriter::fits(const Open& open, bool late, int dataType, const kit::CodecId& codec,
                       std::size_t size) {
    return open.late == late && open.dataType == dataType && open.codec == codec &&
           open.heads.size() < mostFrames &&
           open.data.size() + size + (open.heads.size() + 1) * sizeof(FrameHead) <= mostBytes;
}

void ChunkWriter::write(std::int64_t track, Open& open) {
    if (open.rows.size() != 1 || open.rowFrames < open.heads.size()) {
        for (const std::int64_t row : open.rows) {
            remove_->bind(1, row).run();
        }
        insert(track, open, 0, 0);
        open.written += static_cast<std::int64_t>(open.heads.size() - open.rowFrames);
    }
    open.heads.clear();
    open.data.clear();
    open.rows.clear();
    open.rowFrames = 0;
    open.rowBytes = 0;
}

void ChunkWriter::writeSmall(std::int64_t track, Open& open) {
    insert(track, open, open.rowFrames, open.rowBytes);
    open.rows.push_back(database_->lastId());
    open.written += static_cast<std::int64_t>(open.heads.size() - open.rowFrames);
    open.rowFrames = open.heads.size();
    open.rowBytes = open.data.size();
}

void ChunkWriter::insert(std::int64_t track, const Open& open, std::size_t firstFrame,
                         std::size_t firstByte) {
    assert(firstFrame < open.heads.size());
    const FrameHead* const heads = open.heads.data() + firstFrame;
    const std::size_t headsSize = (open.heads.size() - firstFrame) * sizeof(FrameHead);
    const std::byte* const data = open.data.data() + firstByte;
    const std::size_t dataSize = open.data.size() - firstByte;
    insert_->bind(1, track)
        .bind(2, open.late ? 1 : 0)
        .bind(3, std::int64_t{heads->slot})
        .bind(4, std::int64_t{open.heads.back().slot})
        .bind(5, open.dataType)
        .bind(6, idOf(open.codec))
        .bind(7, std::int64_t{checksumOf(heads, headsSize, data, dataSize)})
        .bindBlob(8, heads, headsSize)
        .bindBlob(9, data, dataSize)
        .run();
}

std::int64_t ChunkWriter::idOf(const kit::CodecId& codec) {
    const std::pair key(codec.name, codec.version);
    const auto known = codecIds_.find(key);
    if (known != codecIds_.end()) {
        return known->second;
    }
    Statement(*database_, "INSERT INTO codec (name, version) VALUES (?1, ?2)")
        .bind(1, codec.name)
        .bind(2, std::int64_t{codec.version})
        .run();
    return codecIds_[key] = database_->lastId();
}

void ChunkWriter::flush() {
    for (auto& [track, open] : open_) {
        if (open.heads.size() > open.rowFrames) {
            writeSmall(track, open);
            if (open.rows.size() == 1 && open.data.size() >= mostBytes / 2) {
                write(track, open); // it is full enough: nothing is gained by waiting for more
            }
        }
        if (open.written > 0) {
            count_->bind(1, track).bind(2, open.written).run();
            open.written = 0;
        }
    }
}

void ChunkWriter::finish() {
    for (auto& [track, open] : open_) {
        if (!open.heads.empty()) {
            write(track, open);
        }
    }
    flush();
}

void ChunkWriter::rollback() {
    open_.clear();
    codecIds_.clear();
    lastSlots_ = marked_;
}

ChunkRow chunkIn(const Statement& row, const std::filesystem::path& file) {
    ChunkRow chunk;
    chunk.id = row.integer(0);
    chunk.track = row.integer(1);
    chunk.late = row.integer(2) != 0;
    chunk.dataType = static_cast<int>(row.integer(3));
    chunk.codec = {row.text(4), static_cast<std::uint32_t>(row.integer(5))};
    std::size_t headsSize = 0;
    std::size_t dataSize = 0;
    const std::byte* const heads = row.blob(7, headsSize);
    chunk.data = row.blob(8, dataSize);
    if (row.integer(6) != std::int64_t{checksumOf(heads, headsSize, chunk.data, dataSize)}) {
        failDamaged(file, chunk.id, "its checksum is another");
    }
    if (headsSize % sizeof(FrameHead) != 0 || headsSize == 0) {
        failDamaged(file, chunk.id, "it has no whole number of frames");
    }
    chunk.heads.resize(headsSize / sizeof(FrameHead));
    std::memcpy(chunk.heads.data(), heads, headsSize);
    std::uint64_t total = 0;
    for (const FrameHead& head : chunk.heads) {
        total += head.size;
    }
    if (total != dataSize) {
        failDamaged(file, chunk.id, "its frames have another size");
    }
    return chunk;
}

std::shared_ptr<Frame> frameOf(const ChunkRow& chunk, std::size_t place, const std::byte* bytes,
                               const kit::Codecs& codecs, const std::filesystem::path& file) {
    const FrameHead& head = chunk.heads[place];
    try {
        return std::make_shared<Frame>(Time(head.index, head.rate), chunk.dataType,
                                       codecs.decode(chunk.codec, bytes, head.size));
    } catch (const kit::CodecError& error) {
        failDamaged(file, chunk.id, error.what());
    }
}

std::vector<SlottedFrame> framesOf(const ChunkRow& chunk, const kit::Codecs& codecs,
                                   const std::filesystem::path& file) {
    std::vector<SlottedFrame> frames;
    frames.reserve(chunk.heads.size());
    const std::byte* bytes = chunk.data;
    for (std::size_t i = 0; i < chunk.heads.size(); ++i) {
        frames.emplace_back(chunk.heads[i].slot, frameOf(chunk, i, bytes, codecs, file));
        bytes += chunk.heads[i].size;
    }
    return frames;
}

} // namespace tarn::store
