// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "documents/OtherFile.h"

#include <tarn_kit/files/Text.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <system_error>
#include <utility>

namespace tarn::capture {

namespace {

namespace fs = std::filesystem;

constexpr const char* sessionText =
    "the document of a session, not a take; 'view' and 'convert' read it, and the others the takes "
    "beside it";

/// By the root element of an XML document.
constexpr std::array<std::pair<std::string_view, const char*>, 7> documents{{
    {"MocapActor", "an actor's document, not a take; 'actor' reads it, and --actor takes it"},
    {"MarkerSet", "a marker set, not a take; 'markers check' reads it, and --markers takes it"},
    {"BodyNames", "a document of body names, not a take; --names takes it"},
    {"Session", sessionText},
    {"Solve", sessionText},
    {"svg", "a picture, not a take"},
    {"html", "a page for a browser, not a take"},
}};

/// By the first bytes of what is no text.
constexpr std::array<std::pair<std::string_view, const char*>, 5> others{{
    {"glTF", "a glTF file, not a take; 'convert' writes such files, and no command reads them"},
    {"\x89PNG", "a picture, not a take"},
    {"PK\x03\x04", "a ZIP archive, not a take; unpack it first"},
    {"\x1F\x8B", "a compressed file, not a take; unpack it first"},
    {"%PDF", "a PDF document, not a take"},
}};

bool startsWith(std::string_view text, std::string_view start) {
    return text.substr(0, start.size()) == start;
}

bool isNameCharacter(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_' || c == '-' || c == ':' ||
           c == '.';
}

/// The name of the root element of a document that begins so; empty if that is not in it.
std::string_view rootIn(std::string_view text) {
    for (std::size_t at = 0; (at = text.find('<', at)) != std::string_view::npos; ++at) {
        const std::string_view rest = text.substr(at + 1);
        if (startsWith(rest, "!--")) {
            at = text.find("-->", at);
            if (at == std::string_view::npos) {
                break;
            }
        } else if (!rest.empty() && rest.front() != '?' && rest.front() != '!') {
            const auto* const end = std::find_if_not(rest.begin(), rest.end(), isNameCharacter);
            return rest.substr(0, static_cast<std::size_t>(end - rest.begin()));
        }
    }
    return {};
}

std::string markupText(std::string_view text) {
    const std::string_view root = rootIn(text);
    for (const auto& [name, what] : documents) {
        if (kit::lowered(std::string(root)) == kit::lowered(std::string(name))) {
            return what;
        }
    }
    return root.empty()
               ? std::string()
               : "an XML document of " + kit::printable(std::string(root)) + ", not a take";
}

std::string jsonText(std::string_view text) {
    const bool isGltf = text.find("\"asset\"") != std::string_view::npos;
    return isGltf ? others.front().second : "a JSON document, not a take; no command reads it";
}

} // namespace

std::string otherFileText(std::string_view beginning) {
    for (const auto& [start, what] : others) {
        if (startsWith(beginning, start)) {
            return what;
        }
    }
    if (beginning.find('\0') != std::string_view::npos) {
        return {};
    }
    const std::size_t first = beginning.find_first_not_of("\xEF\xBB\xBF \t\r\n");
    const std::string_view text =
        first == std::string_view::npos ? std::string_view() : beginning.substr(first);
    if (startsWith(text, "<")) {
        return markupText(text);
    }
    if (startsWith(text, "{")) {
        return jsonText(text);
    }
    if (startsWith(text, "frame,time")) {
        return "a table, not a take; 'export' writes such tables, and no command reads them";
    }
    return {};
}

bool isTake(const std::string& file) {
    std::error_code error;
    if (!fs::is_regular_file(file, error)) {
        return false; // what can be read only once is left to its reader
    }
    std::array<char, 16> bytes{};
    std::ifstream(file, std::ios::binary).read(bytes.data(), bytes.size());
    const std::string_view start(bytes.data(), bytes.size());
    constexpr char keyOfC3d = 0x50;
    return startsWith(start, "HIERARCHY") || startsWith(start, "SQLite format 3") ||
           (start[1] == keyOfC3d && static_cast<unsigned char>(start[0]) < ' ');
}

std::string otherDirectoryText(const std::string& directory) {
    std::error_code error;
    for (const char* const document : {"session.xml", "solve.xml"}) {
        if (fs::exists(fs::path(directory) / document, error)) {
            return "a directory with a session, not a take; 'view' and 'convert' read it, and the "
                   "others the takes in it";
        }
    }
    return "a directory, not a take; name the takes in it";
}

} // namespace tarn::capture
