// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_link/together/TakeCall.h>

#include "clock/ClockTopics.h"
#include "together/TakeTopics.h"
#include "wire/Texts.h"

#include <tarn_link/stream/Link.h>

#include <tuple>

namespace tarn::link {

bool operator==(const TakeCall& a, const TakeCall& b) noexcept {
    return std::tie(a.leader, a.take, a.name, a.phase, a.starts, a.ends) ==
           std::tie(b.leader, b.take, b.name, b.phase, b.starts, b.ends);
}

bool operator!=(const TakeCall& a, const TakeCall& b) noexcept { return !(a == b); }

std::optional<TakeCall> takeCallIn(const tarn_wire_TakeState& sample) {
    const auto name = textIn(sample.name);
    if (sample.leader == 0 || !name || (!name->empty() && !isStreamName(*name)) ||
        sample.phase > static_cast<std::uint8_t>(TakePhase::Ended)) {
        return std::nullopt;
    }
    TakeCall call;
    call.leader = sample.leader;
    call.take = sample.take;
    call.name = *name;
    call.phase = static_cast<TakePhase>(sample.phase);
    call.starts = instantOf(sample.starts);
    call.ends = instantOf(sample.ends);
    return call;
}

std::optional<RecorderReport> recorderReportIn(const tarn_wire_RecorderState& sample) {
    const auto host = textIn(sample.host);
    const auto file = textIn(sample.file);
    const auto text = textIn(sample.text);
    if (!host || !file || !text || sample.frames < 0 || sample.lost < 0 || sample.clock_bound < 0 ||
        sample.phase > static_cast<std::uint8_t>(RecorderPhase::Failed)) {
        return std::nullopt;
    }
    RecorderReport report;
    report.recorder = sample.recorder;
    report.leader = sample.leader;
    report.take = sample.take;
    report.phase = static_cast<RecorderPhase>(sample.phase);
    report.host = *host;
    report.file = *file;
    report.hasData = sample.has_data;
    report.dataFrom = instantOf(sample.data_from);
    report.clockBound = kit::Clock::Duration(sample.clock_bound);
    report.frames = sample.frames;
    report.lost = sample.lost;
    report.text = *text;
    return report;
}

} // namespace tarn::link
