// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "support/FrameRange.h"

#include <tarn_kit/files/C3d.h>
#include <tarn_kit/session/Rate.h>

#include <optional>
#include <string>

namespace tarn::capture {

/// How a take of markers is played, and where its contact sheet goes.
struct MarkerPlay {
    std::optional<FrameChoice> frames; ///< by the numbers of the file
    std::optional<kit::Rate> rate;     ///< the take's if not given
    double speed = 0;                  ///< how much faster than the take; 0 for as fast as it goes
    std::string png;                   ///< in a directory that is there
    std::string svg;
};

/// Plays a take with a progress bar, draws its frames, and says in one line what was shown.
void playMarkers(const kit::C3dTake& take, const MarkerPlay& options);

} // namespace tarn::capture
