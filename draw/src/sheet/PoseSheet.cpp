// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_draw/sheet/PoseSheet.h>

#include "sheet/PageHead.h"
#include "sheet/PoseFigures.h"
#include "sheet/PoseSummary.h"
#include "sheet/RootPaths.h"
#include "sheet/SubjectFacts.h"
#include "sheet/SubjectMark.h"

#include <fmt/format.h>
#include <tarn_kit/files/Text.h>

#include <cmath>
#include <memory>

namespace tarn::draw {

namespace {

constexpr double sectionGap = 30;
constexpr double noteLine = 28;
constexpr int instantCount = 8;
constexpr Font noteFont{17};

/// The content of the page. Not to be moved: its parts refer to each other.
class Sheet {
public:
    Sheet(const std::vector<Subject>& subjects, const std::vector<std::string>& notes)
        : subjects_(subjects), notes_(notes), facts_(factsText(subjects_)),
          legend_(subjects_, page::contentWidth), summary_(summarize(subjects_, instantCount)),
          figures_(subjects_, summary_, page::contentWidth),
          paths_(subjects_, summary_, page::contentWidth) {}
    Sheet(const Sheet&) = delete;
    Sheet& operator=(const Sheet&) = delete;
    ~Sheet() = default;

    double height() const {
        return page::margin + page::headHeight + legendHeight() + figures_.height() + sectionGap +
               paths_.height() + static_cast<double>(notes_.size()) * noteLine + page::margin;
    }

    std::string description() const {
        std::string text = facts_;
        for (std::size_t i = 0; i < subjects_.size() && subjects_.size() > 1; ++i) {
            text += fmt::format("\nPerformer {}: {}", i + 1, kit::printable(subjects_[i].name));
        }
        for (std::size_t i = 0; i < summary_.instants.size(); ++i) {
            text += fmt::format("\nPose {}: {}", i + 1, captionOf(summary_.instants[i]));
        }
        for (const std::string& note : notes_) {
            text.append("\n").append(kit::printable(note));
        }
        return text;
    }

    void draw(Canvas& canvas) const {
        Point at{page::margin, page::margin};
        drawPageHead(canvas, at, namesText(subjects_), facts_);
        at.y += page::headHeight;
        if (legendHeight() > 0) {
            legend_.draw(canvas, at);
        }
        at.y += legendHeight();
        figures_.draw(canvas, at);
        at.y += figures_.height() + sectionGap;
        paths_.draw(canvas, at);
        at.y += paths_.height();
        for (const std::string& note : notes_) {
            at.y += noteLine;
            canvas.text(at, canvas.fitted(note, noteFont, page::contentWidth), noteFont,
                        Align::left, colours::note);
        }
    }

private:
    /// With the gap below it. The title says who the only one is.
    double legendHeight() const { return subjects_.size() < 2 ? 0 : legend_.height() + sectionGap; }

    std::vector<Subject> subjects_;
    std::vector<std::string> notes_;
    std::string facts_;
    SubjectLegend legend_;
    PoseSummary summary_;
    PoseFigures figures_;
    RootPaths paths_;
};

} // namespace

Picture poseSheet(const std::vector<Subject>& subjects, const std::vector<std::string>& notes) {
    requireDrawable(subjects);
    const auto sheet = std::make_shared<const Sheet>(subjects, notes);
    return {page::width, std::ceil(sheet->height()), namesText(subjects), sheet->description(),
            [sheet](Canvas& canvas) { sheet->draw(canvas); }};
}

} // namespace tarn::draw
