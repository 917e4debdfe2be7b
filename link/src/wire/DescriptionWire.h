// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "wire/Topics.h"

#include <tarn_kit/files/TrackDescription.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace tarn::link {

/// What the frames of a track are, and what they mean.
struct StreamTrack {
    int dataType = 0;
    kit::TrackDescription description;
};

EndSettings descriptionEnd(const std::string& stream);

struct DescriptionDeleter {
    void operator()(tarn_wire_Description* sample) const noexcept {
        dds_sample_free(sample, &tarn_wire_Description_desc, DDS_FREE_ALL);
    }
};
using DescriptionSample = std::unique_ptr<tarn_wire_Description, DescriptionDeleter>;

/// As it goes over the wire.
DescriptionSample sampleOf(std::uint64_t stream, const std::vector<StreamTrack>& tracks);

/// What a sample says. Throws `Refusal` where that cannot be.
std::vector<StreamTrack> tracksIn(const tarn_wire_Description& sample);

} // namespace tarn::link
