// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "drawing/GroupSheet.h"

#include "drawing/GroupFigures.h"
#include "drawing/GroupMotion.h"
#include "drawing/GroupPaths.h"
#include "drawing/Motion.h"
#include "drawing/PageHead.h"
#include "drawing/PerformerMark.h"

#include <fmt/format.h>

#include <cmath>
#include <memory>
#include <string>

namespace tarn::capture {

namespace {

constexpr double sectionGap = 30;
constexpr int instantCount = 8;

/// The content of the page. Not to be moved: its parts refer to each other.
class Sheet {
public:
    Sheet(const std::vector<Performance>& performances, int rate)
        : performances_(performances), facts_(factsText(performances, rate)),
          legend_(performances_, page::contentWidth),
          motion_(summarize(performances_, rate, instantCount)),
          figures_(performances_, motion_, page::contentWidth),
          paths_(performances_, motion_, page::contentWidth) {}
    Sheet(const Sheet&) = delete;
    Sheet& operator=(const Sheet&) = delete;
    ~Sheet() = default;

    double height() const {
        return page::margin + page::headHeight + legend_.height() + sectionGap + figures_.height() +
               sectionGap + paths_.height() + page::margin;
    }

    std::string description() const {
        std::string text = facts_;
        for (std::size_t i = 0; i < performances_.size(); ++i) {
            text += fmt::format("\nPerformer {}: {}", i + 1, performances_[i].name);
        }
        for (std::size_t i = 0; i < motion_.instants.size(); ++i) {
            const GroupInstant& instant = motion_.instants[i];
            text += fmt::format("\nPose {}: {}", i + 1,
                                captionOf({instant.frame, instant.seconds, {}}));
        }
        return text;
    }

    void draw(Canvas& canvas) const {
        Point at{page::margin, page::margin};
        drawPageHead(canvas, at, namesText(performances_), facts_);
        at.y += page::headHeight;
        legend_.draw(canvas, at);
        at.y += legend_.height() + sectionGap;
        figures_.draw(canvas, at);
        at.y += figures_.height() + sectionGap;
        paths_.draw(canvas, at);
    }

private:
    std::vector<Performance> performances_;
    std::string facts_;
    PerformerLegend legend_;
    GroupMotion motion_;
    GroupFigures figures_;
    GroupPaths paths_;
};

} // namespace

Picture groupSheet(const std::vector<Performance>& performances, int rate) {
    const auto sheet = std::make_shared<const Sheet>(performances, rate);
    return {page::width, std::ceil(sheet->height()), namesText(performances), sheet->description(),
            [sheet](Canvas& canvas) { sheet->draw(canvas); }};
}

} // namespace tarn::capture
