// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "solving/MarkerCast.h"

#include "support/Errors.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <tarn_kit/body/Markers.h>
#include <tarn_kit/files/Text.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace tarn::capture {

namespace {

using Names = std::vector<std::string>;

Names namesOf(const kit::C3dInfo& take, const std::string& subject) {
    Names names;
    for (const kit::C3dMarker& marker : take.markers) {
        if (marker.subject == subject) {
            names.push_back(marker.name);
        }
    }
    return names;
}

/// How many markers of a set somebody has.
struct Match {
    std::size_t found = 0;
    std::size_t of = 0;
    /// Enough to calibrate and to solve with.
    bool isEnough() const { return found >= 6 && 2 * found >= of; }
    /// Enough to tell that this is the set.
    bool isTelling() const { return found >= 6 && 4 * found >= 3 * of; }
    double part() const { return static_cast<double>(found) / static_cast<double>(of); }
    std::string text() const { return fmt::format("{} of {} markers", found, of); }
};

template <class Markers>
Match matchOf(const Names& names, const Markers& markers) {
    Match match{0, markers.size()};
    for (const auto& marker : markers) {
        match.found += kit::markerNamed(marker.name, names) >= 0 ? 1U : 0U;
    }
    return match;
}

/// The shipped set of which somebody has most markers, among those that the labels tell; of two
/// with as many, the one that has fewer others.
std::optional<kit::MarkerSet> shippedSetFor(const Names& names) {
    std::optional<kit::MarkerSet> best;
    Match most;
    for (const std::string& name : kit::MarkerSet::shippedNames()) {
        const kit::MarkerSet set = kit::MarkerSet::load(name);
        const Match match = matchOf(names, set.markers);
        if (match.isTelling() &&
            (match.found > most.found || (match.found == most.found && match.of < most.of))) {
            best = set;
            most = match;
        }
    }
    return best;
}

/// "has 3 of 41 markers of cmu41" of the shipped set that fits best.
std::string bestFitText(const Names& names) {
    std::string text;
    double most = -1;
    for (const std::string& name : kit::MarkerSet::shippedNames()) {
        const Match match = matchOf(names, kit::MarkerSet::load(name).markers);
        if (match.part() > most) {
            most = match.part();
            text = fmt::format("has {} of {}", match.text(), name);
        }
    }
    return text;
}

/// Fills in what a candidate is solved with. Returns why it is no performer; empty if it is one.
std::string castMember(CastMember& member, const Names& names,
                       const std::optional<kit::MarkerSet>& asked, const ActorChoices& actors) {
    if (auto body = actors.bodyOf(member.who.name)) {
        const Match match = matchOf(names, body->markers);
        member.body = std::move(*body);
        return match.isEnough() ? "" : fmt::format("has {} of the actor", match.text());
    }
    member.set = asked ? asked : shippedSetFor(names);
    if (!member.set) {
        return bestFitText(names);
    }
    const Match match = matchOf(names, member.set->markers);
    if (!match.isEnough()) {
        return fmt::format("has {} of {}", match.text(), kit::printable(member.set->name));
    }
    member.body = kit::MarkerBody::generic(*member.set);
    return "";
}

/// One person's body is not that of two.
void refuseSharedBody(const MarkerCast& cast, const ActorChoices& actors) {
    std::vector<std::string> sharing;
    for (const CastMember& member : cast.members) {
        if (!member.set && !actors.isNamed(member.who.name)) {
            sharing.push_back(kit::printable(member.who.name));
        }
    }
    if (sharing.size() > 1) {
        throw UsageError(fmt::format("--actor: one calibrated body for {}; say whose it is with "
                                     "--actor NAME=FILE",
                                     fmt::join(sharing, " and ")));
    }
}

std::string nobodyText(const MarkerCast& cast, const std::optional<std::string>& asked,
                       const std::string& file) {
    const std::string name = kit::printable(file);
    if (asked) {
        return fmt::format("{}: nobody wears the marker set: {}; 'tarn-capture markers check {} "
                           "{}' says what is missing",
                           name, fmt::join(cast.passedOver, "; "), kit::printable(*asked), name);
    }
    return fmt::format("{}: it cannot be told which marker set is worn: {}; name it with --markers "
                       "SET (a document, or {}), or give a calibrated actor with --actor",
                       name, fmt::join(cast.passedOver, "; "),
                       fmt::join(kit::MarkerSet::shippedNames(), ", "));
}

} // namespace

std::vector<std::string> subjectsIn(const kit::C3dInfo& take) {
    std::vector<std::string> subjects;
    for (const kit::C3dMarker& marker : take.markers) {
        if (std::find(subjects.begin(), subjects.end(), marker.subject) == subjects.end()) {
            subjects.push_back(marker.subject);
        }
    }
    return subjects;
}

MarkerCast castOf(const kit::C3dInfo& take, const std::vector<Candidate>& candidates,
                  const std::optional<std::string>& set, const ActorChoices& actors,
                  const std::string& file) {
    const std::optional<kit::MarkerSet> asked =
        set ? std::optional(kit::MarkerSet::load(*set)) : std::nullopt;
    MarkerCast cast;
    for (const Candidate& candidate : candidates) {
        CastMember member{candidate, kit::MarkerBody(), std::nullopt};
        const Names names = namesOf(take, candidate.subject);
        const std::string reason = castMember(member, names, asked, actors);
        if (reason.empty()) {
            cast.members.push_back(std::move(member));
        } else if (!candidate.subject.empty() || candidates.size() == 1) {
            cast.passedOver.push_back(
                fmt::format("'{}' {}", kit::printable(candidate.name), reason));
        }
    }
    if (cast.members.empty()) {
        throw std::runtime_error(nobodyText(cast, set, file));
    }
    refuseSharedBody(cast, actors);
    return cast;
}

std::optional<kit::UpAxis> upAxisBy(const kit::C3dTake& take, const std::string& subject,
                                    const kit::MarkerBody& body) {
    std::vector<std::string> names;
    for (const kit::C3dMarker& marker : take.markers) {
        names.push_back(marker.subject == subject ? marker.name : std::string());
    }
    const auto columnsOf = [&](std::initializer_list<std::string_view> segments) {
        std::vector<std::size_t> columns;
        for (const kit::BodyMarker& marker : body.markers) {
            const int column = kit::markerNamed(marker.name, names);
            if (column >= 0 &&
                std::find(segments.begin(), segments.end(), marker.segment) != segments.end()) {
                columns.push_back(static_cast<std::size_t>(column));
            }
        }
        return columns;
    };
    auto above = columnsOf({"Head"});
    above = above.empty() ? columnsOf({"Hips"}) : above;
    const auto below = columnsOf({"LeftFoot", "RightFoot", "LeftToeBase", "RightToeBase"});

    kit::Vector3d sum;
    const int step = std::max(1, take.frameCount / 200);
    for (int i = 0; i < take.frameCount; i += step) {
        const auto frame = take.tracks->getFrame(i, kit::markerDataType);
        const auto& markers = frame->dataAs<kit::MarkerFrame>();
        for (const std::size_t a : above) {
            for (const std::size_t b : below) {
                if (markers[a].hasPosition() && markers[b].hasPosition()) {
                    sum = sum +
                          (kit::toDouble(markers[a].position) - kit::toDouble(markers[b].position));
                }
            }
        }
    }
    const std::array<double, 3> along = {std::abs(sum.x), std::abs(sum.y), std::abs(sum.z)};
    const auto most =
        static_cast<std::size_t>(std::max_element(along.begin(), along.end()) - along.begin());
    const double others = along[(most + 1) % 3] + along[(most + 2) % 3];
    if (!std::isfinite(sum.x + sum.y + sum.z) || !(along.at(most) > 2 * others)) {
        return std::nullopt;
    }
    return static_cast<kit::UpAxis>(most);
}

} // namespace tarn::capture
