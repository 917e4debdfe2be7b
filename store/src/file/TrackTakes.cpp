// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "file/TrackTakes.h"

#include <tarn_kit/files/Text.h>
#include <tarn_kit/session/TakeOf.h>

#include <algorithm>
#include <utility>

namespace tarn::store {

void failWith(TakeReader& reader, const std::string& why) {
    throw StoreError(reader.file(), StoreProblem::Unsupported, why);
}

std::string listed(const std::vector<std::string>& names) {
    std::string list;
    for (const std::string& name : names) {
        list += (list.empty() ? "" : ", ") + kit::printable(name);
    }
    return list;
}

std::shared_ptr<Tracks> takeOfTrack(TakeReader& reader, const StoredTrack& track, SlotRange slots,
                                    int rate, const Filled& filled) {
    constexpr std::int64_t slotsPerFrame = 10'000;
    const std::int64_t count = std::max<std::int64_t>(slots.count, 0);
    if (count / slotsPerFrame > track.frames) {
        failWith(reader, "is damaged (a track has too few frames)");
    }
    std::vector<std::shared_ptr<Frame>> frames;
    const auto fillUpTo = [&](std::int64_t place) {
        while (static_cast<std::int64_t>(frames.size()) < place) {
            frames.push_back(filled(frames));
        }
    };
    for (auto& [slot, frame] : reader.frames(track.id, slots.first, slots.first + count - 1)) {
        fillUpTo(slot - slots.first);
        frames.push_back(std::move(frame));
    }
    fillUpTo(count);
    for (std::size_t i = 0; i < frames.size(); ++i) {
        const Time time(static_cast<unsigned>(i), static_cast<unsigned>(rate));
        if (frames[i]->time() != time) {
            auto moved = std::make_shared<Frame>(*frames[i]);
            moved->setTime(time);
            frames[i] = std::move(moved);
        }
    }
    auto take = kit::takeOf(track.dataType, std::move(frames), rate);
    take->setTracksName(track.description.subject.empty() ? reader.file().stem().string()
                                                          : track.description.subject);
    return take;
}

std::shared_ptr<Tracks> takeOfTrack(TakeReader& reader, const StoredTrack& track, int rate,
                                    const Filled& filled) {
    return takeOfTrack(reader, track, {track.firstSlot, track.lastSlot - track.firstSlot + 1}, rate,
                       filled);
}

} // namespace tarn::store
