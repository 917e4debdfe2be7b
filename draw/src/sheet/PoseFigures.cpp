// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "sheet/PoseFigures.h"

#include "plot/ScaleBar.h"
#include "sheet/SubjectFacts.h"
#include "sheet/SubjectMark.h"

#include <algorithm>
#include <cmath>
#include <string>

namespace tarn::draw {

namespace {

constexpr double headingHeight = 70;
constexpr double captionHeight = 84;
constexpr double tallestCell = 480;
constexpr double gap = 12; // between neighbouring cells
constexpr double thinnestLine = 2;
constexpr double widestLine = 6;

constexpr Font headingFont{26, true};
constexpr Font legendFont{18};

/// A part of a figure, and whose.
struct PartOf {
    StickFigure::Part part;
    std::size_t subject;
    double nearness() const { return part.from.near + part.to.near; }
};

std::vector<StickFigure> figuresOf(const std::vector<Subject>& subjects) {
    std::vector<StickFigure> figures;
    figures.reserve(subjects.size());
    for (const Subject& subject : subjects) {
        figures.emplace_back(*subject.rig);
    }
    return figures;
}

/// What the colours of one subject mean, from the right to the left.
void drawSideLegend(Canvas& canvas, Point rightEnd) {
    struct Entry {
        const char* text;
        Colour colour;
    };
    double x = rightEnd.x;
    for (const Entry& entry :
         {Entry{"root", colours::path}, Entry{"middle", colourOf(Side::centre)},
          Entry{"right limbs", colourOf(Side::right)}, Entry{"left limbs", colourOf(Side::left)}}) {
        canvas.text({x, rightEnd.y}, entry.text, legendFont, Align::right, colours::note);
        x -= canvas.textWidth(entry.text, legendFont) + 12;
        canvas.line({x - 24, rightEnd.y - 6}, {x, rightEnd.y - 6}, 6, entry.colour);
        x -= 54;
    }
}

} // namespace

PoseFigures::PoseFigures(const std::vector<Subject>& subjects, const PoseSummary& summary,
                         double width)
    : subjects_(subjects), summary_(summary), bodyHeight_(bodyHeightOf(subjects)),
      figures_(figuresOf(subjects)), view_(summary, figures_, bodyHeight_), width_(width) {
    constexpr double wide = 2.5; // times its height: too much so for four
    const PoseView::Reach& reach = view_.reach();
    cellsPerRow_ = reach.width > wide * (reach.top - reach.bottom) ? 2 : 4;
    scale_ = std::min((cellWidth() - gap) / reach.width, tallestCell / (reach.top - reach.bottom));
}

double PoseFigures::height() const {
    const std::size_t rows = (summary_.instants.size() + cellsPerRow_ - 1) / cellsPerRow_;
    return headingHeight + static_cast<double>(rows) * cell({0, 0}, 0).height;
}

double PoseFigures::cellWidth() const { return width_ / static_cast<double>(cellsPerRow_); }

Box PoseFigures::cell(Point corner, std::size_t i) const {
    const double height = (view_.reach().top - view_.reach().bottom) * scale_ + captionHeight;
    const std::size_t column = i % cellsPerRow_;
    const std::size_t row = i / cellsPerRow_;
    return {corner.x + static_cast<double>(column) * cellWidth(),
            corner.y + headingHeight + static_cast<double>(row) * height, cellWidth(), height};
}

PoseFigures::Place PoseFigures::placeIn(const Box& cell, std::size_t i) const {
    const Seen middle = view_.camera().see(view_.middle(i));
    const Point origin{cell.x + cell.width / 2, cell.y + view_.reach().top * scale_};
    return [scale = scale_, middle, origin](const Seen& at) {
        return Point{origin.x + (at.right - middle.right) * scale,
                     origin.y - (at.up - middle.up) * scale};
    };
}

void PoseFigures::draw(Canvas& canvas, Point corner) const {
    drawHeading(canvas, corner);
    for (std::size_t i = 0; i < summary_.instants.size(); ++i) {
        const Box box = cell(corner, i);
        drawFloor(canvas, box, i);
        drawBodies(canvas, placeIn(box, i), summary_.instants[i]);
        drawCaption(canvas, box, i);
    }
}

void PoseFigures::drawHeading(Canvas& canvas, Point corner) const {
    const Point base{corner.x, corner.y + headingFont.size};
    const char* const heading =
        summary_.instants.empty() ? "Poses: nobody is in any frame"
        : isOne()                 ? "Poses, three-quarter view, to one scale"
        : view_.follows()
            ? "Poses, seen from one side, to one scale, going along with the performers"
            : "Poses, seen from one place, to one scale";
    canvas.text(base, heading, headingFont, Align::left, colours::ink);
    if (summary_.instants.empty()) {
        return;
    }
    drawScaleBar(canvas, {corner.x + width_ - 10, base.y - 4}, 220, scale_, unitOf(subjects_));
    if (isOne()) {
        drawSideLegend(canvas, {corner.x + width_ - 260, base.y});
    }
}

void PoseFigures::drawFloor(Canvas& canvas, const Box& cell, std::size_t i) const {
    const Place place = placeIn(cell, i);
    const Seen middle = view_.levelCamera().see(view_.middle(i));
    const auto edge = [&](double near) {
        const Vector3f at = view_.levelCamera().placeAt(middle.right, near, summary_.ground);
        return place(view_.camera().see(at)).y;
    };
    const double far = edge(middle.near - view_.reach().depth / 2);
    const double near = edge(middle.near + view_.reach().depth / 2);
    const Box floor{cell.x + gap / 2, far, cell.width - gap, near - far};
    canvas.fill(floor, colours::floor);
    canvas.clipped(floor, [&] { drawTiles(canvas, place, view_.middle(i)); });
}

/// Draws the lines of a round length apart along X and Z, some of them outside the floor.
void PoseFigures::drawTiles(Canvas& canvas, const Place& place, const Vector3f& middle) const {
    const auto x = static_cast<double>(middle.x);
    const auto z = static_cast<double>(middle.z);
    const double reach = view_.reach().width + view_.reach().depth + cellWidth() / scale_;
    const double step = roundLength(
        std::max({bodyHeight_ / 3, reach / 20, std::abs(x) * 1e-6, std::abs(z) * 1e-6}));
    const auto drawLine = [&](double x1, double z1, double x2, double z2) {
        const auto at = [&](double atX, double atZ) {
            return place(
                view_.camera().see({static_cast<float>(atX), middle.y, static_cast<float>(atZ)}));
        };
        canvas.line(at(x1, z1), at(x2, z2), 1.5, colours::tile);
    };
    for (const double line : multiplesOf(step, x - reach, x + reach)) {
        drawLine(line, z - reach, line, z + reach);
    }
    for (const double line : multiplesOf(step, z - reach, z + reach)) {
        drawLine(x - reach, line, x + reach, line);
    }
}

void PoseFigures::drawBodies(Canvas& canvas, const Place& place, const PoseInstant& instant) const {
    const double lineWidth = bodyHeight_ > 0
                                 ? std::clamp(bodyHeight_ * scale_ / 25, thinnestLine, widestLine)
                                 : widestLine;
    if (isOne()) {
        const std::vector<Seen> nodes = view_.camera().see(instant.bodies.front());
        figures_.front().draw(canvas, nodes, scale_, lineWidth, place);
        return;
    }
    std::vector<PartOf> parts; // of all, since they may stand in front of each other
    for (std::size_t i = 0; i < figures_.size(); ++i) {
        if (instant.bodies[i].empty()) {
            continue;
        }
        const std::vector<Seen> nodes = view_.camera().see(instant.bodies[i]);
        for (const StickFigure::Part& part : figures_[i].partsOf(nodes)) {
            parts.push_back({part, i});
        }
        if (isFinite(instant.bodies[i].front())) { // there is more to see of most
            parts.push_back({{nodes.front(), nodes.front(), 0, Side::centre}, i});
        }
    }
    std::stable_sort(parts.begin(), parts.end(),
                     [](const PartOf& a, const PartOf& b) { return a.nearness() < b.nearness(); });
    for (const PartOf& part : parts) {
        const Point from = place(part.part.from);
        if (part.part.radius > 0) {
            drawSubjectDisc(canvas, from, part.part.radius * scale_, part.subject);
        } else {
            canvas.line(from, place(part.part.to), lineWidth, subjectColour(part.subject));
        }
    }
}

void PoseFigures::drawCaption(Canvas& canvas, const Box& cell, std::size_t i) const {
    const double middle = cell.x + cell.width / 2;
    const double top = cell.bottom() - captionHeight;
    canvas.text({middle, top + 32}, std::to_string(i + 1), {22, true}, Align::centre, colours::ink);
    canvas.text({middle, top + 56}, captionOf(summary_.instants[i]), {18}, Align::centre,
                colours::note);
}

} // namespace tarn::draw
