#include <tarn/Timeline.h>

#include <cassert>
#include <iterator>
#include <utility>

namespace tarn {

Timeline::Timeline(const Time& time) : time_(time) {}

Timeline::Timeline(const Timeline& other) = default;

Timeline::Timeline(Timeline&& other) noexcept : time_(other.time_) { frames_.swap(other.frames_); }

Timeline& Timeline::operator=(const Timeline& other) = default;

Timeline& Timeline::operator=(Timeline&& other) noexcept {
    time_ = other.time_;
    frames_.swap(other.frames_);
    return *this;
}

Timeline::~Timeline() = default;

const Time& Timeline::time() const { return time_; }

void Timeline::addFrame(std::shared_ptr<Frame> frame) {
    assert(frame != nullptr);
    const int dataType = frame->dataType();
    if (frames_.empty() || std::prev(frames_.end())->first < dataType) {
        // Takes hand their frames over in ascending order of data type, by habit: no search.
        frames_.emplace_hint(frames_.end(), dataType, std::move(frame));
    } else {
        frames_[dataType] = std::move(frame);
    }
}

std::shared_ptr<Frame> Timeline::frame(int dataType) { return frames_[dataType]; }

void Timeline::removeFrame(int dataType) { frames_[dataType].reset(); }

const std::map<int, std::shared_ptr<Frame>>& Timeline::frames() const { return frames_; }

} // namespace tarn
