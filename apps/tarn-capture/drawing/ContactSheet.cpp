// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "drawing/ContactSheet.h"

#include "drawing/FigureGrid.h"
#include "drawing/Motion.h"
#include "drawing/PageHead.h"
#include "drawing/RootPath.h"

#include <fmt/format.h>
#include <tarn_kit/files/Text.h>

#include <memory>
#include <string>

namespace tarn::capture {

namespace {

using page::contentWidth;
using page::margin;

constexpr double sectionGap = 30;
constexpr double footLine = 28;
constexpr int instantCount = 8;
constexpr const char* guessPrefix = "Guessed: ";

constexpr Font footFont{17};

std::string factsOf(const Take& take) {
    const auto joints = static_cast<std::size_t>(take.rig().jointCount());
    return fmt::format("{} at {} per second, {:.3f} s; {}; body height {}",
                       kit::counted(static_cast<std::size_t>(take.frameCount()), "frame"),
                       take.rate(), take.duration(), kit::counted(joints, "joint"),
                       kit::lengthText(take.bodyHeight(), take.unit()));
}

/// The content of the page. Not to be moved: its parts refer to each other.
class Sheet {
public:
    Sheet(const Take& take, const std::vector<ShownFrame>& shown)
        : title_(take.name()), facts_(factsOf(take)), guesses_(take.guesses()),
          motion_(summarize(take, shown, instantCount)), figures_(take, motion_, contentWidth),
          path_(take, motion_, contentWidth) {}
    Sheet(const Sheet&) = delete;
    Sheet& operator=(const Sheet&) = delete;
    ~Sheet() = default;

    double height() const {
        return margin + page::headHeight + figures_.height() + sectionGap + path_.height() +
               static_cast<double>(guesses_.size()) * footLine + margin;
    }

    std::string description() const {
        std::string text = facts_;
        for (std::size_t i = 0; i < motion_.instants.size(); ++i) {
            text += fmt::format("\nPose {}: {}", i + 1, captionOf(motion_.instants[i]));
        }
        for (const std::string& guess : guesses_) {
            text.append("\n").append(guessPrefix).append(guess);
        }
        return text;
    }

    void draw(Canvas& canvas) const {
        Point at{margin, margin};
        drawPageHead(canvas, at, title_, facts_);
        at.y += page::headHeight;
        figures_.draw(canvas, at);
        at.y += figures_.height() + sectionGap;
        path_.draw(canvas, at);
        at.y += path_.height();
        drawGuesses(canvas, at);
    }

private:
    void drawGuesses(Canvas& canvas, Point at) const {
        for (const std::string& guess : guesses_) {
            at.y += footLine;
            canvas.text(at, guessPrefix + guess, footFont, Align::left, colours::note);
        }
    }

    std::string title_;
    std::string facts_;
    std::vector<std::string> guesses_;
    Motion motion_;
    FigureGrid figures_;
    RootPath path_;
};

} // namespace

Picture contactSheet(const Take& take, const std::vector<ShownFrame>& shown) {
    const auto sheet = std::make_shared<const Sheet>(take, shown);
    return {page::width, sheet->height(), take.name(), sheet->description(),
            [sheet](Canvas& canvas) { sheet->draw(canvas); }};
}

} // namespace tarn::capture
