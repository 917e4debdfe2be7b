// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn/Timeline.h>

#include <algorithm>
#include <cassert>
#include <utility>

namespace tarn {

namespace {

/// The entry of a data type in a sorted list, made empty if there is none.
std::shared_ptr<Frame>& entryOf(std::vector<std::pair<int, std::shared_ptr<Frame>>>& entries,
                                int dataType) {
    const auto at =
        std::lower_bound(entries.begin(), entries.end(), dataType,
                         [](const auto& each, int wanted) { return each.first < wanted; });
    if (at != entries.end() && at->first == dataType) {
        return at->second;
    }
    return entries.emplace(at, dataType, nullptr)->second;
}

} // namespace

Timeline::Timeline(const Time& time) : time_(time) {}

Timeline::Timeline(const Timeline& other) = default;

Timeline::Timeline(Timeline&& other) noexcept : Timeline(other.time_) { *this = std::move(other); }

Timeline& Timeline::operator=(const Timeline& other) = default;

Timeline& Timeline::operator=(Timeline&& other) noexcept {
    time_ = other.time_;
    entries_.swap(other.entries_);
    frames_.swap(other.frames_);
    std::swap(isMap_, other.isMap_);
    return *this;
}

Timeline::~Timeline() = default;

const Time& Timeline::time() const { return time_; }

void Timeline::addFrame(std::shared_ptr<Frame> frame) {
    assert(frame != nullptr);
    const int dataType = frame->dataType();
    if (isMap_) {
        frames_[dataType] = std::move(frame);
    } else if (entries_.empty() || entries_.back().first < dataType) {
        entries_.emplace_back(dataType, std::move(frame)); // as takes do, by habit: no search
    } else {
        entryOf(entries_, dataType) = std::move(frame);
    }
}

std::shared_ptr<Frame> Timeline::frame(int dataType) {
    return isMap_ ? frames_[dataType] : entryOf(entries_, dataType);
}

void Timeline::removeFrame(int dataType) {
    (isMap_ ? frames_[dataType] : entryOf(entries_, dataType)).reset();
}

const std::map<int, std::shared_ptr<Frame>>& Timeline::frames() const {
    if (!isMap_) {
        for (auto& [dataType, frame] : entries_) {
            frames_.emplace_hint(frames_.end(), dataType, std::move(frame));
        }
        entries_ = {};
        isMap_ = true;
    }
    return frames_;
}

} // namespace tarn
