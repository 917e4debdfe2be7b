// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "files/c3d/layout/C3dLayout.h"

#include "files/c3d/layout/C3dReading.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <string>

namespace tarn::kit {

namespace {

namespace header = c3d_header;

/// Settles what the statements of a file disagree about, one thing after the other.
class Settler {
public:
    Settler(std::string_view bytes, std::uint64_t fileSize, const C3dSection& section,
            C3dJudge& judge)
        : said_(bytes, fileSize, section), judge_(judge) {
        layout_.processor = section.processor;
        layout_.fileSize = fileSize;
    }

    C3dLayout settle() {
        settleRate();
        settleBodies();
        read();
        report();
        limitToFile();
        settleFirstFrame();
        settleFormat();
        return layout_;
    }

private:
    void contradict(const C3dStatement& statement, double believed, const std::string& reason) {
        judge_.contradict({statement.place, statement.offset, numberText(statement.value),
                           numberText(believed), reason, true});
    }

    C3dRoom room() const { return {said_, layout_.bodies > 0 ? layout_.bodiesStart : 0}; }

    void read() {
        candidates_ = candidatesFor(said_, layout_.rate);
        reading_ = chooseReading(candidates_, said_, room(), layout_.rate);
        layout_.points = reading_.points;
        layout_.channels = reading_.channels;
        layout_.samplesPerFrame = reading_.samplesPerFrame;
        layout_.dataStart = reading_.dataStart;
        layout_.real = reading_.real;
        if (reading_.counted && candidates_.frames.statements.empty()) {
            judge_.contradict({"POINT:FRAMES", said_.section().start, "no number of frames",
                               numberText(reading_.frames), "the file holds as many", true});
        }
    }

    void settleRate() {
        const C3dStatement inHeader = said_.statedReal(header::rate);
        const auto parameter = said_.stated("POINT", "RATE");
        // A positive number that no recording has as its rate counts only where there is no better.
        const bool isBetterInHeader =
            parameter && !isPlausibleRate(parameter->value) && isPlausibleRate(inHeader.value);
        if (parameter && isUsable(parameter->value) && !isBetterInHeader) {
            layout_.rate = parameter->value;
        } else if (isUsable(inHeader.value)) {
            layout_.rate = inHeader.value;
        } else {
            settleRateOfChannels();
        }
        const auto differs = [this](double value) {
            return !(std::abs(value - layout_.rate) <= layout_.rate * 1e-6);
        };
        if (parameter && differs(parameter->value)) {
            contradict(*parameter, layout_.rate,
                       isUsable(parameter->value) ? "no recording has such a rate"
                                                  : "a rate is a positive number");
        }
        if (differs(inHeader.value)) {
            contradict(inHeader, layout_.rate,
                       parameter && isUsable(inHeader.value)
                           ? "parameters are believed before the header"
                           : "a rate is a positive number");
        }
    }

    /// Where only channels were recorded, their rate may be the only one that is stated.
    void settleRateOfChannels() {
        const auto rate = said_.stated("ANALOG", "RATE");
        const double samples = said_.header().word(header::samplesPerFrame);
        if (rate && isUsable(rate->value) && samples > 0) {
            layout_.rate = rate->value / samples;
        }
    }

    /// Rigid bodies lie apart from the other data.
    void settleBodies() {
        const auto used = said_.stated("ROTATION", "USED");
        const auto start = said_.stated("ROTATION", "DATA_START");
        if (!used || !start || !isUsable(used->value) || used->value > c3dMostOfAnything) {
            return;
        }
        layout_.bodies = static_cast<std::uint64_t>(used->value);
        layout_.bodiesStart =
            static_cast<std::uint64_t>(std::max(start->value - 1, 0.0)) * c3dBlock;
        const auto ratio = said_.stated("ROTATION", "RATIO");
        const auto rate = said_.stated("ROTATION", "RATE");
        double perFrame = 1;
        if (ratio && isUsable(ratio->value)) {
            perFrame = ratio->value;
            const double believed = layout_.rate * perFrame;
            if (rate && !(std::abs(rate->value - believed) <= believed * 1e-4)) {
                contradict(*rate, believed, "ROTATION:RATIO is believed before it");
            }
        } else if (rate && isUsable(rate->value)) {
            perFrame = rate->value / layout_.rate;
        }
        layout_.bodiesPerFrame =
            static_cast<std::uint64_t>(std::clamp(std::rint(perFrame), 1.0, 65535.0));
        if (layout_.bodiesStart < c3dBlock || layout_.bodiesStart >= said_.fileSize()) {
            contradict(*start, 0, "the file has no such block; the rigid bodies are left out");
            layout_.bodies = 0;
        }
    }

    /// Says what was stated otherwise than it is believed.
    void report() {
        const std::string reason = reading_.fills
                                       ? "with that the data fills the file"
                                       : "the more and the more trusted statements say so";
        reportChoice(candidates_.points, static_cast<double>(layout_.points), reason);
        for (const C3dStatement& one : candidates_.frames.statements) {
            // What 16 bits can say of a longer take is no contradiction.
            const bool cut =
                (reading_.frames > one.value && isSaturated(said_.header(), one.value)) ||
                (reading_.frames > 65535 && one.value <= 65535 &&
                 (one.value == std::fmod(reading_.frames, 65536) ||
                  said_.header().word(header::lastFrame) == 65535));
            if (one.value != reading_.frames && !cut) {
                contradict(one, reading_.frames, reason);
            } else if (one.value != reading_.frames) {
                judge_.note({one.place, one.offset, numberText(one.value),
                             numberText(reading_.frames), "16 bits hold no more"});
            }
        }
        const std::uint64_t number = layout_.dataStart / c3dBlock + 1;
        const auto block = static_cast<double>(number);
        reportChoice(candidates_.starts, block, reason);
        for (const C3dStatement& one : candidates_.badStarts) {
            contradict(one, block, "data cannot start there");
        }
        reportAnalog(reason);
        reportScales();
    }

    void reportChoice(const C3dChoice& choice, double believed, const std::string& reason) {
        for (const C3dStatement& one : choice.statements) {
            if (one.value != believed) {
                contradict(one, believed, reason);
            } else {
                judge_.note({one.place, one.offset, numberText(one.value), numberText(believed),
                             "nothing speaks against it"});
            }
        }
    }

    void reportAnalog(const std::string& reason) {
        const auto channels = static_cast<double>(layout_.channels);
        const auto samples = static_cast<double>(layout_.samplesPerFrame);
        const auto expect = [&](const std::optional<C3dStatement>& one, double believed) {
            if (one && one->value != believed) {
                contradict(*one, believed, reason);
            }
        };
        expect(said_.stated("ANALOG", "USED"), channels);
        expect(said_.statedWord(header::analogPerFrame), channels * samples);
        if (channels == 0) {
            return; // without channels nobody keeps the rest in order
        }
        expect(said_.statedWord(header::samplesPerFrame), samples);
        const auto rate = said_.stated("ANALOG", "RATE");
        const double believed = layout_.rate * samples;
        if (rate && !(std::abs(rate->value - believed) <= believed * 1e-4)) {
            contradict(*rate, believed,
                       "there are " + numberText(samples) + " samples to each frame");
        }
    }

    void reportScales() {
        const double sign = layout_.real ? -1 : 1;
        layout_.scale = candidates_.scales.empty() ? 1 : std::abs(candidates_.scales.front().value);
        for (auto one = candidates_.scales.rbegin(); one != candidates_.scales.rend(); ++one) {
            if ((one->value < 0) == layout_.real) {
                layout_.scale = std::abs(one->value);
            }
        }
        for (const C3dStatement& one : candidates_.scales) {
            if (one.value != sign * layout_.scale) {
                contradict(one, sign * layout_.scale,
                           (one.value < 0) == layout_.real
                               ? "parameters are believed before the header"
                               : "negative scales are those of reals, and the data fills the file "
                                 "only as it is believed");
            }
        }
        for (const C3dStatement& one : candidates_.badScales) {
            contradict(one, sign * layout_.scale, "no number is scaled with that");
        }
    }

    /// Leaves out what the file does not hold.
    void limitToFile() {
        const std::uint64_t limit = room().limitFrom(layout_.dataStart);
        const std::uint64_t room = limit > layout_.dataStart ? limit - layout_.dataStart : 0;
        const std::uint64_t size = layout_.frameBytes();
        const auto wanted = static_cast<std::uint64_t>(reading_.frames);
        limitBodies(wanted);
        std::uint64_t held = size == 0 ? layout_.bodyFrames : room / size;
        held =
            std::min<std::uint64_t>(held, std::numeric_limits<int>::max() /
                                              std::max<std::uint64_t>(1, layout_.samplesPerFrame));
        layout_.frames = std::min(wanted, held);
        if (size > 0 && layout_.frames < wanted) {
            judge_.contradict({"the size of the file", limit,
                               numberText(reading_.frames) + " frames",
                               std::to_string(layout_.frames), "the file holds no more", true});
        } else if (size > 0 && room - layout_.frames * size >= 2 * c3dBlock) {
            judge_.contradict(
                {"the size of the file", layout_.dataEnd(),
                 std::to_string(room - layout_.frames * size) + " bytes behind the data",
                 "that they are no data", "no statement covers them", true});
        }
        layout_.bodyFrames = std::min(layout_.bodyFrames, layout_.frames);
    }

    void limitBodies(std::uint64_t wanted) {
        const std::uint64_t size = layout_.bodyFrameBytes();
        if (size == 0) {
            return;
        }
        const bool dataFollows =
            layout_.dataStart > layout_.bodiesStart && layout_.frameBytes() > 0;
        const std::uint64_t limit = dataFollows ? layout_.dataStart : said_.fileSize();
        const std::uint64_t held = (limit - layout_.bodiesStart) / size;
        layout_.bodyFrames =
            std::min({wanted, held, std::numeric_limits<int>::max() / layout_.bodiesPerFrame});
        if (layout_.bodyFrames < wanted) {
            judge_.contradict(
                {"ROTATION:DATA_START", limit, numberText(reading_.frames) + " frames",
                 std::to_string(layout_.bodyFrames), "the file holds no more rigid bodies", true});
        }
    }

    void settleFirstFrame() {
        const C3dStatement inHeader = said_.statedWord(header::firstFrame);
        layout_.firstFrame = said_.header().word(header::firstFrame);
        const auto first = said_.longNumber("ACTUAL_START_FIELD");
        const auto last = said_.longNumber("ACTUAL_END_FIELD");
        if (!first) {
            return;
        }
        const auto isInLine = [&](double number) {
            return last && *last - number + 1 == reading_.frames;
        };
        const bool inLine = isInLine(*first);
        // The header has 16 bits of it, or as many as fit; those that it lacks can be wrong.
        const bool fits = std::fmod(*first, 65536) == inHeader.value ||
                          (*first > 65535 && inHeader.value == 65535);
        const bool same = *first == inHeader.value || (fits && !isInLine(inHeader.value));
        if (std::abs(*first) < 1e12 && (same || inLine)) {
            layout_.firstFrame = static_cast<std::int64_t>(*first);
        }
        if (same) {
            return;
        }
        const auto believed = static_cast<double>(layout_.firstFrame);
        if (inLine) {
            contradict(inHeader, believed, "TRIAL:ACTUAL_START_FIELD fits the number of frames");
        } else {
            contradict({*first, "TRIAL:ACTUAL_START_FIELD",
                        said_.section().parameters.find("TRIAL", "ACTUAL_START_FIELD")->offset},
                       believed, "it does not fit the number of frames");
        }
    }

    void settleFormat() {
        const C3dParameter* const format = said_.section().parameters.find("ANALOG", "FORMAT");
        std::string text = format == nullptr ? std::string() : format->text();
        std::transform(text.begin(), text.end(), text.begin(), [](char c) {
            return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
        });
        layout_.unsignedAnalog = text.substr(0, 8) == "UNSIGNED";
    }

    C3dStatements said_;
    C3dJudge& judge_;
    C3dCandidates candidates_;
    C3dReading reading_;
    C3dLayout layout_;
};

} // namespace

C3dLayout settleLayout(std::string_view bytes, std::uint64_t fileSize, const C3dSection& section,
                       C3dJudge& judge) {
    return Settler(bytes, fileSize, section, judge).settle();
}

} // namespace tarn::kit
