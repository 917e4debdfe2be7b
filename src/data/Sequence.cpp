// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn/Sequence.h>

#include <algorithm>
#include <cassert>
#include <cmath>
#include <utility>
#include <vector>

namespace tarn {

struct Sequence::PrivateData {
    explicit PrivateData(int type) : dataType(type) {}

    /// The first stored frame whose time `matches`, provided that `t` lies within the time range.
    template <class Matches>
    std::shared_ptr<Frame> find(const Time& t, Matches matches) const {
        if (t < timeRange.first || t > timeRange.second) {
            return nullptr;
        }
        for (const auto& frame : frames) {
            if (matches(frame->time())) {
                return frame;
            }
        }
        return nullptr;
    }

    /// A new sequence that shares the frames whose time `matches`.
    template <class Matches>
    std::shared_ptr<Sequence> part(Matches matches) const {
        auto result = std::make_shared<Sequence>(dataType);
        for (const auto& frame : frames) {
            if (matches(frame->time())) {
                result->addFrame(frame);
            }
        }
        return result;
    }

    int dataType;
    std::pair<Time, Time> timeRange;
    std::vector<std::shared_ptr<Frame>> frames;
};

Sequence::Sequence(int dataType) : d_(std::make_unique<PrivateData>(dataType)) {}

Sequence::~Sequence() = default;

int Sequence::dataType() const { return d_->dataType; }

bool Sequence::addFrame(std::shared_ptr<Frame> frame) {
    assert(frame != nullptr);
    if (frame->dataType() != d_->dataType) {
        return false;
    }
    const Time& time = frame->time();
    auto& [earliest, latest] = d_->timeRange;
    if (d_->frames.empty()) {
        earliest = time;
        latest = time;
    } else if (time < earliest) {
        earliest = time;
    } else if (time > latest) {
        latest = time;
    }
    d_->frames.push_back(std::move(frame));
    return true;
}

int Sequence::frameCount() const { return static_cast<int>(d_->frames.size()); }

std::shared_ptr<Frame> Sequence::getFrame(int index) {
    assert(index >= 0);
    const auto position = static_cast<std::size_t>(index);
    return position < d_->frames.size() ? d_->frames[position] : nullptr;
}

const std::pair<Time, Time>& Sequence::getTimeRange() const { return d_->timeRange; }

std::shared_ptr<Frame> Sequence::findFrame(const Time& t) {
    return d_->find(t, [&t](const Time& time) { return time == t; });
}

std::shared_ptr<Frame> Sequence::findFirstFrame(const Time& t) {
    const float seconds = t.toSecond();
    return d_->find(t, [&t, seconds](const Time& time) {
        return time.toSecond() > seconds || time == t; // `time >= t`, with `t`'s part done once
    });
}

void Sequence::sortByTime() {
    // Not-a-number is less than nothing and nothing is less than it, which is no order a sort can
    // rely on; putting such frames behind all others makes it one.
    const auto earlier = [](const std::shared_ptr<Frame>& a, const std::shared_ptr<Frame>& b) {
        const float secondsA = a->time().toSecond();
        const float secondsB = b->time().toSecond();
        return secondsA < secondsB || (std::isnan(secondsB) && !std::isnan(secondsA));
    };
    std::sort(d_->frames.begin(), d_->frames.end(), earlier);
}

std::shared_ptr<Sequence> Sequence::subSequence(const Time& from, const Time& to) {
    if (from > d_->timeRange.second || to < d_->timeRange.first) {
        return nullptr;
    }
    return d_->part([&](const Time& time) { return time >= from && time <= to; });
}

std::shared_ptr<Sequence> Sequence::subSequence(const Time& from) {
    if (from > d_->timeRange.second) {
        return nullptr;
    }
    return d_->part([&from](const Time& time) { return time >= from; });
}

std::shared_ptr<Sequence> Sequence::subSequence(int first) {
    if (first < 0 || first >= frameCount()) {
        return nullptr;
    }
    return subSequence(first, frameCount() - 1);
}

std::shared_ptr<Sequence> Sequence::subSequence(int first, int last) {
    if (first < 0 || last >= frameCount()) {
        return nullptr;
    }
    auto result = std::make_shared<Sequence>(d_->dataType);
    for (int i = first; i <= last; ++i) {
        result->addFrame(d_->frames[static_cast<std::size_t>(i)]);
    }
    return result;
}

} // namespace tarn
