// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "session/TakeSession.h"

#include "markers/MarkerFrames.h"
#include "session/TakeFile.h"
#include "solving/MarkerCast.h"
#include "solving/MarkerPerformer.h"
#include "support/StandardStreams.h"

#include <fmt/format.h>
#include <tarn_kit/devices/ReplayDevice.h>
#include <tarn_kit/files/Text.h>
#include <tarn_kit/session/Stopwatch.h>

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <stdexcept>
#include <utility>

namespace tarn::capture {

namespace {

/// A source on its way into the session.
struct Entrant {
    SessionSource source;
    TakeDevice body;
    MarkerCast cast;
};

SessionSource sourceOf(TakeFile file, const TakeDeviceMaker& bodies, const MarkerSetup& setup) {
    SessionSource source;
    source.from = file.name();
    if (!file.holdsMarkers()) {
        source.candidates.push_back({"", takeNameOf(source.from)});
        source.body = [file = std::move(file), bodies](const std::string& name) mutable {
            return bodies(file, name);
        };
        return source;
    }
    {
        const kit::Stopwatch stopwatch(source.reading);
        source.markers = file.readMarkers();
        source.recordedAs =
            std::filesystem::path(isStandardStream(source.from) ? "stdin" : source.from)
                .filename()
                .string();
    }
    if (source.markers->frameCount == 0 || source.markers->markers.empty()) {
        throw std::runtime_error(
            fmt::format("{}: holds no frames of markers", kit::printable(source.from)));
    }
    for (const std::string& subject : subjectsIn(*source.markers)) {
        source.candidates.push_back(
            {subject, subject.empty() ? takeNameOf(source.from) : performerName(subject)});
    }
    source.markerDevice = [speed = setup.speed, clock = setup.clock](
                              const std::string& name, const kit::C3dTake& take,
                              const MarkerChange& /*change*/) -> std::unique_ptr<Device> {
        auto device = std::make_unique<kit::ReplayDevice>(name, clock);
        device->open(take);
        device->setSpeed(speed);
        return device;
    };
    return source;
}

std::vector<SessionSource> sourcesOf(const std::vector<std::string>& takes,
                                     const TakeDeviceMaker& bodies, const MarkerSetup& setup) {
    std::vector<SessionSource> sources;
    sources.reserve(takes.size());
    for (const std::string& take : takes) {
        sources.push_back(sourceOf(TakeFile(take), bodies, setup));
    }
    return sources;
}

/// Gives candidates of one name different ones, and returns all names.
std::vector<std::string> nameAll(std::vector<SessionSource>& sources) {
    std::vector<std::string> names;
    for (const SessionSource& source : sources) {
        for (const Candidate& candidate : source.candidates) {
            names.push_back(candidate.name);
        }
    }
    names = uniqueNames(names);
    auto name = names.begin();
    for (SessionSource& source : sources) {
        for (Candidate& candidate : source.candidates) {
            candidate.name = *name++;
        }
    }
    return names;
}

/// Gives takes of markers of one name different ones in a recording.
void nameRecordings(std::vector<SessionSource>& sources) {
    std::vector<std::string> names;
    for (const SessionSource& source : sources) {
        if (source.markers) {
            names.push_back(source.recordedAs);
        }
    }
    names = uniqueFileNames(names);
    auto name = names.begin();
    for (SessionSource& source : sources) {
        if (source.markers) {
            source.recordedAs = *name++;
        }
    }
}

/// What takes of markers are brought to.
SpaceChoice spaceFor(const std::vector<Entrant>& entrants, SpaceChoice choice) {
    const auto body = std::find_if(entrants.begin(), entrants.end(),
                                   [](const Entrant& entrant) { return !entrant.source.markers; });
    const kit::Space beside = body == entrants.end() ? kit::Space() : body->body.take.rig->space();
    if (!choice.unit) {
        choice.unit = beside.unit.known() ? beside.unit : kit::lengthUnitNamed("cm");
    }
    choice.up = choice.up.value_or(beside.up);
    choice.scale = 1; // files of markers say how long things are
    return choice;
}

/// The axis of a take that is up: that along which its first performer stands, or as it states.
kit::UpAxis upAxisIn(const kit::C3dTake& take, const MarkerCast& cast) {
    const CastMember& first = cast.members.front();
    return upAxisBy(take, first.who.subject, first.body).value_or(upAxisOf(take));
}

/// A take of markers that states its unit, and the axis that is up.
kit::C3dTake stated(kit::C3dTake take, kit::UpAxis up, const SpaceChoice& asked) {
    if (!(take.metresPerUnit > 0) && !asked.unit) { // laboratories measure in millimetres
        take.unit = "mm";
        take.metresPerUnit = 0.001;
    }
    take.parameters.set("POINT", kit::C3dParameter::text("Y_SCREEN", "+" + kit::axisName(up)));
    return take;
}

/// That of markers is known: files state it.
kit::Space statedSpace(const SpaceChoice& asked, const SpaceChoice& space) {
    using kit::Origin;
    return {*space.unit, asked.unit ? Origin::Given : Origin::Stated, *space.up,
            asked.up ? Origin::Given : Origin::Stated};
}

} // namespace

std::string performerName(const std::string& subject) {
    std::string name = kit::printable(subject);
    std::replace(name.begin(), name.end(), '/', '_');
    return name;
}

TakeSession::TakeSession(const std::vector<std::string>& takes, const TakeDeviceMaker& bodies,
                         const MarkerSetup& markers)
    : TakeSession(sourcesOf(takes, bodies, markers), markers) {}

TakeSession::TakeSession(std::vector<SessionSource> sources, const MarkerSetup& markers) {
    markers.actors.check(nameAll(sources));
    nameRecordings(sources);
    std::vector<Entrant> entrants;
    for (SessionSource& source : sources) {
        Entrant& entrant = entrants.emplace_back(Entrant{std::move(source), {}, {}});
        if (entrant.source.markers) {
            entrant.cast = castOf(*entrant.source.markers, entrant.source.candidates, markers.set,
                                  markers.actors, entrant.source.from);
            passedOver_.insert(passedOver_.end(), entrant.cast.passedOver.begin(),
                               entrant.cast.passedOver.end());
        } else {
            entrant.body = entrant.source.body(entrant.source.candidates.front().name);
        }
    }
    const SpaceChoice space = spaceFor(entrants, markers.space);
    for (Entrant& entrant : entrants) {
        SessionSource& source = entrant.source;
        if (!source.markers) {
            performers_.push_back(std::make_unique<BodyPerformer>(
                session_, source.from, source.candidates.front().name, std::move(entrant.body)));
            continue;
        }
        const kit::UpAxis up = upAxisIn(*source.markers, entrant.cast);
        const kit::C3dTake read = stated(std::move(*source.markers), up, markers.space);
        const kit::C3dTake take = withSpace(read, space);
        for (const CastMember& member : entrant.cast.members) {
            MarkerDevice device{source.markerDevice(member.who.name, take, changeTo(space, read)),
                                markers.clock,
                                std::exchange(source.reading, 0),
                                up,
                                source.live,
                                source.recordedAs};
            performers_.push_back(std::make_unique<MarkerPerformer>(
                session_, MarkerTrial(take, source.from, member.who.subject, member.who.name),
                member, std::move(device), statedSpace(markers.space, space)));
        }
    }
}

TakeSession::~TakeSession() = default;

bool TakeSession::isLive() const {
    return std::any_of(performers_.begin(), performers_.end(),
                       [](const auto& performer) { return performer->isLive(); });
}

bool TakeSession::needsCalibration() const {
    return std::any_of(performers_.begin(), performers_.end(),
                       [](const auto& performer) { return performer->needsCalibration(); });
}

int TakeSession::calibrationSteps(int frames) const {
    int steps = frames;
    for (const auto& performer : performers_) {
        steps += performer->fittingSteps();
    }
    return steps;
}

bool TakeSession::calibrate(int frames, const StopRequested& stopRequested,
                            const Advanced& advanced) {
    bool isStopped = false;
    for (const auto& performer : performers_) {
        performer->setCalibrationFrames(frames);
        performer->onFittingStep([&isStopped, &stopRequested, &advanced] {
            if (advanced) {
                advanced();
            }
            isStopped = isStopped || (stopRequested && stopRequested());
            return !isStopped;
        });
    }
    const bool isComplete = session_.calibrate(frames, stopRequested, advanced);
    for (const auto& performer : performers_) {
        performer->onFittingStep({});
        const std::string error = performer->calibrationError();
        if (isComplete && !isStopped && !error.empty()) {
            throw std::runtime_error(fmt::format("'{}' cannot be calibrated: {}",
                                                 kit::printable(performer->name()), error));
        }
    }
    return isComplete && !isStopped;
}

bool TakeSession::play(const StopRequested& stopRequested, const Advanced& advanced) {
    for (const auto& performer : performers_) {
        performer->beginPlay();
    }
    return session_.play(stopRequested, advanced);
}

} // namespace tarn::capture
