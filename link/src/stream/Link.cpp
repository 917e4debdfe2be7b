// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_link/stream/Link.h>

#include "clock/ClockAnswers.h"
#include "clock/ClockTopics.h"
#include "stream/LinkAccess.h"
#include "wire/Domain.h"
#include "wire/Offers.h"

#include <algorithm>
#include <random>
#include <utility>

namespace tarn::link {

LinkError::~LinkError() = default;

bool isStreamName(const std::string& name) {
    constexpr std::size_t longest = 100;
    return !name.empty() && name.size() <= longest &&
           std::all_of(name.begin(), name.end(), [](char c) {
               return c >= ' ' && c <= '~' && std::string("*?[]").find(c) == std::string::npos;
           });
}

const std::vector<std::uint32_t>& readVersions() {
    static const std::vector<std::uint32_t> versions = {1};
    return versions;
}

std::uint64_t drawnNumber() {
    std::random_device source;
    return std::uniform_int_distribution<std::uint64_t>(1)(source);
}

struct Link::PrivateData {
    explicit PrivateData(LinkOptions linkOptions)
        : options(std::move(linkOptions)), domain(Domain::of(options)),
          participant(dds_create_participant(options.domain, nullptr, nullptr),
                      "no place on the link"),
          offers(participant.get()), answers(participant.get(), drawnNumber()) {
        listen(offers.get(), this);
    }
    ~PrivateData() { stopListening(offers.get()); }
    PrivateData(const PrivateData&) = delete;
    PrivateData& operator=(const PrivateData&) = delete;

    /// Programs come and go for as long as this one is there.
    void heard() const { offers.forgetGone(); }

    LinkOptions options;
    std::shared_ptr<Domain> domain;
    Entity participant;
    OfferReader offers;
    ClockAnswers answers;
};

Link::Link(LinkOptions options) : d_(std::make_unique<PrivateData>(std::move(options))) {}

Link::~Link() = default;

const LinkOptions& Link::options() const noexcept { return d_->options; }

std::uint64_t Link::clock() const noexcept { return d_->answers.clock(); }

std::vector<LinkOffer> Link::offers() const { return d_->offers.offers(); }

std::string Link::whyNot(const std::string& name) const {
    return withFlood(whyNotAmong(d_->offers.offers(), name, d_->options), d_->offers.turnedAway(),
                     "offer");
}

dds_entity_t LinkAccess::participant(const Link& link) { return link.d_->participant.get(); }

} // namespace tarn::link
