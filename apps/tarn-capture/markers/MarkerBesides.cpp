// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "markers/MarkerBesides.h"

#include <tarn_kit/body/Analog.h>
#include <tarn_kit/body/RigidBodies.h>
#include <tarn_store/file/TakeDescription.h>

#include <cstdint>

namespace tarn::capture {

void MarkerBeside::send(const Frame& markers, tsignal::Signal<std::shared_ptr<Frame>>& to) const {
    const auto begin = std::int64_t{markers.time().frameIndex()} * each;
    for (std::int64_t i = begin; i < begin + each && i < take->timeLength(); ++i) {
        to.emit(take->getFrame(static_cast<int>(i), dataType));
    }
}

std::vector<MarkerBeside> besidesOf(const kit::C3dTake& take, const std::string& subject) {
    std::vector<MarkerBeside> besides;
    if (take.analogTracks != nullptr) {
        besides.push_back({take.analogTracks, kit::analogDataType, take.samplesPerFrame,
                           store::describeChannels(take, subject)});
    }
    if (take.bodyTracks != nullptr) {
        besides.push_back({take.bodyTracks, kit::rigidBodyDataType, take.bodiesPerFrame,
                           store::describeRigidBodies(take, subject)});
    }
    return besides;
}

} // namespace tarn::capture
