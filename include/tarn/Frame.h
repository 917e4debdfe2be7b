// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Export.h>
#include <tarn/Time.h>

#include <any>

namespace tarn {

/// One sample of one kind of data at one time. The data type is a number that producers and
/// consumers agree on; it says what the payload holds. A value: copies copy the payload.
class TARN_EXPORT Frame {
public:
    /// A frame without payload, of the data type -1.
    explicit Frame(const Time& time = Time());
    Frame(const Time& time, int dataType, std::any data);

    const Time& time() const noexcept { return time_; }
    void setTime(const Time& time) noexcept { time_ = time; }
    int dataType() const noexcept { return dataType_; }

    /// The payload; empty when none was set.
    const std::any& data() const noexcept { return data_; }
    /// The payload as a `T`. Throws `std::bad_any_cast` when it is of another type, or empty.
    template <class T>
    const T& dataAs() const {
        return std::any_cast<const T&>(data_);
    }
    /// Replaces the data type and the payload together.
    void setData(int dataType, std::any data);

private:
    Time time_;
    std::any data_;
    int dataType_ = -1;
};

} // namespace tarn
