// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_kit/devices/Clock.h>
#include <tarn_kit/devices/ClockOffset.h>
#include <tarn_link/Export.h>
#include <tarn_link/stream/Link.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>

namespace tarn::link {

/// The clock of another program on the link, measured against the one of this machine: it asks
/// what time it is there again and again, from its beginning to its end, on a thread of its own,
/// and once more whenever that is answered: the second of two questions finds nothing asleep.
/// Every link answers whoever asks it. Both clocks are `kit::SteadyClock`, the one by which frames
/// say when they were captured.
///
/// What is learnt, how exact it is, and what becomes of clocks that are set, restarted or kept
/// right by NTP or PTP, says `kit::ClockOffset`.
///
/// Threads: everything may be called from any thread.
class TARN_LINK_EXPORT LinkClock {
public:
    /// `clock` is the number of the other clock, as `LinkOffer` or `TakeCall` say it. Throws
    /// `LinkError`. Precondition: `interval`, between two questions, is positive, and `link` lives
    /// longer.
    LinkClock(const Link& link, std::uint64_t clock,
              kit::Clock::Duration interval = std::chrono::milliseconds(200));
    ~LinkClock();
    LinkClock(const LinkClock&) = delete;
    LinkClock& operator=(const LinkClock&) = delete;

    std::uint64_t clock() const noexcept;
    /// Nothing before the first answer.
    std::optional<kit::ClockRelation> relation() const;
    /// An instant of the other clock, by that of this machine; nothing before the first answer.
    std::optional<kit::Clock::Instant> toLocal(kit::Clock::Instant remote) const;
    /// An instant of this machine's clock, by the other one; nothing before the first answer.
    std::optional<kit::Clock::Instant> toRemote(kit::Clock::Instant local) const;

    /// How many questions were sent.
    std::int64_t asked() const noexcept;
    /// What became of the answers. An answer that nobody asked for is refused.
    kit::ClockOffsetCounts counts() const;

private:
    struct PrivateData;
    std::unique_ptr<PrivateData> d_;
};

} // namespace tarn::link
