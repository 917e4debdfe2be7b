// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "linked/FollowedTake.h"

#include "support/Output.h"

#include <fmt/format.h>
#include <tarn_kit/files/Text.h>
#include <tarn_store/file/TakeSplice.h>

#include <algorithm>
#include <chrono>
#include <thread>
#include <utility>

namespace tarn::capture {

FollowedTake::FollowedTake(ReceivedStreams& streams, Recording& recording, std::string file)
    : file_(std::move(file)), recording_(recording), follower_(streams.link()) {
    for (const auto& device : streams.devices()) {
        Ear& ear = *ears_.emplace_back(std::make_unique<Ear>());
        ear.device = device.get();
        ear.samples = device->onSample().connect(
            [this, &ear](const link::LinkSample& sample) { hear(ear, sample); });
        int port = 0;
        for (const link::LinkTrack& track : device->tracks()) {
            recording.addWhere(device->oFramePort(port++), track.dataType, track.description,
                               [this, &ear](const Frame& frame) { return isWanted(ear, frame); });
        }
    }
}

FollowedTake::~FollowedTake() {
    for (const auto& ear : ears_) {
        ear->device->syncRequest("stop"); // it has left its slots when it answers
    }
}

/// By this machine's clock; of a publisher whose clock is not known yet, when it came.
void FollowedTake::hear(Ear& ear, const link::LinkSample& sample) {
    const auto clock = ear.device->clock();
    ear.captured = clock
                       ? clock->toLocal(kit::Clock::Instant(kit::Clock::Duration(sample.captured)))
                       : sample.received;
    ear.place = follower_.placeOf(ear.captured);
}

bool FollowedTake::isWanted(const Ear& ear, const Frame& frame) {
    if (ear.place != link::TakePlace::Within) {
        return false;
    }
    const std::lock_guard<std::mutex> lock(mutex_);
    if (!first_) {
        first_ = First{ear.captured, static_cast<std::int64_t>(frame.time().frameIndex())};
    }
    return true;
}

std::optional<FollowedTake::First> FollowedTake::first() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return first_;
}

/// A stream that has gone, or that sends nothing now, is not waited for.
bool FollowedTake::isOver() const {
    constexpr auto longestOnItsWay = std::chrono::seconds(1);
    const auto isAfter = [](const auto& ear) { return ear->place == link::TakePlace::After; };
    const auto hasGone = [](const auto& ear) { return !ear->device->isBusy(); };
    return std::all_of(ears_.begin(), ears_.end(), isAfter) ||
           std::all_of(ears_.begin(), ears_.end(), hasGone) ||
           follower_.placeOf(kit::SteadyClock().now() - longestOnItsWay) == link::TakePlace::After;
}

bool FollowedTake::follow(const StopRequested& stopRequested) {
    constexpr auto beat = std::chrono::milliseconds(5);
    constexpr int beatsOfAReport = 40;
    bool hasBegun = false;
    for (int beats = 0; !stopRequested(); ++beats, std::this_thread::sleep_for(beat)) {
        const link::TakeCall call = follower_.call();
        if (!take_) {
            const bool isCalled =
                call.phase == link::TakePhase::Armed || call.phase == link::TakePhase::Recording;
            if (isCalled && follower_.clock()) {
                take_ = call;
                report(link::RecorderPhase::Armed);
                announce(fmt::format("armed: '{}'", kit::printable(call.name)));
            }
            continue;
        }
        if (call.leader != take_->leader || call.take != take_->take ||
            call.phase == link::TakePhase::Idle || isOver()) {
            return true; // or it was taken back
        }
        if (first() && (!hasBegun || beats % beatsOfAReport == 0)) {
            report(link::RecorderPhase::Recording);
            if (!std::exchange(hasBegun, true)) {
                announce(fmt::format("recording '{}'", kit::printable(call.name)));
            }
        }
    }
    return false;
}

void FollowedTake::note() {
    const auto relation = follower_.clock();
    const auto begun = first();
    if (take_ && relation && begun) {
        recording_.addNote(store::clockNote(fmt::format("{}/{}", take_->leader, take_->take),
                                            relation->toRemote(begun->captured).time_since_epoch(),
                                            begun->index));
    }
}

void FollowedTake::conclude(const std::string& problem) {
    if (take_) {
        report(problem.empty() ? link::RecorderPhase::Ended : link::RecorderPhase::Failed, problem);
    }
}

void FollowedTake::report(link::RecorderPhase phase, const std::string& text) {
    link::RecorderReport report;
    report.phase = phase;
    report.file = file_;
    if (const auto begun = first()) {
        report.hasData = true;
        report.dataFrom = begun->captured;
    }
    report.frames = recording_.recordedFrames();
    report.lost = recording_.lostFrames();
    report.text = text;
    follower_.report(report);
}

} // namespace tarn::capture
