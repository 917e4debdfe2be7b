// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "session/SpaceChoice.h"

#include <tarn_kit/body/LengthUnit.h>
#include <tarn_kit/files/Bvh.h>
#include <tarn_kit/session/Rate.h>

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace tarn::capture {

/// A take read from a file, with what the commands want to know about it.
class Take {
public:
    /// From a file as a `TakeFile` knows them. Throws `kit::ReadError` when it cannot be read or is
    /// broken.
    explicit Take(const std::string& file, const SpaceChoice& space = {});
    /// A take that has been read already.
    explicit Take(kit::BvhTake data);

    /// The file's name without directory and extension, fit to be printed.
    std::string name() const;
    const kit::Rig& rig() const { return *data_.rig; }
    std::shared_ptr<const kit::Rig> sharedRig() const { return data_.rig; }
    Tracks& tracks() const { return *data_.tracks; }

    int frameCount() const { return data_.tracks->timeLength(); }
    /// Whole frames per second, at least 1: by which frames are stamped.
    int rate() const { return data_.tracks->fps(); }
    /// By which times are told.
    kit::Rate exactRate() const { return exactRate_; }
    /// When a frame begins, in seconds from the start of the take, by the exact rate.
    double secondsAt(int frame) const;
    /// How long the take lasts, to the end of its last frame.
    double duration() const { return secondsAt(frameCount()); }

    /// In the take's unit of length, in its rest pose; finite, whatever the file says.
    double bodyHeight() const;
    const kit::LengthUnit& unit() const { return space().unit; }
    /// What positions mean, as it was given or guessed.
    const kit::Space& space() const { return data_.rig->space(); }
    /// What the file leaves open and how it was settled, one sentence each.
    std::vector<std::string> guesses() const;

    /// The channel values of a frame. Precondition: 0 <= `frame` < `frameCount()`.
    const kit::Pose& pose(int frame) const;
    /// The pose in which no joint moves or turns.
    kit::Pose restPose() const;

private:
    kit::BvhTake data_;
    kit::Rate exactRate_;
};

} // namespace tarn::capture
