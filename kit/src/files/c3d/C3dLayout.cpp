// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "files/c3d/C3dLayout.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <optional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace tarn::kit {

namespace {

namespace header = c3d_header;

constexpr std::array<C3dProcessor, 3> processors = {C3dProcessor::Intel, C3dProcessor::Mips,
                                                    C3dProcessor::Dec};

/// More than this no file holds, and products of such numbers still fit 64 bits.
constexpr double mostOfAnything = 1 << 24;

bool isPlausibleRate(double rate) { return rate > 1e-3 && rate < 1e6; }

/// Of either sign, as it tells reals from integers.
bool isPlausibleScale(double scale) { return std::abs(scale) > 1e-6 && std::abs(scale) < 1e4; }

bool isUsable(double number) { return std::isfinite(number) && number > 0; }

/// Something that is stated somewhere.
struct Statement {
    double value;
    std::string place;
    std::uint64_t offset;
};

std::string wordPlace(int word) { return "header word " + std::to_string(word); }

/// Reads the header, in the order of bytes of a processor.
class HeaderReader {
public:
    HeaderReader(std::string_view bytes, C3dProcessor processor)
        : bytes_(bytes), processor_(processor) {}

    std::uint16_t word(int number) const {
        return wordAt(&bytes_[header::offsetOf(number)], processor_);
    }
    double real(int number) const {
        return static_cast<double>(realAt(&bytes_[header::offsetOf(number)], processor_));
    }
    Statement statedWord(int number) const {
        return {static_cast<double>(word(number)), wordPlace(number), header::offsetOf(number)};
    }
    Statement statedReal(int number) const {
        return {real(number), wordPlace(number), header::offsetOf(number)};
    }

private:
    std::string_view bytes_;
    C3dProcessor processor_;
};

// Finding the parameters.

std::uint64_t statedSection(std::string_view bytes) {
    const std::uint64_t block = byteAt(bytes.data());
    return block == 0 ? 0 : (block - 1) * c3dBlock;
}

/// The first block with something like parameters; 0 without one.
std::uint64_t searchedSection(std::string_view bytes) {
    for (std::uint64_t start = c3dBlock; start + 4 <= bytes.size(); start += c3dBlock) {
        if (namesProcessor(byteAt(&bytes[start + 3])) && looksLikeSection(bytes, start)) {
            return start;
        }
    }
    return 0;
}

/// How many of the words that every file needs make sense in the order of bytes of a processor.
int sense(std::string_view bytes, std::uint64_t fileSize, C3dProcessor processor) {
    const HeaderReader reader(bytes, processor);
    const std::uint64_t block = reader.word(header::dataStart);
    int count = isPlausibleRate(reader.real(header::rate)) ? 1 : 0;
    count += isPlausibleScale(reader.real(header::scale)) ? 1 : 0;
    count += block > 1 && (block - 1) * c3dBlock < fileSize ? 1 : 0;
    count += reader.word(header::points) < 1000 ? 1 : 0;
    return count;
}

C3dProcessor guessProcessor(std::string_view bytes, std::uint64_t fileSize) {
    return *std::max_element(processors.begin(), processors.end(),
                             [&](C3dProcessor a, C3dProcessor b) {
                                 return sense(bytes, fileSize, a) < sense(bytes, fileSize, b);
                             });
}

bool makesSense(const C3dSection& section) {
    const C3dGroup* const point = section.parameters.find("POINT");
    return point != nullptr && !point->parameters.empty();
}

/// Whether the rate and the scale are numbers as they occur; one that is missing is no sign.
int sense(const C3dParameters& parameters) {
    int count = 0;
    for (const char* const name : {"RATE", "SCALE"}) {
        const C3dParameter* const one = parameters.find("POINT", name);
        const bool missing = one == nullptr || one->type != C3dType::Real || one->size() == 0;
        const double size = missing ? 1 : std::abs(one->number());
        count += isPlausibleRate(size) ? 1 : 0;
    }
    return count;
}

/// The section in the order of bytes that it states, or in another one if that makes more sense.
C3dSection readInSomeOrder(std::string_view bytes, std::uint64_t fileSize, std::uint64_t start,
                           C3dJudge& judge) {
    const std::uint8_t stated = byteAt(&bytes[start + 3]);
    const bool named = namesProcessor(stated);
    const C3dProcessor first =
        named ? static_cast<C3dProcessor>(stated) : guessProcessor(bytes, fileSize);
    const auto senseOf = [&](const C3dSection& section) {
        return sense(bytes, fileSize, section.processor) + sense(section.parameters);
    };
    // One number that makes no sense is no reason to doubt what is stated.
    const auto isBetter = [&](const C3dSection& one, const C3dSection& other) {
        const auto order = [](const C3dSection& section) {
            return std::make_tuple(makesSense(section), -static_cast<int>(section.findings.size()));
        };
        // A damaged byte can end the parameters early in the right order of bytes, with fewer
        // findings in a wrong one, where then no number is what it should be.
        const int gain = senseOf(one) - senseOf(other);
        return gain > 1 || (gain >= -1 && order(one) > order(other));
    };
    C3dSection section = readSection(bytes, start, first);
    for (const C3dProcessor other : processors) {
        C3dSection attempt = readSection(bytes, start, other);
        if (isBetter(attempt, section)) {
            section = std::move(attempt);
        }
    }
    if (!named || section.processor != first) {
        judge.contradict({"the type of processor", start + 3, std::to_string(stated),
                          std::to_string(static_cast<int>(section.processor)),
                          "the parameters make more sense in the order of bytes of " +
                              std::string(nameOf(section.processor))});
    }
    return section;
}

/// A file without parameters has nothing but its header: that has to make sense.
C3dSection sectionOfHeaderOnly(std::string_view bytes, std::uint64_t fileSize, bool hasKey,
                               C3dJudge& judge) {
    C3dSection section;
    section.processor = guessProcessor(bytes, fileSize);
    const HeaderReader reader(bytes, section.processor);
    const bool hasData =
        reader.word(header::points) + reader.word(header::analogPerFrame) > 0 &&
        std::uint64_t{reader.word(header::dataStart)} * c3dBlock <= fileSize + c3dBlock;
    if (!hasKey) {
        judge.fail(1, "expected 80, by which C3D files are known, found " +
                          std::to_string(byteAt(&bytes[1])));
    }
    if (!hasData || sense(bytes, fileSize, section.processor) < 3) {
        judge.fail(std::min<std::uint64_t>(statedSection(bytes), fileSize),
                   "expected a section of parameters");
    }
    judge.contradict({"header word 1", 0,
                      "parameters in block " + std::to_string(byteAt(bytes.data())),
                      "that there are none",
                      "the header says all that is needed, in the order of "
                      "bytes of " +
                          std::string(nameOf(section.processor))});
    return section;
}

// Settling what disagrees.

/// A choice among the values that are stated for one thing: each value once, in the order of trust.
struct Choice {
    std::vector<double> values;
    std::vector<Statement> statements;

    void add(const Statement& statement) {
        if (statement.value >= 0 && statement.value <= mostOfAnything * 256) {
            statements.push_back(statement);
            addValue(statement.value);
        }
    }
    void addValue(double value) {
        if (std::find(values.begin(), values.end(), value) == values.end()) {
            values.push_back(value);
        }
    }
    int votesFor(double value) const {
        return static_cast<int>(
            std::count_if(statements.begin(), statements.end(),
                          [value](const Statement& one) { return one.value == value; }));
    }
};

struct AnalogShape {
    double channels = 0;
    double samples = 0;
    bool operator==(const AnalogShape& other) const {
        return channels == other.channels && samples == other.samples;
    }
};

/// The parameter as a number that is never negative: 16 bits may hold up to 65,535.
double unsignedNumber(const C3dParameter& parameter, std::size_t index) {
    const double number = parameter.number(index);
    if (number >= 0 || parameter.type == C3dType::Real) {
        return number;
    }
    return number + (parameter.type == C3dType::Byte ? 256 : 65536);
}

/// Settles the layout of a file.
class Settler {
public:
    Settler(std::string_view bytes, std::uint64_t fileSize, const C3dSection& section,
            C3dJudge& judge)
        : header_(bytes, section.processor), section_(section), judge_(judge) {
        layout_.processor = section.processor;
        layout_.fileSize = fileSize;
    }

    C3dLayout settle() {
        settleRate();
        settleBodies();
        collect();
        choose();
        report();
        limitToFile();
        settleFirstFrame();
        settleFormat();
        return layout_;
    }

private:
    /// One of the ways to read the data.
    struct Reading {
        std::size_t points, analog, frames, start, real;
    };

    std::optional<Statement> stated(const char* group, const char* name) const {
        const C3dParameter* const parameter = section_.parameters.find(group, name);
        if (parameter == nullptr || parameter->size() == 0 || parameter->type == C3dType::Text) {
            return std::nullopt;
        }
        return Statement{unsignedNumber(*parameter, 0), std::string(group) + ":" + name,
                         parameter->offset};
    }

    void contradict(const Statement& statement, double believed, const std::string& reason) {
        judge_.contradict({statement.place, statement.offset, numberText(statement.value),
                           numberText(believed), reason, true});
    }

    void settleRate() {
        const Statement inHeader = header_.statedReal(header::rate);
        const auto parameter = stated("POINT", "RATE");
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
        const auto rate = stated("ANALOG", "RATE");
        const double samples = header_.word(header::samplesPerFrame);
        if (rate && isUsable(rate->value) && samples > 0) {
            layout_.rate = rate->value / samples;
        }
    }

    /// Rigid bodies lie apart from the other data.
    void settleBodies() {
        const auto used = stated("ROTATION", "USED");
        const auto start = stated("ROTATION", "DATA_START");
        if (!used || !start || !isUsable(used->value) || used->value > mostOfAnything) {
            return;
        }
        layout_.bodies = static_cast<std::uint64_t>(used->value);
        layout_.bodiesStart =
            static_cast<std::uint64_t>(std::max(start->value - 1, 0.0)) * c3dBlock;
        const auto ratio = stated("ROTATION", "RATIO");
        const auto rate = stated("ROTATION", "RATE");
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
        if (layout_.bodiesStart < c3dBlock || layout_.bodiesStart >= layout_.fileSize) {
            contradict(*start, 0, "the file has no such block; the rigid bodies are left out");
            layout_.bodies = 0;
        }
    }

    void collect() {
        labels_ = section_.parameters.texts("POINT", "LABELS").size();
        analogLabels_ = section_.parameters.texts("ANALOG", "LABELS").size();
        analogScales_ = section_.parameters.numbers("ANALOG", "SCALE").size();
        addStated(points_, "POINT", "USED");
        points_.add(header_.statedWord(header::points));
        collectAnalog();
        collectFrames();
        collectStarts();
        collectReals();
    }

    void addStated(Choice& choice, const char* group, const char* name) {
        if (const auto statement = stated(group, name)) {
            choice.add(*statement);
        }
    }

    void collectAnalog() {
        const double perFrame = header_.word(header::analogPerFrame);
        const double samples = header_.word(header::samplesPerFrame);
        const auto used = stated("ANALOG", "USED");
        const auto rate = stated("ANALOG", "RATE");
        const double ratio =
            rate && isUsable(rate->value) ? std::rint(rate->value / layout_.rate) : 0;
        if (used && used->value <= mostOfAnything) {
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
            addAnalogIf(analog_.empty(), perFrame, 1);
        }
        if (!used) {
            addAnalog(0, 0); // the header is alone with its channels
        }
    }

    int votesFor(const AnalogShape& shape) const {
        const auto used = stated("ANALOG", "USED");
        const auto rate = stated("ANALOG", "RATE");
        const auto equals = [](double a, double b) { return a == b ? 1 : 0; };
        int votes = equals(header_.word(header::analogPerFrame), shape.channels * shape.samples);
        votes += used ? equals(used->value, shape.channels) : 0;
        if (shape.channels > 0) {
            votes += equals(header_.word(header::samplesPerFrame), shape.samples);
            votes += rate ? equals(std::rint(rate->value / layout_.rate), shape.samples) : 0;
        }
        return votes;
    }

    void addAnalogIf(bool condition, double channels, double samples) {
        if (condition) {
            addAnalog(channels, samples);
        }
    }

    void addAnalog(double channels, double samples) {
        const AnalogShape shape{channels, samples};
        const bool complete = (channels == 0) == (samples == 0) && samples <= 65535;
        if (complete && std::find(analog_.begin(), analog_.end(), shape) == analog_.end()) {
            analog_.push_back(shape);
        }
    }

    /// The number of a frame, which takes two words of 16 bits, the lower one first; some programs
    /// have it last.
    std::optional<double> longNumber(const char* name, bool lowerIsLast = false) const {
        const C3dParameter* const parameter = section_.parameters.find("TRIAL", name);
        if (parameter == nullptr || parameter->size() == 0 || parameter->type == C3dType::Text) {
            return std::nullopt;
        }
        const double first = unsignedNumber(*parameter, 0);
        if (parameter->size() < 2) {
            return first;
        }
        const double second = unsignedNumber(*parameter, 1);
        return lowerIsLast ? second + 65536 * first : first + 65536 * second;
    }

    void collectFrames() {
        const auto first = longNumber("ACTUAL_START_FIELD");
        const auto last = longNumber("ACTUAL_END_FIELD");
        if (first && last && *last >= *first) {
            const C3dParameter* const end = section_.parameters.find("TRIAL", "ACTUAL_END_FIELD");
            frames_.add({*last - *first + 1, "TRIAL:ACTUAL_END_FIELD", end->offset});
        }
        addFrames(stated("POINT", "LONG_FRAMES"));
        addFrames(stated("POINT", "FRAMES"));
        const int begin = header_.word(header::firstFrame);
        const int end = header_.word(header::lastFrame);
        // A first frame that 16 bits cannot hold says nothing.
        const bool says = (begin != 0 || end != 0) && begin != 65535;
        if (says) {
            // A last frame before the first one has been counted over 65,535.
            const int count = end - begin + 1;
            frames_.add({static_cast<double>(count < 0 ? count + 65536 : count),
                         wordPlace(header::lastFrame), header::offsetOf(header::lastFrame)});
        }
        const auto otherFirst = longNumber("ACTUAL_START_FIELD", true);
        const auto otherLast = longNumber("ACTUAL_END_FIELD", true);
        if (otherFirst && otherLast && *otherLast >= *otherFirst) {
            frames_.addValue(*otherLast - *otherFirst + 1);
        }
        if (frames_.values.empty()) {
            frames_.addValue(0); // what the file holds will count
        }
    }

    void addFrames(std::optional<Statement> statement) {
        if (statement && std::isfinite(statement->value)) {
            statement->value = std::rint(statement->value);
            frames_.add(*statement);
        }
    }

    void collectStarts() {
        std::vector<Statement> all;
        if (const auto parameter = stated("POINT", "DATA_START")) {
            all.push_back(*parameter);
        }
        all.push_back(header_.statedWord(header::dataStart));
        for (const Statement& one : all) {
            const double at = (one.value - 1) * static_cast<double>(c3dBlock);
            const bool inside =
                at >= static_cast<double>(c3dBlock) && at <= static_cast<double>(layout_.fileSize);
            const bool inParameters =
                at >= static_cast<double>(section_.start) && at < static_cast<double>(section_.end);
            if (inside && !inParameters) {
                starts_.add(one);
            } else {
                badStarts_.push_back(one);
            }
        }
        if (starts_.values.empty()) {
            const std::uint64_t end = std::max(section_.end, c3dBlock);
            const std::uint64_t block = (end + c3dBlock - 1) / c3dBlock + 1;
            // Room may be left in the section, or its last records may not be legible.
            const std::uint64_t behind =
                section_.start / c3dBlock + static_cast<std::uint64_t>(section_.statedBlocks) + 1;
            if (behind > block && (behind - 1) * c3dBlock < layout_.fileSize) {
                starts_.addValue(static_cast<double>(behind));
            }
            starts_.addValue(static_cast<double>(block));
        }
    }

    void collectReals() {
        const std::optional<Statement> inHeader = header_.statedReal(header::scale);
        auto parameter = stated("POINT", "SCALE");
        if (parameter) { // with its sign, also if it is a whole number
            parameter->value = section_.parameters.find("POINT", "SCALE")->number();
        }
        // A number that no recording is scaled with counts only where there is no better.
        const bool isAnyPlausible =
            isPlausibleScale(inHeader->value) || (parameter && isPlausibleScale(parameter->value));
        for (const auto& statement : {parameter, inHeader}) {
            const bool isOne = statement && std::isfinite(statement->value) &&
                               statement->value != 0 &&
                               (isPlausibleScale(statement->value) || !isAnyPlausible);
            if (isOne) {
                scales_.push_back(*statement);
                reals_.addValue(statement->value < 0 ? 1 : 0);
            } else if (statement) {
                badScales_.push_back(*statement);
            }
        }
        if (reals_.values.empty()) {
            reals_.addValue(1);
            reals_.addValue(0);
        }
    }

    /// Where data that start there end at the latest: at what lies behind them.
    std::uint64_t limitFrom(std::uint64_t start) const {
        std::uint64_t limit = layout_.fileSize;
        const std::uint64_t bodies = layout_.bodies > 0 ? layout_.bodiesStart : 0;
        for (const std::uint64_t other : {bodies, section_.start}) {
            limit = other > start ? std::min(limit, other) : limit;
        }
        return limit;
    }

    double bytesPerFrame(const Reading& reading) const {
        const AnalogShape& analog = analog_[reading.analog];
        const double words = 4 * points_.values[reading.points] + analog.channels * analog.samples;
        return words * (reals_.values[reading.real] != 0 ? 4 : 2);
    }

    double roomFor(const Reading& reading) const {
        const double start = (starts_.values[reading.start] - 1) * static_cast<double>(c3dBlock);
        return static_cast<double>(limitFrom(static_cast<std::uint64_t>(start))) - start;
    }

    /// How well so many frames fill what there is.
    enum class Fit : std::uint8_t {
        No,
        NearlyFull, ///< but for a block, which some programs add
        Full,       ///< up to the block that is begun
    };
    Fit fitOf(const Reading& reading, double frames) const {
        constexpr auto block = static_cast<double>(c3dBlock);
        const double rest = roomFor(reading) - frames * bytesPerFrame(reading);
        if (rest < 0 || rest >= 2 * block) {
            return Fit::No;
        }
        return rest < block ? Fit::Full : Fit::NearlyFull;
    }

    /// How many statements agree with a reading.
    int votesFor(const Reading& reading) const {
        return points_.votesFor(points_.values[reading.points]) +
               frames_.votesFor(frames_.values[reading.frames]) +
               starts_.votesFor(starts_.values[reading.start]) + votesFor(analog_[reading.analog]);
    }

    /// How many lists have an entry for each marker or channel. There may be more names than what
    /// they name, so that says less than a number that is stated.
    int listsFor(const Reading& reading) const {
        const auto counts = [](std::size_t size, double count) {
            return size > 0 && static_cast<double>(size) == count ? 1 : 0;
        };
        const double channels = analog_[reading.analog].channels;
        return counts(labels_, points_.values[reading.points]) + counts(analogLabels_, channels) +
               counts(analogScales_, channels);
    }

    template <class Visit>
    void visitReadings(Visit visit) const {
        for (std::size_t points = 0; points < points_.values.size(); ++points) {
            for (std::size_t analog = 0; analog < analog_.size(); ++analog) {
                for (std::size_t start = 0; start < starts_.values.size(); ++start) {
                    for (std::size_t real = 0; real < reals_.values.size(); ++real) {
                        for (std::size_t frames = 0; frames < frames_.values.size(); ++frames) {
                            visit(Reading{points, analog, frames, start, real});
                        }
                    }
                }
            }
        }
    }

    /// Chooses the reading that fills the file; of several, or if none does, the one that most
    /// statements agree with, and most lists; of several, the one with the more trusted statements.
    void choose() {
        Reading best{0, 0, 0, 0, 0};
        auto most = std::make_tuple(Fit::No, -1, -1);
        visitReadings([&](const Reading& reading) {
            const auto merit = std::make_tuple(fitOf(reading, frames_.values[reading.frames]),
                                               votesFor(reading), listsFor(reading));
            if (merit > most) {
                best = reading;
                most = merit;
            }
        });
        frameCount_ = frames_.values[best.frames];
        fills_ = std::get<Fit>(most) != Fit::No || chooseLongTake(best) || chooseOtherForm(best) ||
                 chooseAllHeld(best);
        layout_.points = static_cast<std::uint64_t>(points_.values[best.points]);
        layout_.channels = static_cast<std::uint64_t>(analog_[best.analog].channels);
        layout_.samplesPerFrame = static_cast<std::uint64_t>(analog_[best.analog].samples);
        layout_.dataStart = static_cast<std::uint64_t>(starts_.values[best.start] - 1) * c3dBlock;
        layout_.real = reals_.values[best.real] != 0;
    }

    double heldBy(const Reading& reading) const {
        const double size = bytesPerFrame(reading);
        return size > 0 ? std::max(0.0, std::floor(roomFor(reading) / size)) : 0;
    }

    /// Whether a count is the most that its field holds: 16 bits, with a sign or without.
    bool isSaturated(double count) const {
        const int last = header_.word(header::lastFrame);
        return count == 65535 || count == 32767 ||
               (last == 32767 && count == last - header_.word(header::firstFrame) + 1);
    }

    /// Counts of frames in 16 bits have been cut off at 65,535 or 32,767, or have started again
    /// from 0, in takes that are longer. Such a take is believed if it fills the file, or, where
    /// that breaks off, but for a part of a frame.
    bool chooseLongTake(Reading& best) {
        bool found = false;
        visitReadings([&](const Reading& reading) {
            const double stated = frames_.values[reading.frames];
            const double held = heldBy(reading);
            const bool isCutOff = isSaturated(stated) && held > stated;
            if (found || stated > 65535 || (held < 65536 && !isCutOff)) {
                return;
            }
            const double whole = held - std::fmod(held - stated, 65536);
            for (const double count : {whole, isCutOff ? held : whole}) {
                const double rest = roomFor(reading) - count * bytesPerFrame(reading);
                const double most = std::max<double>(c3dBlock, bytesPerFrame(reading));
                if (!found && count > stated && rest >= 0 && rest < most) {
                    best = reading;
                    frameCount_ = count;
                    found = true;
                }
            }
        });
        return found;
    }

    /// The sign of the scale tells reals from integers, and some programs get it wrong throughout.
    /// The other form is believed if it fills a file of which a part of that size would be a
    /// chance.
    bool chooseOtherForm(Reading& best) {
        constexpr auto enough = static_cast<double>(8 * c3dBlock);
        if (reals_.values.size() > 1) {
            return false; // both have been tried
        }
        reals_.addValue(1 - reals_.values.front());
        auto most = std::make_pair(-1, -1);
        visitReadings([&](const Reading& reading) {
            const double frames = frames_.values[reading.frames];
            const auto merit = std::make_pair(votesFor(reading), listsFor(reading));
            if (reading.real == 1 && frames * bytesPerFrame(reading) >= enough &&
                fitOf(reading, frames) == Fit::Full && merit > most) {
                best = reading;
                frameCount_ = frames;
                most = merit;
            }
        });
        if (most.first < 0) {
            reals_.values.pop_back();
        }
        return most.first >= 0;
    }

    /// No frames, or no number of them, in a file that holds more than padding: those are believed.
    bool chooseAllHeld(const Reading& best) {
        const double held = heldBy(best);
        if (frameCount_ != 0 || held == 0 || roomFor(best) < 2 * static_cast<double>(c3dBlock)) {
            return false;
        }
        frameCount_ = held;
        if (frames_.statements.empty()) {
            judge_.contradict({"POINT:FRAMES", section_.start, "no number of frames",
                               numberText(held), "the file holds as many", true});
        }
        return true;
    }

    /// Says what was stated otherwise than it is believed.
    void report() {
        const std::string reason = fills_ ? "with that the data fills the file"
                                          : "the more and the more trusted statements say so";
        reportChoice(points_, static_cast<double>(layout_.points), reason);
        for (const Statement& one : frames_.statements) {
            // What 16 bits can say of a longer take is no contradiction.
            const bool cut = (frameCount_ > one.value && isSaturated(one.value)) ||
                             (frameCount_ > 65535 && one.value <= 65535 &&
                              (one.value == std::fmod(frameCount_, 65536) ||
                               header_.word(header::lastFrame) == 65535));
            if (one.value != frameCount_ && !cut) {
                contradict(one, frameCount_, reason);
            } else if (one.value != frameCount_) {
                judge_.note({one.place, one.offset, numberText(one.value), numberText(frameCount_),
                             "16 bits hold no more"});
            }
        }
        const std::uint64_t number = layout_.dataStart / c3dBlock + 1;
        const auto block = static_cast<double>(number);
        reportChoice(starts_, block, reason);
        for (const Statement& one : badStarts_) {
            contradict(one, block, "data cannot start there");
        }
        reportAnalog(reason);
        reportScales();
    }

    void reportChoice(const Choice& choice, double believed, const std::string& reason) {
        for (const Statement& one : choice.statements) {
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
        const auto expect = [&](const std::optional<Statement>& one, double believed) {
            if (one && one->value != believed) {
                contradict(*one, believed, reason);
            }
        };
        expect(stated("ANALOG", "USED"), channels);
        expect(header_.statedWord(header::analogPerFrame), channels * samples);
        if (channels == 0) {
            return; // without channels nobody keeps the rest in order
        }
        expect(header_.statedWord(header::samplesPerFrame), samples);
        const auto rate = stated("ANALOG", "RATE");
        const double believed = layout_.rate * samples;
        if (rate && !(std::abs(rate->value - believed) <= believed * 1e-4)) {
            contradict(*rate, believed,
                       "there are " + numberText(samples) + " samples to each frame");
        }
    }

    void reportScales() {
        const double sign = layout_.real ? -1 : 1;
        layout_.scale = scales_.empty() ? 1 : std::abs(scales_.front().value);
        for (auto one = scales_.rbegin(); one != scales_.rend(); ++one) {
            if ((one->value < 0) == layout_.real) {
                layout_.scale = std::abs(one->value);
            }
        }
        for (const Statement& one : scales_) {
            if (one.value != sign * layout_.scale) {
                contradict(one, sign * layout_.scale,
                           (one.value < 0) == layout_.real
                               ? "parameters are believed before the header"
                               : "negative scales are those of reals, and the data fills the file "
                                 "only as it is believed");
            }
        }
        for (const Statement& one : badScales_) {
            contradict(one, sign * layout_.scale, "no number is scaled with that");
        }
    }

    /// Leaves out what the file does not hold.
    void limitToFile() {
        const std::uint64_t limit = limitFrom(layout_.dataStart);
        const std::uint64_t room = limit > layout_.dataStart ? limit - layout_.dataStart : 0;
        const std::uint64_t size = layout_.frameBytes();
        const auto wanted = static_cast<std::uint64_t>(frameCount_);
        limitBodies(wanted);
        std::uint64_t held = size == 0 ? layout_.bodyFrames : room / size;
        held =
            std::min<std::uint64_t>(held, std::numeric_limits<int>::max() /
                                              std::max<std::uint64_t>(1, layout_.samplesPerFrame));
        layout_.frames = std::min(wanted, held);
        if (size > 0 && layout_.frames < wanted) {
            judge_.contradict({"the size of the file", limit, numberText(frameCount_) + " frames",
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
        const std::uint64_t limit = dataFollows ? layout_.dataStart : layout_.fileSize;
        const std::uint64_t held = (limit - layout_.bodiesStart) / size;
        layout_.bodyFrames =
            std::min({wanted, held, std::numeric_limits<int>::max() / layout_.bodiesPerFrame});
        if (layout_.bodyFrames < wanted) {
            judge_.contradict({"ROTATION:DATA_START", limit, numberText(frameCount_) + " frames",
                               std::to_string(layout_.bodyFrames),
                               "the file holds no more rigid bodies", true});
        }
    }

    void settleFirstFrame() {
        const Statement inHeader = header_.statedWord(header::firstFrame);
        layout_.firstFrame = header_.word(header::firstFrame);
        const auto first = longNumber("ACTUAL_START_FIELD");
        const auto last = longNumber("ACTUAL_END_FIELD");
        if (!first) {
            return;
        }
        const auto isInLine = [&](double number) {
            return last && *last - number + 1 == frameCount_;
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
                        section_.parameters.find("TRIAL", "ACTUAL_START_FIELD")->offset},
                       believed, "it does not fit the number of frames");
        }
    }

    void settleFormat() {
        const C3dParameter* const format = section_.parameters.find("ANALOG", "FORMAT");
        std::string text = format == nullptr ? std::string() : format->text();
        std::transform(text.begin(), text.end(), text.begin(), [](char c) {
            return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
        });
        layout_.unsignedAnalog = text.substr(0, 8) == "UNSIGNED";
    }

    HeaderReader header_;
    const C3dSection& section_;
    C3dJudge& judge_;
    C3dLayout layout_;
    Choice points_;
    std::vector<AnalogShape> analog_;
    Choice frames_;
    Choice starts_; // blocks, from 1
    Choice reals_;  // 1 for reals, 0 for integers
    std::vector<Statement> badStarts_;
    std::vector<Statement> scales_;
    std::vector<Statement> badScales_;
    std::size_t labels_ = 0;
    std::size_t analogLabels_ = 0;
    std::size_t analogScales_ = 0;
    double frameCount_ = 0;
    bool fills_ = false;
};

} // namespace

C3dSection findSection(std::string_view bytes, std::uint64_t fileSize, C3dJudge& judge) {
    if (bytes.size() < c3dBlock) {
        judge.fail(bytes.size(), "expected a header of 512 bytes, found the end of the file");
    }
    const bool hasKey = bytes[1] == header::magic;
    std::uint64_t start = statedSection(bytes);
    if (start < c3dBlock || !looksLikeSection(bytes, start)) {
        const std::uint64_t searched = searchedSection(bytes);
        if (searched == 0) {
            return sectionOfHeaderOnly(bytes, fileSize, hasKey, judge);
        }
        judge.contradict({"header word 1", 0,
                          "parameters in block " + std::to_string(byteAt(bytes.data())),
                          "block " + std::to_string(searched / c3dBlock + 1),
                          "there are none in the one and some in the other", true});
        start = searched;
    }
    C3dSection section = readInSomeOrder(bytes, fileSize, start, judge);
    if (!hasKey && !makesSense(section)) {
        judge.fail(1, "expected 80, by which C3D files are known, found " +
                          std::to_string(byteAt(&bytes[1])));
    }
    if (!hasKey) {
        judge.contradict({"header word 1", 1, std::to_string(byteAt(&bytes[1])), "80",
                          "the file has the parameters of a C3D file", true});
    }
    for (C3dFinding& finding : section.findings) {
        finding.isContradiction ? judge.contradict(std::move(finding))
                                : judge.remark(std::move(finding));
    }
    section.findings.clear();
    const std::uint64_t stated =
        section.start + static_cast<std::uint64_t>(section.statedBlocks) * c3dBlock;
    if (section.end > stated) {
        judge.contradict({"the number of parameter blocks", section.start + 2,
                          std::to_string(section.statedBlocks),
                          std::to_string((section.end - section.start + c3dBlock - 1) / c3dBlock),
                          "the parameters go on behind them", true});
    }
    return section;
}

C3dLayout settleLayout(std::string_view bytes, std::uint64_t fileSize, const C3dSection& section,
                       C3dJudge& judge) {
    return Settler(bytes, fileSize, section, judge).settle();
}

} // namespace tarn::kit
