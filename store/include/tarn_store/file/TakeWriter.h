// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Scene.h>
#include <tarn/Tracks.h>
#include <tarn_kit/files/Codec.h>
#include <tarn_store/Export.h>
#include <tarn_store/file/StoreError.h>
#include <tarn_store/file/TakeDescription.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>

namespace tarn::store {

/// Writes takes that are complete, or a whole scene, as a take file: `TakeRecorder` writes what is
/// still being captured. The file is there once `commit` has returned; until then, and if something
/// throws, what was there under its name stays as it was.
///
/// What a take keeps: its tracks and nested takes with their offsets, also where one is placed more
/// than once; name, rate, length, frame count, current time, work range, version and frame-index
/// map; each frame in its slot with its exact time, data type and payload. Of the times of frame
/// indexes that `Tracks::alignTracksByTime` stores, those remain that the frames have.
///
/// Threads: used from one thread at a time; nobody changes what it writes meanwhile.
class TARN_STORE_EXPORT TakeWriter {
public:
    /// `program` is who writes. Throws `StoreError` if no file can be made there.
    TakeWriter(std::filesystem::path file, const std::string& program,
               std::shared_ptr<const kit::Codecs> codecs = kit::Codecs::standard());
    ~TakeWriter();
    TakeWriter(const TakeWriter&) = delete;
    TakeWriter& operator=(const TakeWriter&) = delete;

    /// Says what the frames of a track mean, before a take with it is written.
    void describe(const std::shared_ptr<Track>& track, const TrackDescription& description);
    /// Writes the take that the file is about. Throws `kit::CodecError` for a payload without a
    /// codec, and `StoreError`. Precondition: `take` is not empty, and neither a take nor a scene
    /// was written.
    void write(const std::shared_ptr<Tracks>& take);
    /// Writes a scene: its take, its settings, texts and time, and its characters with their
    /// settings, takes and actors, which of them are selected and which one is current. Solvers,
    /// devices and calibrators are not kept. Throws as above, and `StoreError` for settings that no
    /// document can hold (see `Settings::saveSettingsToString`).
    void write(Scene& scene);
    void addNote(const Note& note);
    void addLoss(const Loss& loss);

    /// Puts the file in place, in the stead of one that was there.
    void commit();

private:
    struct PrivateData;
    std::unique_ptr<PrivateData> d_;
};

} // namespace tarn::store
