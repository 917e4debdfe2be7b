// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Rotation.h>
#include <tarn_kit/Export.h>
#include <tarn_kit/body/Markers.h>
#include <tarn_kit/body/SharedArray.h>

namespace tarn::kit {

/// A body that does not bend, at one moment: where it is and how it is turned. By default it was
/// not seen.
struct RigidBody {
    Vector3f position = Marker().position; ///< not a number where it was not seen
    Quaternionf rotation{0, 0, 0, 1};      ///< from its own axes to the world's; of length 1
    float residual = 0;                    ///< how well it fits what was measured; 0 where unknown
    MarkerState state = MarkerState::NotSeen;

    /// Whether there is a position and a rotation.
    bool hasPosition() const noexcept { return state != MarkerState::NotSeen; }
};

/// All rigid bodies of a take at one moment, in the order in which whoever produces them names
/// them. It is the payload of frames of the data type `rigidBodyDataType`. A light value: copies
/// share the bodies, which never change.
class TARN_KIT_EXPORT RigidBodyFrame : public SharedArray<RigidBody> {
public:
    using SharedArray::SharedArray;
};

/// The data type of frames whose payload is a `RigidBodyFrame`.
inline constexpr int rigidBodyDataType = 5;

} // namespace tarn::kit
