// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Reply.h>
#include <tarn/Request.h>
#include <tarn_kit/devices/ReplayDevice.h>
#include <tarn_kit/devices/StateAnnouncer.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace tarn::kit {

/// When frames are due: tick n at the origin plus n intervals, so that no rounding adds up.
class Beat {
public:
    Beat() = default;
    Beat(Clock::Instant origin, double ticksPerSecond)
        : origin_(origin), ticksPerSecond_(ticksPerSecond) {}

    /// When the next tick is due.
    Clock::Instant due() const { return origin_ + intervals(tick_, ticksPerSecond_); }
    void next() { ++tick_; }

    /// How long so many intervals take. Precondition: `ticksPerSecond` is positive.
    static Clock::Duration intervals(std::int64_t count, double ticksPerSecond);

private:
    Clock::Instant origin_;
    double ticksPerSecond_ = 1;
    std::int64_t tick_ = 0;
};

/// What a `ReplayDevice` does on its thread, without the thread: carries out commands, and sends a
/// frame when it is told to. Slots and listeners may give it commands while they run.
class ReplayPlayer {
public:
    using Output = tsignal::Signal<std::shared_ptr<Frame>>;

    /// Clock and outputs must outlive it. `onState` hears of every change, one after the other.
    ReplayPlayer(const Clock& clock, Output& poses, Output& markers,
                 StateAnnouncer::Announce onState);

    /// Carries out a command and fills in its reply, which is left to be finished. Returns false,
    /// and does nothing, when there is no such command.
    bool handle(const Request& request, Reply& reply);

    /// When the next frame is to be sent; nothing unless it streams.
    std::optional<Clock::Instant> due() const;
    /// Sends the next frame, if there is one. Precondition: it streams.
    void sendNext();

private:
    using Handler = void (ReplayPlayer::*)(const Request&, Reply&);

    void open(const Request& request, Reply& reply);
    void start(const Request& request, Reply& reply);
    void pause(const Request& request, Reply& reply);
    void stop(const Request& request, Reply& reply);
    void seek(const Request& request, Reply& reply);
    void rate(const Request& request, Reply& reply);
    void status(const Request& request, Reply& reply);

    /// Whether a take is open; fails the reply otherwise.
    bool hasTake(Reply& reply) const;
    bool isAtEnd() const { return next_ == frames_.size(); }
    double ticksPerSecond() const { return pace_ * factor_; }
    void openFile(const std::filesystem::path& file, Reply& reply);
    /// Opens a take, from a file if that is named, or fails the reply.
    void openTake(const std::filesystem::path& file, const BvhTake& take, Reply& reply);
    void openTake(const std::filesystem::path& file, const C3dTake& take, Reply& reply);
    void load(const std::filesystem::path& file, Tracks& take, double pace, Output& output,
              int dataType, Reply& reply);

    const Clock& clock_;
    Output& poses_;
    Output& markers_;
    Output* output_ = nullptr; ///< that of the take
    StateAnnouncer states_;

    std::filesystem::path file_;
    /// The device's own list: hosts may change the take that they got.
    std::vector<std::shared_ptr<Frame>> frames_;
    int rate_ = 0;
    double pace_ = 0; ///< exact frames per second
    double factor_ = 1;
    std::size_t next_ = 0;
    std::int64_t framesSent_ = 0;
    Beat beat_;
    std::optional<Clock::Instant> lastTick_; ///< nothing before the first frame of a run
};

} // namespace tarn::kit
