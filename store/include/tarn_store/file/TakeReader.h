// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Actor.h>
#include <tarn/Character.h>
#include <tarn/Frame.h>
#include <tarn/Scene.h>
#include <tarn/Tracks.h>
#include <tarn_kit/files/Codec.h>
#include <tarn_store/Export.h>
#include <tarn_store/file/StoreError.h>
#include <tarn_store/file/TakeDescription.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <utility>
#include <vector>

namespace tarn::store {

/// A scene out of a file, with what it links and does not own.
class TARN_STORE_EXPORT StoredScene {
public:
    StoredScene();
    /// Unlinks everything first.
    ~StoredScene();
    StoredScene(StoredScene&& other) noexcept;
    StoredScene& operator=(StoredScene&& other) noexcept;

    /// Linked to the characters, these to their actors.
    Scene& scene() const noexcept { return *scene_; }

private:
    friend class TakeReader;
    void unlink() noexcept;

    std::vector<std::unique_ptr<Actor>> actors_;
    std::vector<std::unique_ptr<Character>> characters_;
    std::unique_ptr<Scene> scene_;
};

/// What is read of a scene.
enum class SceneParts : std::uint8_t {
    All,
    WithoutTakes, ///< at once, however long the file is
};

/// Reads a take file, also while somebody writes it: each call sees what is in the file by then. A
/// file is opened and sought in whatever its length is; what is not asked for is not read.
///
/// Files may come from anywhere: what contradicts itself is a `StoreError`, and memory is bounded
/// by what the file holds and what is asked for.
///
/// Threads: used from one thread at a time; any number of readers may read one file.
class TARN_STORE_EXPORT TakeReader {
public:
    /// Throws `StoreError` if it cannot be opened or is no take file.
    explicit TakeReader(std::filesystem::path file,
                        std::shared_ptr<const kit::Codecs> codecs = kit::Codecs::standard());
    ~TakeReader();
    TakeReader(const TakeReader&) = delete;
    TakeReader& operator=(const TakeReader&) = delete;

    const std::filesystem::path& file() const;
    TakeFileFacts facts();
    /// All tracks of the file.
    std::vector<StoredTrack> tracks();
    std::vector<Note> notes();
    std::vector<Loss> losses();

    /// The frame in a slot of a track (see `StoredTrack::id`); an empty pointer if there is none.
    /// Of several frames that came for one slot, the last. What was read around it is kept for the
    /// next call.
    std::shared_ptr<Frame> frame(std::int64_t track, std::int64_t slot);
    /// The frames in the slots from `first` to `last`, both included, with their slots, which
    /// ascend.
    std::vector<std::pair<std::int64_t, std::shared_ptr<Frame>>>
    frames(std::int64_t track, std::int64_t first, std::int64_t last);

    /// The take that the file is about, whole, as it was written. Of a recording: its tracks at
    /// offset 0, such that the first frame that came is at frame index 0, and what was lost leaves
    /// its slots empty; tracks of another rate than that of the first are in nested takes. An empty
    /// pointer if the file has no take.
    std::shared_ptr<Tracks> load();
    /// The part of it from frame index `first` to `last`, both included, as a take that begins with
    /// them: its frame index 0 is `first`. Tracks and nested takes that begin later or end earlier
    /// have empty slots there. Only that part is read. Precondition: 0 <= `first` <= `last`.
    std::shared_ptr<Tracks> load(int first, int last);
    /// How many frame indexes that take has; 0 without one.
    int length();
    /// The scene that was written; one without characters and texts if there was none. Of a
    /// recording, its take is what was recorded, and characters have no takes of their own.
    StoredScene loadScene(SceneParts parts = SceneParts::All);

private:
    struct PrivateData;
    std::unique_ptr<PrivateData> d_;
};

} // namespace tarn::store
