// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "files/c3d/C3dJudge.h"

#include <array>
#include <charconv>
#include <cmath>
#include <utility>

namespace tarn::kit {

namespace {

/// Broken files would go on and on.
constexpr std::size_t maxFindings = 1000;

} // namespace

std::string to_string(const C3dFinding& finding) {
    std::string text = finding.place + " (byte " + std::to_string(finding.offset) + ")";
    text += finding.found.empty() ? "" : ": " + finding.found;
    text += finding.believed.empty() ? "" : ", believed " + finding.believed;
    text += finding.reason.empty() ? "" : ": " + finding.reason;
    return text;
}

std::string numberText(double number) {
    std::array<char, 32> text{};
    char* const end = text.data() + text.size();
    if (number == std::rint(number) && std::abs(number) < 1e15) {
        return {text.data(),
                std::to_chars(text.data(), end, static_cast<std::int64_t>(number)).ptr};
    }
    return {text.data(), std::to_chars(text.data(), end, static_cast<float>(number)).ptr};
}

C3dJudge::C3dJudge(C3dMode mode, std::string file) : mode_(mode), file_(std::move(file)) {}

void C3dJudge::contradict(C3dFinding finding) {
    if (mode_ == C3dMode::Strict) {
        std::string reason = finding.place;
        reason += finding.found.empty() ? "" : ": " + finding.found;
        reason += finding.believed.empty() ? "" : ", expected " + finding.believed;
        reason += finding.reason.empty() ? "" : ": " + finding.reason;
        fail(finding.offset, reason);
    }
    finding.isContradiction = true;
    add(std::move(finding));
}

void C3dJudge::remark(C3dFinding finding) {
    finding.isContradiction = false;
    add(std::move(finding));
}

void C3dJudge::note(C3dFinding finding) {
    if (mode_ == C3dMode::Explain) {
        remark(std::move(finding));
    }
}

void C3dJudge::fail(std::uint64_t offset, const std::string& reason) const {
    throw ReadError(file_, ByteOffset{offset}, reason);
}

std::vector<C3dFinding> C3dJudge::takeReport() { return std::move(report_); }

void C3dJudge::add(C3dFinding finding) {
    if (report_.size() < maxFindings) {
        report_.push_back(std::move(finding));
    }
}

} // namespace tarn::kit
