// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "drawing/MotionPlot.h"

#include "drawing/CurvePanel.h"
#include "drawing/JointCurves.h"
#include "drawing/PageHead.h"
#include "drawing/PerformerMark.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string>

namespace tarn::capture {

namespace {

constexpr double nameHeight = 62;
constexpr double leftMargin = 110; // for the numbers and the name of the axis
constexpr double panelHeight = 250;
constexpr double panelGap = 22;
constexpr double timesHeight = 92;
constexpr double performerHeight = nameHeight + 2 * panelHeight + panelGap + timesHeight;

constexpr Font nameFont{26, true};
constexpr Font legendFont{18};

/// What the page is about, and what bands in the plots mean.
std::string noteOf(const std::vector<Performance>& performances, int rate) {
    const std::size_t frames = framesPerSpan(frameCountOf(performances));
    const std::string facts = factsText(performances, rate);
    return frames == 1 ? facts
                       : fmt::format("{}; means of {} frames each, in front of bands from the "
                                     "least to the greatest value",
                                     facts, frames);
}

/// The content of the page.
class Plot {
public:
    Plot(const std::vector<Performance>& performances, int rate)
        : performances_(performances), facts_(noteOf(performances, rate)),
          frames_(std::max(frameCountOf(performances), 1)), rate_(rate) {
        for (const Performance& performance : performances_) {
            curves_.push_back(jointCurvesOf(performance, frameCountOf(performances_), rate));
            include(curves_.back());
        }
        heights_ = heights_.widened();
        speeds_ = ValueRange{0, speeds_.widened().most};
    }

    double height() const {
        return page::margin + page::headHeight +
               static_cast<double>(performances_.size()) * performerHeight + page::margin;
    }

    std::string description() const {
        std::string text = facts_;
        for (std::size_t i = 0; i < performances_.size(); ++i) {
            text += fmt::format("\nPerformer {}: {}: height and speed of", i + 1,
                                performances_[i].name);
            for (const TrackedJoint& joint : curves_[i].joints) {
                text.append(&joint == &curves_[i].joints.front() ? " " : ", ").append(joint.label);
            }
        }
        return text;
    }

    void draw(Canvas& canvas) const {
        Point at{page::margin, page::margin};
        drawPageHead(canvas, at, namesText(performances_), facts_);
        at.y += page::headHeight;
        for (std::size_t i = 0; i < performances_.size(); ++i) {
            drawPerformer(canvas, at, i);
            at.y += performerHeight;
        }
    }

private:
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

    void drawPerformer(Canvas& canvas, Point corner, std::size_t i) const {
        drawName(canvas, corner, i);
        const std::string unit = unitOf(performances_).symbol;
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
        drawPerformerDisc(canvas, {corner.x + radius, base - 9}, radius, i);
        const double nameStart = corner.x + 2 * radius + 14;
        canvas.text({nameStart, base},
                    canvas.fitted(performances_[i].name, nameFont, x - nameStart), nameFont,
                    Align::left, colours::ink);
    }

    std::vector<Performance> performances_;
    std::string facts_;
    int frames_;
    int rate_;
    std::vector<JointCurves> curves_;
    ValueRange heights_;
    ValueRange speeds_;
};

} // namespace

Picture motionPlot(const std::vector<Performance>& performances, int rate) {
    const auto plot = std::make_shared<const Plot>(performances, rate);
    return {page::width, plot->height(), namesText(performances), plot->description(),
            [plot](Canvas& canvas) { plot->draw(canvas); }};
}

} // namespace tarn::capture
