// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "stream/OfferChoice.h"

#include <algorithm>
#include <utility>

namespace tarn::link {

OfferChoice::Look OfferChoice::look(const std::string& name) {
    Look look;
    const std::vector<std::uint32_t>& known = readVersions();
    std::map<std::uint64_t, std::uint64_t> seen;
    for (const LinkOffer& offer : reader_.offers(&look.gone)) {
        if (offer.name != name ||
            std::find(known.begin(), known.end(), offer.version) == known.end()) {
            continue;
        }
        const auto before = seen_.find(offer.stream);
        seen[offer.stream] = before != seen_.end() ? before->second : ++order_;
        if (!look.latest || seen[offer.stream] > seen[look.latest->stream]) {
            look.latest = offer;
        }
    }
    seen_ = std::move(seen);
    return look;
}

} // namespace tarn::link
