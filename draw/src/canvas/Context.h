// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_draw/canvas/Canvas.h>

#include <cairo.h>

namespace tarn::draw {

/// Where a canvas draws.
struct Canvas::PrivateData {
    cairo_t* context; ///< outlives the canvas
};

} // namespace tarn::draw
