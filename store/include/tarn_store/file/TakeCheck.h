// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_kit/files/Codec.h>
#include <tarn_store/Export.h>
#include <tarn_store/file/StoreError.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tarn::store {

/// What a check of a take file has found.
struct TakeVerdict {
    bool isWhole = false;
    /// One line: "whole: 2 tracks, 1024 frames", "broken off at frame 512, 00:00:04:32" (the last
    /// that is in the file), "damaged: ...".
    std::string line;
};

/// Proves a take file: the database by its own check; that every track has the frames that were
/// counted, in order; checksums; that every payload whose codec is known can be read; and that the
/// recording was ended. Reads all of it. Throws `StoreError` for a file that is no take file or
/// cannot be opened.
TARN_STORE_EXPORT TakeVerdict
checkTakeFile(const std::filesystem::path& file,
              const std::shared_ptr<const kit::Codecs>& codecs = kit::Codecs::standard());

/// Frames that could not be recovered.
struct MissingFrames {
    std::string subject; ///< of the track
    std::int64_t track = 0;
    /// The slots between which they are missing, both included; nothing where only their number is
    /// known.
    std::optional<std::int64_t> first;
    std::optional<std::int64_t> last;
    std::int64_t count = 0; ///< at most, where slots were empty before
    std::string timecodes;  ///< of first and last, "00:00:01:00 to 00:00:01:29"; empty if not known
};

/// What was recovered.
struct TakeRecovery {
    std::int64_t frames = 0;
    std::vector<MissingFrames> missing;
};

/// Makes a whole file of a damaged one, or of one that was broken off, with everything in it that
/// can still be read and proves to be undamaged. `file` stays as it is. Throws `StoreError` if
/// not a single frame can be recovered or `out` cannot be written; then what was there stays.
TARN_STORE_EXPORT TakeRecovery
recoverTakeFile(const std::filesystem::path& file, const std::filesystem::path& out,
                const std::shared_ptr<const kit::Codecs>& codecs = kit::Codecs::standard());

} // namespace tarn::store
