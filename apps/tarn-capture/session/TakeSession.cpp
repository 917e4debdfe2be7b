// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "session/TakeSession.h"

#include "session/TakeFile.h"

#include <cstddef>

namespace tarn::capture {

TakeSession::TakeSession(const std::vector<std::string>& takes, const TakeDeviceMaker& maker) {
    const auto names = uniqueTakeNames(takes);
    for (std::size_t i = 0; i < takes.size(); ++i) {
        performers_.push_back(std::make_unique<TakePerformer>(session_, takes[i], names[i], maker));
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
