// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Frame.h>
#include <tarn/Time.h>
#include <tarn/Track.h>

#include <map>
#include <memory>
#include <set>
#include <utility>
#include <vector>

namespace tarn_benchmark {

/// What a take shows at one index.
struct LiteralTimeline {
    tarn::Time time;
    std::map<int, std::shared_ptr<tarn::Frame>> frames;

    void addFrame(std::shared_ptr<tarn::Frame> frame) {
        const int dataType = frame->dataType();
        frames[dataType] = std::move(frame);
    }
};

/// A take written down literally: look-ups that copy pointers, and an alignment that collects times
/// in an ordered set and fills a map per track. It does what `tarn::Tracks` does, and is what that
/// is measured against.
struct LiteralTake {
    std::vector<std::pair<std::shared_ptr<tarn::Track>, int>> tracks;
    std::vector<tarn::Time> times;
    std::map<int, int> frameIndexMap;
    int timeLength = 0;

    std::shared_ptr<LiteralTimeline> getFrame(int index) const {
        auto timeline = std::make_shared<LiteralTimeline>();
        timeline->time = times[static_cast<std::size_t>(index)];
        for (auto [track, offset] : tracks) {
            if (index >= offset && index < offset + track->frameCount()) {
                std::shared_ptr<tarn::Frame> frame = track->getFrame(index - offset);
                if (frame != nullptr) {
                    timeline->addFrame(frame);
                }
            }
        }
        return timeline;
    }

    void alignTracksByTime() {
        std::set<tarn::Time> axis;
        for (const auto& entry : tracks) {
            for (int i = 0; i < entry.first->frameCount(); ++i) {
                const std::shared_ptr<tarn::Frame> frame = entry.first->getFrame(i);
                if (frame != nullptr) {
                    axis.insert(frame->time());
                }
            }
        }
        times.resize(axis.size());
        std::map<int, int> indexMap;
        for (auto& entry : tracks) {
            entry.first = aligned(*entry.first, axis, indexMap);
            if (frameIndexMap.empty()) {
                frameIndexMap = indexMap;
            }
        }
        timeLength = static_cast<int>(axis.size());
    }

private:
    std::shared_ptr<tarn::Track> aligned(tarn::Track& old, const std::set<tarn::Time>& axis,
                                         std::map<int, int>& indexMap) {
        auto result = std::make_shared<tarn::Track>(old.dataType());
        result->setFrameCount(static_cast<int>(axis.size()));
        int k = 0;
        int j = 0;
        for (const tarn::Time& time : axis) {
            for (;;) {
                while (j >= old.frameCount()) {
                    --j;
                }
                times[static_cast<std::size_t>(k)] = time;
                const std::shared_ptr<tarn::Frame> frame = j < 0 ? nullptr : old.getFrame(j);
                if (frame == nullptr) {
                    ++k;
                    ++j;
                } else if (frame->time() == time) {
                    result->setFrame(k, frame);
                    indexMap[k++] = j++;
                } else if (frame->time() < time) {
                    auto copy = std::make_shared<tarn::Frame>(*frame);
                    copy->setTime(time);
                    result->setFrame(k, copy);
                    indexMap[k++] = j++;
                } else if (frame->time() > time) {
                    --j;
                    continue;
                }
                break;
            }
        }
        return result;
    }
};

} // namespace tarn_benchmark
