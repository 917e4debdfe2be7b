// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "rows/FrameRows.h"

#include <algorithm>
#include <utility>

namespace tarn::store {

namespace {

constexpr std::size_t mostRecent = 64; // tracks of which a chunk is kept

bool isBefore(const SlottedFrame& frame, std::int64_t slot) { return frame.first < slot; }

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
      begin_(database, "SELECT first FROM chunk WHERE track = ?1 AND late = 0 AND first <= ?2 "
                       "ORDER BY first DESC LIMIT 1"),
      main_(database, "SELECT " TARN_CHUNK_COLUMNS " FROM chunk JOIN codec ON codec.id = "
                      "chunk.codec WHERE track = ?1 AND late = 0 AND first >= ?2 AND first <= ?3 "
                      "ORDER BY first"),
      late_(database, "SELECT " TARN_CHUNK_COLUMNS " FROM chunk JOIN codec ON codec.id = "
                      "chunk.codec WHERE track = ?1 AND late = 1 AND last >= ?2 AND first <= ?3 "
                      "ORDER BY chunk.id"),
      hasLate_(database, "SELECT 1 FROM chunk WHERE track = ?1 AND late = 1 AND first <= ?2 AND "
                         "last >= ?2 LIMIT 1") {}

std::int64_t FrameRows::beginOfChunk(std::int64_t track, std::int64_t slot) {
    begin_.bind(1, track).bind(2, slot);
    const std::int64_t begin = begin_.step() ? begin_.integer(0) : slot;
    begin_.reset();
    return begin;
}

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
    visitRows(main_, track, beginOfChunk(track, first), last, visit);
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
    auto& recent = recent_[track];
    if (recent.empty() || slot < recent.front().first || slot > recent.back().first) {
        if (recent_.size() > mostRecent) {
            recent_.clear();
        }
        std::vector<SlottedFrame> read;
        visitRows(main_, track, beginOfChunk(track, slot), slot, [&](const ChunkRow& chunk) {
            read = framesOf(chunk, *codecs_, database_->file());
        });
        recent_[track] = std::move(read);
    }
    const auto& frames = recent_[track];
    const auto found = std::lower_bound(frames.begin(), frames.end(), slot, isBefore);
    return found != frames.end() && found->first == slot ? found->second : nullptr;
}

} // namespace tarn::store
