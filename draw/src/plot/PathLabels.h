// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_draw/canvas/Canvas.h>

#include <vector>

namespace tarn::draw {

/// Labels the numbered points inside `area`, each label where it covers least of the points, of the
/// `path` they are on, and of the other labels. Points so close to each other that their numbers
/// would not fit share a label: "1-3, 8 (end)". The first point is the start, the last one the end.
void drawLabels(Canvas& canvas, const std::vector<Point>& points, const std::vector<Point>& path,
                const Box& area);

} // namespace tarn::draw
