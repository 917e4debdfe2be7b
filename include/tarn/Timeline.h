// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Export.h>
#include <tarn/Frame.h>
#include <tarn/Time.h>

#include <map>
#include <memory>
#include <utility>
#include <vector>

namespace tarn {

/// Everything known at one instant: at most one frame per data type. A value: copies share the
/// frames with the original.
class TARN_EXPORT Timeline {
public:
    explicit Timeline(const Time& time = Time());
    Timeline(const Timeline& other);
    /// Copies the time and exchanges the frames.
    Timeline(Timeline&& other) noexcept;
    Timeline& operator=(const Timeline& other);
    /// Copies the time and exchanges the frames: `other` ends up with the frames held here before.
    Timeline& operator=(Timeline&& other) noexcept;
    ~Timeline();

    const Time& time() const;

    /// Shares `frame` under its data type, in place of any frame there. Its own time is not
    /// compared with the timeline's. Precondition: `frame` is not empty.
    void addFrame(std::shared_ptr<Frame> frame);
    /// The frame of a data type; an empty pointer if there is none, and then the data type gets an
    /// entry that holds an empty pointer. `frames()` reads without creating entries.
    std::shared_ptr<Frame> frame(int dataType);
    /// Empties the entry of a data type; the entry itself stays, and is created if there was none.
    void removeFrame(int dataType);
    /// All entries by data type; some may hold an empty pointer. The first call turns the entries
    /// into a map, so it counts as a change to other threads.
    const std::map<int, std::shared_ptr<Frame>>& frames() const;

private:
    friend class Tracks; // knows how many frames are to come

    Time time_;
    // A timeline is made for every tick of every take, mostly to be asked for one data type: it is
    // a sorted list until somebody wants the map. From then on only the map is used.
    mutable std::vector<std::pair<int, std::shared_ptr<Frame>>> entries_;
    mutable std::map<int, std::shared_ptr<Frame>> frames_;
    mutable bool isMap_ = false;
};

} // namespace tarn
