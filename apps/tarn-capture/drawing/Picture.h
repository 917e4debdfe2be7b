// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "drawing/Canvas.h"

#include <functional>
#include <string>

namespace tarn::capture {

/// What is to be drawn, and how large it is, in pixels.
struct Picture {
    double width;
    double height;
    std::string title;       ///< one line of printable text
    std::string description; ///< more of it
    std::function<void(Canvas&)> draw;
};

/// Frees at its end what the drawing libraries keep for the next picture: fonts, mostly.
class DrawingSession {
public:
    DrawingSession() = default;
    /// No picture is being drawn.
    ~DrawingSession();
    DrawingSession(const DrawingSession&) = delete;
    DrawingSession& operator=(const DrawingSession&) = delete;
};

// Both draw on white and return the whole file. Throw `std::runtime_error` when drawing fails.

std::string renderPng(const Picture& picture);
/// Text is drawn as shapes, so that it looks the same everywhere; title and description are text,
/// for searching and reading out.
std::string renderSvg(const Picture& picture);

} // namespace tarn::capture
