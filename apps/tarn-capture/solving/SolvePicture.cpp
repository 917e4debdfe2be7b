// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "solving/SolvePicture.h"

#include "solving/SolveFiles.h"

#include <fmt/format.h>
#include <tarn_draw/canvas/Colours.h>
#include <tarn_draw/figure/Camera.h>
#include <tarn_draw/figure/StickFigure.h>
#include <tarn_kit/body/ForwardKinematics.h>
#include <tarn_kit/body/Payload.h>
#include <tarn_kit/files/Text.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <string>
#include <vector>

namespace tarn::capture {

namespace {

constexpr double width = 1600, margin = 50;
constexpr double figureHeight = 480, rowHeight = 13, labelWidth = 90;
constexpr double titleHeight = 70, captionHeight = 34, legendHeight = 60;
constexpr std::size_t instants = 6;
constexpr double farthest = 30; ///< millimetres, from which on a residual has the last colour
constexpr draw::Colour notSeen{0.78, 0.82, 0.86};
constexpr draw::Font title{30, true}, note{17}, small{12};

/// A body at an instant, with its markers, as seen by the camera, in centimetres.
struct Figure {
    std::string caption;
    std::vector<draw::Seen> nodes, solved, measured;
    draw::Extent extent{};
};

/// From white over orange to dark red.
draw::Colour colourOf(double residual) {
    const double part = std::min(1.0, residual / farthest);
    const double first = std::min(1.0, 2 * part);
    const double second = std::max(0.0, 2 * part - 1);
    return {1 - 0.1 * first - 0.3 * second, 1 - 0.45 * first - 0.5 * second,
            1 - 0.85 * first - 0.1 * second};
}

void include(draw::Extent& extent, const draw::Seen& seen) {
    extent.left = std::min(extent.left, seen.right);
    extent.right = std::max(extent.right, seen.right);
    extent.bottom = std::min(extent.bottom, seen.up);
    extent.top = std::max(extent.top, seen.up);
}

/// The content of the page. It keeps all that it shows.
class Page {
public:
    Page(const MarkerTrial& trial, const SolvedTrial& solved, const kit::BvhTake& take)
        : heading_(fmt::format("{}: {} frames solved", kit::printable(trial.name()),
                               solved.frames.size())),
          stick_(*take.rig) {
        for (const kit::BodyMarker& marker : solved.body.markers) {
            names_.push_back(kit::printable(marker.name));
        }
        const double scale = 1000 * trial.metresPerUnit();
        for (const SolvedFrame& frame : solved.frames) {
            std::vector<float> row;
            for (const kit::FittedMarker& marker : frame.fit) {
                row.push_back(static_cast<float>(scale * marker.residual));
            }
            residuals_.push_back(std::move(row));
            numbers_.push_back(trial.numberOf(frame.index));
        }
        const std::size_t count = std::min(instants, solved.frames.size());
        for (std::size_t i = 0; i < count; ++i) {
            const std::size_t at = (2 * i + 1) * solved.frames.size() / (2 * count);
            addFigure(trial, solved, take, at);
        }
    }

    double height() const {
        return 2 * margin + titleHeight + figureHeight + captionHeight +
               rowHeight * static_cast<double>(names_.size()) + legendHeight;
    }

    void draw(draw::Canvas& canvas) const {
        canvas.text({margin, margin + title.size}, heading_, title, draw::Align::left,
                    draw::colours::ink);
        canvas.text({margin, margin + title.size + 28},
                    "rings: where markers were measured; dots: where the body has them", note,
                    draw::Align::left, draw::colours::note);
        drawFigures(canvas);
        drawResiduals(canvas);
    }

private:
    void addFigure(const MarkerTrial& trial, const SolvedTrial& solved, const kit::BvhTake& take,
                   std::size_t at) {
        const SolvedFrame& frame = solved.frames[at];
        const auto& pose = kit::payloadOf<kit::Pose>(
            take.tracks->getFrame(static_cast<int>(at), kit::poseDataType));
        const std::vector<Vector3f> nodes = kit::worldPositions(*take.rig, pose);
        const draw::Camera camera({0, 1});
        Figure figure;
        figure.caption = fmt::format("frame {}", numbers_[at]);
        figure.nodes = camera.see(nodes);
        // Markers are in the axes of the file: the hips are known in both.
        const kit::Quaterniond turn = uprightOf(solved);
        const double scale = 100 * trial.metresPerUnit();
        for (std::size_t m = 0; m < names_.size(); ++m) {
            const kit::FittedMarker& marker = frame.fit[m];
            figure.solved.push_back(camera.see(kit::toSingle(turn * (scale * marker.position))));
            const int column = solved.columns[m];
            if (column >= 0 && frame.measured[static_cast<std::size_t>(column)].hasPosition()) {
                const kit::Vector3d place =
                    kit::toDouble(frame.measured[static_cast<std::size_t>(column)].position);
                figure.measured.push_back(camera.see(kit::toSingle(turn * (scale * place))));
            }
        }
        figure.extent = stick_.extentOf(figure.nodes);
        for (const draw::Seen& seen : figure.solved) {
            include(figure.extent, seen);
        }
        figures_.push_back(std::move(figure));
    }

    /// All figures have one scale.
    void drawFigures(draw::Canvas& canvas) const {
        const double each =
            (width - 2 * margin) / std::max<double>(1, static_cast<double>(figures_.size()));
        double scale = 100;
        for (const Figure& figure : figures_) {
            scale = std::min(scale,
                             0.9 * each / std::max(1.0, figure.extent.right - figure.extent.left));
            scale = std::min(scale, 0.95 * figureHeight /
                                        std::max(1.0, figure.extent.top - figure.extent.bottom));
        }
        const double bottom = margin + titleHeight + figureHeight;
        for (std::size_t i = 0; i < figures_.size(); ++i) {
            const Figure& figure = figures_[i];
            const double middle = margin + each * (static_cast<double>(i) + 0.5);
            const double centre = (figure.extent.left + figure.extent.right) / 2;
            const auto place = [&](const draw::Seen& seen) {
                return draw::Point{middle + scale * (seen.right - centre),
                                   bottom - scale * (seen.up - figure.extent.bottom)};
            };
            stick_.draw(canvas, figure.nodes, scale, 3, place);
            for (const draw::Seen& seen : figure.measured) {
                canvas.disc(place(seen), 4.5, draw::colours::end);
                canvas.disc(place(seen), 3, draw::colours::white);
            }
            for (const draw::Seen& seen : figure.solved) {
                canvas.disc(place(seen), 1.8, draw::colours::ink);
            }
            canvas.text({middle, bottom + 24}, figure.caption, note, draw::Align::centre,
                        draw::colours::note);
        }
    }

    /// A row per marker; of several frames in one column, the worst.
    void drawResiduals(draw::Canvas& canvas) const {
        const double top = margin + titleHeight + figureHeight + captionHeight;
        const double left = margin + labelWidth;
        const double across = width - margin - left;
        const std::size_t columns =
            std::min(residuals_.size(), static_cast<std::size_t>(across / 2));
        for (std::size_t m = 0; m < names_.size(); ++m) {
            const double y = top + rowHeight * static_cast<double>(m);
            canvas.text({left - 8, y + rowHeight - 3}, names_[m], small, draw::Align::right,
                        draw::colours::ink);
            for (std::size_t c = 0; c < columns; ++c) {
                double worst = -1;
                for (std::size_t i = c * residuals_.size() / columns;
                     i < (c + 1) * residuals_.size() / columns; ++i) {
                    const auto residual = static_cast<double>(residuals_[i][m]);
                    worst = std::isfinite(residual) ? std::max(worst, residual) : worst;
                }
                const double step = across / static_cast<double>(columns);
                canvas.fill({left + step * static_cast<double>(c), y, step + 0.5, rowHeight - 1},
                            worst >= 0 ? colourOf(worst) : notSeen);
            }
        }
        const double bottom = top + rowHeight * static_cast<double>(names_.size());
        canvas.outline({left, top, across, bottom - top}, 1, draw::colours::rule);
        if (!numbers_.empty()) {
            canvas.text({left, bottom + 20}, fmt::format("frame {}", numbers_.front()), note,
                        draw::Align::left, draw::colours::note);
            canvas.text({left + across, bottom + 20}, std::to_string(numbers_.back()), note,
                        draw::Align::right, draw::colours::note);
        }
        for (int i = 0; i <= 6; ++i) {
            const double residual = farthest * i / 6;
            const double x = left + across / 2 - 200 + 60 * i;
            canvas.fill({x, bottom + 30, 60, 12}, colourOf(residual));
            canvas.text({x + 30, bottom + 24}, fmt::format("{:.0f}", residual), small,
                        draw::Align::centre, draw::colours::note);
        }
        canvas.text({left + across / 2 + 230, bottom + 41}, "mm off", small, draw::Align::left,
                    draw::colours::note);
        canvas.fill({left + across / 2 + 300, bottom + 30, 60, 12}, notSeen);
        canvas.text({left + across / 2 + 368, bottom + 41}, "not seen", small, draw::Align::left,
                    draw::colours::note);
    }

    std::string heading_;
    draw::StickFigure stick_;
    std::vector<std::string> names_;
    std::vector<std::int64_t> numbers_;
    std::vector<std::vector<float>> residuals_; ///< by frame and marker, in millimetres
    std::vector<Figure> figures_;
};

} // namespace

draw::Picture pictureOf(const MarkerTrial& trial, const SolvedTrial& solved,
                        const kit::BvhTake& take) {
    const auto page = std::make_shared<const Page>(trial, solved, take);
    return {width, page->height(), kit::printable(trial.name()),
            "A body solved from markers, and how far each marker is off over time",
            [page](draw::Canvas& canvas) { page->draw(canvas); }};
}

} // namespace tarn::capture
