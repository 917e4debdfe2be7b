// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "apps/support/Xml.h"

#include <algorithm>
#include <array>
#include <stdexcept>
#include <string_view>
#include <vector>

namespace tarn::tests {

namespace {

class Malformed : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

constexpr std::string_view blanks = " \n\t\r";

/// Walks over a document, or a part of it.
class Scanner {
public:
    explicit Scanner(std::string_view text) : rest_(text) {}

    bool atEnd() const { return rest_.empty(); }
    bool accept(std::string_view token) {
        if (rest_.substr(0, token.size()) != token) {
            return false;
        }
        rest_.remove_prefix(token.size());
        return true;
    }
    void expect(std::string_view token) {
        if (!accept(token)) {
            throw Malformed("expected " + std::string(token) + " at " +
                            std::string(rest_.substr(0, 40)));
        }
    }
    void skipBlanks() { until(std::min(rest_.find_first_not_of(blanks), rest_.size())); }
    /// All up to one of the characters, or up to the end.
    std::string_view takeUntil(std::string_view characters) {
        return until(std::min(rest_.find_first_of(characters), rest_.size()));
    }
    std::string_view takeName() {
        const std::string_view name = takeUntil(" \n\t\r=/><\"&");
        if (name.empty()) {
            throw Malformed("expected a name at " + std::string(rest_.substr(0, 40)));
        }
        return name;
    }

private:
    std::string_view until(std::size_t end) {
        const std::string_view taken = rest_.substr(0, end);
        rest_.remove_prefix(end);
        return taken;
    }

    std::string_view rest_;
};

void checkText(std::string_view text) {
    constexpr std::array<std::string_view, 5> references{"&amp;", "&lt;", "&gt;", "&quot;",
                                                         "&apos;"};
    for (Scanner scanner(text); !scanner.atEnd();) {
        scanner.takeUntil("&");
        const bool known = std::any_of(references.begin(), references.end(),
                                       [&](std::string_view name) { return scanner.accept(name); });
        if (!known && !scanner.atEnd()) {
            throw Malformed("unknown reference in " + std::string(text.substr(0, 80)));
        }
    }
    if (std::any_of(text.begin(), text.end(), [](char c) {
            return static_cast<unsigned char>(c) < 0x20 && blanks.find(c) == std::string_view::npos;
        })) {
        throw Malformed("control character in " + std::string(text.substr(0, 80)));
    }
}

void checkEndTag(Scanner& scanner, std::vector<std::string>& open) {
    const std::string name(scanner.takeName());
    if (open.empty() || open.back() != name) {
        throw Malformed("unexpected end of <" + name + ">");
    }
    open.pop_back();
    scanner.skipBlanks();
    scanner.expect(">");
}

void checkStartTag(Scanner& scanner, std::vector<std::string>& open) {
    open.emplace_back(scanner.takeName());
    scanner.skipBlanks();
    while (!scanner.accept(">")) {
        if (scanner.accept("/>")) {
            open.pop_back();
            return;
        }
        scanner.takeName();
        scanner.expect("=\"");
        checkText(scanner.takeUntil("\"<"));
        scanner.expect("\"");
        scanner.skipBlanks();
    }
}

void checkDocument(Scanner scanner) {
    if (scanner.accept("<?xml")) {
        scanner.takeUntil(">");
        scanner.expect(">");
    }
    std::vector<std::string> open;
    do {
        scanner.skipBlanks();
        scanner.expect("<");
        if (scanner.accept("/")) {
            checkEndTag(scanner, open);
        } else {
            checkStartTag(scanner, open);
        }
        if (!open.empty()) {
            checkText(scanner.takeUntil("<"));
        }
    } while (!open.empty());
    scanner.skipBlanks();
    if (!scanner.atEnd()) {
        throw Malformed("something after the root element");
    }
}

} // namespace

std::string xmlError(const std::string& text) {
    try {
        checkDocument(Scanner(text));
        return {};
    } catch (const Malformed& malformed) {
        return malformed.what();
    }
}

} // namespace tarn::tests
