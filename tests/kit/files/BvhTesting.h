// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_kit/files/Bvh.h>

#include <cstddef>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

/// What the tests of the BVH reader feed it, and what they read from its takes.
namespace bvh_testing {

using tarn::kit::BvhTake;
using tarn::kit::Pose;
using tarn::kit::ReadError;

using Lines = std::vector<std::string>;

/// A small complete file, line 1 first.
inline const Lines& smallBvh() {
    static const Lines lines = {
        "HIERARCHY",
        "ROOT Hips",
        "{",
        "  OFFSET 0 2 0",
        "  CHANNELS 3 Xposition Yposition Yrotation",
        "  JOINT Leg",
        "  {",
        "    OFFSET 0.5 -1 0",
        "    CHANNELS 1 Zrotation",
        "    End Site",
        "    {",
        "      OFFSET 0 -1 0",
        "    }",
        "  }",
        "}",
        "MOTION",
        "Frames: 2",
        "Frame Time: 0.02",
        "1 2 3 4",
        "5 6 7 8",
    };
    return lines;
}

inline std::string joined(const Lines& lines, const std::string& lineEnd = "\n") {
    std::string text;
    for (const std::string& line : lines) {
        text += line + lineEnd;
    }
    return text;
}

/// The small file with one of its lines (from 1) replaced by any text.
inline std::string smallBvhWith(std::size_t line, const std::string& replacement) {
    Lines lines = smallBvh();
    lines.at(line - 1) = replacement;
    return joined(lines);
}

inline BvhTake readText(const std::string& text) {
    std::istringstream stream(text);
    return tarn::kit::readBvh(stream, "text");
}

/// What a text is refused for; nothing when it is accepted.
inline std::optional<ReadError> errorOf(const std::string& text) {
    try {
        readText(text);
    } catch (const ReadError& error) {
        return error;
    }
    return std::nullopt;
}

inline const Pose& poseAt(const BvhTake& take, int frame) {
    return take.tracks->getFrame(frame, tarn::kit::poseDataType)->dataAs<Pose>();
}

/// The values of every frame.
inline std::vector<std::vector<float>> valuesOf(const BvhTake& take) {
    std::vector<std::vector<float>> values;
    values.reserve(static_cast<std::size_t>(take.tracks->timeLength()));
    for (int i = 0; i < take.tracks->timeLength(); ++i) {
        values.push_back(poseAt(take, i).values);
    }
    return values;
}

inline std::vector<std::string> namesOf(const tarn::kit::Rig& rig) {
    std::vector<std::string> names;
    names.reserve(rig.nodes().size());
    for (const tarn::kit::RigNode& node : rig.nodes()) {
        names.push_back(node.name);
    }
    return names;
}

} // namespace bvh_testing
