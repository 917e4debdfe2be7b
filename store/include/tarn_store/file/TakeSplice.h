// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_store/Export.h>
#include <tarn_store/file/StoreError.h>
#include <tarn_store/file/TakeDescription.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace tarn::store {

/// Writes the frames from frame index `first` to `last`, both included, of the take in `file` as a
/// file of their own, in which they begin at frame index 0. Payloads go over as they are, whether
/// their codec is known or not, and so do the times of the frames, losses, the scene and its
/// characters without their own takes, and who recorded them and when. Notes, events, the work
/// range, the frame-index map and the current frame stay with their frames, as far as these go
/// over; a clock note goes over in any case, and tells of the first frame if it told of one that is
/// left out. Nested takes of another rate that last as long, as those of recordings do, are cut at
/// the same moments. Throws `StoreError`, and leaves what was at `out`, if the take is not that
/// long or something cannot be read or written.
TARN_STORE_EXPORT void cutTakeFile(const std::filesystem::path& file, int first, int last,
                                   const std::filesystem::path& out);

/// A note that says when a frame index of a file was captured, by a clock that other files name,
/// too: that of who led them, say. A recorder adds it.
TARN_STORE_EXPORT Note clockNote(const std::string& clock, std::chrono::nanoseconds instant,
                                 std::int64_t frame);

/// Writes the takes in several files as one, frame after frame. Payloads go over as they are. Times
/// go over as they are where they ascend from one file to the next, as those of cuts do; otherwise
/// they are counted on. Notes and events stay with their frames: the time that an event states is
/// the one that its frame has now. Scene, characters and work range are those of the first file.
/// Throws `StoreError`, and leaves what was at `out`, if the files do not have the same tracks of
/// the same bodies and labels in the same rates, or something cannot be read or written.
///
/// Files that all have a clock note of one clock are put side by side instead, on one timeline:
/// each as a nested take, to the nearest frame where it belongs; frame index 0 is that of the
/// earliest; characters are those of all files. They need the same rate, of the take and not of
/// those nested in it, and may have any tracks. Precondition: there is a file.
TARN_STORE_EXPORT void joinTakeFiles(const std::vector<std::filesystem::path>& files,
                                     const std::filesystem::path& out);

/// Adds a note to a file. Throws `StoreError` if it cannot be written.
TARN_STORE_EXPORT void noteInTakeFile(const std::filesystem::path& file, const std::string& text);

} // namespace tarn::store
