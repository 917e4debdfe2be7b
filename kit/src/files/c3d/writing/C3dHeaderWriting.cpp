// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "files/c3d/writing/C3dHeaderWriting.h"

#include "files/c3d/C3dHeader.h"
#include "files/c3d/writing/C3dSamples.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace tarn::kit {

namespace {

namespace header = c3d_header;

void putEvents(std::string& head, const std::vector<C3dEvent>& events, C3dProcessor processor) {
    if (events.size() > static_cast<std::size_t>(header::maxEvents)) {
        refuseC3d("it has more than 18 events for the header");
    }
    const std::uint64_t first = header::offsetOf(header::eventTimes);
    const std::uint64_t end = header::offsetOf(header::eventLabels + 2 * header::maxEvents);
    std::fill(head.begin() + static_cast<std::ptrdiff_t>(first),
              head.begin() + static_cast<std::ptrdiff_t>(end), '\0');
    putWord(&head[header::offsetOf(header::eventKey)], header::key, processor);
    putWord(&head[header::offsetOf(header::eventCount)], static_cast<std::uint16_t>(events.size()),
            processor);
    for (std::size_t i = 0; i < events.size(); ++i) {
        const C3dEvent& event = events[i];
        if (event.label.size() > 4) {
            refuseC3d("the event '" + event.label +
                      "' has more than the 4 characters that the "
                      "header has for it");
        }
        putReal(&head[first + 4 * i], static_cast<float>(event.time), processor);
        head[header::offsetOf(header::eventFlags) + i] = event.shown ? 0 : 1;
        std::string label = event.label;
        label.resize(4, ' ');
        head.replace(header::offsetOf(header::eventLabels) + 4 * i, 4, label);
    }
}

} // namespace

void putHeader(std::string& head, const C3dTake& take, const C3dLayout& layout,
               const C3dChanges& changes, bool anew) {
    const auto word = [&](int number, std::uint64_t value) {
        putWord(&head[header::offsetOf(number)],
                static_cast<std::uint16_t>(std::min<std::uint64_t>(value, c3d_header::maxWord)),
                layout.processor);
    };
    const auto real = [&](int number, double value) {
        putReal(&head[header::offsetOf(number)], static_cast<float>(value), layout.processor);
    };
    if (anew || changes.points) {
        word(header::points, layout.points);
    }
    if (anew || changes.frames) {
        const auto first = static_cast<std::uint64_t>(std::max<std::int64_t>(0, layout.firstFrame));
        word(header::firstFrame, first);
        word(header::lastFrame, first + layout.frames == 0 ? 0 : first + layout.frames - 1);
    }
    if (anew || changes.scale) {
        real(header::scale, layout.real ? -layout.scale : layout.scale);
    }
    if (anew || changes.rate) {
        real(header::rate, layout.rate);
    }
    if (anew) {
        word(header::dataStart, layout.dataStart / c3dBlock + 1);
    }
    if (anew && (changes.analogShape || changes.encoding)) {
        word(header::samplesPerFrame, layout.samplesPerFrame);
    }
    if (anew || changes.analogShape) {
        word(header::analogPerFrame, layout.channels * layout.samplesPerFrame);
    }
    if (changes.headerEvents || changes.encoding) {
        putEvents(head, eventsIn(take, true), layout.processor);
    }
}

} // namespace tarn::kit
