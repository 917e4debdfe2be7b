// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_store/file/StoredTakes.h>

#include <tarn_kit/body/BodyPose.h>
#include <tarn_kit/body/Markers.h>
#include <tarn_kit/files/Text.h>
#include <tarn_kit/session/TakeOf.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <stdexcept>
#include <string_view>
#include <type_traits>
#include <utility>

namespace tarn::store {

namespace {

bool isBodyOf(int dataType, const StoredTrack& track) {
    return track.dataType == dataType && track.description.rig != nullptr;
}

bool isBody(const StoredTrack& track) {
    return isBodyOf(kit::poseDataType, track) || isBodyOf(kit::bodyDataType, track);
}

[[noreturn]] void fail(TakeReader& reader, const std::string& why) {
    throw StoreError(reader.file(), StoreProblem::Unsupported, why);
}

std::string listed(const std::vector<std::string>& names) {
    std::string list;
    for (const std::string& name : names) {
        list += (list.empty() ? "" : ", ") + kit::printable(name);
    }
    return list;
}

/// The track of poses of a subject, or else that of bodies.
StoredTrack bodyTrack(TakeReader& reader, const std::string& subject) {
    const auto tracks = reader.tracks();
    const auto names = bodiesIn(reader);
    if (subject.empty() && names.size() > 1) {
        fail(reader, "holds several bodies: " + listed(names));
    }
    for (const int dataType : {kit::poseDataType, kit::bodyDataType}) {
        for (const StoredTrack& track : tracks) {
            if (isBodyOf(dataType, track) &&
                (subject.empty() || track.description.subject == subject)) {
                return track;
            }
        }
    }
    fail(reader, names.empty()
                     ? "holds no body"
                     : "holds no body '" + kit::printable(subject) + "', but " + listed(names));
}

/// Makes poses of solved bodies.
std::shared_ptr<Tracks> posesOf(TakeReader& reader, Tracks& bodies, const kit::Rig& rig) {
    std::vector<std::shared_ptr<Frame>> frames;
    frames.reserve(static_cast<std::size_t>(bodies.timeLength()));
    try {
        for (int i = 0; i < bodies.timeLength(); ++i) {
            const auto body = bodies.getFrame(i, kit::bodyDataType);
            const auto& payload = body->dataAs<kit::BodyPose>();
            const kit::Pose pose =
                frames.empty() ? kit::poseOf(rig, payload)
                               : kit::poseOf(rig, payload, frames.back()->dataAs<kit::Pose>());
            frames.push_back(std::make_shared<Frame>(body->time(), kit::poseDataType, pose));
        }
    } catch (const std::invalid_argument& error) {
        fail(reader, error.what());
    }
    auto poses = kit::takeOf(kit::poseDataType, std::move(frames), bodies.fps());
    poses->setTracksName(bodies.tracksName());
    return poses;
}

/// A frame for every slot from the first to the last, made by `filled` where there is none.
template <class Filled>
std::shared_ptr<Tracks> takeOfTrack(TakeReader& reader, const StoredTrack& track, int rate,
                                    const Filled& filled) {
    constexpr std::int64_t slotsPerFrame = 10'000;
    const std::int64_t count = track.lastSlot - track.firstSlot + 1;
    if (count / slotsPerFrame > track.frames) {
        fail(reader, "is damaged (a track has too few frames)");
    }
    std::vector<std::shared_ptr<Frame>> frames;
    frames.reserve(static_cast<std::size_t>(std::max<std::int64_t>(count, 0)));
    for (auto& [slot, frame] : reader.frames(track.id, track.firstSlot, track.lastSlot)) {
        while (static_cast<std::int64_t>(frames.size()) < slot - track.firstSlot) {
            frames.push_back(filled(frames));
        }
        frames.push_back(std::move(frame));
    }
    for (std::size_t i = 0; i < frames.size(); ++i) {
        const Time time(static_cast<unsigned>(i), static_cast<unsigned>(rate));
        if (frames[i]->time() != time) {
            auto moved = std::make_shared<Frame>(*frames[i]);
            moved->setTime(time);
            frames[i] = std::move(moved);
        }
    }
    auto take = kit::takeOf(track.dataType, std::move(frames), rate);
    take->setTracksName(track.description.subject.empty() ? reader.file().stem().string()
                                                          : track.description.subject);
    return take;
}

template <class Payload>
void checkPayloads(TakeReader& reader, Tracks& take, int dataType, std::size_t size) {
    for (int i = 0; i < take.timeLength(); ++i) {
        const auto frame = take.getFrame(i, dataType);
        const auto* const payload = std::any_cast<Payload>(&frame->data());
        const bool fits = [&] {
            if constexpr (std::is_same_v<Payload, kit::Pose>) {
                return payload != nullptr && payload->values.size() == size;
            } else if constexpr (std::is_same_v<Payload, kit::BodyPose>) {
                return payload != nullptr && payload->segments.size() == size;
            } else {
                return payload != nullptr && payload->size() == size;
            }
        }();
        if (!fits) {
            fail(reader, "frame " + std::to_string(i) + " does not fit what its track says");
        }
    }
}

} // namespace

bool isTakeFile(const std::filesystem::path& file) {
    constexpr std::string_view magic("SQLite format 3\0", 16);
    std::error_code error;
    if (!std::filesystem::is_regular_file(file, error)) {
        return false;
    }
    std::array<char, magic.size()> beginning = {};
    std::ifstream(file, std::ios::binary).read(beginning.data(), beginning.size());
    return std::string_view(beginning.data(), beginning.size()) == magic;
}

std::vector<std::string> bodiesIn(TakeReader& reader) {
    std::vector<std::string> names;
    for (const StoredTrack& track : reader.tracks()) {
        const std::string& name = track.description.subject;
        if (isBody(track) && std::find(names.begin(), names.end(), name) == names.end()) {
            names.push_back(name);
        }
    }
    return names;
}

kit::BvhTake bodyTakeOf(TakeReader& reader, const std::string& subject) {
    const StoredTrack track = bodyTrack(reader, subject);
    const kit::Rate rate = track.description.rate.value_or(kit::Rate());
    kit::BvhTake take;
    // Whoever reads a take may say what its space is: the rig is this take's own.
    take.rig = std::const_pointer_cast<kit::Rig>(track.description.rig);
    take.tracks =
        takeOfTrack(reader, track, rate.fps(), [](const auto& before) { return before.back(); });
    take.frameTime = rate.frameTime();
    if (track.dataType == kit::bodyDataType) {
        checkPayloads<kit::BodyPose>(reader, *take.tracks, kit::bodyDataType,
                                     take.rig->nodes().size());
        take.tracks = posesOf(reader, *take.tracks, *take.rig);
    }
    checkPayloads<kit::Pose>(reader, *take.tracks, kit::poseDataType, take.rig->valueCount());
    return take;
}

bool holdsMarkersOnly(TakeReader& reader) {
    const auto tracks = reader.tracks();
    return std::none_of(tracks.begin(), tracks.end(), isBody) &&
           std::any_of(tracks.begin(), tracks.end(), [](const StoredTrack& track) {
               return track.dataType == kit::markerDataType;
           });
}

kit::C3dTake markerTakeOf(TakeReader& reader) {
    const auto tracks = reader.tracks();
    const auto track = std::find_if(tracks.begin(), tracks.end(), [](const StoredTrack& each) {
        return each.dataType == kit::markerDataType;
    });
    if (track == tracks.end()) {
        fail(reader, "holds no markers");
    }
    const kit::Rate rate = track->description.rate.value_or(kit::Rate());
    const std::size_t size = track->description.labels.size();
    kit::C3dTake take;
    for (const Label& label : track->description.labels) {
        take.markers.push_back({label.subject, label.name, label.description});
    }
    take.rate = rate.value();
    take.frameCount = static_cast<int>(track->lastSlot - track->firstSlot + 1);
    if (track->description.space) {
        take.unit = track->description.space->unit.symbol;
        take.metresPerUnit = track->description.space->unit.metres;
    }
    const kit::MarkerFrame unseen(std::vector<kit::Marker>(size, kit::Marker()));
    take.tracks = takeOfTrack(reader, *track, rate.fps(), [&unseen](const auto&) {
        return std::make_shared<Frame>(Time(), kit::markerDataType, unseen);
    });
    checkPayloads<kit::MarkerFrame>(reader, *take.tracks, kit::markerDataType, size);
    return take;
}

} // namespace tarn::store
