// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "rows/Chunk.h"
#include "rows/Database.h"

#include <tarn_kit/files/Codec.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <unordered_map>
#include <vector>

namespace tarn::store {

/// A frame as it stands in the file.
struct EncodedFrame {
    FrameHead head;
    int dataType;
    kit::CodecId codec;
    std::vector<std::byte> bytes;
};

/// Finds the frames of tracks.
class FrameRows {
public:
    FrameRows(Database& database, std::shared_ptr<const kit::Codecs> codecs);

    /// Those with slots from `first` to `last`, in ascending order; of several of one slot the one
    /// that came last.
    std::vector<SlottedFrame> between(std::int64_t track, std::int64_t first, std::int64_t last);
    /// The same without decoding them.
    std::vector<EncodedFrame> encoded(std::int64_t track, std::int64_t first, std::int64_t last);
    /// The one in a slot, or an empty pointer.
    std::shared_ptr<Frame> at(std::int64_t track, std::int64_t slot);

    using Visit = std::function<void(const ChunkRow&)>;
    /// All chunks with slots from `first` to `last`: first those that are not late, in the order of
    /// their slots, then those that are, as they came.
    void visit(std::int64_t track, std::int64_t first, std::int64_t last, const Visit& visit);

private:
    /// A chunk with bytes of its own, of which single frames are decoded.
    struct Recent {
        ChunkRow chunk;
        std::vector<std::byte> bytes;
    };

    void visitRows(Statement& rows, std::int64_t track, std::int64_t first, std::int64_t last,
                   const Visit& visit);

    Database* database_;
    std::shared_ptr<const kit::Codecs> codecs_;
    Statement main_;
    Statement late_;
    Statement hasLate_;
    std::unordered_map<std::int64_t, Recent> recent_; ///< per track, what was read last
};

} // namespace tarn::store
