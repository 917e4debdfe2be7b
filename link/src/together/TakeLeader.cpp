// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_link/together/TakeLeader.h>

#include "clock/ClockTopics.h"
#include "stream/LinkAccess.h"
#include "together/TakeTopics.h"
#include "wire/Samples.h"

#include <algorithm>
#include <cassert>
#include <map>
#include <mutex>
#include <tuple>

namespace tarn::link {

struct TakeLeader::PrivateData {
    explicit PrivateData(const Link& link)
        : writer(LinkAccess::participant(link), takeEnd()),
          reader(LinkAccess::participant(link), recorderEnd()) {
        call.leader = link.clock();
    }

    void publish();
    void endAt(kit::Clock::Instant instant);
    void remember(const tarn_wire_RecorderState& sample, const dds_sample_info_t& info);
    void hearRecorders();

    const kit::SteadyClock clock;
    Writer writer;
    Reader reader;
    std::mutex mutex; // guards what follows
    TakeCall call;
    std::map<std::uint64_t, RecorderReport> reports; ///< of this take, by recorder
    std::map<dds_instance_handle_t, std::uint64_t> instances;
};

void TakeLeader::PrivateData::publish() {
    tarn_wire_TakeState state{};
    state.leader = call.leader;
    state.take = call.take;
    state.name = call.name.data();
    state.phase = static_cast<std::uint8_t>(call.phase);
    state.starts = wireInstant(call.starts);
    state.ends = wireInstant(call.ends);
    writer.write(&state);
}

/// A take that was never started is taken back instead.
void TakeLeader::PrivateData::endAt(kit::Clock::Instant instant) {
    if (call.phase == TakePhase::Armed) {
        call.phase = TakePhase::Idle;
    } else if (call.phase == TakePhase::Recording) {
        call.phase = TakePhase::Ended;
        call.ends = std::max(instant, call.starts);
    } else {
        return;
    }
    publish();
}

void TakeLeader::PrivateData::remember(const tarn_wire_RecorderState& sample,
                                       const dds_sample_info_t& info) {
    if (info.valid_data) {
        const auto report = recorderReportIn(sample);
        if (!report || report->leader != call.leader || report->take != call.take) {
            return;
        }
        if (reports.size() < static_cast<std::size_t>(maxKeys) ||
            reports.count(report->recorder) != 0) {
            reports[report->recorder] = *report;
            instances[info.instance_handle] = report->recorder;
        }
    }
    const auto instance = instances.find(info.instance_handle);
    if (instance != instances.end()) {
        reports[instance->second].isThere = info.instance_state == DDS_IST_ALIVE;
    }
}

void TakeLeader::PrivateData::hearRecorders() {
    const auto visit = [this](const tarn_wire_RecorderState& sample,
                              const dds_sample_info_t& info) { remember(sample, info); };
    constexpr std::uint32_t any = DDS_ANY_SAMPLE_STATE | DDS_ANY_VIEW_STATE;
    // Those that are gone make room for others.
    eachSample<tarn_wire_RecorderState, maxKeys>(reader.get(), dds_take_mask,
                                                 any | DDS_NOT_ALIVE_DISPOSED_INSTANCE_STATE |
                                                     DDS_NOT_ALIVE_NO_WRITERS_INSTANCE_STATE,
                                                 visit);
    eachSample<tarn_wire_RecorderState, maxKeys>(reader.get(), dds_read_mask,
                                                 any | DDS_ALIVE_INSTANCE_STATE, visit);
}

TakeLeader::TakeLeader(const Link& link) : d_(std::make_unique<PrivateData>(link)) {
    const std::lock_guard<std::mutex> lock(d_->mutex);
    d_->publish();
}

TakeLeader::~TakeLeader() = default;

TakeCall TakeLeader::arm(const std::string& name) {
    assert(isStreamName(name));
    const std::lock_guard<std::mutex> lock(d_->mutex);
    d_->endAt(d_->clock.now());
    d_->reports.clear();
    d_->instances.clear();
    ++d_->call.take;
    d_->call.name = name;
    d_->call.phase = TakePhase::Armed;
    d_->call.starts = {};
    d_->call.ends = {};
    d_->publish();
    return d_->call;
}

TakeCall TakeLeader::start(kit::Clock::Duration ahead) {
    const std::lock_guard<std::mutex> lock(d_->mutex);
    if (d_->call.phase == TakePhase::Armed) {
        d_->call.phase = TakePhase::Recording;
        d_->call.starts = d_->clock.now() + ahead;
        d_->publish();
    }
    return d_->call;
}

TakeCall TakeLeader::end(kit::Clock::Duration ahead) {
    const std::lock_guard<std::mutex> lock(d_->mutex);
    d_->endAt(d_->clock.now() + ahead);
    return d_->call;
}

TakeCall TakeLeader::call() const {
    const std::lock_guard<std::mutex> lock(d_->mutex);
    return d_->call;
}

std::vector<RecorderReport> TakeLeader::recorders() const {
    const std::lock_guard<std::mutex> lock(d_->mutex);
    d_->hearRecorders();
    std::vector<RecorderReport> reports;
    reports.reserve(d_->reports.size());
    for (const auto& [recorder, report] : d_->reports) {
        reports.push_back(report);
    }
    std::sort(reports.begin(), reports.end(), [](const RecorderReport& a, const RecorderReport& b) {
        return std::tie(a.host, a.file, a.recorder) < std::tie(b.host, b.file, b.recorder);
    });
    return reports;
}

} // namespace tarn::link
