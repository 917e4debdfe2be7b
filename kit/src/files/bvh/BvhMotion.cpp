// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "files/bvh/BvhMotion.h"

#include "files/bvh/BvhFormat.h"

#include <tarn_kit/session/TakeOf.h>

#include <cmath>
#include <initializer_list>
#include <utility>
#include <vector>

namespace tarn::kit {

namespace {

using Frames = std::vector<std::shared_ptr<Frame>>;

/// The part of itself by which a rate may be off a whole number before it counts as rounded.
constexpr double rateTolerance = 1e-4;

/// Takes words and the colon behind them.
void takeLabel(TextScanner& scanner, std::initializer_list<std::string_view> words,
               const char* label) {
    for (const std::string_view word : words) {
        if (!scanner.acceptWord(word)) {
            scanner.failExpected(scanner.place(), label);
        }
    }
    scanner.skipBlanks();
    if (!scanner.accept(':')) {
        scanner.failExpected(scanner.place(), label);
    }
    scanner.skipSpace();
}

int takeFrameCount(TextScanner& scanner, const Rig& rig) {
    takeLabel(scanner, {"FRAMES"}, "\"Frames:\"");
    const char* const place = scanner.place();
    const int count = scanner.takeCount("a number of frames");
    if (count > 0 && rig.valueCount() == 0) {
        scanner.failExpected(place, "0 frames, since no joint has channels");
    }
    return count;
}

double takeFrameTime(TextScanner& scanner) {
    takeLabel(scanner, {"FRAME", "TIME"}, "\"Frame Time:\"");
    const char* const place = scanner.place();
    const auto frameTime = scanner.takeReal<double>();
    if (frameTime < shortestFrameTime || frameTime > longestFrameTime) {
        scanner.failExpected(place, "a frame time from 0.000001 to 2 seconds");
    }
    scanner.skipBlanks();
    if (!scanner.atLineEnd()) {
        scanner.failExpected(scanner.place(), "the end of the line after the frame time");
    }
    return frameTime;
}

[[noreturn]] void failRow(const TextScanner& scanner, std::size_t expected, int frame,
                          const std::string& found) {
    scanner.fail(scanner.place(), "expected " + std::to_string(expected) + " values in frame " +
                                      std::to_string(frame) + " (from 0), found " + found);
}

Pose takeRow(TextScanner& scanner, std::size_t valueCount, int frame) {
    Pose pose;
    pose.values.reserve(valueCount); // no more than the channel names that the file spelled out
    while (pose.values.size() < valueCount) {
        scanner.skipBlanks();
        if (scanner.atLineEnd()) {
            failRow(scanner, valueCount, frame, std::to_string(pose.values.size()));
        }
        pose.values.push_back(scanner.takeReal<float>());
    }
    scanner.skipBlanks();
    if (!scanner.atLineEnd()) {
        failRow(scanner, valueCount, frame, "more");
    }
    return pose;
}

Frames takeFrames(TextScanner& scanner, const Rig& rig, int count, unsigned rate) {
    Frames frames; // grows with the rows that are there, whatever is claimed
    scanner.skipSpace();
    for (int i = 0; i < count; ++i) {
        if (scanner.atEnd()) {
            scanner.fail(scanner.place(), "expected " + std::to_string(count) +
                                              " frames, as stated, found " + std::to_string(i));
        }
        frames.push_back(std::make_shared<Frame>(Time(static_cast<unsigned>(i), rate), poseDataType,
                                                 takeRow(scanner, rig.valueCount(), i)));
        scanner.skipSpace();
    }
    if (!scanner.atEnd()) {
        scanner.failExpected(scanner.place(), "the end of the file after the stated " +
                                                  std::to_string(count) + " frames");
    }
    return frames;
}

} // namespace

void readMotion(TextScanner& scanner, BvhTake& take) {
    const int count = takeFrameCount(scanner, *take.rig);
    take.frameTime = takeFrameTime(scanner);
    const double exactRate = 1 / take.frameTime;
    const auto rate = static_cast<int>(std::lround(exactRate));
    take.rateRounded = std::abs(exactRate - rate) > rate * rateTolerance;
    take.tracks = takeOf(poseDataType,
                         takeFrames(scanner, *take.rig, count, static_cast<unsigned>(rate)), rate);
}

} // namespace tarn::kit
