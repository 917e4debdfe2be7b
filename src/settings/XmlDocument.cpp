#include "settings/XmlDocument.h"

#include "settings/XmlNesting.h"

#include <cstddef>
#include <exception>
#include <locale>
#include <sstream>
#include <string_view>

namespace tarn {

namespace {

namespace xml = boost::property_tree::xml_parser;

// The names by which the tree library keeps what is no element.
const char* const attributesKey = "<xmlattr>";
const char* const commentKey = "<xmlcomment>";

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

/// Whether XML has all characters of `text`. Bytes that are no UTF-8 at all pass: they are read
/// back as they are.
bool isXmlText(std::string_view text) {
    while (!text.empty()) {
        const auto byte = static_cast<unsigned char>(text.front());
        const bool isControl = byte < 0x20 && byte != '\t' && byte != '\n' && byte != '\r';
        if (isControl || beginsWithNonCharacter(text)) {
            return false;
        }
        text.remove_prefix(1);
    }
    return true;
}

// A name is good if the parser reads it back.

bool isElementName(const std::string& name) {
    return !name.empty() && name.front() != '!' &&
           name.find_first_of(" \t\n\r/>?") == std::string::npos && isXmlText(name);
}

bool isAttributeName(const std::string& name) {
    return !name.empty() && name.find_first_of(" \t\n\r/<>=?!") == std::string::npos &&
           isXmlText(name);
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

/// Whether an element of this content, with at most `depth` levels of elements inside, is read back
/// as it is.
bool isElement(const PropertyTree& node, int depth) {
    for (const auto& [name, child] : node) {
        if (!isChild(name, child, depth)) {
            return false;
        }
    }
    return node.count(attributesKey) <= 1 && isXmlText(node.data());
}

/// Whether the children of `root` make a document. A document has neither text nor attributes
/// outside its elements.
bool isDocument(const PropertyTree& root, int maximumDepth) {
    return root.data().empty() && root.count(attributesKey) == 0 && isElement(root, maximumDepth);
}

} // namespace

bool readDocument(const std::string& text, PropertyTree& tree, int maximumDepth) {
    // The parser takes a zero byte for the end of the document and would call the half before it a
    // whole.
    if (text.find('\0') != std::string::npos || nestsDeeperThan(text, maximumDepth)) {
        return false;
    }
    try {
        std::istringstream stream(text);
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
