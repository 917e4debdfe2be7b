// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstddef>
#include <stdexcept>

namespace tarn::link {

/// What was received cannot be; `what()` says why, for people.
class Refusal : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A stream has no more tracks, so that whoever receives it has a port for each.
inline constexpr std::size_t maxTracks = 256;

} // namespace tarn::link
