#include "Xml.h"

#include <algorithm>
#include <regex>
#include <vector>

namespace tarn::tests {

namespace {

std::string tagError(const std::string& tag, std::vector<std::string>& open) {
    static const std::regex shape(R"re(</?[A-Za-z][\w:-]*(\s+[A-Za-z][\w:-]*="[^"<&]*")*\s*/?>)re");
    if (!std::regex_match(tag, shape)) {
        return "malformed tag " + tag;
    }
    const std::size_t first = tag[1] == '/' ? 2 : 1;
    const std::string name = tag.substr(first, tag.find_first_of(" \n\t/>", first) - first);
    if (first == 1 && tag[tag.size() - 2] != '/') {
        open.push_back(name);
    } else if (first == 2) {
        if (open.empty() || open.back() != name) {
            return "unexpected " + tag;
        }
        open.pop_back();
    }
    return {};
}

std::string contentError(const std::string& content, bool insideRoot) {
    static const std::regex shape(R"re(([^&]|&(amp|lt|gt|quot|apos|#\d+);)*)re");
    for (const char c : content) {
        if (static_cast<unsigned char>(c) < 0x20 && c != '\n' && c != '\t' && c != '\r') {
            return "control character";
        }
    }
    if (!insideRoot && content.find_first_not_of(" \n\t\r") != std::string::npos) {
        return "text outside the root element";
    }
    return std::regex_match(content, shape) ? "" : "malformed reference in " + content;
}

} // namespace

std::string xmlError(const std::string& text) {
    std::vector<std::string> open;
    std::size_t at = text.rfind("<?xml", 0) == 0 ? text.find("?>") + 2 : 0;
    while (at < text.size()) {
        const std::size_t tag = std::min(text.find('<', at), text.size());
        if (std::string error = contentError(text.substr(at, tag - at), !open.empty());
            !error.empty()) {
            return error;
        }
        if (tag == text.size()) {
            break;
        }
        const std::size_t end = text.find('>', tag);
        if (end == std::string::npos) {
            return "a tag without an end";
        }
        if (std::string error = tagError(text.substr(tag, end + 1 - tag), open); !error.empty()) {
            return error;
        }
        at = end + 1;
    }
    return open.empty() ? "" : "<" + open.back() + "> has no end";
}

} // namespace tarn::tests
