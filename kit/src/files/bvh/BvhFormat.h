// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <array>
#include <string_view>

// What reader and writer of BVH files agree on.

namespace tarn::kit {

/// In the order of `Channel`.
inline constexpr std::array<std::string_view, 6> channelNames = {
    "Xposition", "Yposition", "Zposition", "Xrotation", "Yrotation", "Zrotation"};

inline constexpr double shortestFrameTime = 1e-6;
/// The last one whose rate rounds to 1 frame per second.
inline constexpr double longestFrameTime = 2;

} // namespace tarn::kit
