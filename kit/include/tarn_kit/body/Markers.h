// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Rotation.h>
#include <tarn_kit/Export.h>
#include <tarn_kit/body/SharedArray.h>

#include <cstdint>
#include <limits>

namespace tarn::kit {

/// Where a position comes from.
enum class MarkerState : std::uint8_t {
    NotSeen, ///< there is none
    Seen,    ///< it was measured
    Filled,  ///< it was worked out from other measurements, to close a gap
};

/// One marker at one moment. By default it was not seen.
struct Marker {
    /// In the unit and the axes of whoever measures. Of a marker that was not seen it is not a
    /// number: nobody takes it for a place, least of all for the origin.
    Vector3f position{std::numeric_limits<float>::quiet_NaN(),
                      std::numeric_limits<float>::quiet_NaN(),
                      std::numeric_limits<float>::quiet_NaN()};
    /// How far the rays that saw it pass each other, in the unit of the position; 0 where nobody
    /// says.
    float residual = 0;
    /// One bit per camera that saw it, the first camera in the lowest bit; 0 where nobody says.
    std::uint8_t cameras = 0;
    MarkerState state = MarkerState::NotSeen;

    /// A marker that was seen.
    static Marker at(const Vector3f& position, float residual = 0, std::uint8_t cameras = 0) {
        Marker marker;
        marker.position = position;
        marker.residual = residual;
        marker.cameras = cameras;
        marker.state = MarkerState::Seen;
        return marker;
    }
    /// Whether there is a position, measured or filled.
    bool hasPosition() const noexcept { return state != MarkerState::NotSeen; }
};

/// All markers of a take at one moment, one entry per marker, in the order in which whoever
/// produces them names them. It is the payload of frames of the data type `markerDataType`. A light
/// value: copies share the markers, which never change.
///
///     for (const Marker& marker : frame->dataAs<MarkerFrame>()) {
///         if (marker.hasPosition()) { use(marker.position); }
///     }
class TARN_KIT_EXPORT MarkerFrame : public SharedArray<Marker> {
public:
    using SharedArray::SharedArray;
};

/// The data type of frames whose payload is a `MarkerFrame`.
inline constexpr int markerDataType = 3;

} // namespace tarn::kit
