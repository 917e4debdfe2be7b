// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "session/SpaceChoice.h"
#include "takes/MarkerSource.h"

#include <tarn_kit/session/PerformerTake.h>
#include <tarn_store/file/TakeReader.h>

#include <cstdint>
#include <string>
#include <vector>

namespace tarn::capture {

/// All bodies and markers of a take file, or those of one subject, as pages show them and other
/// programs get them. They start together, with the first frame of the file: who came later has
/// empty slots before.
///
/// Throws `store::StoreError` if the file cannot be read.
class StoredSource {
public:
    /// Of everybody, if `subject` is empty.
    StoredSource(const std::string& file, std::string subject);

    std::vector<kit::PerformerTake> performers(const SpaceChoice& space);
    /// With the events that were kept with them.
    std::vector<MarkerSource> markers(const SpaceChoice& space);
    /// What was noted at a frame.
    std::vector<view::Event> notes();

private:
    bool isChosen(const std::string& subject) const;
    /// The track that the take of a subject comes from. Precondition: there is one.
    const store::StoredTrack& trackOf(const std::string& subject,
                                      std::initializer_list<int> dataTypes) const;
    /// How many slots a track is empty before its first frame.
    std::int64_t delayOf(const store::StoredTrack& track) const;

    store::TakeReader reader_;
    std::string subject_;
    std::vector<store::StoredTrack> tracks_; ///< that bodies and markers may be in, with frames
    double start_ = 0;                       ///< when the first of them begins, in seconds
};

} // namespace tarn::capture
