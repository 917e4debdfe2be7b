// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "support/Images.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace tarn::tests {

namespace {

bool isNearly(const Rgb& a, const Rgb& b) {
    constexpr int rounding = 2;
    return std::abs(a[0] - b[0]) <= rounding && std::abs(a[1] - b[1]) <= rounding &&
           std::abs(a[2] - b[2]) <= rounding;
}

} // namespace

Image::Image(const std::string& file)
    : surface_(cairo_image_surface_create_from_png(file.c_str())) {}

Image Image::ofPng(const std::string& content) {
    struct Rest {
        const char* data;
        std::size_t size;
    } rest{content.data(), content.size()};
    const auto read = [](void* closure, unsigned char* data, unsigned length) {
        auto& from = *static_cast<Rest*>(closure);
        if (from.size < length) {
            return CAIRO_STATUS_READ_ERROR;
        }
        std::memcpy(data, from.data, length);
        from.data += length;
        from.size -= length;
        return CAIRO_STATUS_SUCCESS;
    };
    return Image(cairo_image_surface_create_from_png_stream(read, &rest));
}

bool Image::valid() const { return cairo_surface_status(surface_.get()) == CAIRO_STATUS_SUCCESS; }

int Image::width() const { return cairo_image_surface_get_width(surface_.get()); }

int Image::height() const { return cairo_image_surface_get_height(surface_.get()); }

Rgb Image::at(int x, int y) const {
    const unsigned char* const data = cairo_image_surface_get_data(surface_.get());
    const std::ptrdiff_t stride = cairo_image_surface_get_stride(surface_.get());
    std::uint32_t pixel = 0;
    std::memcpy(&pixel, data + stride * y + std::ptrdiff_t{4} * x, sizeof pixel);
    return {static_cast<int>((pixel >> 16U) & 0xFFU), static_cast<int>((pixel >> 8U) & 0xFFU),
            static_cast<int>(pixel & 0xFFU)};
}

bool Image::isBlank(const Region& region) const {
    constexpr Rgb white{255, 255, 255};
    return find(white, region).pixels ==
           (region.right - region.left) * (region.bottom - region.top);
}

Patch Image::find(const Rgb& colour, const Region& region) const {
    Patch patch;
    for (int y = region.top; y < region.bottom; ++y) {
        for (int x = region.left; x < region.right; ++x) {
            if (isNearly(at(x, y), colour)) {
                patch.left = patch.pixels == 0 ? x : std::min(patch.left, x);
                patch.right = patch.pixels == 0 ? x : std::max(patch.right, x);
                patch.top = patch.pixels == 0 ? y : patch.top;
                patch.bottom = y;
                ++patch.pixels;
            }
        }
    }
    return patch;
}

} // namespace tarn::tests
