// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_draw/canvas/Canvas.h>
#include <tarn_draw/sheet/Subject.h>

#include <cstddef>
#include <vector>

namespace tarn::draw {

// How subjects are told apart: by a colour and by a number, which counts from 1.

/// The colours of neighbours differ in lightness, too. After the last one the first one comes
/// again.
Colour subjectColour(std::size_t subject);

/// Writes the subject's number into something of this colour around `centre` that is `size`
/// pixels high; nothing if it would be too small to be read.
void drawSubjectNumber(Canvas& canvas, Point centre, double size, std::size_t subject);

/// A disc with the number in it.
void drawSubjectDisc(Canvas& canvas, Point centre, double radius, std::size_t subject);
/// A square with the number in it.
void drawSubjectSquare(Canvas& canvas, Point centre, double radius, std::size_t subject);

/// Who is who, in rows.
class SubjectLegend {
public:
    /// The subjects must outlive the legend.
    SubjectLegend(const std::vector<Subject>& subjects, double width);
    /// In pixels.
    double height() const;
    void draw(Canvas& canvas, Point corner) const;

private:
    const std::vector<Subject>& subjects_;
    double entryWidth_;
};

} // namespace tarn::draw
