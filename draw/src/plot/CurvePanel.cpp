// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_draw/plot/CurvePanel.h>

#include "plot/ScaleBar.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace tarn::draw {

namespace {

constexpr double signStep = 240; // pixels from sign to sign
constexpr Font numberFont{16};
constexpr Font axisFont{18};

constexpr std::size_t mostFrames = 2000; // that are drawn one by one
constexpr std::size_t mostSpans = 500;   // that more frames are drawn as

/// What is drawn of some frames at once. Not numbers if there is no value.
struct Span {
    double frame; ///< the middle one, which need not be a whole number
    double least, mean, most;
};

Span spanOf(const std::vector<double>& values, std::size_t first, std::size_t last) {
    ValueRange range;
    double sum = 0;
    int count = 0;
    for (std::size_t i = first; i < last; ++i) {
        if (std::isfinite(values[i])) {
            range.include(values[i]);
            sum += values[i];
            ++count;
        }
    }
    const double middle = (static_cast<double>(first) + static_cast<double>(last - 1)) / 2;
    return {middle, range.least, sum / count, range.most}; // 0 / 0 is not a number
}

std::vector<Span> spansOf(const std::vector<double>& values, std::size_t framesPerSpan) {
    std::vector<Span> spans;
    for (std::size_t i = 0; i < values.size(); i += framesPerSpan) {
        spans.push_back(spanOf(values, i, std::min(i + framesPerSpan, values.size())));
    }
    return spans;
}

/// The spans between the gaps.
std::vector<std::vector<Span>> runsOf(const std::vector<Span>& spans) {
    std::vector<std::vector<Span>> runs(1);
    for (const Span& span : spans) {
        if (std::isfinite(span.mean)) {
            runs.back().push_back(span);
        } else if (!runs.back().empty()) {
            runs.emplace_back();
        }
    }
    return runs;
}

Colour pale(const Colour& colour) {
    const auto mixed = [](double part) { return 1 - (1 - part) * 0.3; };
    return {mixed(colour.red), mixed(colour.green), mixed(colour.blue)};
}

void drawSign(Canvas& canvas, Point at, const CurveStyle& style) {
    const auto square = [at](double half) {
        return Box{at.x - half, at.y - half, 2 * half, 2 * half};
    };
    switch (style.sign) {
    case CurveSign::disc:
        canvas.disc(at, 8, colours::white);
        canvas.disc(at, 6, style.colour);
        break;
    case CurveSign::ring:
        canvas.disc(at, 8.5, colours::white);
        canvas.disc(at, 6.5, style.colour);
        canvas.disc(at, 3.5, colours::white);
        break;
    case CurveSign::square:
        canvas.fill(square(7.5), colours::white);
        canvas.fill(square(5.5), style.colour);
        break;
    case CurveSign::frame:
        canvas.fill(square(8), colours::white);
        canvas.fill(square(6), style.colour);
        canvas.fill(square(3.2), colours::white);
        break;
    case CurveSign::none:
        break;
    }
}

} // namespace

CurvePanel::CurvePanel(const std::vector<Curve>& curves, const ValueRange& range, int frames,
                       double rate)
    : curves_(curves), range_(range), frames_(frames), rate_(rate) {}

double CurvePanel::lastSecond() const {
    return static_cast<double>(std::max(frames_ - 1, 1)) / rate_;
}

Point CurvePanel::pixel(const Box& plot, double seconds, double value) const {
    return {plot.x + seconds / lastSecond() * plot.width,
            plot.bottom() - (value - range_.least) / (range_.most - range_.least) * plot.height};
}

void CurvePanel::draw(Canvas& canvas, const Box& plot, const std::string& axisName) const {
    canvas.upwardText({plot.x - 84, plot.y + plot.height / 2}, axisName, axisFont, colours::ink);
    drawGrid(canvas, plot);
    // Root and head, which move least, last.
    for (auto curve = curves_.rbegin(); curve != curves_.rend(); ++curve) {
        drawBands(canvas, plot, *curve);
    }
    for (auto curve = curves_.rbegin(); curve != curves_.rend(); ++curve) {
        drawLines(canvas, plot, *curve);
    }
    double start = signStep / 4;
    for (const Curve& curve : curves_) {
        drawSigns(canvas, plot, curve, start);
        start += signStep / static_cast<double>(curves_.size());
    }
    canvas.outline(plot, 1.5, colours::note);
}

void CurvePanel::drawGrid(Canvas& canvas, const Box& plot) const {
    const double step = roundLength((range_.most - range_.least) / 3);
    for (const double value : multiplesOf(step, range_.least, range_.most)) {
        const double y = pixel(plot, 0, value).y;
        canvas.line({plot.x, y}, {plot.right(), y}, 1, colours::rule);
        canvas.text({plot.x - 12, y + 6}, fmt::format("{:.6g}", value), numberFont, Align::right,
                    colours::note);
    }
    for (const double seconds : multiplesOf(roundLength(lastSecond() / 8), 0, lastSecond())) {
        const double x = pixel(plot, seconds, 0).x;
        canvas.line({x, plot.y}, {x, plot.bottom()}, 1, colours::rule);
    }
}

void CurvePanel::drawTimes(Canvas& canvas, const Box& plot) const {
    for (const double seconds : multiplesOf(roundLength(lastSecond() / 8), 0, lastSecond())) {
        canvas.text({pixel(plot, seconds, 0).x, plot.bottom() + 26}, fmt::format("{:.6g}", seconds),
                    numberFont, Align::centre, colours::note);
    }
    canvas.text({plot.x + plot.width / 2, plot.bottom() + 54}, "time [s]", axisFont, Align::centre,
                colours::ink);
}

void CurvePanel::drawBands(Canvas& canvas, const Box& plot, const Curve& curve) const {
    if (framesPerSpan(frames_) == 1) {
        return;
    }
    for (const std::vector<Span>& run : runsOf(spansOf(curve.values, framesPerSpan(frames_)))) {
        std::vector<Point> outline;
        outline.reserve(2 * run.size());
        for (const Span& span : run) {
            outline.push_back(pixel(plot, span.frame / rate_, span.most));
        }
        for (auto span = run.rbegin(); span != run.rend(); ++span) {
            outline.push_back(pixel(plot, span->frame / rate_, span->least));
        }
        canvas.polygon(outline, pale(curve.style.colour));
    }
}

void CurvePanel::drawLines(Canvas& canvas, const Box& plot, const Curve& curve) const {
    for (const std::vector<Span>& run : runsOf(spansOf(curve.values, framesPerSpan(frames_)))) {
        std::vector<Point> points;
        points.reserve(run.size());
        for (const Span& span : run) {
            points.push_back(pixel(plot, span.frame / rate_, span.mean));
        }
        if (points.size() == 1) {
            canvas.disc(points.front(), curve.style.width, curve.style.colour);
        }
        canvas.polylineInPieces(points, curve.style.width, curve.style.colour);
    }
}

/// Draws signs at regular distances, where the curve has a value, the first one `start` pixels from
/// the left.
void CurvePanel::drawSigns(Canvas& canvas, const Box& plot, const Curve& curve,
                           double start) const {
    const std::size_t spanLength = framesPerSpan(frames_);
    const std::vector<Span> spans = spansOf(curve.values, spanLength);
    const auto count = static_cast<int>((plot.width - start) / signStep);
    for (int sign = 0; sign <= count; ++sign) {
        const double seconds = (start + sign * signStep) / plot.width * lastSecond();
        const std::size_t i = static_cast<std::size_t>(std::lround(seconds * rate_)) / spanLength;
        if (i < spans.size() && std::isfinite(spans[i].mean)) {
            drawSign(canvas, pixel(plot, spans[i].frame / rate_, spans[i].mean), curve.style);
        }
    }
}

std::size_t framesPerSpan(int frames) {
    const auto count = static_cast<std::size_t>(std::max(frames, 1));
    return count <= mostFrames ? 1 : 1 + (count - 1) / mostSpans;
}

void drawCurveSample(Canvas& canvas, Point left, double length, const CurveStyle& style) {
    canvas.line(left, {left.x + length, left.y}, style.width, style.colour);
    drawSign(canvas, {left.x + length / 2, left.y}, style);
}

} // namespace tarn::draw
