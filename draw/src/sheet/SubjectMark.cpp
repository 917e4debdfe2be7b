// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "sheet/SubjectMark.h"

#include <algorithm>
#include <array>
#include <string>

namespace tarn::draw {

namespace {

constexpr std::array<Colour, 8> subjectColours{{{0.20, 0.13, 0.53},
                                                {0.93, 0.58, 0.05},
                                                {0.07, 0.47, 0.20},
                                                {0.45, 0.75, 0.90},
                                                {0.53, 0.13, 0.33},
                                                {0.27, 0.67, 0.60},
                                                {0.35, 0.35, 0.37},
                                                {0.88, 0.52, 0.62}}};

constexpr std::size_t entriesPerRow = 4;
constexpr double rowHeight = 40;
constexpr Font nameFont{22, true};

Colour textColourOn(const Colour& colour) {
    const double lightness = 0.3 * colour.red + 0.6 * colour.green + 0.1 * colour.blue;
    return lightness < 0.5 ? colours::white : colours::ink;
}

} // namespace

Colour subjectColour(std::size_t subject) {
    return subjectColours.at(subject % subjectColours.size());
}

void drawSubjectNumber(Canvas& canvas, Point centre, double size, std::size_t subject) {
    const std::string number = std::to_string(subject + 1);
    const double digits = static_cast<double>(std::max<std::size_t>(number.size(), 2)) / 2;
    const Font font{0.65 * size / digits, true};
    constexpr double smallest = 9;
    if (font.size >= smallest) {
        canvas.text({centre.x, centre.y + 0.36 * font.size}, number, font, Align::centre,
                    textColourOn(subjectColour(subject)));
    }
}

void drawSubjectDisc(Canvas& canvas, Point centre, double radius, std::size_t subject) {
    canvas.disc(centre, radius + 2, colours::white);
    canvas.disc(centre, radius, subjectColour(subject));
    drawSubjectNumber(canvas, centre, 2 * radius, subject);
}

void drawSubjectSquare(Canvas& canvas, Point centre, double radius, std::size_t subject) {
    const auto square = [centre](double half) {
        return Box{centre.x - half, centre.y - half, 2 * half, 2 * half};
    };
    canvas.fill(square(radius + 2), colours::white);
    canvas.fill(square(radius), subjectColour(subject));
    drawSubjectNumber(canvas, centre, 2 * radius, subject);
}

SubjectLegend::SubjectLegend(const std::vector<Subject>& subjects, double width)
    : subjects_(subjects), entryWidth_(width / entriesPerRow) {}

double SubjectLegend::height() const {
    const std::size_t rows = (subjects_.size() + entriesPerRow - 1) / entriesPerRow;
    return static_cast<double>(rows) * rowHeight;
}

void SubjectLegend::draw(Canvas& canvas, Point corner) const {
    constexpr double radius = 15;
    constexpr double nameStart = 2 * radius + 12;
    for (std::size_t i = 0; i < subjects_.size(); ++i) {
        const std::size_t column = i % entriesPerRow;
        const std::size_t row = i / entriesPerRow;
        const Point left{corner.x + static_cast<double>(column) * entryWidth_,
                         corner.y + (static_cast<double>(row) + 0.5) * rowHeight};
        drawSubjectDisc(canvas, {left.x + radius, left.y}, radius, i);
        canvas.text({left.x + nameStart, left.y + 8},
                    canvas.fitted(subjects_[i].name, nameFont, entryWidth_ - nameStart - 24),
                    nameFont, Align::left, colours::ink);
    }
}

} // namespace tarn::draw
