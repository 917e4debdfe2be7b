// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cairo.h>

#include <array>
#include <memory>
#include <string>

namespace tarn::tests {

using Rgb = std::array<int, 3>;

// The colours that pictures use.
inline constexpr Rgb leftColour{0, 115, 179};
inline constexpr Rgb rightColour{214, 94, 0};
inline constexpr Rgb pathColour{92, 97, 158};
inline constexpr Rgb noteColour{102, 110, 120};
inline constexpr Rgb startColour{0, 148, 107};
inline constexpr Rgb endColour{191, 26, 51};

/// Where a colour is: the box around all of its pixels, the last ones included.
struct Patch {
    int pixels = 0;
    int left = 0, right = 0, top = 0, bottom = 0;
    double middleX() const { return (left + right) / 2.0; }
    double middleY() const { return (top + bottom) / 2.0; }
};

/// A part of a picture, from the upper left pixel to just before the lower right one.
struct Region {
    int left, top, right, bottom;
};

/// A picture as a PNG file holds it.
class Image {
public:
    explicit Image(const std::string& file);
    /// From what a file contains.
    static Image ofPng(const std::string& content);

    /// Whether it could be read.
    bool valid() const;
    int width() const;
    int height() const;
    Rgb at(int x, int y) const;
    /// Whether all pixels of a region are white.
    bool isBlank(const Region& region) const;
    Patch find(const Rgb& colour, const Region& region) const;

private:
    explicit Image(cairo_surface_t* surface) : surface_(surface) {}

    struct Destroyer {
        void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
    };
    std::unique_ptr<cairo_surface_t, Destroyer> surface_;
};

} // namespace tarn::tests
