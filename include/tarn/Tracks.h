// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Export.h>
#include <tarn/Frame.h>
#include <tarn/Time.h>
#include <tarn/Timeline.h>
#include <tarn/Track.h>
#include <tsignal/Signal.h>

#include <map>
#include <memory>
#include <string>

namespace tarn {

/// A take: tracks side by side and nested takes (sub-tracks), each placed at an offset in frame
/// indexes, with a frame rate, a time per frame index, a work range and a current time.
///
/// Frame index and slot: a track at offset 10 shows its slot 0 at frame index 10. Reading subtracts
/// the offset; `setFrame` adds it.
///
/// Slots may change the take while it announces a change. Sub-tracks are visited after the take's
/// own slots have run, as these have left them: what they added or placed anew is visited. What the
/// slots of sub-tracks add is not, and what they remove is not visited any more but lives until the
/// last one was visited. A slot must not destroy the take that calls it. A take must not contain
/// itself.
///
/// Threads: only the signals lock; everything else is used from one thread at a time.
class TARN_EXPORT Tracks {
public:
    Tracks();
    ~Tracks();
    Tracks(const Tracks&) = delete;
    Tracks& operator=(const Tracks&) = delete;

    const std::string& tracksName() const;
    void setTracksName(const std::string& name);
    /// Frames per second.
    int fps() const;
    void setFps(int fps);
    /// How many frame indexes the take has.
    int timeLength() const;
    void setTimeLength(int length);
    /// A number kept for the host: nothing but `setFrameCount` changes it.
    int frameCount() const;
    void setFrameCount(int count);

    /// Places a track; it may be placed more than once. No signal.
    /// Precondition: `track` is not empty.
    void addTrack(std::shared_ptr<Track> track, int offset);
    /// Removes every entry that holds `track`. No signal.
    void removeTrack(std::shared_ptr<Track> track);
    int trackCount() const;
    /// Entry `i` in the order of adding; an empty pointer if there is none.
    std::shared_ptr<Track> getTrack(int i);
    /// The first track of a data type, or an empty pointer.
    std::shared_ptr<Track> findTrack(int dataType);
    /// The offset of the first entry that holds `track`; 0 if there is none.
    int trackOffset(std::shared_ptr<Track> track);

    /// Places a nested take; it may be placed more than once. No signal.
    /// Precondition: `subTracks` is not empty.
    void addSubTracks(std::shared_ptr<Tracks> subTracks, int offset);
    /// Removes every entry that holds `subTracks`. No signal.
    void removeSubTracks(std::shared_ptr<Tracks> subTracks);
    int subTracksCount() const;
    /// Entry `i` in the order of adding; an empty pointer at or beyond the count.
    /// Precondition: `i` is not negative.
    std::shared_ptr<Tracks> subTracks(int i);
    /// The offset of the first entry that holds `subTracks`; 0 if there is none.
    int subTracksOffset(std::shared_ptr<Tracks> subTracks);

    /// What the first track of a data type shows at a frame index; an empty pointer where it shows
    /// nothing, even if another track of that data type does.
    std::shared_ptr<Frame> getFrame(int index, int dataType);
    /// What all tracks of this take (not of its sub-tracks) show at a frame index, as a new
    /// timeline stamped `getTime(index)`. Of several tracks of one data type the last one that
    /// shows a frame there counts.
    std::shared_ptr<Timeline> getFrame(int index);
    /// The time of a frame index. Where none is stored: `Time(index, fps)`, or `Time()` if the
    /// index is negative or the rate not positive.
    Time getTime(int index);
    /// Stores a frame in slot `offset + index` of the first track of a data type; if there is none,
    /// adds one at offset 0 with `timeLength()` slots. Note that `getFrame` reads slot `index -
    /// offset`: what is set on a track with an offset is read at another index.
    /// Precondition: the track has that slot (ignored in release builds otherwise).
    void setFrame(int index, int dataType, std::shared_ptr<Frame> frame);

    /// The current frame index.
    int currentTime() const;
    /// The same as `currentTime()`.
    int currentFrameIndex() const;
    /// Moves to frame index `t`: emits `onCurrentTimeChanged` on every call, then moves each nested
    /// take to its offset + `t`, unless that is at or beyond its length.
    void setCurrentTime(int t);
    /// `getFrame(index, currentTime())`: the frame at `index` whose data type is the number of the
    /// current frame. Hosts that want the current frame of a data type call
    /// `getFrame(currentTime(), dataType)`.
    std::shared_ptr<Frame> currentFrame(int index);
    /// `getFrame(currentTime())`.
    std::shared_ptr<Timeline> currentFrame();

    /// First and last frame index of the work range.
    int workRangeBegin() const;
    int workRangeEnd() const;
    /// Emits `onWorkRangeChanged` if the range differs; in every case then sets the range of each
    /// nested take, both ends moved by its offset.
    void setWorkRange(int begin, int end);

    /// Opens an update of the frames in a range: emits `onWillUpdateTracks`, then stores the range.
    void beginUpdateTracks(int begin, int end);
    /// Closes it: counts the version up, emits `onTracksUpdated` with the stored range, and
    /// `onCurrentTimeChanged` if the current time lies in that range, both ends included.
    void endUpdateTracks();
    /// How many updates have been completed.
    int tracksVersion() const;
    void setTracksVersion(int version);

    /// A mapping of frame indexes for the host's own use; `alignTracksByTime` fills an empty one.
    const std::map<int, int>& frameIndexMap() const;
    void setFrameIndexMap(int key, int value);

    /// Rebuilds every track of this take and of its nested takes (one level down) on one common
    /// axis: one frame index per distinct time of their frames, in ascending order. Times of the
    /// same second count as one: the first that is met, this take's tracks before those of nested
    /// takes. Where a track has no frame at a time it holds its previous frame, as a copy stamped
    /// with that time; before its first frame it has an empty slot. Frames at rate 0 have no place
    /// and are dropped. Offsets stay.
    ///
    /// **Safe for tracks whose times of the same second are equal in both fields**, as they are
    /// where all count at one rate. Otherwise they come apart: where a track's frame is of the same
    /// second as a time of the axis but counted at another rate, that time takes no slot in that
    /// track, and all that follow in it stand one slot too early, and one more at each such time.
    /// So of a minute at 120 frames per second and one at 60, the latter is over at the index where
    /// the former is half through, and has empty slots from there on; and the times of the indexes,
    /// which are those of the track that was laid out last, run to the end of the minute and then
    /// back to its middle. For such takes there is `tarn::kit::resample`.
    ///
    /// The length becomes that of the longest track of this take less its offset, and the work
    /// range covers it: 0, and a range from 0 to -1, for a take that only nests. A nested take gets
    /// the axis as its length and range. A time is stored for each index of the axis, but in a take
    /// without tracks it is `Time()`. An empty frame-index map gets the pairs (new index, old slot)
    /// of the first track that has any frame.
    void alignTracksByTime();

    /// The current frame index, on every move and after an update that contains it.
    tsignal::Signal<int>& onCurrentTimeChanged();
    /// Before an update, with its first and last frame index.
    tsignal::Signal<int, int>& onWillUpdateTracks();
    /// After an update, with its first and last frame index.
    tsignal::Signal<int, int>& onTracksUpdated();
    /// After the work range changed, with its first and last frame index.
    tsignal::Signal<int, int>& onWorkRangeChanged();

private:
    struct PrivateData;
    std::unique_ptr<PrivateData> d_;
};

} // namespace tarn
