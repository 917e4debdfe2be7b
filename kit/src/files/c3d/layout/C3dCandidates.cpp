// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "files/c3d/layout/C3dCandidates.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <optional>

namespace tarn::kit {

namespace {

namespace header = c3d_header;

class Collector {
public:
    Collector(const C3dStatements& said, double rate) : said_(said), rate_(rate) {}

    C3dCandidates collect() {
        found_.labels = said_.section().parameters.texts("POINT", "LABELS").size();
        found_.analogLabels = said_.section().parameters.texts("ANALOG", "LABELS").size();
        found_.analogScales = said_.section().parameters.numbers("ANALOG", "SCALE").size();
        addStated(found_.points, "POINT", "USED");
        found_.points.add(said_.statedWord(header::points));
        collectAnalog();
        collectFrames();
        collectStarts();
        collectReals();
        return found_;
    }

private:
    void addStated(C3dChoice& choice, const char* group, const char* name) {
        if (const auto statement = said_.stated(group, name)) {
            choice.add(*statement);
        }
    }

    void collectAnalog() {
        const double perFrame = said_.header().word(header::analogPerFrame);
        const double samples = said_.header().word(header::samplesPerFrame);
        const auto used = said_.stated("ANALOG", "USED");
        const auto rate = said_.stated("ANALOG", "RATE");
        const double ratio = rate && isUsable(rate->value) ? std::rint(rate->value / rate_) : 0;
        if (used && used->value <= c3dMostOfAnything) {
            const double channels = used->value;
            if (channels == 0) {
                addAnalog(0, 0);
            } else {
                addAnalogIf(channels * samples == perFrame, channels, samples);
                addAnalog(channels, ratio);
                addAnalogIf(std::fmod(perFrame, channels) == 0, channels, perFrame / channels);
                addAnalog(channels, samples);
            }
        }
        if (perFrame == 0) {
            addAnalog(0, 0);
        } else if (samples > 0 && std::fmod(perFrame, samples) == 0) {
            addAnalog(perFrame / samples, samples);
        } else {
            addAnalogIf(found_.analog.empty(), perFrame, 1);
        }
        if (!used) {
            addAnalog(0, 0); // the header is alone with its channels
        }
    }

    void addAnalogIf(bool condition, double channels, double samples) {
        if (condition) {
            addAnalog(channels, samples);
        }
    }

    void addAnalog(double channels, double samples) {
        const C3dAnalogShape shape{channels, samples};
        const bool complete = (channels == 0) == (samples == 0) && samples <= 65535;
        if (complete &&
            std::find(found_.analog.begin(), found_.analog.end(), shape) == found_.analog.end()) {
            found_.analog.push_back(shape);
        }
    }

    void collectFrames() {
        const auto first = said_.longNumber("ACTUAL_START_FIELD");
        const auto last = said_.longNumber("ACTUAL_END_FIELD");
        if (first && last && *last >= *first) {
            const C3dParameter* const end =
                said_.section().parameters.find("TRIAL", "ACTUAL_END_FIELD");
            found_.frames.add({*last - *first + 1, "TRIAL:ACTUAL_END_FIELD", end->offset});
        }
        addFrames(said_.stated("POINT", "LONG_FRAMES"));
        addFrames(said_.stated("POINT", "FRAMES"));
        const int begin = said_.header().word(header::firstFrame);
        const int end = said_.header().word(header::lastFrame);
        // A first frame that 16 bits cannot hold says nothing.
        const bool says = (begin != 0 || end != 0) && begin != 65535;
        if (says) {
            // A last frame before the first one has been counted over 65,535.
            const int count = end - begin + 1;
            C3dStatement inHeader = said_.statedWord(header::lastFrame);
            inHeader.value = static_cast<double>(count < 0 ? count + 65536 : count);
            found_.frames.add(inHeader);
        }
        const auto otherFirst = said_.longNumber("ACTUAL_START_FIELD", true);
        const auto otherLast = said_.longNumber("ACTUAL_END_FIELD", true);
        if (otherFirst && otherLast && *otherLast >= *otherFirst) {
            found_.frames.addValue(*otherLast - *otherFirst + 1);
        }
        if (found_.frames.values.empty()) {
            found_.frames.addValue(0); // what the file holds will count
        }
    }

    void addFrames(std::optional<C3dStatement> statement) {
        if (statement && std::isfinite(statement->value)) {
            statement->value = std::rint(statement->value);
            found_.frames.add(*statement);
        }
    }

    void collectStarts() {
        std::vector<C3dStatement> all;
        if (const auto parameter = said_.stated("POINT", "DATA_START")) {
            all.push_back(*parameter);
        }
        all.push_back(said_.statedWord(header::dataStart));
        for (const C3dStatement& one : all) {
            const double at = (one.value - 1) * static_cast<double>(c3dBlock);
            const bool inside =
                at >= static_cast<double>(c3dBlock) && at <= static_cast<double>(said_.fileSize());
            const bool inParameters = at >= static_cast<double>(said_.section().start) &&
                                      at < static_cast<double>(said_.section().end);
            if (inside && !inParameters) {
                found_.starts.add(one);
            } else {
                found_.badStarts.push_back(one);
            }
        }
        if (found_.starts.values.empty()) {
            const std::uint64_t end = std::max(said_.section().end, c3dBlock);
            const std::uint64_t block = (end + c3dBlock - 1) / c3dBlock + 1;
            // Room may be left in the section, or its last records may not be legible.
            const std::uint64_t behind = said_.section().start / c3dBlock +
                                         static_cast<std::uint64_t>(said_.section().statedBlocks) +
                                         1;
            if (behind > block && (behind - 1) * c3dBlock < said_.fileSize()) {
                found_.starts.addValue(static_cast<double>(behind));
            }
            found_.starts.addValue(static_cast<double>(block));
        }
    }

    void collectReals() {
        const std::optional<C3dStatement> inHeader = said_.statedReal(header::scale);
        auto parameter = said_.stated("POINT", "SCALE");
        if (parameter) { // with its sign, also if it is a whole number
            parameter->value = said_.section().parameters.find("POINT", "SCALE")->number();
        }
        // A number that no recording is scaled with counts only where there is no better.
        const bool isAnyPlausible =
            isPlausibleScale(inHeader->value) || (parameter && isPlausibleScale(parameter->value));
        for (const auto& statement : {parameter, inHeader}) {
            const bool isOne = statement && std::isfinite(statement->value) &&
                               statement->value != 0 &&
                               (isPlausibleScale(statement->value) || !isAnyPlausible);
            if (isOne) {
                found_.scales.push_back(*statement);
                found_.reals.addValue(statement->value < 0 ? 1 : 0);
            } else if (statement) {
                found_.badScales.push_back(*statement);
            }
        }
        if (found_.reals.values.empty()) {
            found_.reals.addValue(1);
            found_.reals.addValue(0);
        }
    }

    const C3dStatements& said_;
    double rate_;
    C3dCandidates found_;
};

} // namespace

C3dCandidates candidatesFor(const C3dStatements& said, double rate) {
    return Collector(said, rate).collect();
}

} // namespace tarn::kit
