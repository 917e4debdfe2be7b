// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "markers/CloudFigures.h"

#include "plot/ScaleBar.h"
#include "sheet/Sampling.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace tarn::draw {

namespace {

constexpr int instantCount = 8;
constexpr std::size_t cellsPerRow = 4;
constexpr double headingHeight = 70;
constexpr double captionHeight = 64;
constexpr double tallestCell = 480;
constexpr double gap = 20;
constexpr double trailSeconds = 0.5;
constexpr double radius = 4;
constexpr Font headingFont{26, true};

/// Of a cloud: a value along each axis that as many are above as below.
Vector3f middle(const std::vector<Vector3f>& places) {
    std::vector<double> x;
    std::vector<double> y;
    std::vector<double> z;
    for (const Vector3f& place : places) {
        x.push_back(static_cast<double>(place.x));
        y.push_back(static_cast<double>(place.y));
        z.push_back(static_cast<double>(place.z));
    }
    const auto of = [](std::vector<double>& values) {
        return values.empty() ? 0.0F : static_cast<float>(median(values));
    };
    return {of(x), of(y), of(z)};
}

/// Where the cloud goes; along Z if that is not farther than it is high.
Heading headingOfClouds(const MarkerScene& scene, const std::vector<int>& frames) {
    std::vector<Vector3f> way;
    double height = 0;
    for (const int frame : frames) {
        const std::vector<Vector3f> places = scene.placesAt(frame);
        way.push_back(middle(places));
        const auto [lowest, highest] =
            std::minmax_element(places.begin(), places.end(),
                                [](const Vector3f& a, const Vector3f& b) { return a.y < b.y; });
        height = std::max(height, static_cast<double>(highest->y) - static_cast<double>(lowest->y));
    }
    return headingOf(way, height);
}

} // namespace

CloudFigures::CloudFigures(const MarkerScene& scene, double width)
    : scene_(scene), width_(width), frames_(chooseFrames()),
      camera_(headingOfClouds(scene, frames_), 10) {
    double reach = 0;
    for (const int frame : frames_) {
        const Seen centre = camera_.see(middle(scene_.placesAt(frame)));
        for (const Vector3f& place : scene_.placesAt(frame)) {
            const Seen at = camera_.see(place);
            reach = std::max(reach, std::abs(at.right - centre.right));
            top_ = std::max(top_, at.up - centre.up);
            bottom_ = std::max(bottom_, centre.up - at.up);
        }
    }
    const double cellWidth = width_ / static_cast<double>(cellsPerRow) - gap;
    if (reach > 0 || top_ + bottom_ > 0) {
        scale_ =
            std::min(reach > 0 ? cellWidth / (2 * reach) : tallestCell / (top_ + bottom_),
                     top_ + bottom_ > 0 ? tallestCell / (top_ + bottom_) : cellWidth / (2 * reach));
    }
}

std::vector<int> CloudFigures::chooseFrames() const {
    std::vector<int> frames;
    for (const int frame : MarkerScene::someFrames(0, scene_.frameCount() - 1, instantCount)) {
        if (!scene_.placesAt(frame).empty()) {
            frames.push_back(frame);
        }
    }
    return frames;
}

double CloudFigures::height() const {
    const std::size_t rows = (frames_.size() + cellsPerRow - 1) / cellsPerRow;
    return headingHeight +
           static_cast<double>(rows) * ((top_ + bottom_) * scale_ + gap + captionHeight);
}

std::string CloudFigures::caption(int frame) const {
    return fmt::format("frame {}, {:.2f} s", scene_.cloud().firstFrame + frame,
                       static_cast<double>(frame) / scene_.cloud().rate);
}

void CloudFigures::draw(Canvas& canvas, Point corner) const {
    const Point base{corner.x, corner.y + headingFont.size};
    canvas.text(base,
                frames_.empty() ? "Markers: none was seen in the frames looked at"
                                : "Markers, with the last half second of each, to one scale",
                headingFont, Align::left, colours::ink);
    if (frames_.empty()) {
        return;
    }
    if (top_ + bottom_ > 0) {
        drawScaleBar(canvas, {corner.x + width_ - 10, base.y - 4}, 220, scale_,
                     scene_.cloud().unit);
    }
    const double cellWidth = width_ / static_cast<double>(cellsPerRow);
    const double cellHeight = (top_ + bottom_) * scale_ + gap + captionHeight;
    for (std::size_t i = 0; i < frames_.size(); ++i) {
        const auto column = static_cast<double>(i % cellsPerRow);
        const std::size_t above = i / cellsPerRow;
        const auto row = static_cast<double>(above);
        drawCell(canvas,
                 {corner.x + column * cellWidth, corner.y + headingHeight + row * cellHeight,
                  cellWidth, cellHeight},
                 i);
    }
}

Point CloudFigures::pixel(const Box& cell, const Seen& at, const Seen& centre) const {
    return {cell.x + cell.width / 2 + (at.right - centre.right) * scale_,
            cell.y + gap / 2 + (top_ - (at.up - centre.up)) * scale_};
}

void CloudFigures::drawCell(Canvas& canvas, const Box& cell, std::size_t index) const {
    const int frame = frames_[index];
    const Seen centre = camera_.see(middle(scene_.placesAt(frame)));
    const Box inside{cell.x + gap / 4, cell.y, cell.width - gap / 2, cell.height - captionHeight};
    canvas.fill(inside, colours::floor);
    canvas.clipped(inside, [&] { drawTrails(canvas, cell, frame, centre); });
    const kit::MarkerFrame& markers = *scene_.markersAt(frame);
    std::vector<std::size_t> order;
    for (std::size_t i = 0; i < scene_.markerCount(); ++i) {
        if (scene_.placeOf(markers, i)) {
            order.push_back(i);
        }
    }
    const auto seen = [&](std::size_t marker) {
        return camera_.see(*scene_.placeOf(markers, marker));
    };
    std::stable_sort(order.begin(), order.end(),
                     [&](std::size_t a, std::size_t b) { return seen(a).near < seen(b).near; });
    for (const std::size_t marker : order) {
        const Point at = pixel(cell, seen(marker), centre);
        canvas.disc(at, radius + 1, colours::floor);
        canvas.disc(at, radius, scene_.colourOf(marker));
    }
    const double x = cell.x + cell.width / 2;
    const double y = cell.bottom() - captionHeight;
    canvas.text({x, y + 26}, std::to_string(index + 1), {22, true}, Align::centre, colours::ink);
    canvas.text({x, y + 50}, caption(frame), {18}, Align::centre, colours::note);
}

void CloudFigures::drawTrails(Canvas& canvas, const Box& cell, int frame,
                              const Seen& centre) const {
    const double length = std::min(trailSeconds * scene_.cloud().rate, 1e6);
    const int first = std::max(0, frame - static_cast<int>(std::ceil(length)));
    constexpr int mostSteps = 60;
    const std::vector<int> frames = MarkerScene::someFrames(first, frame, mostSteps);
    for (std::size_t marker = 0; marker < scene_.markerCount(); ++marker) {
        std::vector<Point> trail;
        const auto drawTrail = [&] {
            if (trail.size() > 1) {
                canvas.polylineInPieces(trail, 2, scene_.trailOf(marker));
            }
            trail.clear();
        };
        for (const int one : frames) {
            const kit::MarkerFrame* const markers = scene_.markersAt(one);
            const auto place = markers == nullptr ? std::nullopt : scene_.placeOf(*markers, marker);
            if (place) {
                trail.push_back(pixel(cell, camera_.see(*place), centre));
            } else {
                drawTrail(); // nobody knows where it was
            }
        }
        drawTrail();
    }
}

} // namespace tarn::draw
