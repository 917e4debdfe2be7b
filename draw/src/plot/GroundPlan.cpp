// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_draw/plot/GroundPlan.h>

#include "plot/ScaleBar.h"

#include <fmt/format.h>
#include <tarn_draw/figure/Camera.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace tarn::draw {

namespace {

constexpr double headingHeight = 56;
constexpr double leftMargin = 110;  // for the numbers and the name of the axis
constexpr double bottomMargin = 84; // likewise
constexpr double padding = 60;      // around the path, inside the plot
constexpr double lowestPlot = 280;
constexpr double highestPlot = 700;
constexpr double gridStep = 160; // pixels from line to line, at most

constexpr Font headingFont{26, true};
constexpr Font numberFont{16};
constexpr Font axisFont{18};

struct Range {
    double least = std::numeric_limits<double>::infinity();
    double most = -std::numeric_limits<double>::infinity();

    void include(float value) {
        least = std::min(least, static_cast<double>(value));
        most = std::max(most, static_cast<double>(value));
    }
    double middle() const { return most < least ? 0 : (least + most) / 2; }
    double span() const { return most < least ? 0 : most - least; }
};

/// Ways shorter than this are not blown up to fill the picture: the sway of a body that stands, and
/// steps that are due to single precision.
double shortestSpan(double bodyHeight, const Range& x, const Range& z) {
    constexpr double spanPerValue = 1e-4;
    const double farthest = std::max(std::abs(x.middle()), std::abs(z.middle()));
    const double shortest = std::max(bodyHeight / 4, farthest * spanPerValue);
    return shortest > 0 ? shortest : 1;
}

} // namespace

GroundPlan::GroundPlan(const std::vector<Vector3f>& positions, double bodyHeight,
                       kit::LengthUnit unit, double width, kit::UpAxis up)
    : unit_(std::move(unit)), width_(width), up_(up) {
    Range x;
    Range z;
    for (const Vector3f& at : positions) {
        if (isFinite(at)) {
            x.include(at.x);
            z.include(at.z);
        }
    }
    zToTheRight_ = z.span() > x.span();
    const Range& along = zToTheRight_ ? z : x;
    const Range& across = zToTheRight_ ? x : z;
    centre_ = {along.middle(), across.middle()};

    const double shortest = shortestSpan(bodyHeight, x, z);
    const double room = width_ - leftMargin - 2 * padding;
    const double widestScale = room / std::max(along.span(), shortest);
    plotHeight_ = std::clamp(across.span() * widestScale + 2 * padding, lowestPlot, highestPlot);
    scale_ = std::min(widestScale, (plotHeight_ - 2 * padding) / std::max(across.span(), shortest));
}

double GroundPlan::height() const { return headingHeight + plotHeight_ + bottomMargin; }

Box GroundPlan::plot(Point corner) const {
    return {corner.x + leftMargin, corner.y + headingHeight, width_ - leftMargin, plotHeight_};
}

GroundPlan::Place GroundPlan::placeOf(const Vector3f& position) const {
    const auto x = static_cast<double>(position.x);
    const auto z = static_cast<double>(position.z);
    return zToTheRight_ ? Place{z, x} : Place{x, z};
}

Point GroundPlan::pixel(const Box& plot, const Place& place) const {
    const double up = zToTheRight_ ? 1 : -1;
    return {plot.x + plot.width / 2 + (place.along - centre_.along) * scale_,
            plot.y + plot.height / 2 - up * (place.across - centre_.across) * scale_};
}

std::vector<Point> GroundPlan::pixels(const Box& plot,
                                      const std::vector<Vector3f>& positions) const {
    std::vector<Point> points;
    for (const Vector3f& position : positions) {
        if (isFinite(position)) {
            points.push_back(pixel(plot, placeOf(position)));
        }
    }
    return points;
}

void GroundPlan::draw(Canvas& canvas, Point corner, const std::string& heading) const {
    drawHeading(canvas, corner, heading);
    drawGrid(canvas, plot(corner));
    drawAxisNames(canvas, plot(corner));
}

void GroundPlan::drawFrame(Canvas& canvas, Point corner) const {
    canvas.outline(plot(corner), 1.5, colours::note);
}

void GroundPlan::drawHeading(Canvas& canvas, Point corner, const std::string& heading) const {
    const double base = corner.y + headingFont.size;
    const double room = width_ - 400;
    canvas.text({corner.x, base}, canvas.fitted(heading, headingFont, room), headingFont,
                Align::left, colours::ink);
    drawScaleBar(canvas, {corner.x + width_ - 10, base - 4}, 220, scale_, unit_);
}

void GroundPlan::drawGrid(Canvas& canvas, const Box& plot) const {
    const double step = roundLength(gridStep / scale_);
    const double alongReach = plot.width / 2 / scale_;
    for (const double value :
         multiplesOf(step, centre_.along - alongReach, centre_.along + alongReach)) {
        const double x = pixel(plot, {value, 0}).x;
        canvas.line({x, plot.y}, {x, plot.bottom()}, 1, colours::rule);
        canvas.text({x, plot.bottom() + 26}, fmt::format("{:.6g}", value), numberFont,
                    Align::centre, colours::note);
    }
    const double acrossReach = plot.height / 2 / scale_;
    for (const double value :
         multiplesOf(step, centre_.across - acrossReach, centre_.across + acrossReach)) {
        const double y = pixel(plot, {0, value}).y;
        canvas.line({plot.x, y}, {plot.right(), y}, 1, colours::rule);
        canvas.text({plot.x - 12, y + 6}, fmt::format("{:.6g}", value), numberFont, Align::right,
                    colours::note);
    }
}

void GroundPlan::drawAxisNames(Canvas& canvas, const Box& plot) const {
    // The axes of the drawing are those of the take, moved on so that the one that is up is Y.
    constexpr std::size_t x = 0;
    constexpr std::size_t z = 2;
    const std::size_t moved = static_cast<std::size_t>(up_) + 2;
    const auto nameOf = [&](std::size_t axis) {
        return fmt::format("{} [{}]", "XYZ"[(axis + moved) % 3], unit_.symbol);
    };
    canvas.text({plot.x + plot.width / 2, plot.bottom() + 58}, nameOf(zToTheRight_ ? z : x),
                axisFont, Align::centre, colours::ink);
    canvas.upwardText({plot.x - 84, plot.y + plot.height / 2}, nameOf(zToTheRight_ ? x : z),
                      axisFont, colours::ink);
}

std::vector<Point> withoutShortSteps(const std::vector<Point>& path, double shortest) {
    std::vector<Point> kept;
    for (const Point& point : path) {
        if (kept.empty() ||
            std::hypot(point.x - kept.back().x, point.y - kept.back().y) >= shortest) {
            kept.push_back(point);
        }
    }
    return kept;
}

} // namespace tarn::draw
