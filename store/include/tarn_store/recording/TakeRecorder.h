// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Scene.h>
#include <tarn/StreamNode.h>
#include <tarn_kit/files/Codec.h>
#include <tarn_store/Export.h>
#include <tarn_store/file/StoreError.h>
#include <tarn_store/file/TakeDescription.h>
#include <tsignal/Signal.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>

namespace tarn::store {

/// What becomes of a frame that comes while as many wait to be written as may.
enum class WhenFull : std::uint8_t {
    Lose, ///< it is counted as lost: the device never waits
    /// Its sender waits: for sources that can, such as replays. While writing fails, nobody knows
    /// for how long that would be: then it is counted as lost.
    Wait,
};

struct TARN_STORE_EXPORT RecorderOptions {
    std::string program = "tarn_store"; ///< who records
    std::string takeName;
    std::shared_ptr<const kit::Codecs> codecs = kit::Codecs::standard();
    /// How much may be lost when the program is killed or the power fails.
    std::chrono::milliseconds maximumLoss{250};
    /// How many frames may wait to be written.
    std::size_t queueFrames = 16'384;
    WhenFull whenFull = WhenFull::Lose;
    /// How many bytes the recording is expected to take; 0 where nobody knows. With less space than
    /// that no recording begins.
    std::uint64_t expectedBytes = 0;
    /// Whether that much is set aside on the disk at the beginning.
    bool preallocate = false;
    /// How long before the disk is full `onSpaceLow` says so.
    std::chrono::seconds spaceWarning{60};
    /// How many bytes are left for a file; if not given, the file system says. It is called on the
    /// thread that writes.
    std::function<std::uint64_t(const std::filesystem::path&)> freeSpace;
};

/// A node that records frames into a take file while they come: a track for each of its input frame
/// ports. It writes on a thread of its own, in short transactions, each of which is on the disk
/// before it is announced with `onSafe`. Others may read the file meanwhile (`TakeReader`). A file
/// whose recording was broken off reads up to the last of these; the files beside it whose names
/// end in "-wal" and "-shm" belong to it until it is ended, or recovered.
///
/// A frame stands in the slot of its frame index. Frames that are lost are counted, per track, with
/// why, in the file too: those for which there was no room, those without a codec, those that could
/// not be written.
///
/// When writing fails (the disk is full, another program locks the file), `onFailed` says so, what
/// has come waits, and writing is tried again; what does not fit meanwhile is lost and counted.
///
/// Lifetime: ties may outlive it; what comes then is ignored.
///
/// Threads: frames may arrive on any thread. Before `start` and for `end` it is used from one
/// thread; the counts, `addNote` and connecting to its signals are for any thread. The signals run
/// on the thread that writes; a slot must not end or destroy the recorder.
class TARN_STORE_EXPORT TakeRecorder : public StreamNode {
public:
    /// Makes the file. Throws `StoreError` if it is there already, cannot be made, or there is not
    /// enough space.
    explicit TakeRecorder(std::filesystem::path file, RecorderOptions options = {});
    /// Ends the recording if nobody has; what then fails is not told.
    ~TakeRecorder() override;
    TakeRecorder(const TakeRecorder&) = delete;
    TakeRecorder& operator=(const TakeRecorder&) = delete;

    /// Adds a track for frames of a data type and returns the number of its input frame port: tie
    /// that to what is to be recorded. Tracks of another rate than the first go into nested takes.
    /// Precondition: not yet started.
    int addTrack(int dataType, const TrackDescription& description);
    /// Keeps a scene as it is now: its settings, texts and time, and its characters with their
    /// settings and actors; not their takes, which are what is recorded. Throws `StoreError` for
    /// settings that no document can hold (see `Settings::saveSettingsToString`), and keeps nothing
    /// of it then. Precondition: not yet started, and no scene was added before.
    void addScene(Scene& scene);
    /// From now on frames are taken. Throws `std::system_error` if no thread can be started.
    void start();
    /// Puts a note on the timeline.
    void addNote(const Note& note);
    /// Writes what waits and closes the file as a whole one; under the eyes of a reader the files
    /// beside it stay, empty. Throws `StoreError` if that fails; the
    /// file then holds what is safe, and reads as broken off. Frames that come later are ignored.
    /// Does nothing the second time.
    void end();

    /// How many frames are safe in the file.
    std::int64_t safeFrames() const;
    /// How many were lost, for whatever reason.
    std::int64_t lostFrames() const;

    /// A frame index up to which everything that came in time is safe in the file, of each port
    /// that something came in at. It ascends.
    tsignal::Signal<std::int64_t>& onSafe();
    /// After frames were lost, with how many that makes.
    tsignal::Signal<std::int64_t>& onLost();
    /// When writing fails after it went well, with why.
    tsignal::Signal<std::string>& onFailed();
    /// When the disk will be full soon at the rate of the last seconds, with how many seconds are
    /// left; once, until there is room again.
    tsignal::Signal<int>& onSpaceLow();

private:
    struct PrivateData;
    std::shared_ptr<PrivateData> d_; ///< shared with the handlers of the ties, which may outlive it
};

} // namespace tarn::store
