// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Frame.h>
#include <tarn/Sequence.h>
#include <tarn/Time.h>
#include <tarn/Track.h>
#include <tarn/Tracks.h>

#include <any>
#include <memory>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace tarn {

/// How a failed expectation shows a time: "frame@rate".
inline void PrintTo(const Time& time, std::ostream* out) {
    *out << time.frameIndex() << '@' << time.fps();
}

} // namespace tarn

/// What the tests of the motion data build their takes from, and the logs they read.
namespace motion {

using FramePtr = std::shared_ptr<tarn::Frame>;
using Frames = std::vector<FramePtr>;
using Log = std::vector<std::string>;

inline FramePtr frameAt(const tarn::Time& time, int dataType = 1, std::any data = {}) {
    return std::make_shared<tarn::Frame>(time, dataType, std::move(data));
}

inline std::shared_ptr<tarn::Sequence> sequenceOf(const Frames& frames, int dataType = 1) {
    auto sequence = std::make_shared<tarn::Sequence>(dataType);
    for (const auto& frame : frames) {
        sequence->addFrame(frame);
    }
    return sequence;
}

/// A track with one slot per entry; an empty pointer is an empty slot.
inline std::shared_ptr<tarn::Track> trackOf(const Frames& slots, int dataType = 1) {
    auto track = std::make_shared<tarn::Track>(dataType);
    track->setFrameCount(static_cast<int>(slots.size()));
    for (std::size_t i = 0; i < slots.size(); ++i) {
        track->setFrame(static_cast<int>(i), slots[i]);
    }
    return track;
}

inline Frames framesOf(tarn::Sequence& sequence) {
    Frames frames;
    for (int i = 0; i < sequence.frameCount(); ++i) {
        frames.push_back(sequence.getFrame(i));
    }
    return frames;
}

inline Frames framesOf(tarn::Track& track) {
    Frames frames;
    for (int i = 0; i < track.frameCount(); ++i) {
        frames.push_back(track.getFrame(i));
    }
    return frames;
}

/// A take of `length` frame indexes that can be nested in another.
inline std::shared_ptr<tarn::Tracks> takeOfLength(int length) {
    auto take = std::make_shared<tarn::Tracks>();
    take->setTimeLength(length);
    return take;
}

inline std::string rangeText(int begin, int end) {
    return std::to_string(begin) + ".." + std::to_string(end);
}

/// Logs "name t" for every move of a take. The log must outlive the take.
inline void logMoves(tarn::Tracks& take, const std::string& name, Log& log) {
    take.onCurrentTimeChanged().connect(
        [name, &log](int t) { log.push_back(name + " " + std::to_string(t)); });
}

/// Logs "name begin..end" for every change of a take's work range. The log must outlive the take.
inline void logWorkRanges(tarn::Tracks& take, const std::string& name, Log& log) {
    take.onWorkRangeChanged().connect(
        [name, &log](int begin, int end) { log.push_back(name + " " + rangeText(begin, end)); });
}

} // namespace motion
