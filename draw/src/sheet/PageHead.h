// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_draw/canvas/Canvas.h>

#include <string>

namespace tarn::draw {

/// What all pages have in common, in pixels.
namespace page {
inline constexpr double width = 1800;
inline constexpr double margin = 60;
inline constexpr double contentWidth = width - 2 * margin;
inline constexpr double headHeight = 130;
} // namespace page

/// Draws a title, cut where it gets too long, and a line of facts below it.
void drawPageHead(Canvas& canvas, Point corner, const std::string& title, const std::string& facts);

} // namespace tarn::draw
