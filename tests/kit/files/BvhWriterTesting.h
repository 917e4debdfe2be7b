// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "kit/files/BvhTesting.h"

#include <tarn_kit/files/Bvh.h>

#include <cstddef>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

/// What the tests of the BVH writer give it, and how they look at what it wrote.
namespace bvh_testing {

using Rows = std::vector<std::vector<float>>;

/// A take of 50 frames per second with a pose per row.
inline BvhTake takeOf(std::shared_ptr<tarn::kit::Rig> rig, const Rows& rows = {}) {
    using tarn::kit::poseDataType;
    BvhTake take;
    take.rig = std::move(rig);
    take.tracks = std::make_shared<tarn::Tracks>();
    take.frameTime = 0.02;
    take.tracks->setFps(50);
    take.tracks->setTimeLength(static_cast<int>(rows.size()));
    for (std::size_t i = 0; i < rows.size(); ++i) {
        take.tracks->setFrame(
            static_cast<int>(i), poseDataType,
            std::make_shared<tarn::Frame>(tarn::Time(static_cast<unsigned>(i), 50), poseDataType,
                                          Pose{rows[i]}));
    }
    return take;
}

/// A rig of one joint with one channel.
inline std::shared_ptr<tarn::kit::Rig> rigNamed(const std::string& name) {
    auto rig = std::make_shared<tarn::kit::Rig>();
    rig->addJoint(name, -1, {0, 0, 0}, {tarn::kit::Channel::Yrotation});
    return rig;
}

inline std::string writtenText(const BvhTake& take) {
    std::ostringstream stream;
    tarn::kit::writeBvh(take, stream);
    return stream.str();
}

inline BvhTake readBack(const BvhTake& take) { return readText(writtenText(take)); }

} // namespace bvh_testing
