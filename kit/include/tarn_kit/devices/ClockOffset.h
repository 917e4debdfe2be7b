// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_kit/Export.h>
#include <tarn_kit/devices/Clock.h>
#include <tarn_kit/devices/ClockDiscipline.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>

namespace tarn::kit {

/// A question to a remote clock and its answer: two instants of each clock.
struct ClockExchange {
    Clock::Instant asked;    ///< the question left, by the local clock
    Clock::Instant heard;    ///< the question arrived, by the remote clock
    Clock::Instant answered; ///< the answer left, by the remote clock
    Clock::Instant returned; ///< the answer arrived, by the local clock
};

/// How a remote clock goes against the local one: a straight line, with how far it may be off.
/// Instants more than 73 years from the epoch of their clock are taken for that.
class TARN_KIT_EXPORT ClockRelation {
public:
    Clock::Instant reference;    ///< where the line is anchored, by the local clock
    Clock::Duration offset{};    ///< remote less local then
    double drift = 0;            ///< seconds that the remote clock gains in a local second
    Clock::Duration bound{};     ///< the offset is off by this at most
    double driftBound = 0;       ///< the drift is off by this at most
    double wander = 0;           ///< by how much the drift may change in a second
    Clock::Duration roundTrip{}; ///< the shortest of those that it is made of; 0 without
    bool isDisciplined = false;  ///< taken from what keeps both clocks right, not measured

    Clock::Instant toRemote(Clock::Instant local) const;
    Clock::Instant toLocal(Clock::Instant remote) const;
    /// How far `toRemote(local)` may be off: more, the farther from the reference.
    Clock::Duration boundAt(Clock::Instant local) const;
};

struct ClockOffsetOptions {
    /// Of the exchanges of a slice, that of the shortest round trip counts.
    Clock::Duration slice = std::chrono::seconds(1);
    /// How many slices are kept, at least 2.
    int slices = 60;
    /// No clock gains or loses more against another: what NTP may turn a clock by.
    double maximumDrift = 500e-6;
    /// By how much the drift may change in a second, as quartz does when it gets warmer.
    double wander = 10e-9;
};

/// What became of the exchanges.
struct ClockOffsetCounts {
    std::int64_t exchanges = 0; ///< that were used
    std::int64_t refused = 0;   ///< that cannot have been
    std::int64_t steps = 0;     ///< times that a clock was found to have been set or restarted
};

/// Measures a remote clock by repeated exchange: its offset from the local clock and its drift,
/// with a bound on the error of both.
///
/// An exchange proves two things, however long its messages were under way and however unlike their
/// ways were: the remote clock was no further ahead than `heard - asked`, and no further behind
/// than `answered - returned`. The estimate is the line of least squares through the middles of the
/// exchanges of the shortest round trips, a slice of time each, which the longer of them move less.
/// The bound is its distance from the farthest line that passes through all these exchanges, and
/// half of the shortest round trip at least.
///
/// An exchange that no line agrees with shows that a clock was set, or its machine restarted: what
/// was measured before it is forgotten. So the bound holds as long as both clocks go steadily, as
/// the options state, and from the first exchange after a step on; a step that takes no longer than
/// the round trips before and after it may stay unseen for as long as the slices reach back.
///
/// Where what keeps both clocks right (see `ClockDiscipline`) knows the offset better, and the
/// exchanges do not contradict it, it is used as it is.
///
/// Threads: everything may be called from any thread.
class TARN_KIT_EXPORT ClockOffset {
public:
    /// Precondition: `options` has a positive slice, two slices or more, and no negative number.
    explicit ClockOffset(const ClockOffsetOptions& options = {});
    ~ClockOffset();
    ClockOffset(const ClockOffset&) = delete;
    ClockOffset& operator=(const ClockOffset&) = delete;

    /// Returns false, and changes only the count, for an exchange that cannot have been: an answer
    /// before its question, a round trip of less than nothing, an instant more than 73 years from
    /// the epoch of its clock, or one that returned before the last.
    bool add(const ClockExchange& exchange);
    /// States how well both clocks are kept right by now.
    void setDiscipline(const ClockDiscipline& local, const ClockDiscipline& remote);
    /// Forgets the clock, but not the counts: another one is asked from now on.
    void reset();

    /// Nothing before the first exchange.
    std::optional<ClockRelation> relation() const;
    ClockOffsetCounts counts() const;

private:
    struct PrivateData;
    std::unique_ptr<PrivateData> d_;
};

} // namespace tarn::kit
