// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "session/ShownFrames.h"

#include <tarn_kit/body/Rig.h>

namespace tarn::capture {

ShownFrames::ShownFrames(Tracks& take, int first)
    : take_(take), first_(first),
      connection_(take.onCurrentTimeChanged().connect(this, &ShownFrames::add)) {}

void ShownFrames::add(int index) {
    const int frame = first_ + index;
    if (shown_.empty() || shown_.back().frame != frame) {
        shown_.push_back({frame, take_.currentFrame()->frame(kit::poseDataType)});
    }
}

} // namespace tarn::capture
