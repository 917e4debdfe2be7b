// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tarn::kit {

enum class BodySide : std::uint8_t { None, Left, Right };

/// The words of a joint's name, in small letters, without what stands before a ":" or "|":
/// "mix:LeftHandIndex1" gives left, hand, index, 1. Words end at separators, at a change of case or
/// between letters and digits; letters beyond ASCII are part of words. None for a name that is too
/// long to be one that a body has.
std::vector<std::string> wordsOf(std::string_view jointName);

/// What a name may say: a side and the rest, in one piece.
struct NameReading {
    BodySide side;
    std::string key; ///< "handindex1"
};

/// All that the words from `first` on may say, the most likely first: without a side; with one as a
/// word; with one as the first letters ("lfemur").
std::vector<NameReading> readingsOf(const std::vector<std::string>& words, std::size_t first);

} // namespace tarn::kit
