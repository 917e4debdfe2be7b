// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "wire/Offers.h"

#include "wire/Domain.h"
#include "wire/Samples.h"
#include "wire/Texts.h"

#include <tarn_kit/files/Text.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <utility>

namespace tarn::link {

namespace {

constexpr std::size_t mostTracks = 1024;
constexpr std::uint32_t goneSamples = DDS_ANY_SAMPLE_STATE | DDS_ANY_VIEW_STATE |
                                      DDS_NOT_ALIVE_DISPOSED_INSTANCE_STATE |
                                      DDS_NOT_ALIVE_NO_WRITERS_INSTANCE_STATE;

/// "1 and 2"
std::string listed(const std::vector<std::string>& words) {
    std::string text;
    for (std::size_t i = 0; i < words.size(); ++i) {
        text += (i == 0 ? "" : i + 1 == words.size() ? " and " : ", ") + words[i];
    }
    return text;
}

std::string readVersionsText() {
    std::vector<std::string> words;
    for (const std::uint32_t version : readVersions()) {
        words.push_back(std::to_string(version));
    }
    return listed(words);
}

std::string whereText(const LinkOptions& options) {
    std::string text = " in domain " + std::to_string(options.domain);
    if (options.peers.empty() && !options.multicast) {
        return text + " on this machine";
    }
    if (!options.peers.empty()) {
        text += " on this machine, " + listed(options.peers);
    }
    return text;
}

} // namespace

EndSettings offerEnd() { return {&tarn_wire_Offer_desc, offerTopic, Delivery::Kept, {}, 1}; }

std::optional<LinkOffer> offerIn(const tarn_wire_Offer& sample) {
    const auto name = textIn(sample.name);
    const auto host = textIn(sample.host);
    const auto program = textIn(sample.program);
    if (!name || !isStreamName(*name) || !host || !program || sample.sent._length > mostTracks) {
        return std::nullopt;
    }
    LinkOffer offer;
    offer.name = *name;
    offer.stream = sample.stream;
    offer.version = sample.version;
    offer.host = *host;
    offer.process = sample.process;
    offer.program = *program;
    offer.ended = sample.ended;
    offer.clock = sample.clock;
    offer.sent.assign(sample.sent._buffer, sample.sent._buffer + sample.sent._length);
    return offer;
}

void OfferReader::forgetGone() const {
    eachSample<tarn_wire_Offer, maxKeys>(reader_.get(), dds_take_mask, goneSamples,
                                         [](const auto& /*sample*/, const auto& /*info*/) {});
}

std::vector<LinkOffer> OfferReader::offers(std::vector<LinkOffer>* gone) const {
    std::vector<LinkOffer> offers;
    const auto addTo = [](std::vector<LinkOffer>* list) {
        return [list](const tarn_wire_Offer& sample, const dds_sample_info_t& info) {
            auto offer = info.valid_data ? offerIn(sample) : std::nullopt;
            if (offer && list != nullptr) {
                list->push_back(std::move(*offer));
            }
        };
    };
    // Those that are gone make room for others.
    eachSample<tarn_wire_Offer, maxKeys>(reader_.get(), dds_take_mask, goneSamples, addTo(gone));
    eachSample<tarn_wire_Offer, maxKeys>(
        reader_.get(), dds_read_mask,
        DDS_ANY_SAMPLE_STATE | DDS_ANY_VIEW_STATE | DDS_ALIVE_INSTANCE_STATE, addTo(&offers));
    std::sort(offers.begin(), offers.end(), [](const LinkOffer& a, const LinkOffer& b) {
        return a.name != b.name ? a.name < b.name : a.stream < b.stream;
    });
    return offers;
}

std::string whyNotAmong(const std::vector<LinkOffer>& offers, const std::string& name,
                        const LinkOptions& options) {
    std::vector<std::string> others;
    std::string otherVersion;
    for (const LinkOffer& offer : offers) {
        const auto& known = readVersions();
        if (offer.name != name) {
            others.push_back("'" + offer.name + "'");
        } else if (std::find(known.begin(), known.end(), offer.version) != known.end()) {
            return {};
        } else {
            otherVersion = "'" + name + "' is offered in version " + std::to_string(offer.version) +
                           ", here are read " + readVersionsText();
        }
    }
    if (!otherVersion.empty()) {
        return otherVersion;
    }
    for (const std::string& peer : options.peers) {
        std::string problem = routeProblem(peer);
        if (!problem.empty()) {
            return problem;
        }
    }
    others.erase(std::unique(others.begin(), others.end()), others.end());
    const std::string nobody = "nobody offers '" + name + "'" + whereText(options);
    return others.empty() ? nobody : nobody + "; offered: " + listed(others);
}

std::string withFlood(const std::string& why, std::uint64_t turnedAway, const char* what) {
    if (why.empty() || turnedAway == 0) {
        return why;
    }
    return why + "; " + kit::counted(static_cast<std::size_t>(turnedAway), what) +
           " turned away: more are sent than are let in";
}

} // namespace tarn::link
