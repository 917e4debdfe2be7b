// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "file/MarkerDocument.h"

#include <tarn/Settings.h>
#include <tarn_kit/files/Text.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <cstring>

namespace tarn::store {

namespace {

const char* const firstFrameKey = "Markers.FirstFrame";
const char* const rateKey = "Markers.Rate";

constexpr std::int64_t farthest = 1'000'000'000'000; // that a file may say it begins at

struct Kind {
    const char* name;
    bool inHeader;
    bool shown;
};
constexpr std::array<Kind, 4> kinds = {{{"event", false, true},
                                        {"header event", true, true},
                                        {"hidden header event", true, false},
                                        {"hidden event", false, false}}};

constexpr const char* whose = " of ";

/// With all digits that it takes to read the same number again.
std::string exactText(double number) {
    std::array<char, 40> text = {};
    std::snprintf(text.data(), text.size(), "%.17g", number);
    return text.data();
}

} // namespace

std::string documentOf(const MarkerDocument& document) {
    Settings settings;
    settings.setValue(firstFrameKey, std::to_string(document.firstFrame));
    settings.setValue(rateKey, exactText(document.rate));
    std::string text;
    settings.saveSettingsToString(text);
    return text;
}

MarkerDocument markerDocumentIn(const std::string& text) {
    MarkerDocument document;
    Settings settings;
    if (text.empty() || !settings.loadSettingsFromString(text)) {
        return document;
    }
    const auto first = kit::numberIn<std::int64_t>(settings.value(firstFrameKey, ""));
    if (first && *first >= -farthest && *first <= farthest) {
        document.firstFrame = *first;
    }
    const auto rate = kit::numberIn<double>(settings.value(rateKey, ""));
    if (rate && *rate > 0 && std::isfinite(*rate)) {
        document.rate = *rate;
    }
    return document;
}

std::string kindOf(const kit::C3dEvent& event) {
    for (const Kind& kind : kinds) {
        if (kind.inHeader == event.inHeader && kind.shown == event.shown) {
            return kind.name;
        }
    }
    return "event";
}

std::string textOf(const EventTime& time) {
    return exactText(time.seconds) + (time.subject.empty() ? "" : whose + time.subject);
}

std::optional<EventTime> eventTimeIn(const std::string& text) {
    const std::size_t end = text.find(whose);
    const auto seconds = kit::numberIn<double>(text.substr(0, end));
    if (!seconds || !std::isfinite(*seconds)) {
        return std::nullopt;
    }
    return EventTime{*seconds,
                     end == std::string::npos ? "" : text.substr(end + std::strlen(whose))};
}

bool isEvent(const std::string& kind, kit::C3dEvent& event) {
    for (const Kind& known : kinds) {
        if (kind == known.name) {
            event.inHeader = known.inHeader;
            event.shown = known.shown;
            return true;
        }
    }
    return false;
}

} // namespace tarn::store
