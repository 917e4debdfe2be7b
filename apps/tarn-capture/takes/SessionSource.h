// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "markers/MarkerFrames.h"
#include "session/BodyPerformer.h"
#include "solving/MarkerCast.h"

#include <tarn_kit/files/C3d.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tarn::capture {

/// Where performers of a session come from: a take of a body, or one of markers, in which there may
/// be several.
struct SessionSource {
    std::string from; ///< a file, or what else names it
    /// Who may be in it: one without a subject for a take of a body.
    std::vector<Candidate> candidates;
    /// Makes the device of a take of a body, under a name.
    std::function<TakeDevice(const std::string& name)> body;

    std::optional<kit::C3dTake> markers; ///< of a take of markers; some frames of it are enough
    std::string recordedAs;              ///< as whose they are recorded
    double reading = 0;                  ///< how many seconds it took to read them
    std::optional<LiveExtent> live;      ///< if they are still being made
    /// Makes a device for a performer in it. `take` is in the space of the session, to which
    /// `change` brings what is still to come.
    std::function<std::unique_ptr<Device>(const std::string& name, const kit::C3dTake& take,
                                          const MarkerChange& change)>
        markerDevice;
};

/// A subject as a name: names become parts of files' names.
std::string performerName(const std::string& subject);

} // namespace tarn::capture
