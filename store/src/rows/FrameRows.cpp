// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "rows/FrameRows.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace tarn::store {

namespace {

constexpr std::size_t mostRecent = 64; // tracks of which a chunk is kept

bool isBefore(const FrameHead& head, std::int64_t slot) { return head.slot < slot; }

using Head = std::vector<FrameHead>::const_iterator;

/// How many bytes the payloads of frames have.
std::size_t bytesOf(Head first, Head last) {
    return std::accumulate(first, last, std::size_t{0},
                           [](std::size_t sum, const FrameHead& head) { return sum + head.size; });
}

bool covers(const ChunkRow& chunk, std::int64_t slot) {
    return !chunk.heads.empty() && slot >= chunk.heads.front().slot &&
           slot <= chunk.heads.back().slot;
}

/// In ascending order; of several of one slot the last one stays.
void sortBySlot(std::vector<SlottedFrame>& frames) {
    std::stable_sort(frames.begin(), frames.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    std::vector<SlottedFrame> sorted;
    sorted.reserve(frames.size());
    for (SlottedFrame& frame : frames) {
        if (!sorted.empty() && sorted.back().first == frame.first) {
            sorted.back() = std::move(frame);
        } else {
            sorted.push_back(std::move(frame));
        }
    }
    frames.swap(sorted);
}

} // namespace

FrameRows::FrameRows(Database& database, std::shared_ptr<const kit::Codecs> codecs)
    : database_(&database), codecs_(std::move(codecs)),
      // From the chunk on that the first slot may be in. One statement sees one state of a file
      // that is being written, in which small chunks give way to large ones.
      main_(database, "SELECT " TARN_CHUNK_COLUMNS " FROM chunk JOIN codec ON codec.id = "
                      "chunk.codec WHERE track = ?1 AND late = 0 AND first >= coalesce((SELECT "
                      "first FROM chunk WHERE track = ?1 AND late = 0 AND first <= ?2 ORDER BY "
                      "first DESC LIMIT 1), ?2) AND first <= ?3 ORDER BY first"),
      late_(database, "SELECT " TARN_CHUNK_COLUMNS " FROM chunk JOIN codec ON codec.id = "
                      "chunk.codec WHERE track = ?1 AND late = 1 AND last >= ?2 AND first <= ?3 "
                      "ORDER BY chunk.id"),
      hasLate_(database, "SELECT 1 FROM chunk WHERE track = ?1 AND late = 1 AND first <= ?2 AND "
                         "last >= ?2 LIMIT 1") {}

void FrameRows::visitRows(Statement& rows, std::int64_t track, std::int64_t first,
                          std::int64_t last, const Visit& visit) {
    rows.reset();
    rows.bind(1, track).bind(2, first).bind(3, last);
    try {
        while (rows.step()) {
            visit(chunkIn(rows, database_->file()));
        }
    } catch (...) {
        rows.reset();
        throw;
    }
    rows.reset(); // so that a writer may go on
}

void FrameRows::visit(std::int64_t track, std::int64_t first, std::int64_t last,
                      const Visit& visit) {
    visitRows(main_, track, first, last, visit);
    visitRows(late_, track, first, last, visit);
}

std::vector<SlottedFrame> FrameRows::between(std::int64_t track, std::int64_t first,
                                             std::int64_t last) {
    std::vector<SlottedFrame> found;
    bool isSorted = true;
    visit(track, first, last, [&](const ChunkRow& chunk) {
        for (SlottedFrame& frame : framesOf(chunk, *codecs_, database_->file())) {
            if (frame.first >= first && frame.first <= last) {
                isSorted = isSorted && (found.empty() || found.back().first < frame.first);
                found.push_back(std::move(frame));
            }
        }
    });
    if (!isSorted) {
        sortBySlot(found);
    }
    return found;
}

std::vector<EncodedFrame> FrameRows::encoded(std::int64_t track, std::int64_t first,
                                             std::int64_t last) {
    std::map<std::int64_t, EncodedFrame> found;
    visit(track, first, last, [&](const ChunkRow& chunk) {
        const std::byte* bytes = chunk.data;
        for (const FrameHead& head : chunk.heads) {
            if (head.slot >= first && head.slot <= last) {
                found[head.slot] = {head, chunk.dataType, chunk.codec,
                                    std::vector<std::byte>(bytes, bytes + head.size)};
            }
            bytes += head.size;
        }
    });
    std::vector<EncodedFrame> frames;
    frames.reserve(found.size());
    for (auto& [slot, frame] : found) {
        frames.push_back(std::move(frame));
    }
    return frames;
}

std::shared_ptr<Frame> FrameRows::at(std::int64_t track, std::int64_t slot) {
    hasLate_.bind(1, track).bind(2, slot);
    const bool hasLate = hasLate_.step();
    hasLate_.reset();
    if (hasLate) {
        const auto found = between(track, slot, slot);
        return found.empty() ? nullptr : found.front().second;
    }
    auto known = recent_.find(track);
    if (known == recent_.end() || !covers(known->second.chunk, slot)) {
        if (known == recent_.end() && recent_.size() >= mostRecent) {
            recent_.clear();
        }
        Recent read;
        visitRows(main_, track, slot, slot, [&](const ChunkRow& chunk) {
            const std::size_t size = bytesOf(chunk.heads.begin(), chunk.heads.end());
            read.chunk = chunk;
            read.bytes.assign(chunk.data, chunk.data + size);
            read.chunk.data = read.bytes.data();
        });
        known = recent_.insert_or_assign(track, std::move(read)).first;
    }
    const ChunkRow& chunk = known->second.chunk;
    const auto found = std::lower_bound(chunk.heads.begin(), chunk.heads.end(), slot, isBefore);
    if (found == chunk.heads.end() || found->slot != slot) {
        return nullptr;
    }
    const std::size_t before = bytesOf(chunk.heads.begin(), found);
    return frameOf(chunk, static_cast<std::size_t>(found - chunk.heads.begin()),
                   chunk.data + before, *codecs_, database_->file());
}

} // namespace tarn::store
