// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_kit/files/C3d.h>

#include <cstdint>
#include <optional>
#include <string>

namespace tarn::store {

// What take files keep of a take of markers beside its frames and labels.

/// What the document of its track says.
struct MarkerDocument {
    std::int64_t firstFrame = 1; ///< the number of the frame whose time has the index 0
    double rate = 0;             ///< as stated, not as it is meant; 0 where nobody says
};

std::string documentOf(const MarkerDocument& document);
/// What is missing in it is as above.
MarkerDocument markerDocumentIn(const std::string& text);

/// What a note is called that stands for an event.
std::string kindOf(const kit::C3dEvent& event);
/// Whether a note is one; says in `event` which kind.
bool isEvent(const std::string& kind, kit::C3dEvent& event);

/// When an event is, as the text of its note says.
struct EventTime {
    double seconds = 0;
    std::string subject; ///< of the track of markers whose event it is; empty where nobody says
};

/// "0.5 of walk.c3d", with all digits that it takes to read the same number again.
std::string textOf(const EventTime& time);
/// Nothing for a text that says something else.
std::optional<EventTime> eventTimeIn(const std::string& text);

} // namespace tarn::store
