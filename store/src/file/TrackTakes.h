// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_kit/body/BodyPose.h>
#include <tarn_kit/body/Rig.h>
#include <tarn_store/file/TakeReader.h>

#include <any>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

namespace tarn::store {

/// Throws a `StoreError` of what the file holds.
[[noreturn]] void failWith(TakeReader& reader, const std::string& why);

/// "Ada, Bo", fit to be printed.
std::string listed(const std::vector<std::string>& names);

/// Slots of a track.
struct SlotRange {
    std::int64_t first;
    std::int64_t count;
};

/// Makes a frame for a slot that has none, of the frames of those before it.
using Filled =
    std::function<std::shared_ptr<Frame>(const std::vector<std::shared_ptr<Frame>>& before)>;

/// A take of one track, with a frame in each slot, stamped from 0 on. Throws `StoreError` for a
/// file that claims far more slots than it has frames.
std::shared_ptr<Tracks> takeOfTrack(TakeReader& reader, const StoredTrack& track, SlotRange slots,
                                    int rate, const Filled& filled);
/// The same from the first to the last frame that came.
std::shared_ptr<Tracks> takeOfTrack(TakeReader& reader, const StoredTrack& track, int rate,
                                    const Filled& filled);

/// Throws `StoreError` unless the payloads of a take are of a type, and of so many values.
template <class Payload>
void checkPayloads(TakeReader& reader, Tracks& take, int dataType, std::size_t size) {
    for (int i = 0; i < take.timeLength(); ++i) {
        const auto frame = take.getFrame(i, dataType);
        const auto* const payload =
            frame == nullptr ? nullptr : std::any_cast<Payload>(&frame->data());
        const bool fits = [&] {
            if constexpr (std::is_same_v<Payload, kit::Pose>) {
                return payload != nullptr && payload->values.size() == size;
            } else if constexpr (std::is_same_v<Payload, kit::BodyPose>) {
                return payload != nullptr && payload->segments.size() == size;
            } else {
                return payload != nullptr && payload->size() == size;
            }
        }();
        if (!fits) {
            failWith(reader, "frame " + std::to_string(i) + " does not fit what its track says");
        }
    }
}

} // namespace tarn::store
