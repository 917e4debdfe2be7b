// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn/Frame.h>

#include <utility>

namespace tarn {

Frame::Frame(const Time& time) : time_(time) {}

Frame::Frame(const Time& time, int dataType, std::any data)
    : time_(time), data_(std::move(data)), dataType_(dataType) {}

void Frame::setData(int dataType, std::any data) {
    data_ = std::move(data);
    dataType_ = dataType;
}

} // namespace tarn
