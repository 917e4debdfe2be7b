// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "clock/ClockAnswers.h"

#include "clock/ClockTopics.h"
#include "wire/Samples.h"

#include <tarn_kit/devices/ClockDiscipline.h>

namespace tarn::link {

ClockAnswers::ClockAnswers(dds_entity_t participant, std::uint64_t clock)
    : clock_(clock), writer_(participant, clockReplyEnd(clock)),
      reader_(participant, clockRequestEnd(clock)) {
    listen(reader_.get(), this);
}

ClockAnswers::~ClockAnswers() { stopListening(reader_.get()); }

// The first instant is after the question arrived, the second before the answer leaves: so what
// they prove is true, however long this took.
void ClockAnswers::heard() {
    const kit::SteadyClock clock;
    eachSample<tarn_wire_ClockRequest>(
        reader_.get(), dds_take_mask, DDS_ANY_STATE,
        [&](const tarn_wire_ClockRequest& question, const dds_sample_info_t& info) {
            if (!info.valid_data || question.asked != clock_) {
                return;
            }
            tarn_wire_ClockReply answer{};
            answer.asker = question.asker;
            answer.asked = clock_;
            answer.number = question.number;
            answer.sent = question.sent;
            answer.received = wireInstant(clock.now());
            const kit::ClockDiscipline discipline = kit::clockDiscipline();
            answer.is_disciplined = discipline.isSynchronised;
            answer.date_offset = discipline.toUtc.count();
            answer.date_bound = discipline.maximumError.count();
            answer.replied = wireInstant(clock.now());
            writer_.write(&answer);
        });
}

} // namespace tarn::link
