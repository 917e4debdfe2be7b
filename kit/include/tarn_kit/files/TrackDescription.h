// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_kit/Export.h>
#include <tarn_kit/body/Rig.h>
#include <tarn_kit/body/Space.h>
#include <tarn_kit/files/Bvh.h>
#include <tarn_kit/files/C3d.h>
#include <tarn_kit/session/Rate.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tarn::kit {

/// What one of the values of a payload is called: a marker, a channel, a rigid body.
struct Label {
    std::string subject; ///< whose marker it is; empty if nobody says
    std::string name;
    std::string description;
    std::string unit; ///< empty if nobody says
};

/// What the frames of a track mean, as far as it is known.
struct TARN_KIT_EXPORT TrackDescription {
    std::string subject; ///< the performer or device that it shows
    std::optional<Rate> rate;
    std::optional<Space> space;     ///< of markers; that of bodies is in their rig
    std::shared_ptr<const Rig> rig; ///< of poses and bodies; may be null
    std::vector<Label> labels;      ///< one per value of the payload
    std::string document;           ///< a settings document: a marker set, say

    /// Of a body of that name.
    static TrackDescription of(const BvhTake& take, const std::string& subject);
    /// Of the markers of a take.
    static TrackDescription of(const C3dTake& take, const std::string& subject);
};

} // namespace tarn::kit
