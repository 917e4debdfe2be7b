// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_view/page/Page.h>

#include "page/Content.h"
#include "page/Document.h"

#include <tarn_kit/files/Text.h>

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <utility>

namespace tarn::view {

namespace {

constexpr double longest = 1e9; ///< seconds

[[noreturn]] void refuse(const std::string& name, const std::exception& error) {
    throw std::invalid_argument("no page can show '" + kit::printable(name) + "': " + error.what());
}

template <class List, class Pack>
Json packAll(const List& list, double& largestError, const Pack& pack) {
    Json facts = Json::array();
    for (const auto& one : list) {
        try {
            Packed packed = pack(one);
            largestError = std::max(largestError, packed.largestError);
            facts.push_back(std::move(packed.facts));
        } catch (const std::invalid_argument& error) {
            refuse(one.name, error);
        }
    }
    return facts;
}

Json eventsOf(const PageContent& content) {
    Json events = Json::array();
    for (const Event& event : content.events) {
        if (std::abs(event.seconds) < longest) { // not for what is no number
            events.push_back({{"time", event.seconds}, {"label", kit::validUtf8(event.label)}});
        }
    }
    return events;
}

} // namespace

PageReport writePage(const PageContent& content, std::ostream& stream) {
    if (content.performers.empty() && content.markers.empty()) {
        throw std::invalid_argument("a page without performers and markers shows nothing");
    }
    for (const kit::PerformerTake& performer : content.performers) {
        if (performer.rig == nullptr || performer.take == nullptr) {
            refuse(performer.name, std::invalid_argument("it has no rig or no take"));
        }
    }
    PageReport report;
    Columns columns;
    const auto metres = kit::metresPerUnit(content.performers);
    std::size_t next = 0;
    Json facts;
    facts["version"] = 1;
    facts["title"] = kit::validUtf8(content.title);
    facts["step"] = step;
    facts["performers"] =
        packAll(content.performers, report.largestError, [&](const kit::PerformerTake& performer) {
            return packPerformer(performer, metres[next++], columns);
        });
    facts["markers"] =
        packAll(content.markers, report.largestMarkerError,
                [&](const MarkerCloud& cloud) { return packMarkers(cloud, columns); });
    facts["events"] = eventsOf(content);
    facts["notes"] = Json::array();
    for (const std::string& note : content.notes) {
        facts["notes"].push_back(kit::validUtf8(note));
    }
    facts["largestError"] = report.largestError;
    facts["largestMarkerError"] = report.largestMarkerError;
    facts["bytes"] = columns.bytes().size();

    writeDocument({content.title, std::move(facts), packed(columns.bytes()), ""}, stream);
    return report;
}

} // namespace tarn::view
