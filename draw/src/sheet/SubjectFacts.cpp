// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "sheet/SubjectFacts.h"

#include <fmt/format.h>
#include <tarn_kit/files/Text.h>

#include <algorithm>
#include <cstddef>
#include <limits>
#include <stdexcept>

namespace tarn::draw {

namespace {

/// 0 for none
double rateOrNone(const std::vector<Subject>& subjects) {
    for (const Subject& subject : subjects) {
        if (subject.rate) {
            return subject.rate->value();
        }
        if (subject.take->fps() > 0) {
            return subject.take->fps();
        }
    }
    return 0;
}

std::string framesText(const std::vector<Subject>& subjects) {
    const int frames = frameCountOf(subjects);
    const std::string count = kit::counted(static_cast<std::size_t>(frames), "frame");
    const double rate = rateOrNone(subjects);
    return rate == 0 ? count
                     : fmt::format("{} at {:.6g} per second, {:.3f} s", count, rate,
                                   static_cast<double>(frames) / rate);
}

} // namespace

void requireDrawable(const std::vector<Subject>& subjects) {
    const std::string reason = whyNotDrawn(subjects);
    if (!reason.empty()) {
        throw std::runtime_error(reason);
    }
}

int frameCountOf(const std::vector<Subject>& subjects) {
    int count = 0;
    for (const Subject& subject : subjects) {
        count = std::max(count, subject.take->timeLength());
    }
    return count;
}

double rateOf(const std::vector<Subject>& subjects) {
    const double rate = rateOrNone(subjects);
    return rate > 0 ? rate : 1;
}

double bodyHeightOf(const std::vector<Subject>& subjects) {
    float height = 0;
    for (const Subject& subject : subjects) {
        height = std::max(height, subject.rig->height());
    }
    return static_cast<double>(std::min(height, std::numeric_limits<float>::max()));
}

kit::LengthUnit unitOf(const std::vector<Subject>& subjects) {
    return subjects.empty() ? kit::LengthUnit{"unit", ""} : subjects.front().unit;
}

kit::UpAxis upAxisOf(const std::vector<Subject>& subjects) {
    return subjects.empty() ? kit::UpAxis::Y : subjects.front().up;
}

std::string namesText(const std::vector<Subject>& subjects) {
    std::string text;
    for (const Subject& subject : subjects) {
        text += (text.empty() ? "" : ", ") + kit::printable(subject.name);
    }
    return text;
}

std::string factsText(const std::vector<Subject>& subjects) {
    if (subjects.size() != 1) {
        return fmt::format("{}; {}", kit::counted(subjects.size(), "performer"),
                           framesText(subjects));
    }
    const auto joints = static_cast<std::size_t>(subjects.front().rig->jointCount());
    return fmt::format("{}; {}; body height {}", framesText(subjects),
                       kit::counted(joints, "joint"),
                       kit::lengthText(bodyHeightOf(subjects), unitOf(subjects)));
}

} // namespace tarn::draw
