// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "settings/XmlNesting.h"

#include <cstddef>

namespace tarn {

namespace {

const char* const whiteSpace = " \t\n\r";
const char* const endOfName = " \t\n\r/>?";
const char* const endOfAttributeName = " \t\n\r/<>=?!";

/// Steps over markup by the rules of the parser, which are laxer than XML's; so it takes the same
/// tags for tags as the parser does, up to where the parser gives up.
class XmlScanner {
public:
    explicit XmlScanner(std::string_view text) : rest_(text) {}

    /// Steps behind the next `mark`, or to the end of the text.
    bool skipPast(std::string_view mark) {
        const std::size_t found = rest_.find(mark);
        const bool isFound = found != std::string_view::npos;
        rest_ = isFound ? rest_.substr(found + mark.size()) : std::string_view();
        return isFound;
    }

    /// Steps behind `mark` if the rest begins with it.
    bool skip(std::string_view mark) {
        const bool isNext = rest_.substr(0, mark.size()) == mark;
        rest_.remove_prefix(isNext ? mark.size() : 0);
        return isNext;
    }

    /// Steps over whatever markup but a tag follows a "<"; false if a tag follows.
    bool skipOtherMarkup() {
        if (skip("?")) {
            skipPast("?>");
        } else if (skip("!--")) {
            skipPast("-->");
        } else if (skip("![CDATA[")) {
            skipPast("]]>");
        } else if (isDocumentType()) {
            skipDocumentType();
        } else if (skip("!")) {
            skipPast(">");
        } else {
            return false;
        }
        return true;
    }

    /// Steps over a start tag, behind its "<"; true if it opens an element, false if it also closes
    /// it.
    bool skipStartTag() {
        skipUntil(endOfName);
        skipWhiteSpace();
        while (isNot(endOfAttributeName)) {
            skipAttribute();
        }
        return skip(">");
    }

private:
    void skipUntil(const char* end) {
        const std::size_t found = rest_.find_first_of(end);
        rest_.remove_prefix(found == std::string_view::npos ? rest_.size() : found);
    }

    void skipWhiteSpace() {
        const std::size_t found = rest_.find_first_not_of(whiteSpace);
        rest_.remove_prefix(found == std::string_view::npos ? rest_.size() : found);
    }

    /// Whether something follows that is none of `characters`.
    bool isNot(std::string_view characters) const {
        return !rest_.empty() && characters.find(rest_.front()) == std::string_view::npos;
    }

    void skipAttribute() {
        skipUntil(endOfAttributeName);
        skipWhiteSpace();
        skip("=");
        skipWhiteSpace();
        if (skip("\"")) {
            skipPast("\"");
        } else if (skip("'")) {
            skipPast("'");
        } else {
            rest_ = {}; // the parser gives up here
        }
        skipWhiteSpace();
    }

    bool isDocumentType() const {
        const std::string_view keyword = "!DOCTYPE";
        return rest_.size() > keyword.size() && rest_.substr(0, keyword.size()) == keyword &&
               std::string_view(whiteSpace).find(rest_[keyword.size()]) != std::string_view::npos;
    }

    /// Steps behind the first ">" outside brackets, which nest.
    void skipDocumentType() {
        for (int brackets = 0; !rest_.empty();) {
            const char character = rest_.front();
            rest_.remove_prefix(1);
            if (character == '[') {
                ++brackets;
            } else if (character == ']' && brackets > 0) {
                --brackets;
            } else if (character == '>' && brackets == 0) {
                return;
            }
        }
    }

    std::string_view rest_;
};

} // namespace

bool nestsDeeperThan(std::string_view text, int limit) {
    XmlScanner scanner(text);
    int depth = 0;
    while (scanner.skipPast("<")) {
        if (scanner.skipOtherMarkup()) {
            continue;
        }
        if (scanner.skip("/")) {
            scanner.skipPast(">");
            --depth;
        } else if (depth == limit) {
            return true;
        } else if (scanner.skipStartTag()) {
            ++depth;
        }
    }
    return false;
}

} // namespace tarn
