// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "wire/Entity.h"

#include <tarn_link/stream/Link.h>

#include <cstddef>
#include <memory>
#include <string>

namespace tarn::link {

/// No sample is larger than this: whatever comes from outside takes no more memory.
inline constexpr std::size_t maxSampleBytes = std::size_t(4) << 20;

/// A program's part in a domain, which all its links of that domain share.
class Domain {
public:
    /// The one that there is, or a new one. Throws `LinkError`.
    static std::shared_ptr<Domain> of(const LinkOptions& options);

private:
    friend class DomainRegistry;
    explicit Domain(const LinkOptions& options);
    Entity entity_;
};

/// Why a host cannot be reached, as far as this machine knows; empty if it can.
std::string routeProblem(const std::string& host);

} // namespace tarn::link
