// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_store/file/StoredTakes.h>

#include "file/TrackTakes.h"

#include <tarn_kit/body/BodyPose.h>
#include <tarn_kit/files/Text.h>
#include <tarn_kit/session/TakeOf.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace tarn::store {

namespace {

bool isBodyOf(int dataType, const StoredTrack& track) {
    return track.dataType == dataType && track.description.rig != nullptr;
}

bool isBody(const StoredTrack& track) {
    return isBodyOf(kit::poseDataType, track) || isBodyOf(kit::bodyDataType, track);
}

/// The track of poses of a subject, or else that of bodies.
StoredTrack bodyTrack(TakeReader& reader, const std::string& subject) {
    const auto tracks = reader.tracks();
    const auto names = bodiesIn(reader);
    if (subject.empty() && names.size() > 1) {
        failWith(reader, "holds several bodies: " + listed(names));
    }
    for (const int dataType : {kit::poseDataType, kit::bodyDataType}) {
        for (const StoredTrack& track : tracks) {
            if (isBodyOf(dataType, track) &&
                (subject.empty() || track.description.subject == subject)) {
                return track;
            }
        }
    }
    failWith(reader, names.empty()
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
        failWith(reader, error.what());
    }
    auto poses = kit::takeOf(kit::poseDataType, std::move(frames), bodies.fps());
    poses->setTracksName(bodies.tracksName());
    return poses;
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
    take.tracks = takeOfTrack(reader, track, rate.fps(), [&reader](const auto& before) {
        if (before.empty()) {
            failWith(reader, "is damaged (a track begins later than it says)");
        }
        return before.back();
    });
    take.frameTime = rate.frameTime();
    if (track.dataType == kit::bodyDataType) {
        checkPayloads<kit::BodyPose>(reader, *take.tracks, kit::bodyDataType,
                                     take.rig->nodes().size());
        take.tracks = posesOf(reader, *take.tracks, *take.rig);
    }
    checkPayloads<kit::Pose>(reader, *take.tracks, kit::poseDataType, take.rig->valueCount());
    return take;
}

} // namespace tarn::store
