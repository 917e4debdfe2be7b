// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "files/xml/XmlElements.h"

#include <tarn/Settings.h>

#include <algorithm>

namespace tarn::kit {

namespace {

constexpr std::string_view whiteSpace = " \t\n\r";
constexpr std::string_view endOfName = " \t\n\r/>?";
constexpr std::string_view endOfAttributeName = " \t\n\r/<>=?!";
constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

bool isIn(char c, std::string_view characters) {
    return characters.find(c) != std::string_view::npos;
}

std::string quoted(std::string_view text) {
    constexpr std::size_t longest = 40;
    const bool isLong = text.size() > longest;
    return "'" + std::string(text.substr(0, longest)) + (isLong ? "..." : "") + "'";
}

} // namespace

XmlElements::XmlElements(std::string_view document) : text_(document) {
    at_ = startsWith(byteOrderMark) ? byteOrderMark.size() : 0;
}

bool XmlElements::fail(std::size_t offset, const std::string& reason) {
    // An end tag that does not fit is what makes those after it wrong.
    fault_ = mismatch_.reason.empty() ? XmlFault{offset, reason} : mismatch_;
    return false;
}

bool XmlElements::next() {
    while (fault_.reason.empty()) {
        const std::size_t begin = at_;
        const std::size_t tag = std::min(text_.find('<', at_), text_.size());
        if (!checkText(begin, tag)) {
            return false;
        }
        at_ = tag;
        if (at_ == text_.size()) {
            return finish();
        }
        if (startsWith("<?") || startsWith("<!")) {
            if (!skipMarkup()) {
                return false;
            }
        } else if (startsWith("</")) {
            if (!takeEndTag()) {
                return false;
            }
        } else {
            return takeStartTag();
        }
    }
    return false;
}

/// Text between tags: none outside the elements, and character references that end.
bool XmlElements::checkText(std::size_t begin, std::size_t end) {
    const std::string_view text = text_.substr(begin, end - begin);
    const std::size_t zero = text.find('\0');
    if (zero != std::string_view::npos) {
        return fail(begin + zero, "a zero byte");
    }
    const std::size_t first = text.find_first_not_of(whiteSpace);
    if (open_.empty() && first != std::string_view::npos) {
        const std::size_t stop = std::min(text.find_first_of(whiteSpace, first), text.size());
        return fail(begin + first,
                    "expected an element, found " + quoted(text.substr(first, stop - first)));
    }
    for (std::size_t at = 0; (at = text.find("&#", at)) != std::string_view::npos; at += 2) {
        const std::size_t digits = at + (text.substr(at + 2, 1) == "x" ? 3 : 2);
        const std::size_t stop = text.find_first_not_of("0123456789abcdefABCDEF", digits);
        if (stop == std::string_view::npos || text[stop] != ';') {
            return fail(begin + at, "a character reference without its ';'");
        }
    }
    return true;
}

bool XmlElements::skipMarkup() {
    if (startsWith("<?")) {
        return skipPast("?>", "a declaration");
    }
    if (startsWith("<!--")) {
        return skipPast("-->", "a comment");
    }
    if (startsWith("<![CDATA[")) {
        return skipPast("]]>", "a CDATA section");
    }
    constexpr std::string_view documentType = "<!DOCTYPE";
    if (startsWith(documentType) && at_ + documentType.size() < text_.size() &&
        isIn(text_[at_ + documentType.size()], whiteSpace)) {
        return skipDocumentType();
    }
    return skipPast(">", "markup");
}

bool XmlElements::skipPast(std::string_view mark, const std::string& what) {
    const std::size_t found = text_.find(mark, at_);
    if (found == std::string_view::npos) {
        return fail(at_, what + " that is not closed: expected '" + std::string(mark) + "'");
    }
    at_ = found + mark.size();
    return true;
}

/// To the first ">" outside brackets, which nest.
bool XmlElements::skipDocumentType() {
    int brackets = 0;
    for (std::size_t i = at_; i < text_.size(); ++i) {
        brackets += text_[i] == '[' ? 1 : text_[i] == ']' ? -1 : 0;
        if (text_[i] == '>' && brackets <= 0) {
            at_ = i + 1;
            return true;
        }
    }
    return fail(at_, "a document type that is not closed: expected '>'");
}

bool XmlElements::takeEndTag() {
    const std::size_t begin = at_;
    at_ += 2;
    const std::string_view name = takeUntil(endOfName);
    skipSpace();
    if (open_.empty()) {
        return fail(begin, "an end tag without a start tag: </" + std::string(name) + ">");
    }
    if (peek() != '>') {
        return fail(begin, "an end tag that is not closed: expected '>'");
    }
    ++at_;
    if (name != open_.back().name && mismatch_.reason.empty()) {
        mismatch_ = {begin, "expected the end tag of " + quoted(open_.back().name) + ", found " +
                                quoted(name)};
    }
    open_.pop_back();
    return true;
}

bool XmlElements::takeStartTag() {
    offset_ = at_;
    depth_ = open_.size();
    ++at_;
    name_ = takeUntil(endOfName);
    if (name_.empty()) {
        return fail(offset_, "expected the name of an element behind '<'");
    }
    if (depth_ >= static_cast<std::size_t>(Settings::maximumDepth)) {
        return fail(offset_, "elements nest deeper than " + std::to_string(Settings::maximumDepth));
    }
    skipSpace();
    while (at_ < text_.size() && !isIn(peek(), endOfAttributeName)) {
        if (!skipAttribute()) {
            return false;
        }
    }
    if (startsWith("/>")) {
        at_ += 2;
        return true;
    }
    if (peek() != '>') {
        return fail(offset_, "the tag of " + quoted(name_) + " is not closed: expected '>'");
    }
    ++at_;
    open_.push_back({name_, offset_});
    return true;
}

bool XmlElements::skipAttribute() {
    const std::size_t begin = at_;
    const std::string_view name = takeUntil(endOfAttributeName);
    skipSpace();
    if (peek() != '=') {
        return fail(begin, "expected '=' behind the attribute " + quoted(name));
    }
    ++at_;
    skipSpace();
    const char quote = peek();
    if (quote != '"' && quote != '\'') {
        return fail(begin, "expected a value in quotes for the attribute " + quoted(name));
    }
    const std::size_t end = text_.find(quote, at_ + 1);
    if (end == std::string_view::npos) {
        return fail(at_, "a quote that is not closed");
    }
    at_ = end + 1;
    skipSpace();
    return true;
}

/// There is no next element at the end of the text.
bool XmlElements::finish() {
    if (!open_.empty()) {
        fail(open_.back().offset, "the element " + quoted(open_.back().name) + " has no end tag");
    }
    return false;
}

bool XmlElements::startsWith(std::string_view mark) const {
    return text_.substr(at_, mark.size()) == mark;
}

void XmlElements::skipSpace() {
    at_ = std::min(text_.find_first_not_of(whiteSpace, at_), text_.size());
}

std::string_view XmlElements::takeUntil(std::string_view end) {
    const std::size_t begin = at_;
    at_ = std::min(text_.find_first_of(end, at_), text_.size());
    return text_.substr(begin, at_ - begin);
}

} // namespace tarn::kit
