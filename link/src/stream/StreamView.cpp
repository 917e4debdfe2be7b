// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "stream/StreamView.h"

#include "wire/Offers.h"

namespace tarn::link {

std::string whyNotConnected(const Link& link, const std::string& name, std::uint64_t turnedAway) {
    if (name.empty()) {
        return "no stream is open";
    }
    const std::string why = link.whyNot(name);
    return why.empty()
               ? withFlood("'" + name + "' has not described itself yet", turnedAway, "description")
               : why;
}

} // namespace tarn::link
