#include <tarn/Frame.h>

#include <utility>

namespace tarn {

Frame::Frame(const Time& time) : time_(time) {}

Frame::Frame(const Time& time, int dataType, std::any data)
    : time_(time), data_(std::move(data)), dataType_(dataType) {}

const Time& Frame::time() const { return time_; }

void Frame::setTime(const Time& time) { time_ = time; }

int Frame::dataType() const { return dataType_; }

const std::any& Frame::data() const { return data_; }

void Frame::setData(int dataType, std::any data) {
    data_ = std::move(data);
    dataType_ = dataType;
}

} // namespace tarn
