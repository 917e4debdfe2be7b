// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/session/TakeOf.h>

#include <utility>

namespace tarn::kit {

std::shared_ptr<Track> trackOf(int dataType, std::vector<std::shared_ptr<Frame>> frames) {
    auto track = std::make_shared<Track>(dataType);
    track->setFrameCount(static_cast<int>(frames.size()));
    int slot = 0;
    for (auto& frame : frames) {
        track->setFrame(slot++, std::move(frame));
    }
    return track;
}

std::shared_ptr<Tracks> takeOf(int dataType, std::vector<std::shared_ptr<Frame>> frames, int rate) {
    const auto count = static_cast<int>(frames.size());
    auto take = std::make_shared<Tracks>();
    take->setFps(rate);
    take->setTimeLength(count);
    take->setFrameCount(count);
    if (count > 0) {
        take->setWorkRange(0, count - 1);
    }
    take->addTrack(trackOf(dataType, std::move(frames)), 0);
    return take;
}

} // namespace tarn::kit
