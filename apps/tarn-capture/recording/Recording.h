// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "support/FrameRange.h"

#include <tarn_kit/files/C3d.h>
#include <tarn_store/recording/TakeRecorder.h>
#include <tsignal/Signal.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace tarn::capture {

/// What --record does: a take file of what comes out of some ports, which wait for the disk where
/// it is slower than they are. What goes wrong on the way is reported at once.
class Recording {
public:
    using Port = tsignal::Signal<std::shared_ptr<Frame>>;

    /// Makes the file. Throws `store::StoreError` if it is there already, cannot be made, or there
    /// is less space than it is expected to take.
    explicit Recording(const std::string& file, std::uint64_t expectedBytes = 0);
    Recording(const Recording&) = delete;
    Recording& operator=(const Recording&) = delete;
    ~Recording();

    /// Records the frames of a data type that a port, which lives longer, sends from `first` on, up
    /// to `last` where that is not negative.
    void add(Port& port, int dataType, const store::TrackDescription& description, int first = 0,
             int last = -1);
    /// Records those frames that are wanted, as `isWanted` says on the thread on which they come.
    void addWhere(Port& port, int dataType, const store::TrackDescription& description,
                  std::function<bool(const Frame& frame)> isWanted);
    /// Records a take of markers that a port, which lives longer, sends: with each frame, what the
    /// take has of analog channels and rigid bodies then; and its events.
    void addMarkers(Port& port, const kit::C3dTake& take, const std::string& subject, int first = 0,
                    int last = -1);
    /// Keeps a scene with its characters and actors as they are now. Throws `store::StoreError` for
    /// settings that no document can hold.
    void addScene(Scene& scene) { recorder_.addScene(scene); }
    /// Whether something of that type and subject was added.
    bool has(int dataType, const std::string& subject) const;
    void start();
    /// While it records.
    void addNote(const store::Note& note) { recorder_.addNote(note); }
    /// Returns why not everything is in the file; nothing if it is. That is no reason to give up
    /// what else was captured.
    std::string end();
    std::int64_t recordedFrames() const { return recorder_.safeFrames(); }
    std::int64_t lostFrames() const { return recorder_.lostFrames(); }
    /// "994 frames recorded in walk.tarn", and how many were lost.
    std::string summary() const;

private:
    /// A port without what is not to be recorded.
    struct Gate {
        Port out;
        tsignal::ScopedConnection connection;
    };

    void addGate(Port& port, int dataType, const store::TrackDescription& description,
                 std::function<void(Port& out, const std::shared_ptr<Frame>& frame)> pass);

    std::string file_;
    std::set<std::pair<int, std::string>> added_; ///< data types and subjects
    std::vector<std::unique_ptr<Gate>> gates_;
    store::TakeRecorder recorder_;
};

/// What the frames of a take of markers mean, with the axis that its file states to be up.
store::TrackDescription describedMarkers(const kit::C3dTake& take, const std::string& subject);

/// About how many bytes some frames of a take will take in a file, by the first of them.
std::uint64_t recordedBytes(Tracks& take, int dataType, FrameRange range);

/// Throws `UsageError` unless a name, of --record, ends in .tarn.
void checkRecordName(const std::string& file);

} // namespace tarn::capture
