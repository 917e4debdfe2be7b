// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "wire/Offers.h"
#include "wire/Watch.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace tarn::link {

/// Which of the streams that are offered is the one of a name: of those that can be read here, the
/// one that came last.
class OfferChoice {
public:
    struct Look {
        std::optional<LinkOffer> latest;
        std::vector<LinkOffer> gone; ///< since the look before, of any name: what they said last
    };

    /// What is new wakes the waitset. Throws `LinkError`.
    OfferChoice(dds_entity_t participant, dds_entity_t waitset)
        : reader_(participant), watch_(reader_.get(), waitset, unreadSamples) {}

    bool hasNews() const { return watch_.hasNews(); }
    Look look(const std::string& name);
    /// Whether the last look has seen a stream under its name.
    bool isOffered(std::uint64_t stream) const { return seen_.count(stream) > 0; }

private:
    OfferReader reader_;
    Watch watch_;
    std::map<std::uint64_t, std::uint64_t> seen_; ///< streams, and in which order they came
    std::uint64_t order_ = 0;
};

} // namespace tarn::link
