// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "body/names/JointName.h"

#include <tarn_kit/files/Text.h>

#include <algorithm>
#include <cctype>

namespace tarn::kit {

namespace {

/// Names of joints are some 30 letters long; the ways to read one are as many as it has words.
constexpr std::size_t longestName = 100;

enum class Kind : std::uint8_t { Other, Digit, Lower, Upper };

Kind kindOf(char c) {
    if (c >= '0' && c <= '9') {
        return Kind::Digit;
    }
    if (c >= 'A' && c <= 'Z') {
        return Kind::Upper;
    }
    const bool isLetter = (c >= 'a' && c <= 'z') || static_cast<unsigned char>(c) >= 0x80;
    return isLetter ? Kind::Lower : Kind::Other;
}

/// Whether a word of `name` ends before position `i`, which is neither the first nor a separator.
bool isBorder(std::string_view name, std::size_t i) {
    const Kind before = kindOf(name[i - 1]);
    const Kind here = kindOf(name[i]);
    if (before == Kind::Other || (before == Kind::Digit) != (here == Kind::Digit)) {
        return true;
    }
    const bool smallFollows = i + 1 < name.size() && kindOf(name[i + 1]) == Kind::Lower;
    return here == Kind::Upper && (before == Kind::Lower || smallFollows);
}

BodySide sideOfWord(std::string_view word) {
    if (word == "left" || word == "l" || word == "lft") {
        return BodySide::Left;
    }
    return word == "right" || word == "r" || word == "rgt" ? BodySide::Right : BodySide::None;
}

bool saysCentre(std::string_view word) {
    return word == "c" || word == "center" || word == "centre" || word == "mid";
}

/// A number without the zeros in front of it; any other word as it is.
std::string plainWord(const std::string& word) {
    const std::size_t digit = std::min(word.find_first_not_of('0'), word.size() - 1);
    return word.substr(digit);
}

/// The words from `first` on but for the one at `omitted`, in one piece.
std::string keyOf(const std::vector<std::string>& words, std::size_t first, std::size_t omitted) {
    std::string key;
    for (std::size_t i = first; i < words.size(); ++i) {
        // "finger01" is not "finger1": its digits are those of a finger and of a part of it.
        const bool isFinger = i > first && words[i - 1] == "finger";
        key += i == omitted ? "" : isFinger ? words[i] : plainWord(words[i]);
    }
    return key;
}

void addPrefixed(const std::string& key, std::string_view prefix, BodySide side,
                 std::vector<NameReading>& readings) {
    if (key.size() > prefix.size() && key.compare(0, prefix.size(), prefix) == 0) {
        readings.push_back({side, key.substr(prefix.size())});
    }
}

void addSuffixed(const std::string& key, std::string_view suffix, BodySide side,
                 std::vector<NameReading>& readings) {
    const std::size_t rest = key.size() - std::min(key.size(), suffix.size());
    if (rest > 0 && key.substr(rest) == suffix) {
        readings.push_back({side, key.substr(0, rest)});
    }
}

} // namespace

std::vector<std::string> wordsOf(std::string_view jointName) {
    jointName.remove_prefix(jointName.find_last_of(":|") + 1); // npos + 1 is 0
    std::vector<std::string> words;
    if (jointName.size() > longestName) {
        return words;
    }
    for (std::size_t i = 0; i < jointName.size(); ++i) {
        if (kindOf(jointName[i]) == Kind::Other) {
            continue;
        }
        if (i == 0 || isBorder(jointName, i)) {
            words.emplace_back();
        }
        words.back() += lowered(jointName.substr(i, 1));
    }
    return words;
}

std::vector<NameReading> readingsOf(const std::vector<std::string>& words, std::size_t first) {
    std::vector<NameReading> readings;
    const std::string whole = keyOf(words, first, words.size());
    readings.push_back({BodySide::None, whole});
    for (std::size_t i = first; i < words.size(); ++i) {
        const BodySide side = sideOfWord(words[i]);
        if (side != BodySide::None || saysCentre(words[i])) {
            readings.push_back({side, keyOf(words, first, i)});
        }
    }
    addPrefixed(whole, "left", BodySide::Left, readings);
    addPrefixed(whole, "right", BodySide::Right, readings);
    addSuffixed(whole, "left", BodySide::Left, readings);
    addSuffixed(whole, "right", BodySide::Right, readings);
    addPrefixed(whole, "l", BodySide::Left, readings);
    addPrefixed(whole, "r", BodySide::Right, readings);
    return readings;
}

} // namespace tarn::kit
