// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/processing/cleaning/MarkerRepairNode.h>

#include "processing/cleaning/DelayedMarkers.h"
#include "processing/cleaning/MarkerTable.h"
#include "processing/repair/MarkerMotion.h"
#include "processing/repair/SwapFinder.h"

#include <algorithm>
#include <cstddef>
#include <deque>
#include <optional>
#include <utility>

namespace tarn::kit {

struct MarkerRepairNode::PrivateData : DelayedMarkers {
    PrivateData(tsignal::Signal<std::shared_ptr<Frame>>& out, const MarkerRepairOptions& how,
                double delay, double memory)
        : DelayedMarkers(out, how.rate, delay, memory), options(how) {}

    void next(const std::shared_ptr<Frame>& frame, const MarkerFrame& markers) override;
    void mendOldest() override;
    void count(const MarkerFrame& /*oldest*/) override {}

    void learn();
    bool mayBeOffItsWay() const;
    bool isOffItsWay() const;
    void repair();
    void put(const MarkerChange& change);
    void report(MarkerChange change);
    int slotOfOldest() const { return static_cast<int>(left()); }

    MarkerRepairOptions options;
    std::optional<MarkerMotion::Learnt> learnt;
    std::size_t learntFrom = 0; ///< frames
    std::size_t learntSince = 0;
    std::deque<MarkerChange> changes;
    std::int64_t relabelled = 0;
    std::int64_t removed = 0;
};

void MarkerRepairNode::PrivateData::next(const std::shared_ptr<Frame>& frame,
                                         const MarkerFrame& markers) {
    ++learntSince;
    DelayedMarkers::next(frame, markers);
}

/// Anew at a beginning, and when the frames at hand are others than those that were learnt from, or
/// twice as many.
void MarkerRepairNode::PrivateData::learn() {
    if (learnt && left() > 0 && learntSince < learntFrom) {
        return;
    }
    learnt = MarkerMotion(MarkerTable(windowTake()), options).learnt();
    learntFrom = window().size();
    learntSince = 0;
}

namespace {

/// What was learnt may have changed a little since.
constexpr double ofGate = 0.5;

} // namespace

/// Whether a marker does not go straight on, or was not there before: most do, which is soon seen.
bool MarkerRepairNode::PrivateData::mayBeOffItsWay() const {
    constexpr std::size_t knots = 2;
    if (left() < knots) {
        return left() > 0;
    }
    const MarkerFrame& oldest = markersAt(left());
    const MarkerFrame& before = markersAt(left() - 1);
    const MarkerFrame& earlier = markersAt(left() - 2);
    for (std::size_t i = 0; i < oldest.size(); ++i) {
        if (!oldest[i].hasPosition() || learnt->untouched[i]) {
            continue;
        }
        if (!before[i].hasPosition() || !earlier[i].hasPosition()) {
            return true;
        }
        const Vector3d straight = 2 * toDouble(before[i].position) - toDouble(earlier[i].position);
        if (!(lengthOf(straight - toDouble(oldest[i].position)) < ofGate * learnt->gates[i])) {
            return true;
        }
    }
    return false;
}

/// Whether it does not go with its neighbours either.
bool MarkerRepairNode::PrivateData::isOffItsWay() const {
    const auto past = static_cast<std::size_t>(rate() / 2) + 2; // as far as motion looks back
    const std::size_t first = left() > past ? left() - past : 0;
    const MarkerTable table(windowTake(first, left() + 1));
    const MarkerMotion motion(table, *learnt);
    for (int marker = 0; marker < table.markerCount(); ++marker) {
        const auto off = motion.jump(marker, table.frameCount() - 1);
        if (off && *off > ofGate * motion.gate(marker)) {
            return true;
        }
    }
    return false;
}

void MarkerRepairNode::PrivateData::mendOldest() {
    learn();
    if (mayBeOffItsWay() && isOffItsWay()) {
        repair();
    }
}

void MarkerRepairNode::PrivateData::repair() {
    const int end = static_cast<int>(window().size());
    for (MarkerChange& change : repairMarkers(windowTake(), options).changes) {
        const bool begins = change.first == slotOfOldest();
        // A swap that was not seen to end when it began may have been seen to since.
        const bool goesOn = change.first < slotOfOldest() && change.last >= slotOfOldest();
        const bool ends = change.last + 1 < end;
        change.corrected = change.corrected && ends;
        if (!begins && !(goesOn && change.corrected)) {
            continue;
        }
        change.first = slotOfOldest();
        if (change.corrected) {
            put(change);
        }
        report(std::move(change));
    }
}

/// Makes the change in the frames that it is about, all of which are held back.
void MarkerRepairNode::PrivateData::put(const MarkerChange& change) {
    for (int slot = change.first; slot <= change.last; ++slot) {
        const auto place = static_cast<std::size_t>(slot);
        std::vector<Marker> markers = markersAt(place).toVector();
        const auto at = [&markers](int marker) -> Marker& {
            return markers[static_cast<std::size_t>(marker)];
        };
        for (const int marker : change.markers) {
            std::int64_t& count = change.fault == MarkerFault::Swap ? relabelled : removed;
            count += at(marker).hasPosition() ? 1 : 0;
        }
        if (change.fault == MarkerFault::Swap) {
            exchangeLabels(change.markers, at);
        } else {
            at(change.markers.front()) = Marker();
        }
        replace(place, std::make_shared<Frame>(window()[place]->time(), markerDataType,
                                               MarkerFrame(std::move(markers))));
    }
}

void MarkerRepairNode::PrivateData::report(MarkerChange change) {
    const auto indexOf = [this](int slot) {
        return static_cast<int>(window()[static_cast<std::size_t>(slot)]->time().frameIndex());
    };
    change.first = indexOf(change.first);
    change.last = indexOf(change.last);
    changes.push_back(std::move(change));
    if (changes.size() > mostChanges) {
        changes.pop_front();
    }
}

MarkerRepairNode::MarkerRepairNode(const MarkerRepairOptions& options, double delay, double memory)
    : d_(std::make_shared<PrivateData>(addOFramePort(framePort), options, delay, memory)) {
    addIFramePort(framePort, [d = d_](const std::shared_ptr<Frame>& frame) { d->add(frame); });
}

MarkerRepairNode::~MarkerRepairNode() { d_->close(); }

int MarkerRepairNode::delayFrames() const { return static_cast<int>(d_->delayFrames()); }

double MarkerRepairNode::delay() const { return delayFrames() / d_->rate(); }

std::vector<MarkerChange> MarkerRepairNode::takeChanges() {
    return d_->locked([this] {
        std::vector<MarkerChange> taken(d_->changes.begin(), d_->changes.end());
        d_->changes.clear();
        return taken;
    });
}

std::int64_t MarkerRepairNode::relabelledSamples() const {
    return d_->locked([this] { return d_->relabelled; });
}

std::int64_t MarkerRepairNode::removedSamples() const {
    return d_->locked([this] { return d_->removed; });
}

void MarkerRepairNode::flush() { d_->flush(); }

} // namespace tarn::kit
