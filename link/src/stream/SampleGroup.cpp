// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "stream/SampleGroup.h"

#include <algorithm>
#include <cassert>
#include <utility>

namespace tarn::link {

SampleGroup::Member& SampleGroup::memberOf(std::size_t track) {
    const auto found =
        std::find_if(members_.begin(), members_.end(),
                     [track](const Member& member) { return member.track == track; });
    assert(found != members_.end());
    return *found;
}

bool SampleGroup::isOther(const FrameItem& item) const {
    return !sample_.items.empty() &&
           (sample_.items.front().time != item.time ||
            std::any_of(sample_.items.begin(), sample_.items.end(),
                        [&](const FrameItem& there) { return there.track == item.track; }));
}

void SampleGroup::add(FrameItem item, std::int64_t captured) {
    assert(!isOther(item));
    if (sample_.items.empty()) {
        sample_.captured = captured;
    }
    memberOf(item.track).isThere = true;
    sample_.items.push_back(std::move(item));
}

bool SampleGroup::isComplete() const {
    return std::all_of(members_.begin(), members_.end(),
                       [](const Member& member) { return member.isThere || !member.isAwaited; });
}

std::optional<FrameSample> SampleGroup::take() {
    if (sample_.items.empty()) {
        return std::nullopt;
    }
    for (Member& member : members_) {
        member.isAwaited = std::exchange(member.isThere, false);
    }
    return std::exchange(sample_, {});
}

} // namespace tarn::link
