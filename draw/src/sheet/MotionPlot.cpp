// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_draw/sheet/MotionPlot.h>

#include "sheet/PageHead.h"
#include "sheet/SubjectFacts.h"
#include "sheet/SubjectMark.h"

#include <fmt/format.h>
#include <tarn_draw/plot/CurvePanel.h>
#include <tarn_draw/sheet/JointCurves.h>
#include <tarn_kit/files/Text.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string>

namespace tarn::draw {

namespace {

constexpr double nameHeight = 62;
constexpr double leftMargin = 110; // for the numbers and the name of the axis
constexpr double panelHeight = 250;
constexpr double panelGap = 22;
constexpr double timesHeight = 92;
constexpr double performerHeight = nameHeight + 2 * panelHeight + panelGap + timesHeight;

constexpr Font nameFont{26, true};
constexpr Font legendFont{18};

/// What the pages are about, and what bands in the plots mean.
std::string noteOf(const std::vector<Subject>& subjects) {
    const std::size_t frames = framesPerSpan(frameCountOf(subjects));
    const std::string facts = factsText(subjects);
    return frames == 1 ? facts
                       : fmt::format("{}; means of {} frames each, in front of bands from the "
                                     "least to the greatest value",
                                     facts, frames);
}

/// The content of all pages, which show one range of values, so that they can be compared.
class Plot {
public:
    explicit Plot(const std::vector<Subject>& subjects)
        : subjects_(subjects), facts_(noteOf(subjects)),
          frames_(std::max(frameCountOf(subjects), 1)), rate_(rateOf(subjects)) {
        for (const Subject& subject : subjects_) {
            curves_.push_back(jointCurvesOf(subject, frameCountOf(subjects_), rate_));
            include(curves_.back());
        }
        heights_ = heights_.widened();
        speeds_ = ValueRange{0, speeds_.widened().most};
    }

    double height(std::size_t page) const {
        return page::margin + page::headHeight +
               static_cast<double>(end(page) - begin(page)) * performerHeight + page::margin;
    }

    std::string description(std::size_t page) const {
        std::string text = factsOf(page);
        for (std::size_t i = begin(page); i < end(page); ++i) {
            text += fmt::format("\nPerformer {}: {}: height and speed of", i + 1,
                                kit::printable(subjects_[i].name));
            for (const TrackedJoint& joint : curves_[i].joints) {
                text.append(&joint == &curves_[i].joints.front() ? " " : ", ").append(joint.label);
            }
        }
        return text;
    }

    void draw(Canvas& canvas, std::size_t page) const {
        Point at{page::margin, page::margin};
        drawPageHead(canvas, at, namesText(subjects_), factsOf(page));
        at.y += page::headHeight;
        for (std::size_t i = begin(page); i < end(page); ++i) {
            drawSubject(canvas, at, i);
            at.y += performerHeight;
        }
    }

private:
    static std::size_t begin(std::size_t page) { return page * subjectsPerPlot; }
    std::size_t end(std::size_t page) const {
        return std::min(begin(page) + subjectsPerPlot, subjects_.size());
    }

    std::string factsOf(std::size_t page) const {
        const std::size_t pages = motionPlotCount(subjects_.size());
        return pages == 1 ? facts_
                          : fmt::format("{}; page {} of {}: performers {} to {}", facts_, page + 1,
                                        pages, begin(page) + 1, end(page));
    }

    void include(const JointCurves& curves) {
        for (const Curve& curve : curves.heights) {
            for (const double value : curve.values) {
                heights_.include(value);
            }
        }
        for (const Curve& curve : curves.speeds) {
            for (const double value : curve.values) {
                speeds_.include(value);
            }
        }
    }

    void drawSubject(Canvas& canvas, Point corner, std::size_t i) const {
        drawName(canvas, corner, i);
        const std::string unit = unitOf(subjects_).symbol;
        Box plot{corner.x + leftMargin, corner.y + nameHeight, page::contentWidth - leftMargin,
                 panelHeight};
        CurvePanel(curves_[i].heights, heights_, frames_, rate_)
            .draw(canvas, plot, fmt::format("height [{}]", unit));
        plot.y += panelHeight + panelGap;
        const CurvePanel speeds(curves_[i].speeds, speeds_, frames_, rate_);
        speeds.draw(canvas, plot, fmt::format("speed [{}/s]", unit));
        speeds.drawTimes(canvas, plot);
    }

    /// Draws who it is, and what the curves mean, from the right to the left.
    void drawName(Canvas& canvas, Point corner, std::size_t i) const {
        constexpr double radius = 16;
        constexpr double sampleLength = 44;
        constexpr double longestLabel = 180;
        const double base = corner.y + 34;
        double x = corner.x + page::contentWidth;
        const std::vector<TrackedJoint>& joints = curves_[i].joints;
        for (auto joint = joints.rbegin(); joint != joints.rend(); ++joint) {
            const std::string label = canvas.fitted(joint->label, legendFont, longestLabel);
            canvas.text({x, base}, label, legendFont, Align::right, colours::note);
            x -= canvas.textWidth(label, legendFont) + 12 + sampleLength;
            drawCurveSample(canvas, {x, base - 6}, sampleLength, joint->style);
            x -= 28;
        }
        drawSubjectDisc(canvas, {corner.x + radius, base - 9}, radius, i);
        const double nameStart = corner.x + 2 * radius + 14;
        canvas.text({nameStart, base}, canvas.fitted(subjects_[i].name, nameFont, x - nameStart),
                    nameFont, Align::left, colours::ink);
    }

    std::vector<Subject> subjects_;
    std::string facts_;
    int frames_;
    double rate_;
    std::vector<JointCurves> curves_;
    ValueRange heights_;
    ValueRange speeds_;
};

} // namespace

std::size_t motionPlotCount(std::size_t subjects) {
    return std::max<std::size_t>((subjects + subjectsPerPlot - 1) / subjectsPerPlot, 1);
}

std::vector<Picture> motionPlots(const std::vector<Subject>& subjects) {
    requireDrawable(subjects);
    const auto plot = std::make_shared<const Plot>(subjects);
    std::vector<Picture> pages;
    for (std::size_t page = 0; page < motionPlotCount(subjects.size()); ++page) {
        pages.push_back({page::width, plot->height(page), namesText(subjects),
                         plot->description(page),
                         [plot, page](Canvas& canvas) { plot->draw(canvas, page); }});
    }
    return pages;
}

} // namespace tarn::draw
