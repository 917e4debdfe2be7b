// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_link/together/TakeFollower.h>

#include "clock/ClockTopics.h"
#include "stream/LinkAccess.h"
#include "together/TakeTopics.h"
#include "wire/Samples.h"
#include "wire/Texts.h"

#include <tarn_link/clock/LinkClock.h>

#include <algorithm>
#include <chrono>
#include <mutex>
#include <utility>
#include <vector>

namespace tarn::link {

namespace {

bool isUnderWay(const TakeCall& call) {
    return call.phase == TakePhase::Armed || call.phase == TakePhase::Recording;
}

} // namespace

struct TakeFollower::PrivateData {
    explicit PrivateData(const Link& theLink)
        : link(theLink), writer(LinkAccess::participant(link), recorderEnd()),
          reader(LinkAccess::participant(link), takeEnd()) {}

    /// What is called for by those who are there.
    std::vector<TakeCall> calls() const;
    void follow();

    const Link& link;
    const std::uint64_t recorder = drawnNumber();
    const std::string host = hostName();
    Writer writer;
    Reader reader;
    mutable std::mutex mutex; // guards what follows
    TakeCall call;
    bool isLed = false;
    std::unique_ptr<LinkClock> clock; ///< of the leader
};

std::vector<TakeCall> TakeFollower::PrivateData::calls() const {
    constexpr std::uint32_t any = DDS_ANY_SAMPLE_STATE | DDS_ANY_VIEW_STATE;
    // Those that are gone make room for others.
    eachSample<tarn_wire_TakeState, maxKeys>(
        reader.get(), dds_take_mask,
        any | DDS_NOT_ALIVE_DISPOSED_INSTANCE_STATE | DDS_NOT_ALIVE_NO_WRITERS_INSTANCE_STATE,
        [](const tarn_wire_TakeState&, const dds_sample_info_t&) {});
    std::vector<TakeCall> calls;
    eachSample<tarn_wire_TakeState, maxKeys>(
        reader.get(), dds_read_mask, any | DDS_ALIVE_INSTANCE_STATE,
        [&calls](const tarn_wire_TakeState& sample, const dds_sample_info_t& info) {
            auto heard = info.valid_data ? takeCallIn(sample) : std::nullopt;
            if (heard) {
                calls.push_back(std::move(*heard));
            }
        });
    return calls;
}

// Of several leaders whom it could follow, all choose the same.
void TakeFollower::PrivateData::follow() {
    const std::vector<TakeCall> all = calls();
    const auto own = std::find_if(all.begin(), all.end(), [this](const TakeCall& other) {
        return other.leader == call.leader;
    });
    isLed = own != all.end();
    if (isLed) {
        call = *own;
    }
    if (isLed && isUnderWay(call)) {
        return;
    }
    const TakeCall* best = nullptr;
    for (const TakeCall& other : all) {
        if (isUnderWay(other) && (best == nullptr || other.leader < best->leader)) {
            best = &other;
        }
    }
    if (best != nullptr) {
        call = *best;
        isLed = true;
        clock = std::make_unique<LinkClock>(link, call.leader);
    }
}

TakeFollower::TakeFollower(const Link& link) : d_(std::make_unique<PrivateData>(link)) {}

TakeFollower::~TakeFollower() {
    constexpr auto patience = std::chrono::nanoseconds(std::chrono::seconds(1));
    dds_wait_for_acks(d_->writer.get(), patience.count());
}

TakeCall TakeFollower::call() {
    const std::lock_guard<std::mutex> lock(d_->mutex);
    d_->follow();
    return d_->call;
}

bool TakeFollower::isLed() {
    const std::lock_guard<std::mutex> lock(d_->mutex);
    d_->follow();
    return d_->isLed;
}

std::optional<kit::ClockRelation> TakeFollower::clock() const {
    const std::lock_guard<std::mutex> lock(d_->mutex);
    return d_->clock ? d_->clock->relation() : std::nullopt;
}

TakePlace TakeFollower::placeOf(kit::Clock::Instant instant) const {
    const std::lock_guard<std::mutex> lock(d_->mutex);
    if (d_->call.phase == TakePhase::Idle) {
        return TakePlace::Unknown;
    }
    if (d_->call.phase == TakePhase::Armed) {
        return TakePlace::Before;
    }
    const auto there = d_->clock->toRemote(instant);
    if (!there) {
        return TakePlace::Unknown;
    }
    if (*there < d_->call.starts) {
        return TakePlace::Before;
    }
    const bool isOver = d_->call.phase == TakePhase::Ended && *there >= d_->call.ends;
    return isOver ? TakePlace::After : TakePlace::Within;
}

void TakeFollower::report(RecorderReport report) {
    const std::lock_guard<std::mutex> lock(d_->mutex);
    for (std::string* text : {&report.file, &report.text}) {
        text->resize(std::min(text->size(), longestText));
    }
    const auto relation = d_->clock ? d_->clock->relation() : std::nullopt;
    tarn_wire_RecorderState state{};
    state.recorder = d_->recorder;
    state.leader = d_->call.leader;
    state.take = d_->call.take;
    state.phase = static_cast<std::uint8_t>(report.phase);
    std::string host = d_->host;
    state.host = host.data();
    state.file = report.file.data();
    state.has_data = report.hasData;
    state.data_from = wireInstant(relation ? relation->toRemote(report.dataFrom) : report.dataFrom);
    state.clock_bound = relation ? relation->boundAt(kit::SteadyClock().now()).count() : 0;
    state.frames = report.frames;
    state.lost = report.lost;
    state.text = report.text.data();
    d_->writer.write(&state);
}

} // namespace tarn::link
