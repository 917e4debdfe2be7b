// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "session/TakeSession.h"

#include "markers/MarkerFrames.h"
#include "session/TakeFile.h"
#include "solving/MarkerCast.h"
#include "solving/MarkerPerformer.h"
#include "support/Stopwatch.h"

#include <fmt/format.h>
#include <tarn_kit/devices/ReplayDevice.h>
#include <tarn_kit/files/Text.h>

#include <algorithm>
#include <cstddef>
#include <stdexcept>
#include <utility>

namespace tarn::capture {

namespace {

/// A take of one of both kinds, on its way into the session.
struct Source {
    explicit Source(const std::string& name) : file(name) {}

    TakeFile file;
    std::optional<kit::C3dTake> markers;
    double reading = 0;
    /// Who may be in it: one without a subject for a take of a body.
    std::vector<Candidate> candidates;
    TakeDevice body;
    MarkerCast cast;
};

/// Names become parts of files' names.
std::string nameOf(const std::string& subject, const std::string& file) {
    std::string name = subject.empty() ? takeNameOf(file) : kit::printable(subject);
    std::replace(name.begin(), name.end(), '/', '_');
    return name;
}

std::vector<Source> read(const std::vector<std::string>& takes) {
    std::vector<Source> sources;
    for (const std::string& take : takes) {
        Source& source = sources.emplace_back(take);
        if (source.file.holdsMarkers()) {
            const Stopwatch stopwatch(source.reading);
            source.markers = source.file.readMarkers();
            if (source.markers->frameCount == 0 || source.markers->markers.empty()) {
                throw std::runtime_error(
                    fmt::format("{}: holds no frames of markers", kit::printable(take)));
            }
            for (const std::string& subject : subjectsIn(*source.markers)) {
                source.candidates.push_back({subject, nameOf(subject, take)});
            }
        } else {
            source.candidates.push_back({"", takeNameOf(take)});
        }
    }
    return sources;
}

/// Gives candidates of one name different ones, and returns all names.
std::vector<std::string> nameAll(std::vector<Source>& sources) {
    std::vector<std::string> names;
    for (const Source& source : sources) {
        for (const Candidate& candidate : source.candidates) {
            names.push_back(candidate.name);
        }
    }
    names = uniqueNames(names);
    auto name = names.begin();
    for (Source& source : sources) {
        for (Candidate& candidate : source.candidates) {
            candidate.name = *name++;
        }
    }
    return names;
}

/// What takes of markers are brought to.
SpaceChoice spaceFor(const std::vector<Source>& sources, SpaceChoice choice) {
    const auto body = std::find_if(sources.begin(), sources.end(),
                                   [](const Source& source) { return !source.markers; });
    const kit::Space beside = body == sources.end() ? kit::Space() : body->body.take.rig->space();
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

/// The markers of a take whose axis `up` is up, in the session's space.
kit::C3dTake inSpace(kit::C3dTake take, kit::UpAxis up, const SpaceChoice& asked,
                     const SpaceChoice& space) {
    if (!(take.metresPerUnit > 0) && !asked.unit) { // laboratories measure in millimetres
        take.unit = "mm";
        take.metresPerUnit = 0.001;
    }
    take.parameters.set("POINT", kit::C3dParameter::text("Y_SCREEN", "+" + kit::axisName(up)));
    return withSpace(std::move(take), space);
}

/// That of markers is known: files state it.
kit::Space statedSpace(const SpaceChoice& asked, const SpaceChoice& space) {
    using kit::Origin;
    return {*space.unit, asked.unit ? Origin::Given : Origin::Stated, *space.up,
            asked.up ? Origin::Given : Origin::Stated};
}

} // namespace

TakeSession::TakeSession(const std::vector<std::string>& takes, const TakeDeviceMaker& bodies,
                         const MarkerSetup& markers) {
    std::vector<Source> sources = read(takes);
    markers.actors.check(nameAll(sources));
    for (Source& source : sources) {
        if (source.markers) {
            source.cast = castOf(*source.markers, source.candidates, markers.set, markers.actors,
                                 source.file.name());
            passedOver_.insert(passedOver_.end(), source.cast.passedOver.begin(),
                               source.cast.passedOver.end());
        } else {
            source.body = bodies(source.file, source.candidates.front().name);
        }
    }
    const SpaceChoice space = spaceFor(sources, markers.space);
    for (Source& source : sources) {
        if (!source.markers) {
            performers_.push_back(std::make_unique<BodyPerformer>(session_, source.file.name(),
                                                                  source.candidates.front().name,
                                                                  std::move(source.body)));
            continue;
        }
        const kit::UpAxis up = upAxisIn(*source.markers, source.cast);
        const kit::C3dTake take = inSpace(std::move(*source.markers), up, markers.space, space);
        for (const CastMember& member : source.cast.members) {
            auto device = std::make_unique<kit::ReplayDevice>(member.who.name, markers.clock);
            device->open(take);
            device->setSpeed(markers.speed);
            performers_.push_back(std::make_unique<MarkerPerformer>(
                session_,
                MarkerTrial(take, source.file.name(), member.who.subject, member.who.name), member,
                MarkerDevice{std::move(device), markers.clock, std::exchange(source.reading, 0),
                             up},
                statedSpace(markers.space, space)));
        }
    }
}

TakeSession::~TakeSession() = default;

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
