// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_link/stream/Link.h>

#include <dds/dds.h>

#include <cstdint>

namespace tarn::link {

/// What the rest of the library has of a link.
class LinkAccess {
public:
    static dds_entity_t participant(const Link& link);
};

/// A number that nobody else draws.
std::uint64_t drawnNumber();

} // namespace tarn::link
