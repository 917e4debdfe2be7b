// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_kit/Export.h>
#include <tarn_kit/body/Rotations.h>
#include <tarn_kit/body/SharedArray.h>

#include <cstddef>
#include <cstdint>
#include <limits>

namespace tarn::kit {

/// What the solver made of a marker's measurement.
enum class MarkerVerdict : std::uint8_t {
    NotSeen,  ///< there was none
    Left,     ///< there may have been one; the solver was told to leave the marker out
    Believed, ///< it was used
    Doubted,  ///< it lies so far from where the body has it that it hardly counted
    Swapped,  ///< it was taken for that of another marker, whose label it carries
};

/// One marker of a solved body.
struct FittedMarker {
    Vector3d position; ///< where the body has it, in the unit of the measurement
    /// How far the measurement of that label is from there; not a number where there is none.
    double residual = std::numeric_limits<double>::quiet_NaN();
    MarkerVerdict verdict = MarkerVerdict::NotSeen;
    /// Where it was swapped: the marker whose measurement was taken in its place.
    std::size_t swappedWith = 0;
};

/// How well a solved body fits its markers, one entry per marker of the body, in its order. It is
/// the payload of frames of the data type `markerFitDataType`. A light value: copies share the
/// entries, which never change.
class TARN_KIT_EXPORT MarkerFit : public SharedArray<FittedMarker> {
public:
    using SharedArray::SharedArray;

    bool converged = false; ///< whether further steps would not have changed the body
    int iterations = 0;
    double seconds = 0; ///< that solving the frame took
};

/// The data type of frames whose payload is a `MarkerFit`.
inline constexpr int markerFitDataType = 6;

} // namespace tarn::kit
