// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "drawing/Canvas.h"
#include "drawing/Performance.h"

#include <cstddef>
#include <vector>

namespace tarn::capture {

// How performers are told apart: by a colour and by a number, which counts from 1.

/// The colours of neighbours differ in lightness, too. After the last one the first one comes
/// again.
Colour performerColour(std::size_t performer);

/// Writes the performer's number into something of this colour around `centre` that is `size`
/// pixels high; nothing if it would be too small to be read.
void drawPerformerNumber(Canvas& canvas, Point centre, double size, std::size_t performer);

/// A disc with the number in it.
void drawPerformerDisc(Canvas& canvas, Point centre, double radius, std::size_t performer);
/// A square with the number in it.
void drawPerformerSquare(Canvas& canvas, Point centre, double radius, std::size_t performer);

/// Who is who, in rows.
class PerformerLegend {
public:
    /// The performances must outlive the legend.
    PerformerLegend(const std::vector<Performance>& performances, double width);
    /// In pixels.
    double height() const;
    void draw(Canvas& canvas, Point corner) const;

private:
    const std::vector<Performance>& performances_;
    double entryWidth_;
};

} // namespace tarn::capture
