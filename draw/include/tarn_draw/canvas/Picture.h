// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_draw/Export.h>
#include <tarn_draw/canvas/Canvas.h>

#include <functional>
#include <string>

namespace tarn::draw {

/// Pictures wider or higher than so many pixels cannot be rendered.
inline constexpr int largestPictureSide = 32'767;

/// What is to be drawn, and how large it is, in pixels. Nothing is drawn before it is rendered;
/// then `draw` is called on the same thread, once for each rendering.
struct Picture {
    double width;
    double height;
    std::string title;       ///< one line of text
    std::string description; ///< more of it, for those who cannot see the picture
    std::function<void(Canvas&)> draw;
};

// Both draw on white and return the whole file. They throw `std::runtime_error` when the picture
// has no size, is larger than can be rendered, or drawing fails; and what `draw` throws. One
// picture is rendered at a time.

/// With the picture's size rounded to whole pixels.
TARN_DRAW_EXPORT std::string renderPng(const Picture& picture);
/// Text is drawn as shapes, so that it looks the same everywhere; title and description are text,
/// for searching and reading out.
TARN_DRAW_EXPORT std::string renderSvg(const Picture& picture);

/// Renders a picture in the format that the file's name ends in, ".png" or ".svg" in any case, and
/// writes it. What was there stays until the new file is complete. Throws `std::runtime_error` (a
/// `std::system_error` where the file cannot be written) with one line that names the file.
TARN_DRAW_EXPORT void savePicture(const Picture& picture, const std::string& file);

/// Frees at its end the fonts that rendering keeps for the next picture: for programs that draw
/// once and go on for long, or that are searched for leaks.
///
/// Precondition at the end: no picture is being rendered, and nothing else in the process uses
/// cairo or fontconfig, whose caches these are.
class TARN_DRAW_EXPORT ScopedFonts {
public:
    ScopedFonts() = default;
    ~ScopedFonts();
    ScopedFonts(const ScopedFonts&) = delete;
    ScopedFonts& operator=(const ScopedFonts&) = delete;
};

} // namespace tarn::draw
