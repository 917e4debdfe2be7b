// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "support/Wrapped.h"

#include <algorithm>

namespace tarn::capture {

namespace {

void wrapLine(std::string_view text, std::size_t width, std::vector<std::string>& lines) {
    std::string line;
    std::size_t begin = 0;
    while (begin <= text.size()) {
        const std::size_t end = std::min(text.find(' ', begin), text.size());
        const std::string_view word = text.substr(begin, end - begin);
        if (!line.empty() && columnsOf(line) + 1 + columnsOf(word) > width) {
            lines.push_back(line);
            line.clear();
        }
        line += line.empty() ? "" : " ";
        line += word;
        begin = end + 1;
    }
    lines.push_back(line);
}

} // namespace

std::size_t columnsOf(std::string_view text) {
    constexpr unsigned markBits = 0xC0;
    constexpr unsigned continues = 0x80;
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) {
        return (static_cast<unsigned char>(c) & markBits) != continues;
    }));
}

std::vector<std::string> wrapped(std::string_view text, std::size_t width) {
    std::vector<std::string> lines;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        wrapLine(text.substr(0, end), width, lines);
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return lines;
}

std::string hanging(std::string_view text, std::size_t indent, std::size_t width) {
    constexpr std::size_t more = 2;
    const std::size_t room = width > indent + more ? width - indent - more : 1;
    std::string lines;
    for (const std::string& line : wrapped(text, room)) {
        lines += std::string(lines.empty() ? indent : indent + more, ' ') + line + "\n";
    }
    return lines;
}

std::string inColumns(const std::vector<std::string>& items, std::size_t indent,
                      std::size_t width) {
    constexpr std::size_t gap = 2;
    std::size_t widest = 0;
    for (const std::string& item : items) {
        widest = std::max(widest, columnsOf(item));
    }
    const std::size_t room = width > indent ? width - indent : 0;
    const std::size_t columns = std::max<std::size_t>((room + gap) / (widest + gap), 1);
    std::string text;
    for (std::size_t i = 0; i < items.size(); ++i) {
        text += i % columns == 0 ? std::string(indent, ' ') : std::string(gap, ' ');
        text += items[i];
        const bool last = i % columns == columns - 1 || i == items.size() - 1;
        text += last ? "\n" : std::string(widest - columnsOf(items[i]), ' ');
    }
    return text;
}

} // namespace tarn::capture
