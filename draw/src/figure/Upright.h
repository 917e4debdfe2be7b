// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Rotation.h>
#include <tarn_kit/body/Space.h>

namespace tarn::draw {

/// Where a position of a world with the axis `up` upwards comes to lie in the world of drawings,
/// which has Y up: a turn, so that left stays left.
inline Vector3f upright(const Vector3f& at, kit::UpAxis up) {
    switch (up) {
    case kit::UpAxis::X:
        return {at.z, at.x, at.y};
    case kit::UpAxis::Z:
        return {at.y, at.z, at.x};
    case kit::UpAxis::Y:
        break;
    }
    return at;
}

} // namespace tarn::draw
