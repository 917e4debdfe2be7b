// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "file/MarkerDocument.h"
#include "file/TrackTakes.h"

#include <tarn_kit/body/Analog.h>
#include <tarn_kit/body/Markers.h>
#include <tarn_kit/body/RigidBodies.h>
#include <tarn_kit/files/Text.h>
#include <tarn_store/file/StoredTakes.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <utility>

namespace tarn::store {

namespace {

/// The first track of a data type, of a subject where one is asked for.
std::optional<StoredTrack> trackOf(TakeReader& reader, int dataType,
                                   const std::optional<std::string>& subject) {
    for (StoredTrack& track : reader.tracks()) {
        if (track.dataType == dataType && (!subject || track.description.subject == *subject)) {
            return std::move(track);
        }
    }
    return std::nullopt;
}

/// How many frames of a track come with each of the markers; 0 where they do not come with them.
int framesPerMarkers(const StoredTrack& track, const kit::Rate& markers) {
    constexpr double most = 10'000;
    const double each = track.description.rate.value_or(kit::Rate()).value() / markers.value();
    const double whole = std::round(each);
    return whole >= 1 && whole <= most && std::abs(each - whole) < whole / 1000
               ? static_cast<int>(whole)
               : 0;
}

/// What came with the markers of a take: frames of a track that has `each` of them in the slots of
/// each frame of markers.
std::shared_ptr<Tracks> besidesOf(TakeReader& reader, const StoredTrack& markers,
                                  const StoredTrack& track, int each, const Filled& filled) {
    const SlotRange slots = {markers.firstSlot * each,
                             (markers.lastSlot - markers.firstSlot + 1) * each};
    return takeOfTrack(reader, track, slots, track.description.rate.value_or(kit::Rate()).fps(),
                       filled);
}

void addChannels(TakeReader& reader, const StoredTrack& markers, kit::C3dTake& take) {
    const auto track = trackOf(reader, kit::analogDataType, markers.description.subject);
    const int each =
        track ? framesPerMarkers(*track, markers.description.rate.value_or(kit::Rate())) : 0;
    if (each == 0) {
        return;
    }
    for (const Label& label : track->description.labels) {
        kit::C3dChannel channel;
        channel.name = label.name;
        channel.description = label.description;
        channel.unit = label.unit;
        take.channels.push_back(std::move(channel));
    }
    take.samplesPerFrame = each;
    const kit::AnalogFrame zeros(std::vector<float>(take.channels.size()));
    take.analogTracks = besidesOf(reader, markers, *track, each, [&zeros](const auto& before) {
        return before.empty() ? std::make_shared<Frame>(Time(), kit::analogDataType, zeros)
                              : before.back();
    });
    checkPayloads<kit::AnalogFrame>(reader, *take.analogTracks, kit::analogDataType,
                                    take.channels.size());
}

void addRigidBodies(TakeReader& reader, const StoredTrack& markers, kit::C3dTake& take) {
    const auto track = trackOf(reader, kit::rigidBodyDataType, markers.description.subject);
    const int each =
        track ? framesPerMarkers(*track, markers.description.rate.value_or(kit::Rate())) : 0;
    if (each == 0) {
        return;
    }
    for (const Label& label : track->description.labels) {
        take.bodies.push_back({label.name, label.description});
    }
    take.bodiesPerFrame = each;
    const kit::RigidBodyFrame unseen(std::vector<kit::RigidBody>(take.bodies.size()));
    take.bodyTracks = besidesOf(reader, markers, *track, each, [&unseen](const auto&) {
        return std::make_shared<Frame>(Time(), kit::rigidBodyDataType, unseen);
    });
    checkPayloads<kit::RigidBodyFrame>(reader, *take.bodyTracks, kit::rigidBodyDataType,
                                       take.bodies.size());
}

void addEvents(TakeReader& reader, const std::string& subject, kit::C3dTake& take) {
    const bool isAlone = markersIn(reader).size() == 1;
    for (const Note& note : reader.notes()) {
        kit::C3dEvent event;
        const auto time = eventTimeIn(note.text);
        if (isEvent(note.kind, event) && time &&
            (time->subject.empty() ? isAlone : time->subject == subject)) {
            event.label = note.label;
            event.context = note.context;
            event.subject = note.subject;
            event.time = time->seconds;
            take.events.push_back(std::move(event));
        }
    }
}

/// Files keep the time of the first frame; the number that a file gave it is that much higher.
void addFirstFrame(TakeReader& reader, const StoredTrack& track, kit::C3dTake& take) {
    if (!track.description.document.empty()) {
        if (const auto first = reader.frame(track.id, track.firstSlot)) {
            take.firstFrame += first->time().frameIndex();
        }
    }
}

void addSpace(const kit::Space& space, kit::C3dTake& take) {
    take.unit = space.unit.symbol;
    take.metresPerUnit = space.unit.metres;
    if (space.upOrigin != kit::Origin::Guessed) {
        take.parameters.set("POINT",
                            kit::C3dParameter::text("Y_SCREEN", "+" + kit::axisName(space.up)));
    }
}

} // namespace

bool holdsMarkersOnly(TakeReader& reader) {
    return bodiesIn(reader).empty() && !markersIn(reader).empty();
}

std::vector<std::string> markersIn(TakeReader& reader) {
    std::vector<std::string> names;
    for (const StoredTrack& track : reader.tracks()) {
        const std::string& name = track.description.subject;
        if (track.dataType == kit::markerDataType &&
            std::find(names.begin(), names.end(), name) == names.end()) {
            names.push_back(name);
        }
    }
    return names;
}

kit::C3dTake markerTakeOf(TakeReader& reader, const std::string& subject) {
    const auto track = trackOf(reader, kit::markerDataType,
                               subject.empty() ? std::nullopt : std::optional(subject));
    if (!track) {
        const auto names = markersIn(reader);
        failWith(reader, names.empty() ? "holds no markers"
                                       : "holds no markers '" + kit::printable(subject) +
                                             "', but " + listed(names));
    }
    const kit::Rate rate = track->description.rate.value_or(kit::Rate());
    const std::size_t size = track->description.labels.size();
    kit::C3dTake take = markerTakeOf(track->description);
    const kit::MarkerFrame unseen(std::vector<kit::Marker>(size, kit::Marker()));
    take.tracks = takeOfTrack(reader, *track, rate.fps(), [&unseen](const auto&) {
        return std::make_shared<Frame>(Time(), kit::markerDataType, unseen);
    });
    take.frameCount = take.tracks->timeLength();
    checkPayloads<kit::MarkerFrame>(reader, *take.tracks, kit::markerDataType, size);
    addFirstFrame(reader, *track, take);
    addChannels(reader, *track, take);
    addRigidBodies(reader, *track, take);
    addEvents(reader, track->description.subject, take);
    return take;
}

kit::C3dTake markerTakeOf(const kit::TrackDescription& description) {
    kit::C3dTake take;
    for (const Label& label : description.labels) {
        take.markers.push_back({label.subject, label.name, label.description});
    }
    take.rate = description.rate.value_or(kit::Rate()).value();
    if (description.space) {
        addSpace(*description.space, take);
    }
    const MarkerDocument document = markerDocumentIn(description.document);
    if (document.rate > 0 && std::abs(document.rate - take.rate) < take.rate / 1000) {
        take.rate = document.rate;
    }
    take.firstFrame = document.firstFrame;
    return take;
}

} // namespace tarn::store
