// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

namespace tarn::draw {

/// A colour of the screen (sRGB), each part from 0 to 1.
struct Colour {
    double red, green, blue;
};

/// The colours of all drawings: told apart with any colour vision, and in print.
namespace colours {
inline constexpr Colour white{1, 1, 1};
inline constexpr Colour ink{0.13, 0.15, 0.18};       ///< titles, and what has no side
inline constexpr Colour note{0.40, 0.43, 0.47};      ///< facts, numbers, frames
inline constexpr Colour rule{0.86, 0.87, 0.89};      ///< lines of a grid
inline constexpr Colour floor{0.955, 0.95, 0.94};    ///< the ground that bodies stand on
inline constexpr Colour tile{0.87, 0.86, 0.84};      ///< lines on it
inline constexpr Colour left{0.00, 0.45, 0.70};      ///< limbs of the left side
inline constexpr Colour right{0.84, 0.37, 0.00};     ///< limbs of the right side
inline constexpr Colour leftFoot{0.34, 0.71, 0.91};  ///< curves of a left foot
inline constexpr Colour rightFoot{0.93, 0.66, 0.08}; ///< curves of a right foot
inline constexpr Colour path{0.36, 0.38, 0.62};      ///< a root, and the way that it takes
inline constexpr Colour start{0.00, 0.58, 0.42};     ///< where a way begins
inline constexpr Colour end{0.75, 0.10, 0.20};       ///< where it ends
} // namespace colours

} // namespace tarn::draw
