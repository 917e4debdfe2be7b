// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Track.h>

#include <cassert>
#include <cstddef>
#include <memory>
#include <vector>

namespace tarn {

/// The record of a track. `Tracks` reads it directly: at every tick of every take, and when it lays
/// tracks out anew, a copy of each pointer to a frame would cost more than the rest.
struct Track::PrivateData {
    explicit PrivateData(int type) : dataType(type) {}

    std::shared_ptr<Frame>& slot(int index) {
        assert(index >= 0 && static_cast<std::size_t>(index) < frames.size());
        return frames[static_cast<std::size_t>(index)];
    }

    std::vector<std::shared_ptr<Frame>> frames;
    int dataType;
};

} // namespace tarn
