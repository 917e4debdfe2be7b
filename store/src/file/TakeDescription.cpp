// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_store/file/TakeDescription.h>

#include "file/MarkerDocument.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace tarn::store {

namespace {

/// A take may state anything, or nothing.
kit::Rate rateOf(double stated) {
    return stated > 0 ? kit::Rate::nearest(std::clamp(stated, 1e-6, 1e6)) : kit::Rate();
}

} // namespace

TrackDescription describeMarkers(const kit::C3dTake& take, const std::string& subject) {
    TrackDescription description = TrackDescription::of(take, subject);
    description.document = documentOf({take.firstFrame, take.rate});
    return description;
}

TrackDescription describeChannels(const kit::C3dTake& take, const std::string& subject) {
    TrackDescription description;
    description.subject = subject;
    description.rate = rateOf(take.analogRate());
    for (const kit::C3dChannel& channel : take.channels) {
        description.labels.push_back({"", channel.name, channel.description, channel.unit});
    }
    return description;
}

TrackDescription describeRigidBodies(const kit::C3dTake& take, const std::string& subject) {
    TrackDescription description;
    description.subject = subject;
    description.rate = rateOf(take.rate * take.bodiesPerFrame);
    for (const kit::C3dRigidBody& body : take.bodies) {
        description.labels.push_back({"", body.name, body.description, ""});
    }
    return description;
}

std::vector<Note> eventNotes(const kit::C3dInfo& take, const std::string& subject) {
    std::vector<Note> notes;
    for (const kit::C3dEvent& event : take.events) {
        Note note;
        note.kind = kindOf(event);
        const double frame = std::floor(event.time * take.rate) + 1;
        constexpr double most = 1e15;
        if (std::abs(frame) < most) { // not what is no number
            note.frame = static_cast<std::int64_t>(frame) - take.firstFrame;
        }
        note.label = event.label;
        note.context = event.context;
        note.subject = event.subject;
        note.text = textOf({event.time, subject});
        notes.push_back(std::move(note));
    }
    return notes;
}

} // namespace tarn::store
