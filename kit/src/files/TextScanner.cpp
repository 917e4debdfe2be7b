// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "files/TextScanner.h"

#include <tarn_kit/files/ReadError.h>

#include <algorithm>
#include <climits>
#include <cstddef>

namespace tarn::kit {

namespace {

constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

char toUpper(char c) noexcept {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

bool continuesCharacter(char c) noexcept {
    return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U;
}

/// A token in quotes, cut where it gets too long for a message, but not within a character.
std::string quoted(std::string_view token) {
    constexpr std::size_t longest = 40;
    if (token.size() <= longest) {
        return "'" + std::string(token) + "'";
    }
    std::size_t length = longest;
    while (length > 0 && continuesCharacter(token[length])) {
        --length;
    }
    return "'" + std::string(token.substr(0, length)) + "...'";
}

/// The exponent as written; one that no `int` holds is as large or small as an `int` can be.
int exponentOf(std::string_view text) {
    if (!text.empty() && text.front() == '+') {
        text.remove_prefix(1);
    }
    int exponent = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), exponent);
    if (result.ec == std::errc::result_out_of_range) {
        return text.front() == '-' ? INT_MIN : INT_MAX;
    }
    return exponent;
}

/// Whether a number that is out of range is so because it is too close to 0.
bool isTooSmall(std::string_view number) {
    const std::size_t mantissaEnd = std::min(number.find_first_of("eE"), number.size());
    const std::string_view mantissa = number.substr(0, mantissaEnd);
    const auto point = static_cast<std::ptrdiff_t>(std::min(mantissa.find('.'), mantissaEnd));
    const auto firstDigit = static_cast<std::ptrdiff_t>(mantissa.find_first_of("123456789"));
    const std::string_view exponent = number.substr(std::min(mantissaEnd + 1, number.size()));
    return point - firstDigit + exponentOf(exponent) < 0;
}

} // namespace

bool sameWord(std::string_view a, std::string_view b) noexcept {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return toUpper(x) == toUpper(y); });
}

TextScanner::TextScanner(std::string_view text, const std::string& file)
    : begin_(text.data()), at_(begin_), end_(begin_ + text.size()), file_(file) {
    if (text.substr(0, byteOrderMark.size()) == byteOrderMark) {
        begin_ += byteOrderMark.size();
        at_ = begin_;
    }
}

bool TextScanner::accept(char c) noexcept {
    if (at_ == end_ || *at_ != c) {
        return false;
    }
    ++at_;
    return true;
}

void TextScanner::expect(char c) {
    skipSpace();
    if (!accept(c)) {
        failExpected(at_, std::string(1, c));
    }
}

std::string_view TextScanner::peekWord() const noexcept {
    const char* stop = at_;
    while (!endsToken(stop) && *stop != ':') {
        ++stop;
    }
    return {at_, static_cast<std::size_t>(stop - at_)};
}

std::string_view TextScanner::takeWord() noexcept {
    const std::string_view word = peekWord();
    at_ += word.size();
    return word;
}

bool TextScanner::acceptWord(std::string_view word) noexcept {
    skipSpace();
    const bool accepted = sameWord(peekWord(), word);
    if (accepted) {
        takeWord();
    }
    return accepted;
}

std::string_view TextScanner::takeLine() noexcept {
    skipBlanks();
    const char* const start = at_;
    while (!atLineEnd() && *at_ != '{') {
        ++at_;
    }
    const char* stop = at_;
    while (stop != start && isBlank(stop[-1])) {
        --stop;
    }
    return {start, static_cast<std::size_t>(stop - start)};
}

int TextScanner::takeCount(const std::string& what) {
    skipSpace();
    int count = 0;
    const std::from_chars_result result = std::from_chars(at_, end_, count);
    if (result.ec != std::errc() || count < 0 || !endsToken(result.ptr)) {
        failExpected(at_, what + " from 0 to " + std::to_string(INT_MAX));
    }
    at_ = result.ptr;
    return count;
}

/// Takes a number that `from_chars` did not, if that is because it is too small for its type.
void TextScanner::takeTooSmall(const std::from_chars_result& result) {
    if (result.ec == std::errc::invalid_argument || !endsToken(result.ptr)) {
        failExpected(at_, "a number");
    }
    const std::string_view number(at_, static_cast<std::size_t>(result.ptr - at_));
    if (result.ec == std::errc() || !isTooSmall(number)) {
        failExpected(at_, "a finite number that is not too large");
    }
    at_ = result.ptr;
}

void TextScanner::fail(const char* place, const std::string& reason) const {
    std::size_t line = 1;
    const char* lineStart = begin_;
    for (const char* c = begin_; c != place; ++c) {
        const bool firstOfTwo = *c == '\r' && c + 1 != end_ && c[1] == '\n';
        if (isLineEnd(*c) && !firstOfTwo) {
            ++line;
            lineStart = c + 1;
        }
    }
    throw ReadError(file_, line, static_cast<std::size_t>(place - lineStart) + 1, reason);
}

void TextScanner::failExpected(const char* place, const std::string& what) const {
    fail(place, "expected " + what + ", found " + found(place));
}

std::string TextScanner::found(const char* place) const {
    if (place == end_) {
        return "the end of the file";
    }
    if (isLineEnd(*place)) {
        return "the end of the line";
    }
    const char* stop = place;
    while (stop != end_ && !isBlank(*stop) && !isLineEnd(*stop)) {
        ++stop;
    }
    return quoted({place, static_cast<std::size_t>(stop - place)});
}

} // namespace tarn::kit
