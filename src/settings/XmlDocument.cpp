// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "settings/XmlDocument.h"

#include "settings/XmlNesting.h"

#include <array>
#include <cstddef>
#include <exception>
#include <istream>
#include <locale>
#include <sstream>
#include <streambuf>
#include <string_view>

namespace tarn {

namespace {

namespace xml = boost::property_tree::xml_parser;

// The names by which the tree library keeps what is no element.
constexpr std::string_view attributesKey = "<xmlattr>";
constexpr std::string_view commentKey = "<xmlcomment>";

/// Whether `text` begins with the UTF-8 form of a code point that is no character to XML: a
/// surrogate, U+FFFE or U+FFFF.
bool beginsWithNonCharacter(std::string_view text) {
    const auto byte = [text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    if (text.size() < 3 || (byte(2) & 0xC0) != 0x80) {
        return false;
    }
    return (byte(0) == 0xED && (byte(1) & 0xE0) == 0xA0) ||
           (byte(0) == 0xEF && byte(1) == 0xBF && byte(2) >= 0xBE);
}

constexpr bool isControl(unsigned char byte) {
    return byte < 0x20 && byte != '\t' && byte != '\n' && byte != '\r';
}

/// Whether `byte` is no character to XML, or may begin one that is none.
constexpr bool isSuspect(unsigned char byte) {
    return isControl(byte) || byte == 0xED || byte == 0xEF;
}

/// Whether XML has all characters of `text`, looked at one by one.
bool areCharacters(std::string_view text) {
    while (!text.empty()) {
        if (isControl(static_cast<unsigned char>(text.front())) || beginsWithNonCharacter(text)) {
            return false;
        }
        text.remove_prefix(1);
    }
    return true;
}

/// Whether XML has all characters of `text`. Bytes that are no UTF-8 at all pass: they are read
/// back as they are.
bool isXmlText(std::string_view text) {
    unsigned char suspects = 0;         // no `bool`, of which the compiler takes one at a time
    for (const char character : text) { // to the end in any case: so it takes many at a time
        suspects |= static_cast<unsigned char>(isSuspect(static_cast<unsigned char>(character)));
    }
    return suspects == 0 || areCharacters(text);
}

// A name is good if the parser reads it back.

/// The bytes that no name may hold, or that ask for a closer look.
class Excluded {
public:
    explicit constexpr Excluded(std::string_view bytes) : bytes_(bytes) {
        for (unsigned byte = 0; byte < excluded_.size(); ++byte) {
            excluded_[byte] = isSuspect(static_cast<unsigned char>(byte));
        }
        for (const char byte : bytes) {
            excluded_[static_cast<unsigned char>(byte)] = true;
        }
    }

    bool areNotIn(const std::string& name) const {
        for (const char byte : name) {
            if (excluded_[static_cast<unsigned char>(byte)]) {
                return name.find_first_of(bytes_) == std::string::npos && isXmlText(name);
            }
        }
        return true;
    }

private:
    std::string_view bytes_;
    std::array<bool, 256> excluded_{};
};

constexpr Excluded fromElementNames(" \t\n\r/>?");
constexpr Excluded fromAttributeNames(" \t\n\r/<>=?!");

bool isElementName(const std::string& name) {
    return !name.empty() && name.front() != '!' && fromElementNames.areNotIn(name);
}

bool isAttributeName(const std::string& name) {
    return !name.empty() && fromAttributeNames.areNotIn(name);
}

bool isComment(const PropertyTree& node) {
    return node.empty() && node.data().find("-->") == std::string::npos && isXmlText(node.data());
}

bool areAttributes(const PropertyTree& node) {
    for (const auto& [name, attribute] : node) {
        if (!isAttributeName(name) || !attribute.empty() || !isXmlText(attribute.data())) {
            return false;
        }
    }
    return node.data().empty();
}

bool isElement(const PropertyTree& node, int depth);

bool isChild(const std::string& name, const PropertyTree& node, int depth) {
    if (name == attributesKey) {
        return areAttributes(node);
    }
    if (name == commentKey) {
        return isComment(node);
    }
    return depth > 0 && isElementName(name) && isElement(node, depth - 1);
}

/// Whether an element of this content, with at most `attributeSets` sets of attributes and `depth`
/// levels of elements inside, is read back as it is.
bool isContent(const PropertyTree& node, int attributeSets, int depth) {
    for (const auto& [name, child] : node) {
        attributeSets -= name == attributesKey ? 1 : 0;
        if (attributeSets < 0 || !isChild(name, child, depth)) {
            return false;
        }
    }
    return isXmlText(node.data());
}

bool isElement(const PropertyTree& node, int depth) { return isContent(node, 1, depth); }

/// Whether the children of `root` make a document. A document has neither text nor attributes
/// outside its elements.
bool isDocument(const PropertyTree& root, int maximumDepth) {
    return root.data().empty() && isContent(root, 0, maximumDepth);
}

/// A text to be read where it is: a document may be large.
class TextBuffer : public std::streambuf {
public:
    explicit TextBuffer(const std::string& text) {
        char* const begin = const_cast<char*>(text.data()); // which nobody writes through
        setg(begin, begin, begin + text.size());
    }
};

} // namespace

bool readDocument(const std::string& text, PropertyTree& tree, int maximumDepth) {
    // The parser takes a zero byte for the end of the document and would call the half before it a
    // whole.
    if (nestsDeeperThan(text, maximumDepth) || text.find('\0') != std::string::npos) {
        return false;
    }
    try {
        TextBuffer buffer(text);
        std::istream stream(&buffer);
        stream.imbue(std::locale::classic());
        xml::read_xml(stream, tree, xml::trim_whitespace);
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

bool writeDocument(const PropertyTree& tree, std::string& text, int maximumDepth) {
    if (!isDocument(tree, maximumDepth)) {
        return false;
    }
    try {
        std::ostringstream stream;
        stream.imbue(std::locale::classic());
        xml::write_xml(stream, tree, xml::xml_writer_make_settings<std::string>('\t', 1, "utf-8"));
        text = stream.str();
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

} // namespace tarn
