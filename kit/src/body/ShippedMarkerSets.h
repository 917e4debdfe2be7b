// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <vector>

namespace tarn::kit {

/// A document of kit/data/markers, compiled in so that it is found wherever the kit runs.
struct ShippedMarkerSet {
    const char* name;
    const char* document;
};

const std::vector<ShippedMarkerSet>& shippedMarkerSets();

} // namespace tarn::kit
