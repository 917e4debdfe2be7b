// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "data/MotionData.h"

#include <tarn/Frame.h>
#include <tarn/Time.h>
#include <tarn/Track.h>

#include <any>
#include <memory>
#include <string>
#include <utility>

namespace motion {

/// A payload that tells a frame from its copies: it knows which frame it was made for.
struct Origin {
    std::string name;
    const tarn::Frame* frame;
};

inline FramePtr namedFrame(const std::string& name, const tarn::Time& time, int dataType = 1) {
    auto frame = frameAt(time);
    frame->setData(dataType, Origin{name, frame.get()});
    return frame;
}

/// A named frame as text: "name index@rate", followed by "held" if it is a copy; "-" for none.
inline std::string frameText(const FramePtr& frame) {
    if (frame == nullptr) {
        return "-";
    }
    const auto& origin = frame->dataAs<Origin>();
    return origin.name + " " + std::to_string(frame->time().frameIndex()) + "@" +
           std::to_string(frame->time().fps()) + (origin.frame == frame.get() ? "" : " held");
}

/// Every slot of a track of named frames, as text.
inline Log layoutOf(tarn::Track& track) {
    Log layout;
    for (const auto& frame : framesOf(track)) {
        layout.push_back(frameText(frame));
    }
    return layout;
}

} // namespace motion
