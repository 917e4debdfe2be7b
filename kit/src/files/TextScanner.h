// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <charconv>
#include <cmath>
#include <string>
#include <string_view>
#include <system_error>

namespace tarn::kit {

/// Walks the text of a file from start to end, token by token, and reports what is wrong with its
/// place. It copies nothing: the text and the name of the file must outlive it. Where a line begins
/// is only worked out for an error. `\n`, `\r\n` and `\r` end a line.
class TextScanner {
public:
    /// Skips a leading byte-order mark, which counts in no column.
    TextScanner(std::string_view text, const std::string& file);

    /// Skips blanks, but stays on the line.
    void skipBlanks() noexcept {
        while (at_ != end_ && isBlank(*at_)) {
            ++at_;
        }
    }
    /// Skips blanks and line ends.
    void skipSpace() noexcept {
        while (at_ != end_ && (isBlank(*at_) || isLineEnd(*at_))) {
            ++at_;
        }
    }
    /// Whether nothing is left.
    bool atEnd() const noexcept { return at_ == end_; }
    /// Whether nothing is left on the line.
    bool atLineEnd() const noexcept { return at_ == end_ || isLineEnd(*at_); }
    /// Where the scanner stands: a place to report.
    const char* place() const noexcept { return at_; }

    /// Takes `c` if it comes next.
    bool accept(char c) noexcept;
    /// Skips space and takes `c`, or fails.
    void expect(char c);
    /// The word that comes next, up to a space, brace or colon; it may be empty. It is not taken.
    std::string_view peekWord() const noexcept;
    /// The same, and takes it.
    std::string_view takeWord() noexcept;
    /// Skips space and takes `word` (in capitals) if it comes next, in letters of either case.
    bool acceptWord(std::string_view word) noexcept;
    /// Takes the line up to a `{` and returns it without the blanks around it.
    std::string_view takeLine() noexcept;

    /// Takes a finite number in decimal or scientific notation, or fails. One that is too small for
    /// the type is 0. Skips nothing.
    template <class Real>
    Real takeReal() {
        Real value = 0;
        const std::from_chars_result result = std::from_chars(unsignedStart(), end_, value);
        if (result.ec == std::errc() && std::isfinite(value) && endsToken(result.ptr)) {
            at_ = result.ptr;
            return value;
        }
        takeTooSmall(result);
        return 0;
    }
    /// Skips space and takes a whole number from 0 on that an `int` can hold, or fails: `what` says
    /// what is counted.
    int takeCount(const std::string& what);

    /// Throws a `ReadError` for `place`.
    [[noreturn]] void fail(const char* place, const std::string& reason) const;
    /// Throws a `ReadError` for `place` that also says what is found there.
    [[noreturn]] void failExpected(const char* place, const std::string& what) const;

private:
    static bool isBlank(char c) noexcept { return c == ' ' || c == '\t' || c == '\v' || c == '\f'; }
    static bool isLineEnd(char c) noexcept { return c == '\n' || c == '\r'; }
    static bool isBrace(char c) noexcept { return c == '{' || c == '}'; }
    bool endsToken(const char* place) const noexcept {
        return place == end_ || isBlank(*place) || isLineEnd(*place) || isBrace(*place);
    }
    /// Where the number that comes next starts without its plus sign, which `from_chars` refuses.
    const char* unsignedStart() const noexcept {
        const bool plus = at_ != end_ && *at_ == '+';
        return plus && at_ + 1 != end_ && at_[1] != '-' ? at_ + 1 : at_;
    }
    void takeTooSmall(const std::from_chars_result& result);
    std::string found(const char* place) const;

    const char* begin_;
    const char* at_;
    const char* end_;
    const std::string& file_;
};

/// Whether two words are equal but for the case of their letters (those of ASCII).
bool sameWord(std::string_view a, std::string_view b) noexcept;

} // namespace tarn::kit
