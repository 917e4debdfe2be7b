// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "wire/Topics.h"

#include <tarn_kit/devices/Clock.h>

#include <cstdint>
#include <memory>
#include <string>

namespace tarn::link {

inline constexpr const char* clockRequestTopic = "tarn_clock_request_1";
inline constexpr const char* clockReplyTopic = "tarn_clock_reply_1";

/// Who asks a clock hears only those who ask the same one.
inline std::string clockPartition(std::uint64_t clock) { return "clock " + std::to_string(clock); }

/// A question that waits longer than for the others of this many is of no use any more.
inline constexpr std::int32_t waitingClockSamples = 8;

/// An asker has two questions every fifth of a second; no one gets more answers than these.
inline constexpr double mostQuestions = 500;

inline EndSettings clockRequestEnd(std::uint64_t clock) {
    Bounds bounds;
    bounds.perSecond = bounds.burst = mostQuestions;
    bounds.isWanted = [clock](const void* sample) {
        return static_cast<const tarn_wire_ClockRequest*>(sample)->asked == clock;
    };
    return {&tarn_wire_ClockRequest_desc, clockRequestTopic,   Delivery::Newest,
            clockPartition(clock),        waitingClockSamples, bounds};
}

/// What others are answered is of no interest to who has a number to ask by.
inline EndSettings clockReplyEnd(std::uint64_t clock, std::uint64_t asker = 0) {
    Bounds bounds;
    bounds.perSecond = bounds.burst = 2 * mostQuestions;
    bounds.isWanted = [asker](const void* sample) {
        return static_cast<const tarn_wire_ClockReply*>(sample)->asker == asker;
    };
    return {&tarn_wire_ClockReply_desc, clockReplyTopic,     Delivery::Newest,
            clockPartition(clock),      waitingClockSamples, bounds};
}

inline std::int64_t wireInstant(kit::Clock::Instant instant) {
    return instant.time_since_epoch().count();
}

inline kit::Clock::Instant instantOf(std::int64_t wire) {
    return kit::Clock::Instant(kit::Clock::Duration(wire));
}

struct ListenerDeleter {
    void operator()(dds_listener_t* listener) const noexcept { dds_delete_listener(listener); }
};
using Listener = std::unique_ptr<dds_listener_t, ListenerDeleter>;

/// Has `object->heard()` called on the middleware's thread when something came in.
template <class T>
void listen(dds_entity_t reader, T* object) {
    const Listener listener(dds_create_listener(object));
    dds_lset_data_available(listener.get(),
                            [](dds_entity_t, void* self) { static_cast<T*>(self)->heard(); });
    dds_set_listener(reader, listener.get());
}

/// Waits until nobody is called any more.
inline void stopListening(dds_entity_t reader) { dds_set_listener(reader, nullptr); }

} // namespace tarn::link
