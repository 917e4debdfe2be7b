// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_kit/devices/Clock.h>
#include <tarn_link/Export.h>

#include <cstdint>
#include <string>

namespace tarn::link {

/// How far a take is that several machines record together.
enum class TakePhase : std::uint8_t {
    Idle,      ///< there is none
    Armed,     ///< recorders make ready
    Recording, ///< it starts, or has started, at an instant that is known
    Ended,     ///< it ends, or has ended, at an instant that is known
};

/// What the leader of a take says of it. Instants are of its clock.
struct TakeCall {
    std::uint64_t leader = 0; ///< the number of its clock (see `LinkClock`); 0 without a leader
    std::uint64_t take = 0;   ///< counts the leader's takes from 1
    std::string name;
    TakePhase phase = TakePhase::Idle;
    kit::Clock::Instant starts; ///< from when on frames belong to it, once it is recorded
    kit::Clock::Instant ends;   ///< from when on they do not any more, once it is ended
};

TARN_LINK_EXPORT bool operator==(const TakeCall& a, const TakeCall& b) noexcept;
TARN_LINK_EXPORT bool operator!=(const TakeCall& a, const TakeCall& b) noexcept;

/// How a recorder stands.
enum class RecorderPhase : std::uint8_t {
    Armed,     ///< it is ready
    Recording, ///< it has frames of the take
    Ended,     ///< all that it has is safe in its file
    Failed,    ///< it has stopped before the end, or what it has is not safe
};

/// What a recorder says of itself.
struct RecorderReport {
    std::uint64_t recorder = 0; ///< drawn anew whenever a recorder starts
    std::uint64_t leader = 0;
    std::uint64_t take = 0;
    RecorderPhase phase = RecorderPhase::Armed;
    std::string host;
    std::string file;
    bool hasData = false;
    kit::Clock::Instant dataFrom;      ///< from when on it has data, by the leader's clock
    kit::Clock::Duration clockBound{}; ///< how far its idea of the leader's clock may be off
    std::int64_t frames = 0;           ///< that are safe
    std::int64_t lost = 0;
    std::string text;    ///< for people: why it failed
    bool isThere = true; ///< not any more: what it said last
};

} // namespace tarn::link
