// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "session/SpaceChoice.h"
#include "support/FrameRange.h"

#include <tarn/Frame.h>
#include <tarn_kit/files/C3d.h>
#include <tarn_kit/session/Rate.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tarn::capture {

/// What the user says of a take of markers that its file leaves open, or says wrongly.
struct MarkerReading {
    SpaceChoice space;
    kit::C3dOptions options;
};

/// The names of the markers of a set or a body, in its order.
template <class Markers>
std::vector<std::string> namesOf(const Markers& markers) {
    std::vector<std::string> names;
    names.reserve(markers.size());
    for (const auto& marker : markers) {
        names.push_back(marker.name);
    }
    return names;
}

/// A take of markers of which one performer is to be solved.
class MarkerTrial {
public:
    /// A take under a name. Throws `kit::ReadError` when the file cannot be read, and
    /// `std::runtime_error`, naming what is there, unless it has frames and, if a performer is
    /// asked for, that one. Of several performers, the one of whom the file has most of `markers`.
    /// The file is one that a `TakeFile` knows.
    MarkerTrial(const std::string& file, const std::optional<std::string>& subject,
                const std::vector<std::string>& markers, std::string name,
                const MarkerReading& reading = {});
    /// One performer of a take that has been read already, under a name of its own. Throws
    /// `std::runtime_error` unless the take has frames and that performer.
    MarkerTrial(kit::C3dTake take, std::string file, std::string subject, std::string name);

    const std::string& file() const { return file_; }
    const std::string& name() const { return name_; }
    const kit::C3dTake& take() const { return take_; }
    const std::string& subject() const { return subject_; }
    /// The performer's markers in the order of each frame; others have no name.
    const std::vector<std::string>& names() const { return names_; }
    double metresPerUnit() const;
    double rate() const { return take_.rate; }
    kit::Rate exactRate() const;
    int frameCount() const { return take_.frameCount; }
    /// The number that the file gives to frame `index`, counted from 0.
    std::int64_t numberOf(int index) const { return take_.firstFrame + index; }
    double secondsAt(int index) const { return index / take_.rate; }

    /// Frames by the file's numbers, as indexes from 0. Throws `FramesError`, which says what the
    /// file has, unless it has them all.
    FrameRange chosen(const std::optional<FrameChoice>& choice) const;
    std::vector<std::shared_ptr<Frame>> frames(FrameRange range) const;
    /// A take of its own of these frames.
    std::shared_ptr<Tracks> part(FrameRange range) const;
    /// A trial of its own of these frames, stamped from 0 on; the file's numbers stay.
    MarkerTrial trialOf(FrameRange range) const;

private:
    void choose(std::string subject);

    std::string file_;
    kit::C3dTake take_;
    std::string subject_;
    std::string name_;
    std::vector<std::string> names_;
};

} // namespace tarn::capture
