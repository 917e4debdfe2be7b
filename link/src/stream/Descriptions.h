// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "wire/DescriptionWire.h"
#include "wire/Watch.h"

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace tarn::link {

/// What the streams of a name say about their tracks.
class Descriptions {
public:
    /// What is new wakes the waitset. Throws `LinkError`.
    Descriptions(dds_entity_t participant, const std::string& name, dds_entity_t waitset)
        : reader_(participant, descriptionEnd(name)),
          watch_(reader_.get(), waitset, unreadSamples) {}

    bool hasNews() const { return watch_.hasNews(); }
    /// Reads what has come, and returns why some of it cannot be. Only so many are kept; those of
    /// streams that are not offered go first, and that of `current` never.
    std::vector<std::string> read(const std::function<bool(std::uint64_t stream)>& isOffered,
                                  std::uint64_t current);
    std::uint64_t turnedAway() const { return reader_.gate().turnedAway(); }
    /// Null where a stream has not described itself yet.
    const std::vector<StreamTrack>* of(std::uint64_t stream) const;

private:
    Reader reader_;
    Watch watch_;
    std::map<std::uint64_t, std::vector<StreamTrack>> described_; ///< by stream
};

} // namespace tarn::link
