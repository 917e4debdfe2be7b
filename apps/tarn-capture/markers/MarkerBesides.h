// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Tracks.h>
#include <tarn_kit/files/C3d.h>
#include <tarn_kit/files/TrackDescription.h>
#include <tsignal/Signal.h>

#include <memory>
#include <string>
#include <vector>

namespace tarn::capture {

/// Something that a take of markers has beside them: analog channels, or rigid bodies.
struct MarkerBeside {
    std::shared_ptr<Tracks> take;
    int dataType = 0;
    int each = 0; ///< frames for each frame of markers
    kit::TrackDescription description;

    /// Sends what there is of a frame of markers.
    void send(const Frame& markers, tsignal::Signal<std::shared_ptr<Frame>>& to) const;
};

std::vector<MarkerBeside> besidesOf(const kit::C3dTake& take, const std::string& subject);

} // namespace tarn::capture
