// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_view/page/Page.h>

#include "page/Content.h"
#include "page/Parts.h"

#include <tarn_kit/files/Text.h>

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace tarn::view {

namespace {

constexpr double longest = 1e9; ///< seconds

[[noreturn]] void refuse(const std::string& name, const std::exception& error) {
    throw std::invalid_argument("no page can show '" + kit::printable(name) + "': " + error.what());
}

/// Text between tags.
std::string escaped(const std::string& text) {
    std::string safe;
    for (const char c : kit::printable(text)) {
        safe += c == '&'   ? std::string("&amp;")
                : c == '<' ? std::string("&lt;")
                : c == '>' ? std::string("&gt;")
                           : std::string(1, c);
    }
    return safe;
}

/// JSON in a script element: whatever its texts say, it does not end there.
std::string inScript(const Json& facts) {
    std::string safe;
    for (const char c : facts.dump()) {
        safe += c == '<'   ? std::string("\\u003c")
                : c == '>' ? std::string("\\u003e")
                           : std::string(1, c);
    }
    return safe;
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

    stream << "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
           << "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; "
              "script-src 'unsafe-inline'; style-src 'unsafe-inline'; img-src data:; base-uri "
              "'none'; form-action 'none'\">\n"
           << "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
           << "<link rel=\"icon\" href=\"data:,\">\n"
           << "<title>" << escaped(content.title) << "</title>\n<!--\n"
           << pageLicences << "-->\n<style>\n"
           << pageStyle << "</style>\n</head>\n<body>\n"
           << pageBody << R"(<script type="application/json" id="facts">)" << inScript(facts)
           << "</script>\n<script type=\"text/plain\" id=\"columns\">" << packed(columns.bytes())
           << "</script>\n<script>\n"
           << pageScript << "</script>\n</body>\n</html>\n";
    return report;
}

} // namespace tarn::view
