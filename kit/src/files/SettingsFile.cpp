// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/files/SettingsFile.h>

#include "files/FileBytes.h"
#include "files/xml/XmlElements.h"

#include <algorithm>
#include <fstream>
#include <system_error>
#include <vector>

namespace tarn::kit {

namespace {

namespace fs = std::filesystem;

TextPlace placeAt(std::string_view text, std::size_t offset) {
    const std::string_view before = text.substr(0, offset);
    const std::size_t lineEnd = before.rfind('\n');
    const std::size_t lineStart = lineEnd == std::string_view::npos ? 0 : lineEnd + 1;
    const auto lines = std::count(before.begin(), before.end(), '\n');
    return {static_cast<std::size_t>(lines) + 1, offset - lineStart + 1};
}

std::string textOf(const fs::path& file) {
    const std::string name = file.string();
    std::filebuf buffer;
    std::error_code error;
    if (fs::is_fifo(file, error)) {
        constexpr std::size_t firstRead = 65'536;
        if (buffer.open(file, std::ios_base::in | std::ios_base::binary) == nullptr) {
            failWhole(name, "the pipe cannot be read");
        }
        return readAll(buffer, firstRead, name);
    }
    const std::size_t size = openFile(file, name, buffer);
    return readAll(buffer, size, name);
}

std::vector<std::string_view> namesIn(std::string_view path) {
    std::vector<std::string_view> names;
    while (true) {
        const std::size_t dot = std::min(path.find('.'), path.size());
        names.push_back(path.substr(0, dot));
        if (dot == path.size()) {
            return names;
        }
        path.remove_prefix(dot + 1);
    }
}

} // namespace

std::string loadSettings(Settings& settings, const fs::path& file) {
    std::string text = textOf(file);
    loadSettings(settings, text, file.string());
    return text;
}

void loadSettings(Settings& settings, const std::string& text, const std::string& name) {
    if (settings.loadSettingsFromString(text)) {
        return;
    }
    XmlElements elements(text);
    while (elements.next()) {
    }
    if (elements.fault().reason.empty()) {
        failWhole(name, "not a settings document");
    }
    const TextPlace place = placeAt(text, elements.fault().offset);
    throw ReadError(name, place.line, place.column, elements.fault().reason);
}

std::optional<TextPlace> placeOf(std::string_view document, std::string_view path,
                                 std::size_t index) {
    const auto names = namesIn(path);
    std::size_t found = 0; // so many names of the path lead to an element that is open
    XmlElements elements(document);
    while (elements.next()) {
        if (elements.depth() < found) {
            return std::nullopt; // the first of its name has ended, and no other counts
        }
        if (elements.depth() > found || elements.name() != names[found]) {
            continue;
        }
        const bool isLast = found + 1 == names.size();
        if (isLast && index == 0) {
            return placeAt(document, elements.offset());
        }
        isLast ? --index : ++found;
    }
    return std::nullopt;
}

std::size_t removeSetting(Settings& settings, const std::string& path) {
    const std::size_t dot = path.rfind('.');
    if (dot == std::string::npos) {
        const std::size_t count = settings.valueList(path).size();
        settings.remove(path);
        return count;
    }
    const auto group = settings.subSettings(path.substr(0, dot));
    return group == nullptr ? 0 : removeSetting(*group, path.substr(dot + 1));
}

} // namespace tarn::kit
