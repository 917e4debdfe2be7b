// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "wire/Topics.h"

#include <tarn_link/together/TakeCall.h>

#include <optional>

namespace tarn::link {

inline constexpr const char* takeTopic = "tarn_take_1";
inline constexpr const char* recorderTopic = "tarn_recorder_1";

inline EndSettings takeEnd() {
    return {&tarn_wire_TakeState_desc, takeTopic, Delivery::Kept, {}, 1};
}

/// Only the last report of a recorder is kept, so that none may be turned away lightly.
inline EndSettings recorderEnd() {
    Bounds bounds;
    bounds.perSecond = bounds.burst = 10'000;
    return {&tarn_wire_RecorderState_desc, recorderTopic, Delivery::Kept, {}, 1, bounds};
}

/// What samples say, unless a number or a text in them cannot be.
std::optional<TakeCall> takeCallIn(const tarn_wire_TakeState& sample);
std::optional<RecorderReport> recorderReportIn(const tarn_wire_RecorderState& sample);

} // namespace tarn::link
