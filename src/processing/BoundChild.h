// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "core/TypedLinks.h"

namespace tarn {

/// Makes `child` the one child of its type that `object` works with: the one found so far goes. A
/// child that is bound already is removed and added again, so that listeners hear of every binding.
template <class T>
void bindChild(Object& object, T* child) {
    if (T* const current = typedChild<T>(object)) {
        object.removeChild(current);
    }
    object.addChild(child);
}

} // namespace tarn
