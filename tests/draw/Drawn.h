// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "support/Images.h"

#include <tarn_draw/canvas/Picture.h>

#include <cmath>
#include <functional>
#include <utility>

namespace tarn::draw {

using tests::Image;
using tests::Patch;
using tests::Region;
using tests::Rgb;

// The colours of the first two performers.
inline constexpr Rgb firstColour{51, 33, 135};
inline constexpr Rgb secondColour{237, 148, 13};

/// The picture as a PNG file gives it back.
inline Image drawn(const Picture& picture) { return Image::ofPng(renderPng(picture)); }

inline Image drawn(int width, int height, std::function<void(Canvas&)> draw) {
    return drawn(
        Picture{static_cast<double>(width), static_cast<double>(height), "", "", std::move(draw)});
}

/// A colour as pixels have it.
inline Rgb pixelOf(const Colour& colour) {
    const auto part = [](double value) { return static_cast<int>(std::lround(value * 255)); };
    return {part(colour.red), part(colour.green), part(colour.blue)};
}

inline Region all(const Image& image) { return {0, 0, image.width(), image.height()}; }

} // namespace tarn::draw
