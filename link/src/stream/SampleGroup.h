// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "wire/FrameWire.h"

#include <cstddef>
#include <optional>
#include <vector>

namespace tarn::link {

/// Tracks of one rate, whose frames of one index go out as one sample.
class SampleGroup {
public:
    void addTrack(std::size_t track) { members_.push_back({track, true, false}); }

    /// Adds an item to the sample that is being gathered, which is of its time; one that is of
    /// another has to be taken first. `captured` is when it came.
    void add(FrameItem item, std::int64_t captured);
    /// Whether an item begins another sample.
    bool isOther(const FrameItem& item) const;
    /// Whether all is there that is waited for.
    bool isComplete() const;
    /// What was gathered, if anything was.
    std::optional<FrameSample> take();

private:
    struct Member {
        std::size_t track;
        bool isAwaited; ///< whether it had a frame in the sample before
        bool isThere;
    };
    Member& memberOf(std::size_t track);

    std::vector<Member> members_;
    FrameSample sample_;
};

} // namespace tarn::link
