// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "stream/FrameIntake.h"

#include "stream/LinkAccess.h"
#include "wire/Samples.h"

#include <algorithm>
#include <utility>

namespace tarn::link {

namespace {

constexpr std::size_t mostAtOnce = 64;
constexpr std::size_t mostHeld = 1024;
constexpr std::size_t mostHeldBytes = std::size_t(64) << 20;

/// Takes may be published as fast as they can be read.
constexpr double mostTimesFaster = 16;
constexpr double mostPerSecond = 200'000;

std::size_t sizeOf(const FrameSample& sample) {
    std::size_t bytes = 0;
    for (const FrameItem& item : sample.items) {
        bytes += item.bytes.size();
    }
    return bytes;
}

} // namespace

FrameIntake::FrameIntake(dds_entity_t participant, const std::string& name,
                         const LinkDeviceOptions& options, dds_entity_t waitset)
    : wanted_(options.wanted), samplesPerSecond_(options.samplesPerSecond),
      reader_(participant, wanted_ == Wanted::EveryFrame ? frameEnd(name, samplesPerSecond_)
                                                         : newestEnd(name, samplesPerSecond_)),
      watch_(reader_.get(), waitset, DDS_ANY_STATE) {
    if (wanted_ == Wanted::EveryFrame) {
        hearing_.emplace(participant, name, drawnNumber());
        dds_set_status_mask(reader_.get(), DDS_SUBSCRIPTION_MATCHED_STATUS);
        dds_waitset_attach(waitset, reader_.get(), 0);
    }
}

void FrameIntake::greet() {
    if (!hearing_) {
        return;
    }
    dds_subscription_matched_status_t seen{}; // the change is news only once
    const bool isSeen = dds_get_subscription_matched_status(reader_.get(), &seen) == DDS_RETCODE_OK;
    if (!isGreeted_ || !isSeen || seen.total_count_change != 0 || seen.current_count_change != 0) {
        isGreeted_ = hearing_->update(reader_.get());
    }
}

FrameBatch FrameIntake::take(const kit::Clock& clock) {
    FrameBatch batch;
    const kit::Clock::Instant received = clock.now();
    const std::size_t count = eachSample<tarn_wire_Frame, mostAtOnce>(
        reader_.get(), dds_take_mask, DDS_ANY_STATE,
        [&](const tarn_wire_Frame& sample, const dds_sample_info_t& info) {
            if (!info.valid_data) {
                return;
            }
            try {
                batch.samples.push_back(frameSampleIn(sample));
                batch.samples.back().received = received;
            } catch (const Refusal& refusal) {
                batch.refusals.emplace_back(refusal.what());
            }
        });
    if (count < mostAtOnce) {
        reader_.gate().drained();
    }
    if (wanted_ == Wanted::NewestFrame) {
        for (const FrameSample& sample : batch.samples) {
            for (const FrameItem& item : sample.items) {
                batch.newest[item.track] = std::max(batch.newest[item.track], sample.number);
            }
        }
    }
    return batch;
}

void FrameIntake::expect(const std::vector<StreamTrack>& tracks) {
    double stated = 0;
    for (const StreamTrack& track : tracks) { // each may have samples of its own
        const auto& rate = track.description.rate;
        stated +=
            rate ? static_cast<double>(rate->numerator()) / static_cast<double>(rate->denominator())
                 : 0;
    }
    const double allowed =
        std::max(samplesPerSecond_, std::min(stated * mostTimesFaster, mostPerSecond));
    reader_.gate().allow(allowed, allowed);
}

std::size_t HeldSamples::hold(FrameSample sample) {
    bytes_ += sizeOf(sample);
    samples_.push_back(std::move(sample));
    std::size_t gone = 0;
    for (; samples_.size() > mostHeld || bytes_ > mostHeldBytes; ++gone) {
        bytes_ -= sizeOf(samples_.front());
        samples_.pop_front();
    }
    return gone;
}

std::deque<FrameSample> HeldSamples::takeAll() {
    bytes_ = 0;
    return std::exchange(samples_, {});
}

} // namespace tarn::link
