// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "files/c3d/layout/C3dSearch.h"

#include "files/c3d/C3dHeader.h"
#include "files/c3d/layout/C3dStatements.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string>
#include <tuple>
#include <utility>

namespace tarn::kit {

namespace {

namespace header = c3d_header;

constexpr std::array<C3dProcessor, 3> processors = {C3dProcessor::Intel, C3dProcessor::Mips,
                                                    C3dProcessor::Dec};

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
    const C3dHeader reader(bytes, processor);
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
    const C3dHeader reader(bytes, section.processor);
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

} // namespace tarn::kit
