// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_draw/markers/MarkerSheet.h>

#include "markers/CloudFigures.h"
#include "markers/MarkerScene.h"
#include "markers/SightChart.h"
#include "sheet/PageHead.h"
#include "sheet/SubjectMark.h"

#include <fmt/format.h>
#include <tarn_draw/plot/GroundPlan.h>
#include <tarn_kit/files/Text.h>

#include <algorithm>
#include <cmath>
#include <memory>

namespace tarn::draw {

namespace {

constexpr double sectionGap = 30;
constexpr double noteLine = 28;
constexpr double legendLine = 34;
constexpr Font noteFont{17};
constexpr Font legendFont{18};

/// The frames whose places make up the paths: no more than can be drawn in no time.
std::vector<int> pathFrames(const MarkerScene& scene) {
    constexpr std::size_t mostPlaces = 60'000;
    const auto wanted = static_cast<int>(std::clamp<std::size_t>(
        mostPlaces / std::max<std::size_t>(1, scene.markerCount()), 2, 2000));
    return MarkerScene::someFrames(0, scene.frameCount() - 1, wanted);
}

/// One path per marker; what was not seen is passed over.
std::vector<std::vector<Vector3f>> pathsOf(const MarkerScene& scene) {
    std::vector<std::vector<Vector3f>> paths(scene.markerCount());
    for (const int frame : pathFrames(scene)) {
        const kit::MarkerFrame* const markers = scene.markersAt(frame);
        for (std::size_t i = 0; markers != nullptr && i < paths.size(); ++i) {
            if (const auto place = scene.placeOf(*markers, i)) {
                paths[i].push_back(*place);
            }
        }
    }
    return paths;
}

std::vector<Vector3f> allOf(const std::vector<std::vector<Vector3f>>& paths) {
    std::vector<Vector3f> all;
    for (const std::vector<Vector3f>& path : paths) {
        all.insert(all.end(), path.begin(), path.end());
    }
    return all;
}

std::string factsOf(const MarkerScene& scene) {
    const MarkerCloud& cloud = scene.cloud();
    std::string text = kit::counted(scene.markerCount(), "marker");
    if (scene.subjects().size() > 1) {
        text += fmt::format(" of {}", kit::counted(scene.subjects().size(), "subject"));
    } else if (!scene.subjects().empty() && !scene.subjects().front().empty()) {
        text += " of " + kit::printable(scene.subjects().front());
    }
    return text + fmt::format(", {} at {:.6g} per second, {:.2f} s",
                              kit::counted(static_cast<std::size_t>(scene.frameCount()), "frame"),
                              cloud.rate, scene.frameCount() / cloud.rate);
}

/// The content of the page. Not to be moved: its parts refer to each other.
class Sheet {
public:
    Sheet(const MarkerCloud& cloud, const std::vector<std::string>& notes)
        : scene_(cloud), notes_(notes), figures_(scene_, page::contentWidth),
          chart_(scene_, page::contentWidth), paths_(pathsOf(scene_)),
          plan_(allOf(paths_), 0, scene_.cloud().unit, page::contentWidth, scene_.cloud().up) {}
    Sheet(const Sheet&) = delete;
    Sheet& operator=(const Sheet&) = delete;
    ~Sheet() = default;

    double height() const {
        return page::margin + page::headHeight + legendHeight() + figures_.height() + sectionGap +
               chart_.height() + sectionGap + plan_.height() +
               static_cast<double>(notes_.size()) * noteLine + page::margin;
    }

    std::string title() const { return kit::printable(scene_.cloud().title); }

    std::string description() const {
        std::string text = factsOf(scene_) + "\n" + chart_.summary();
        for (std::size_t i = 0; i < figures_.frames().size(); ++i) {
            text += fmt::format("\nCloud {}: {}", i + 1, figures_.caption(figures_.frames()[i]));
        }
        for (const std::string& note : notes_) {
            text.append("\n").append(kit::printable(note));
        }
        return text;
    }

    void draw(Canvas& canvas) const {
        Point at{page::margin, page::margin};
        drawPageHead(canvas, at, title(), factsOf(scene_));
        at.y += page::headHeight;
        drawLegend(canvas, at);
        at.y += legendHeight();
        figures_.draw(canvas, at);
        at.y += figures_.height() + sectionGap;
        chart_.draw(canvas, at);
        at.y += chart_.height() + sectionGap;
        drawPaths(canvas, at);
        at.y += plan_.height();
        for (const std::string& note : notes_) {
            at.y += noteLine;
            canvas.text(at, canvas.fitted(kit::printable(note), noteFont, page::contentWidth),
                        noteFont, Align::left, colours::note);
        }
    }

private:
    static constexpr std::size_t legendColumns = 6;

    double legendHeight() const {
        const std::size_t count = scene_.subjects().size();
        const std::size_t rows = (count + legendColumns - 1) / legendColumns;
        return count < 2 ? 0 : static_cast<double>(rows) * legendLine;
    }

    void drawLegend(Canvas& canvas, Point corner) const {
        const double column = page::contentWidth / static_cast<double>(legendColumns);
        for (std::size_t i = 0; legendHeight() > 0 && i < scene_.subjects().size(); ++i) {
            const std::size_t row = i / legendColumns;
            const Point at{corner.x + static_cast<double>(i % legendColumns) * column,
                           corner.y + static_cast<double>(row) * legendLine + 20};
            canvas.disc({at.x + 8, at.y - 6}, 8, subjectColour(i));
            const std::string& name = scene_.subjects()[i];
            canvas.text({at.x + 26, at.y},
                        canvas.fitted(name.empty() ? "no subject" : kit::printable(name),
                                      legendFont, column - 40),
                        legendFont, Align::left, colours::note);
        }
    }

    void drawPaths(Canvas& canvas, Point corner) const {
        plan_.draw(canvas, corner, "Paths of the markers, seen from above");
        const Box plot = plan_.plot(corner);
        canvas.clipped(plot, [&] {
            for (std::size_t i = 0; i < paths_.size(); ++i) {
                canvas.polylineInPieces(withoutShortSteps(plan_.pixels(plot, paths_[i])), 1.5,
                                        scene_.trailOf(i));
            }
            for (std::size_t i = 0; i < paths_.size(); ++i) {
                if (!paths_[i].empty()) { // where it ends
                    canvas.disc(plan_.pixels(plot, {paths_[i].back()}).front(), 4,
                                scene_.colourOf(i));
                }
            }
        });
        plan_.drawFrame(canvas, corner);
    }

    MarkerScene scene_;
    std::vector<std::string> notes_;
    CloudFigures figures_;
    SightChart chart_;
    std::vector<std::vector<Vector3f>> paths_;
    GroundPlan plan_;
};

} // namespace

Picture markerSheet(const MarkerCloud& cloud, const std::vector<std::string>& notes) {
    const auto sheet = std::make_shared<const Sheet>(cloud, notes);
    return {page::width, std::ceil(sheet->height()), sheet->title(), sheet->description(),
            [sheet](Canvas& canvas) { sheet->draw(canvas); }};
}

} // namespace tarn::draw
