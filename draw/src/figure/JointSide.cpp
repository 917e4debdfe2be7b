// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_draw/figure/JointSide.h>

#include <tarn_kit/files/Text.h>

#include <string>

namespace tarn::draw {

namespace {

/// Letters beyond ASCII go on a word, as small ones do: "l" is no side in "lèvre" or "Maïl".
bool isLowerLetter(char c) {
    return (c >= 'a' && c <= 'z') || static_cast<unsigned char>(c) >= 0x80;
}
bool isLetter(char c) { return isLowerLetter(c) || (c >= 'A' && c <= 'Z'); }
/// In either case.
bool isThe(char letter, char c) { return c == letter || c == letter - 'a' + 'A'; }

/// Whether `name` starts with `letter` and it stands for itself: "lHand", "L_Hand", "LHand", but
/// neither "lowerback" nor "Lumbar".
bool startsWithLetter(std::string_view name, char letter) {
    return name.size() > 1 && isThe(letter, name[0]) && !isLowerLetter(name[1]);
}

/// "hand_l", "Hand.L", but not "Heel"
bool endsWithLetter(std::string_view name, char letter) {
    return name.size() > 2 && isThe(letter, name.back()) && !isLetter(name[name.size() - 2]);
}

bool namesSide(std::string_view name, const std::string& word) {
    const std::string lower = kit::lowered(name);
    return lower.rfind(word, 0) == 0 || lower.find("_" + word) != std::string::npos ||
           startsWithLetter(name, word[0]) || endsWithLetter(name, word[0]);
}

} // namespace

Side sideOf(std::string_view name) {
    name.remove_prefix(name.rfind(':') + 1); // a name space; npos + 1 is 0
    if (namesSide(name, "left")) {
        return Side::left;
    }
    return namesSide(name, "right") ? Side::right : Side::centre;
}

Colour colourOf(Side side) {
    switch (side) {
    case Side::left:
        return colours::left;
    case Side::right:
        return colours::right;
    case Side::centre:
        break;
    }
    return colours::ink;
}

} // namespace tarn::draw
