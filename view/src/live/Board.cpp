// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "live/Board.h"

#include <tarn_kit/body/Rig.h>
#include <tarn_kit/files/Text.h>
#include <tarn_kit/session/PerformerTake.h>

#include <cassert>
#include <cmath>
#include <limits>
#include <stdexcept>

namespace tarn::view {

namespace {

constexpr std::size_t mostPlaces = 65'535; ///< of joints and end sites, or of markers
constexpr float nowhere = std::numeric_limits<float>::quiet_NaN();
constexpr double farthest = 1e5; ///< metres

[[noreturn]] void refuse(const std::string& name, const std::string& reason) {
    throw std::invalid_argument("no page can show '" + kit::printable(name) + "': " + reason);
}

Json factsOf(const LivePerformer& performer, double metres) {
    const kit::Space& space = performer.rig->space();
    Json nodes = Json::array();
    for (const kit::RigNode& node : performer.rig->nodes()) {
        Json facts = {{"name", kit::validUtf8(node.name)}, {"parent", node.parent}};
        if (node.isEndSite()) {
            facts["end"] = true;
        }
        nodes.push_back(std::move(facts));
    }
    return {{"name", kit::validUtf8(performer.name)},
            {"unit", kit::spaceText(space)},
            {"unitIs", space.unit.known() ? kit::originText(space.unitOrigin) : "unknown"},
            {"metresPerUnit", metres},
            {"nodes", std::move(nodes)}};
}

Json factsOf(const LiveMarkers& markers) {
    Json names = Json::array();
    for (const std::string& name : markers.names) {
        names.push_back(kit::validUtf8(name));
    }
    return {{"name", kit::validUtf8(markers.name)}, {"markers", std::move(names)}};
}

/// Of all performers, whose units may not be known.
std::vector<double> metresOf(const LiveContent& content) {
    std::vector<kit::PerformerTake> takes;
    for (const LivePerformer& performer : content.performers) {
        if (performer.rig == nullptr || performer.rig->nodes().empty()) {
            refuse(performer.name, "it has no rig or no joints");
        }
        kit::PerformerTake& take = takes.emplace_back();
        take.name = performer.name;
        take.rig = performer.rig;
    }
    return kit::metresPerUnit(takes);
}

} // namespace

Board::Board(const LiveContent& content) {
    if (content.performers.empty() && content.markers.empty()) {
        throw std::invalid_argument("a page without performers and markers shows nothing");
    }
    const std::vector<double> metres = metresOf(content);
    facts_ = {{"version", 1},
              {"live", true},
              {"title", kit::validUtf8(content.title)},
              {"rate", {content.rate.numerator(), content.rate.denominator()}},
              {"performers", Json::array()},
              {"markers", Json::array()}};
    for (const LivePerformer& performer : content.performers) {
        const double unit = metres[performers_.size()];
        add(performer.rig->nodes().size(), unit, performer.rig->space().up, performers_);
        facts_["performers"].push_back(factsOf(performer, unit));
    }
    for (const LiveMarkers& markers : content.markers) {
        assert(markers.metresPerUnit > 0);
        add(markers.names.size(), markers.metresPerUnit, markers.up, markers_);
        facts_["markers"].push_back(factsOf(markers));
    }
}

void Board::add(std::size_t size, double metres, kit::UpAxis up, std::vector<Subject>& subjects) {
    std::vector<float>& positions = shown_.positions;
    const std::size_t first = positions.size();
    if (size > mostPlaces || first / 3 + size > 2 * mostPlaces) {
        throw std::invalid_argument("no page can show more than " + std::to_string(mostPlaces) +
                                    " joints or markers");
    }
    positions.resize(first + 3 * size, nowhere);
    subjects.push_back({first, size, metres, up, 0});
}

template <class Place>
void Board::put(Subject& subject, std::int64_t frame, std::size_t size, const Place& place) {
    const std::lock_guard<std::mutex> lock(mutex_);
    for (std::size_t i = 0; i < subject.size; ++i) {
        const Vector3f at = size == subject.size ? kit::upright(place(i), subject.up)
                                                 : Vector3f{nowhere, nowhere, nowhere};
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const double metres = subject.metres * static_cast<double>(kit::toDouble(at)[axis]);
            shown_.positions[subject.first + 3 * i + axis] =
                std::abs(metres) < farthest ? static_cast<float>(metres) : nowhere;
        }
    }
    if (++subject.count > shown_.count) { // the first of those who have this frame
        shown_.count = subject.count;
        shown_.frame = frame;
    }
    ++shown_.changes;
    shown_.since = std::chrono::steady_clock::now();
}

void Board::show(std::size_t performer, std::int64_t frame, const kit::BodyPose& body) {
    assert(performer < performers_.size());
    put(performers_[performer], frame, body.segments.size(),
        [&body](std::size_t i) { return body.segments[i].position; });
}

void Board::show(std::size_t markers, std::int64_t frame, const kit::MarkerFrame& frameOfMarkers) {
    assert(markers < markers_.size());
    put(markers_[markers], frame, frameOfMarkers.size(), [&frameOfMarkers](std::size_t i) {
        const kit::Marker& marker = frameOfMarkers[i];
        return marker.hasPosition() ? marker.position : Vector3f{nowhere, nowhere, nowhere};
    });
}

Board::Shown Board::newest() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return shown_;
}

} // namespace tarn::view
