// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "files/c3d/C3dSource.h"

#include <tarn_kit/files/C3d.h>

#include <vector>

namespace tarn::kit {

/// What of a take that is to be written differs from the file it was read from; all of it for a
/// take that never was a file.
struct C3dChanges {
    /// `to` is the layout that is written, with the channels as they are `stored`.
    C3dChanges(const C3dTake& take, const C3dLayout& to, const std::vector<C3dChannel>& stored);

    bool encoding = true;
    bool points = true;
    bool frames = true; ///< their number, or the number of the first one
    bool scale = true;
    bool rate = true;
    bool analogShape = true;
    bool channels = true; ///< anything but their names, descriptions and units
    bool bodies = true;
    bool headerEvents = true;
    bool parameters = true; ///< those that the host changed

    /// Whether the samples lie as they did.
    bool shape() const noexcept { return encoding || points || frames || analogShape || bodies; }
};

bool isSame(const C3dEvent& a, const C3dEvent& b) noexcept;

/// The events of a take that stand in the header, or those that do not.
std::vector<C3dEvent> eventsIn(const C3dInfo& info, bool header);

/// The parameters of a take, brought into line with everything else that it says where they are
/// not. Where the data start is stated, but not yet true.
C3dParameters syncedParameters(const C3dTake& take, const C3dLayout& to,
                               const std::vector<C3dChannel>& channels, const C3dChanges& changes);

} // namespace tarn::kit
