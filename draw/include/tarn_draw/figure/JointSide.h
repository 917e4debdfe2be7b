// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_draw/Export.h>
#include <tarn_draw/canvas/Colours.h>

#include <cstdint>
#include <string_view>

namespace tarn::draw {

/// Which side of the body something is on, as far as names tell.
enum class Side : std::uint8_t { left, centre, right };

/// The side that a joint's name gives: "LeftArm", "lThumb", "L_Hand", "hand.l" and "rig:arm_left"
/// are left; "lowerback", "Heel" and "Skull" are neither left nor right. Case does not count where
/// a word tells; letters beyond ASCII are part of words.
TARN_DRAW_EXPORT Side sideOf(std::string_view name);

/// The colour in which drawings show a side.
TARN_DRAW_EXPORT Colour colourOf(Side side);

} // namespace tarn::draw
