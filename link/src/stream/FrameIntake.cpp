// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "stream/FrameIntake.h"

#include "stream/LinkAccess.h"
#include "wire/Samples.h"

#include <algorithm>
#include <utility>

namespace tarn::link {

namespace {

constexpr std::size_t mostHeld = 1024;
constexpr std::size_t mostHeldBytes = std::size_t(64) << 20;

std::size_t sizeOf(const FrameSample& sample) {
    std::size_t bytes = 0;
    for (const FrameItem& item : sample.items) {
        bytes += item.bytes.size();
    }
    return bytes;
}

} // namespace

FrameIntake::FrameIntake(dds_entity_t participant, const std::string& name, Wanted wanted,
                         dds_entity_t waitset)
    : wanted_(wanted),
      reader_(participant, wanted == Wanted::EveryFrame ? frameEnd(name) : newestEnd(name)),
      watch_(reader_.get(), waitset, DDS_ANY_STATE) {
    if (wanted == Wanted::EveryFrame) {
        hearing_.emplace(participant, name, drawnNumber());
        dds_set_status_mask(reader_.get(), DDS_SUBSCRIPTION_MATCHED_STATUS);
        dds_waitset_attach(waitset, reader_.get(), 0);
    }
}

void FrameIntake::greet() {
    if (hearing_) {
        dds_subscription_matched_status_t seen{}; // so that the next one is news
        dds_get_subscription_matched_status(reader_.get(), &seen);
        hearing_->update(reader_.get());
    }
}

FrameBatch FrameIntake::take(const kit::Clock& clock) {
    FrameBatch batch;
    const kit::Clock::Instant received = clock.now();
    eachSample<tarn_wire_Frame>(reader_.get(), dds_take_mask, DDS_ANY_STATE,
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
    if (wanted_ == Wanted::NewestFrame) {
        for (const FrameSample& sample : batch.samples) {
            for (const FrameItem& item : sample.items) {
                batch.newest[item.track] = std::max(batch.newest[item.track], sample.number);
            }
        }
    }
    return batch;
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
