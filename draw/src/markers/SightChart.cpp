// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "markers/SightChart.h"

#include "plot/ScaleBar.h"

#include <fmt/format.h>
#include <tarn_kit/files/Text.h>

#include <algorithm>
#include <cmath>

namespace tarn::draw {

namespace {

constexpr std::size_t mostRows = 400;
constexpr double headingHeight = 50;
constexpr double axisHeight = 60;
constexpr double labelWidth = 220;
constexpr double shareWidth = 90;
constexpr Font headingFont{26, true};
constexpr Font axisFont{16};

} // namespace

SightChart::SightChart(const MarkerScene& scene, double width)
    : scene_(scene), width_(width), rows_(std::min(scene.markerCount(), mostRows)),
      rowHeight_(rows_ > 120 ? 12 : 20), runs_(scene.markerCount()), seen_(scene.markerCount()) {
    findRuns();
}

void SightChart::findRuns() {
    for (int frame = 0; frame < scene_.frameCount(); ++frame) {
        const kit::MarkerFrame* const markers = scene_.markersAt(frame);
        for (std::size_t i = 0; markers != nullptr && i < markers->size(); ++i) {
            const kit::MarkerState state = (*markers)[i].state;
            if (state == kit::MarkerState::NotSeen) {
                continue;
            }
            ++seen_[i];
            std::vector<Run>& runs = runs_[i];
            if (!runs.empty() && runs.back().last == frame - 1 && runs.back().state == state) {
                runs.back().last = frame;
            } else {
                runs.push_back({frame, frame, state});
            }
        }
    }
}

double SightChart::height() const {
    return headingHeight + static_cast<double>(rows_) * rowHeight_ + axisHeight;
}

std::string SightChart::summary() const {
    const auto whole =
        static_cast<std::size_t>(std::count(seen_.begin(), seen_.end(), scene_.frameCount()));
    return fmt::format("{} of {} seen in every frame", whole,
                       kit::counted(scene_.markerCount(), "marker"));
}

void SightChart::draw(Canvas& canvas, Point corner) const {
    std::string heading = "When each marker was seen: " + summary();
    if (rows_ < scene_.markerCount()) {
        heading += fmt::format("; the first {} are shown", rows_);
    }
    canvas.text({corner.x, corner.y + headingFont.size}, heading, headingFont, Align::left,
                colours::ink);
    const Box plot{corner.x + labelWidth, corner.y + headingHeight,
                   width_ - labelWidth - shareWidth, static_cast<double>(rows_) * rowHeight_};
    drawAxis(canvas, plot);
    for (std::size_t i = 0; i < rows_; ++i) {
        drawRow(canvas,
                {plot.x, plot.y + static_cast<double>(i) * rowHeight_, plot.width, rowHeight_}, i);
    }
}

void SightChart::drawRow(Canvas& canvas, const Box& row, std::size_t marker) const {
    const MarkerName& name = scene_.cloud().markers[marker];
    const Font font{rowHeight_ - 4};
    const double base = row.bottom() - 4;
    const std::string label = kit::printable(scene_.subjects().size() > 1 && !name.subject.empty()
                                                 ? name.subject + ":" + name.name
                                                 : name.name);
    canvas.text({row.x - 10, base}, canvas.fitted(label, font, labelWidth - 20), font, Align::right,
                colours::note);
    const double frames = scene_.frameCount();
    if (scene_.frameCount() == 0) {
        return;
    }
    double drawnTo = -1; // what is not wider than a pixel is drawn once
    for (const Run& run : runs_[marker]) {
        const double from = row.width * run.first / frames;
        const double to = row.width * (run.last + 1) / frames;
        if (std::ceil(to) <= drawnTo) {
            continue;
        }
        const bool filled = run.state == kit::MarkerState::Filled;
        canvas.fill({row.x + from, row.y + 3, std::max(to - from, 0.5), row.height - 6},
                    filled ? scene_.trailOf(marker) : scene_.colourOf(marker));
        drawnTo = std::ceil(to);
    }
    const double share = std::floor(1000.0 * seen_[marker] / frames) / 10; // 100 only if all
    canvas.text({row.right() + shareWidth - 10, base}, fmt::format("{:.1f} %", share), font,
                Align::right, colours::note);
}

void SightChart::drawAxis(Canvas& canvas, const Box& plot) const {
    const int frames = scene_.frameCount();
    canvas.outline(plot, 1, colours::rule);
    if (frames == 0) {
        return;
    }
    const auto first = static_cast<double>(scene_.cloud().firstFrame);
    const double step = std::max(1.0, roundLength(std::max(1.0, frames / 8.0)));
    for (const double number : multiplesOf(step, first, first + frames - 1)) {
        const double x = plot.x + plot.width * (number - first + 0.5) / frames;
        canvas.line({x, plot.y}, {x, plot.bottom() + 6}, 1, colours::rule);
        canvas.text({x, plot.bottom() + 24}, fmt::format("{:.0f}", number), axisFont, Align::centre,
                    colours::note);
    }
    canvas.text({plot.x + plot.width / 2, plot.bottom() + 46}, "frame", axisFont, Align::centre,
                colours::note);
}

} // namespace tarn::draw
