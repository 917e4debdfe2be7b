// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Frame.h>
#include <tarn_kit/Export.h>

#include <any>
#include <memory>
#include <stdexcept>
#include <typeinfo>

namespace tarn::kit {

/// A frame does not hold what was asked for; `what()` says in one line which frame, of which data
/// type, what it holds and what was asked for.
class TARN_KIT_EXPORT PayloadError : public std::runtime_error {
public:
    /// `frame` may be null: then there is no frame at all.
    PayloadError(const Frame* frame, const std::type_info& asked);
    ~PayloadError() override;
    PayloadError(const PayloadError&) = default;
    PayloadError& operator=(const PayloadError&) = default;
};

/// The payload of a frame, where a missing one is an error: throws `PayloadError` if the frame
/// holds another type, or nothing. Valid as long as the frame.
template <class T>
const T& payloadOf(const Frame& frame) {
    const T* const payload = std::any_cast<T>(&frame.data());
    if (payload == nullptr) {
        throw PayloadError(&frame, typeid(T));
    }
    return *payload;
}

/// The same of a frame that may be missing, which is an error, too.
template <class T>
const T& payloadOf(const std::shared_ptr<Frame>& frame) {
    if (frame == nullptr) {
        throw PayloadError(nullptr, typeid(T));
    }
    return payloadOf<T>(*frame);
}

/// The payload of a frame, or null if there is no frame or it holds something else.
template <class T>
const T* payloadIf(const std::shared_ptr<Frame>& frame) {
    return frame == nullptr ? nullptr : std::any_cast<T>(&frame->data());
}

} // namespace tarn::kit
