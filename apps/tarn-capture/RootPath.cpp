#include "RootPath.h"

#include "Camera.h"
#include "PathLabels.h"
#include "ScaleBar.h"
#include "Text.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

namespace tarn::capture {

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

/// Steps shorter than this many pixels add nothing to a drawn path.
constexpr double shortestStep = 0.5;

std::vector<Point> thinned(const std::vector<Point>& points) {
    std::vector<Point> kept;
    for (const Point& point : points) {
        if (kept.empty() ||
            std::hypot(point.x - kept.back().x, point.y - kept.back().y) >= shortestStep) {
            kept.push_back(point);
        }
    }
    return kept;
}

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

RootPath::RootPath(const Take& take, const Motion& motion, double width)
    : take_(take), motion_(motion), width_(width) {
    Range x;
    Range z;
    for (const Vector3f& at : motion.rootPath) {
        if (isFinite(at)) {
            x.include(at.x);
            z.include(at.z);
        }
    }
    zToTheRight_ = z.span() > x.span();
    const Range& along = zToTheRight_ ? z : x;
    const Range& across = zToTheRight_ ? x : z;
    centre_ = {along.middle(), across.middle()};

    const double shortest = shortestSpan(take.bodyHeight(), x, z);
    const double room = width_ - leftMargin - 2 * padding;
    const double widestScale = room / std::max(along.span(), shortest);
    plotHeight_ = std::clamp(across.span() * widestScale + 2 * padding, lowestPlot, highestPlot);
    scale_ = std::min(widestScale, (plotHeight_ - 2 * padding) / std::max(across.span(), shortest));
}

double RootPath::height() const { return headingHeight + plotHeight_ + bottomMargin; }

RootPath::Place RootPath::placeOf(const Vector3f& position) const {
    const auto x = static_cast<double>(position.x);
    const auto z = static_cast<double>(position.z);
    return zToTheRight_ ? Place{z, x} : Place{x, z};
}

Point RootPath::pixel(const Box& plot, const Place& place) const {
    const double up = zToTheRight_ ? 1 : -1;
    return {plot.x + plot.width / 2 + (place.along - centre_.along) * scale_,
            plot.y + plot.height / 2 - up * (place.across - centre_.across) * scale_};
}

std::vector<Point> RootPath::pixels(const Box& plot, const std::vector<Vector3f>& positions) const {
    std::vector<Point> points;
    for (const Vector3f& position : positions) {
        if (isFinite(position)) {
            points.push_back(pixel(plot, placeOf(position)));
        }
    }
    return points;
}

std::vector<Point> RootPath::marks(const Box& plot) const {
    std::vector<Vector3f> positions;
    for (const Instant& instant : motion_.instants) {
        positions.push_back(instant.positions.front());
    }
    return pixels(plot, positions);
}

void RootPath::draw(Canvas& canvas, Point corner) const {
    const Box plot{corner.x + leftMargin, corner.y + headingHeight, width_ - leftMargin,
                   plotHeight_};
    drawHeading(canvas, corner);
    drawGrid(canvas, plot);
    drawAxisNames(canvas, plot);
    drawMarks(canvas, plot);
    canvas.outline(plot, 1.5, colours::note);
}

void RootPath::drawHeading(Canvas& canvas, Point corner) const {
    const double base = corner.y + headingFont.size;
    const std::string root = printable(take_.rig().nodes().front().name);
    const double room = width_ - 400;
    canvas.text({corner.x, base},
                canvas.fitted(fmt::format("Path of {}, seen from above", root), headingFont, room),
                headingFont, Align::left, colours::ink);
    drawScaleBar(canvas, {corner.x + width_ - 10, base - 4}, 220, scale_, take_.unit());
}

void RootPath::drawGrid(Canvas& canvas, const Box& plot) const {
    const double step = roundLength(gridStep / scale_);
    // As a function of the line's number, so that no error adds up.
    const auto eachLine = [step](double middle, double reach, const auto& drawLine) {
        const auto last = static_cast<std::int64_t>(std::floor((middle + reach) / step));
        for (auto i = static_cast<std::int64_t>(std::ceil((middle - reach) / step)); i <= last;
             ++i) {
            drawLine(static_cast<double>(i) * step);
        }
    };
    eachLine(centre_.along, plot.width / 2 / scale_, [&](double value) {
        const double x = pixel(plot, {value, 0}).x;
        canvas.line({x, plot.y}, {x, plot.bottom()}, 1, colours::rule);
        canvas.text({x, plot.bottom() + 26}, fmt::format("{:.6g}", value), numberFont,
                    Align::centre, colours::note);
    });
    eachLine(centre_.across, plot.height / 2 / scale_, [&](double value) {
        const double y = pixel(plot, {0, value}).y;
        canvas.line({plot.x, y}, {plot.right(), y}, 1, colours::rule);
        canvas.text({plot.x - 12, y + 6}, fmt::format("{:.6g}", value), numberFont, Align::right,
                    colours::note);
    });
}

void RootPath::drawAxisNames(Canvas& canvas, const Box& plot) const {
    const auto axisName = [this](char axis) {
        return fmt::format("{} [{}]", axis, take_.unit().symbol);
    };
    canvas.text({plot.x + plot.width / 2, plot.bottom() + 58}, axisName(zToTheRight_ ? 'Z' : 'X'),
                axisFont, Align::centre, colours::ink);
    canvas.upwardText({plot.x - 84, plot.y + plot.height / 2}, axisName(zToTheRight_ ? 'X' : 'Z'),
                      axisFont, colours::ink);
}

void RootPath::drawMarks(Canvas& canvas, const Box& plot) const {
    const std::vector<Point> path = thinned(pixels(plot, motion_.rootPath));
    const std::vector<Point> points = marks(plot);
    if (points.empty()) {
        return;
    }
    canvas.polyline(path, 3, colours::path);
    for (const Point& point : points) {
        canvas.disc(point, 6, colours::path);
        canvas.disc(point, 3.5, colours::white);
    }
    const Point& end = points.back();
    canvas.fill({end.x - 8, end.y - 8, 16, 16}, colours::end);
    canvas.disc(points.front(), 8, colours::start);
    drawLabels(canvas, points, path, plot);
}

} // namespace tarn::capture
