// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "wire/Topics.h"

#include <tarn_link/stream/Link.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tarn::link {

EndSettings offerEnd();

/// What a sample says, unless a number or a text in it cannot be.
std::optional<LinkOffer> offerIn(const tarn_wire_Offer& sample);

/// Who offers what.
class OfferReader {
public:
    explicit OfferReader(dds_entity_t participant) : reader_(participant, offerEnd()) {}
    dds_entity_t get() const noexcept { return reader_.get(); }
    /// What is offered now, by name. `gone` gets what was said last of what is not offered any
    /// more, each once.
    std::vector<LinkOffer> offers(std::vector<LinkOffer>* gone = nullptr) const;

    /// Makes room where nobody asks who is gone.
    void forgetGone() const;
    std::uint64_t turnedAway() const { return reader_.gate().turnedAway(); }

private:
    Reader reader_;
};

/// Why nobody can connect to a stream of that name with these offers; empty if that can be.
std::string whyNotAmong(const std::vector<LinkOffer>& offers, const std::string& name,
                        const LinkOptions& options);

/// A line that says why, with how many of what was to be there were turned away, if any were.
std::string withFlood(const std::string& why, std::uint64_t turnedAway, const char* what);

} // namespace tarn::link
