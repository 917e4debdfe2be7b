// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace tarn::kit {

/// What is wrong with a document, and at which byte of it.
struct XmlFault {
    std::size_t offset = 0;
    std::string reason; ///< empty if nothing is
};

/// Walks the elements of an XML document from tag to tag, by the rules of the parser that reads
/// settings; those are laxer than XML's. It takes no stack, and memory for the elements that are
/// open only.
class XmlElements {
public:
    explicit XmlElements(std::string_view document);

    /// Steps behind the next start tag; false at the end of the document, or at a fault. Elements
    /// that end before that are closed.
    bool next();

    /// The element whose start tag was stepped over last.
    std::string_view name() const { return name_; }
    /// Where its tag begins.
    std::size_t offset() const { return offset_; }
    /// How many elements it is in.
    std::size_t depth() const { return depth_; }

    /// What made the walk end; nothing at the end of a good document.
    const XmlFault& fault() const { return fault_; }

private:
    struct OpenElement {
        std::string_view name;
        std::size_t offset;
    };

    bool fail(std::size_t offset, const std::string& reason);
    bool checkText(std::size_t begin, std::size_t end);
    bool skipMarkup();
    bool skipPast(std::string_view mark, const std::string& what);
    bool skipDocumentType();
    bool takeEndTag();
    bool takeStartTag();
    bool skipAttribute();
    bool finish();
    bool startsWith(std::string_view mark) const;
    void skipSpace();
    std::string_view takeUntil(std::string_view end);
    char peek() const { return at_ < text_.size() ? text_[at_] : '\0'; }

    std::string_view text_;
    std::size_t at_ = 0;
    std::vector<OpenElement> open_;
    XmlFault mismatch_; ///< the first end tag of another name than its start tag
    XmlFault fault_;
    std::string_view name_;
    std::size_t offset_ = 0;
    std::size_t depth_ = 0;
};

} // namespace tarn::kit
