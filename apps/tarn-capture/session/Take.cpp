// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "session/Take.h"

#include "session/TakeFile.h"

#include <fmt/format.h>
#include <tarn_kit/files/Text.h>

#include <algorithm>
#include <limits>
#include <utility>

namespace tarn::capture {

Take::Take(const std::string& file, const SpaceChoice& space)
    : Take(withSpace(readTake(file), space)) {}

Take::Take(kit::BvhTake data) : data_(std::move(data)), exactRate_(data_.exactRate()) {}

std::string Take::name() const { return kit::printable(data_.tracks->tracksName()); }

double Take::secondsAt(int frame) const { return exactRate_.at(frame).seconds(); }

double Take::bodyHeight() const {
    return static_cast<double>(std::min(data_.rig->height(), std::numeric_limits<float>::max()));
}

std::vector<std::string> Take::guesses() const {
    std::vector<std::string> guesses;
    if (space().upOrigin == kit::Origin::Guessed) {
        guesses.push_back(kit::axisName(space().up) + " is up");
    }
    if (space().unitOrigin == kit::Origin::Guessed) {
        guesses.push_back(kit::describeGuess(unit(), bodyHeight()));
    }
    if (data_.rateRounded) {
        guesses.push_back(fmt::format("the rate is {} frames per second, rounded from {:.3f}: the "
                                      "file says {} s from frame to frame",
                                      exactRate_.text(), 1 / data_.frameTime, data_.frameTime));
    }
    return guesses;
}

const kit::Pose& Take::pose(int frame) const {
    // The take keeps the frame alive.
    return data_.tracks->getFrame(frame, kit::poseDataType)->dataAs<kit::Pose>();
}

kit::Pose Take::restPose() const { return {std::vector<float>(data_.rig->valueCount(), 0.0F)}; }

} // namespace tarn::capture
