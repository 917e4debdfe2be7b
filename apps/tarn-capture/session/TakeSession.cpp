// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "session/TakeSession.h"

#include <fmt/format.h>
#include <tarn_kit/files/Text.h>

#include <filesystem>
#include <set>

namespace tarn::capture {

namespace {

/// The name of a take's file, with a number added where another performer has it already.
std::string uniqueName(const std::string& file, std::set<std::string>& taken) {
    const std::string stem = kit::printable(std::filesystem::path(file).stem().string());
    std::string name = stem;
    for (int i = 2; !taken.insert(name).second; ++i) {
        name = fmt::format("{}-{}", stem, i);
    }
    return name;
}

} // namespace

TakeSession::TakeSession(const std::vector<std::string>& takes, const TakeDeviceMaker& maker) {
    std::set<std::string> names;
    for (const std::string& file : takes) {
        performers_.push_back(
            std::make_unique<TakePerformer>(session_, file, uniqueName(file, names), maker));
    }
}

bool TakeSession::calibrate(int frames, const StopRequested& stopRequested,
                            const Advanced& advanced) {
    for (const auto& performer : performers_) {
        performer->setCalibrationFrames(frames);
    }
    return session_.calibrate(frames, stopRequested, advanced);
}

bool TakeSession::play(const StopRequested& stopRequested, const Advanced& advanced) {
    return session_.play(stopRequested, advanced);
}

} // namespace tarn::capture
