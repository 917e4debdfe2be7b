// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "rows/FrameRows.h"

#include <tarn/Tracks.h>

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace tarn::store {

/// Which slots of which tracks a part of a take is made of.
struct TakeStretch {
    std::int64_t id = 0; ///< of the take
    std::string name;
    int fps = 0;
    std::int64_t first = 0;                                    ///< frame index
    std::int64_t count = 0;                                    ///< of frame indexes
    std::vector<std::pair<std::int64_t, std::int64_t>> tracks; ///< ids, and the slots they begin at
    std::vector<TakeStretch> children;
};

/// Builds takes with their tracks and nested takes.
class TakeTree {
public:
    TakeTree(Database& database, FrameRows& frames) : database_(&database), frames_(&frames) {}

    /// A take as it was written. What is placed more than once is one object.
    std::shared_ptr<Tracks> whole(std::int64_t take);
    /// The part from frame index `first` to `last`.
    std::shared_ptr<Tracks> part(std::int64_t take, std::int64_t first, std::int64_t last);
    /// The same as a plan.
    TakeStretch stretch(std::int64_t take, std::int64_t first, std::int64_t last);
    /// How many frame indexes a take has.
    std::int64_t lengthOf(std::int64_t take);
    /// The slot that its frame index 0 shows, where it is a recording; else 0.
    std::int64_t baseOf(std::int64_t take);
    /// Throws `StoreError` unless the take is one that `whole` builds, as far as that can be told
    /// without its frames.
    void prove(std::int64_t take);

private:
    /// Where a take stands among the slots of its tracks, and how long it is.
    struct Extent {
        bool isRecording = false;
        std::int64_t base = 0; ///< the slot that frame index 0 shows
        std::int64_t length = 0;
    };
    struct Child {
        std::int64_t id;
        std::int64_t offset;
    };

    std::int64_t slotIn(const Statement& row, int column) const;
    Extent extentOf(std::int64_t take);
    int rateOf(std::int64_t take);
    bool isAsLong(std::int64_t take, int rate, const Extent& parent, int parentRate);
    std::shared_ptr<Tracks> made(const TakeStretch& stretch);
    std::shared_ptr<Tracks> blank(std::int64_t take, const Extent& extent);
    std::vector<Child> children(const char* sql, std::int64_t take);
    std::shared_ptr<Track> track(std::int64_t id, const Extent& extent);
    std::shared_ptr<Track> trackPart(std::int64_t id, std::int64_t firstSlot, std::int64_t count);
    /// A file may claim any number of empty slots: throws where it claims far more than it holds.
    void count(std::int64_t slots, std::int64_t frames);
    /// Notes that a take is being built; throws for one that contains itself, or too many.
    void enter(std::int64_t take);
    [[noreturn]] void failDamaged(const std::string& why) const;

    Database* database_;
    FrameRows* frames_;
    std::map<std::int64_t, std::shared_ptr<Tracks>> takes_;
    std::map<std::int64_t, std::shared_ptr<Track>> tracks_;
    std::set<std::int64_t> entered_;
    std::set<std::int64_t> proven_;
    std::int64_t slots_ = 0; ///< of all tracks so far
    std::int64_t held_ = 0;  ///< frames of these
    int count_ = 0;
};

} // namespace tarn::store
