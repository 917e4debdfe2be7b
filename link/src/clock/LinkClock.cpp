// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_link/clock/LinkClock.h>

#include "clock/ClockTopics.h"
#include "stream/LinkAccess.h"
#include "wire/Samples.h"

#include <tarn_kit/devices/ClockDiscipline.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cassert>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <thread>

namespace tarn::link {

namespace {

/// So many questions wait for their answers; those before are given up.
constexpr std::size_t openQuestions = 64;

} // namespace

struct LinkClock::PrivateData {
    PrivateData(dds_entity_t participant, std::uint64_t askedClock, kit::Clock::Duration pause)
        : clock(askedClock), interval(pause), writer(participant, clockRequestEnd(askedClock)),
          reader(participant, clockReplyEnd(askedClock, asker)) {}

    void ask();
    void heard();
    void take(const tarn_wire_ClockReply& answer);
    void askUntilTheEnd();

    const std::uint64_t clock;
    const kit::Clock::Duration interval;
    const std::uint64_t asker = drawnNumber();
    const kit::SteadyClock here;
    kit::ClockOffset offset;
    Writer writer;
    Reader reader;

    std::mutex mutex; // guards what follows
    std::condition_variable woken;
    bool isEnding = false;
    bool isAnswered = false;                        ///< the question that was asked last
    std::int64_t unasked = 0;                       ///< answers that nobody asked for
    std::array<std::int64_t, openQuestions> sent{}; ///< when each question left; 0: none is open
    std::atomic<std::int64_t> asked{0};
    std::thread thread;
};

void LinkClock::PrivateData::ask() {
    tarn_wire_ClockRequest question{};
    question.asker = asker;
    question.asked = clock;
    {
        const std::lock_guard<std::mutex> lock(mutex);
        question.number = static_cast<std::uint64_t>(asked++);
        question.sent = wireInstant(here.now());
        sent[question.number % openQuestions] = question.sent;
    }
    writer.write(&question);
}

// Within one program this may run inside of `ask`: so it must not ask itself.
void LinkClock::PrivateData::heard() {
    eachSample<tarn_wire_ClockReply>(
        reader.get(), dds_take_mask, DDS_ANY_STATE,
        [this](const tarn_wire_ClockReply& answer, const dds_sample_info_t& info) {
            if (info.valid_data && answer.asker == asker) {
                take(answer);
            }
        });
}

// When it left is what is known here, not what the answer says: nobody can make that up.
void LinkClock::PrivateData::take(const tarn_wire_ClockReply& answer) {
    kit::ClockExchange exchange;
    exchange.returned = here.now();
    exchange.heard = instantOf(answer.received);
    exchange.answered = instantOf(answer.replied);
    {
        const std::lock_guard<std::mutex> lock(mutex);
        std::int64_t& question = sent[answer.number % openQuestions];
        if (question == 0 || question != answer.sent || answer.asked != clock) {
            ++unasked;
            return;
        }
        exchange.asked = instantOf(question);
        question = 0;
        isAnswered = true;
    }
    woken.notify_all();
    kit::ClockDiscipline there;
    there.isSynchronised = answer.is_disciplined;
    there.toUtc = kit::Clock::Duration(answer.date_offset);
    there.maximumError = kit::Clock::Duration(answer.date_bound);
    if (offset.add(exchange)) {
        offset.setDiscipline(kit::clockDiscipline(), there);
    }
}

// The first question of a pair finds threads asleep and caches cold on its way, and not on the way
// back: that the ways are so unlike puts it off by half of that. The second, which follows at once,
// meets neither.
void LinkClock::PrivateData::askUntilTheEnd() {
    auto next = here.now();
    std::unique_lock<std::mutex> lock(mutex);
    const auto askOnce = [this, &lock] {
        isAnswered = false;
        lock.unlock();
        ask();
        lock.lock();
    };
    while (!isEnding) {
        next = std::max(next + interval, here.now()); // none is made up for after a long sleep
        askOnce();
        if (woken.wait_until(lock, next, [this] { return isEnding || isAnswered; }) && !isEnding) {
            askOnce();
        }
        woken.wait_until(lock, next, [this] { return isEnding; });
    }
}

LinkClock::LinkClock(const Link& link, std::uint64_t clock, kit::Clock::Duration interval)
    : d_(std::make_unique<PrivateData>(LinkAccess::participant(link), clock, interval)) {
    assert(interval > kit::Clock::Duration::zero());
    listen(d_->reader.get(), d_.get());
    d_->thread = std::thread([this] { d_->askUntilTheEnd(); });
}

LinkClock::~LinkClock() {
    {
        const std::lock_guard<std::mutex> lock(d_->mutex);
        d_->isEnding = true;
    }
    d_->woken.notify_all();
    d_->thread.join();
    stopListening(d_->reader.get());
}

std::uint64_t LinkClock::clock() const noexcept { return d_->clock; }

std::optional<kit::ClockRelation> LinkClock::relation() const { return d_->offset.relation(); }

std::optional<kit::Clock::Instant> LinkClock::toLocal(kit::Clock::Instant remote) const {
    const auto known = relation();
    return known ? std::optional(known->toLocal(remote)) : std::nullopt;
}

std::optional<kit::Clock::Instant> LinkClock::toRemote(kit::Clock::Instant local) const {
    const auto known = relation();
    return known ? std::optional(known->toRemote(local)) : std::nullopt;
}

std::int64_t LinkClock::asked() const noexcept { return d_->asked; }

kit::ClockOffsetCounts LinkClock::counts() const {
    kit::ClockOffsetCounts counts = d_->offset.counts();
    const std::lock_guard<std::mutex> lock(d_->mutex);
    counts.refused += d_->unasked;
    return counts;
}

} // namespace tarn::link
