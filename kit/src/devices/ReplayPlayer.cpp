// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "devices/ReplayPlayer.h"

#include "processing/AnyNumber.h"

#include <tarn_kit/body/Markers.h>
#include <tarn_kit/devices/CommandThread.h>
#include <tarn_kit/files/TakeFormat.h>

#include <algorithm>
#include <array>
#include <cassert>
#include <cmath>
#include <exception>
#include <string>
#include <string_view>
#include <utility>

namespace tarn::kit {

namespace {

namespace fs = std::filesystem;

std::optional<fs::path> fileIn(const std::any& payload) {
    if (const auto* const path = std::any_cast<fs::path>(&payload)) {
        return *path;
    }
    if (const auto* const name = std::any_cast<std::string>(&payload)) {
        return fs::path(*name);
    }
    return std::nullopt;
}

std::vector<std::shared_ptr<Frame>> framesOf(Tracks& take, int dataType) {
    std::vector<std::shared_ptr<Frame>> frames;
    frames.reserve(static_cast<std::size_t>(take.timeLength()));
    for (int i = 0; i < take.timeLength(); ++i) {
        frames.push_back(take.getFrame(i, dataType));
    }
    return frames;
}

/// Frames per second: what the frame time of the take means, where that goes with its rate; a take
/// that a host made may have no frame time.
double paceOf(const BvhTake& take) {
    const int rate = take.tracks->fps();
    const bool hasFrameTime = std::abs(take.frameTime * rate - 1) < 0.5;
    return hasFrameTime ? take.exactRate().value() : rate;
}

} // namespace

Clock::Duration Beat::intervals(std::int64_t count, double ticksPerSecond) {
    constexpr double longest = 1e18; // some 30 years: sums of instants stay far from overflow
    const double nanoseconds = static_cast<double>(count) * 1e9 / ticksPerSecond;
    return Clock::Duration(std::llround(std::min(nanoseconds, longest)));
}

ReplayPlayer::ReplayPlayer(const Clock& clock, Output& poses, Output& markers,
                           StateAnnouncer::Announce onState)
    : clock_(clock), poses_(poses), markers_(markers), states_(Device::Lost, std::move(onState)) {}

bool ReplayPlayer::handle(const Request& request, Reply& reply) {
    static constexpr std::array<std::pair<std::string_view, Handler>, 7> handlers = {{
        {"open", &ReplayPlayer::open},
        {"start", &ReplayPlayer::start},
        {"pause", &ReplayPlayer::pause},
        {"stop", &ReplayPlayer::stop},
        {"seek", &ReplayPlayer::seek},
        {"rate", &ReplayPlayer::rate},
        {"status", &ReplayPlayer::status},
    }};
    for (const auto& [id, handler] : handlers) {
        if (id == request.id()) {
            reply.setResultCode(0);
            (this->*handler)(request, reply);
            return true;
        }
    }
    return false;
}

std::optional<Clock::Instant> ReplayPlayer::due() const {
    if (states_.state() != Device::Busy) {
        return std::nullopt;
    }
    return factor_ > 0 ? beat_.due() : Clock::Instant::min();
}

void ReplayPlayer::sendNext() {
    assert(states_.state() == Device::Busy);
    if (!isAtEnd()) {
        // All is up to date before the slots run: they may give commands.
        const std::shared_ptr<Frame> frame = frames_[next_];
        lastTick_ = factor_ > 0 ? beat_.due() : clock_.now();
        beat_.next();
        ++next_;
        ++framesSent_;
        output_->emit(frame);
    }
    if (states_.state() == Device::Busy && isAtEnd()) {
        states_.enter(Device::Ready);
    }
}

void ReplayPlayer::open(const Request& request, Reply& reply) {
    if (const auto* const take = std::any_cast<BvhTake>(&request.data())) {
        openTake({}, *take, reply);
    } else if (const auto* const markers = std::any_cast<C3dTake>(&request.data())) {
        openTake({}, *markers, reply);
    } else if (const std::optional<fs::path> file = fileIn(request.data())) {
        openFile(*file, reply);
    } else {
        failCommand(
            reply, ReplayDevice::BadPayload,
            "\"open\" takes a file name, as std::string or std::filesystem::path, a BvhTake or a "
            "C3dTake");
    }
}

void ReplayPlayer::openFile(const fs::path& file, Reply& reply) {
    try {
        if (takeFormatOf(file) == TakeFormat::C3d) {
            openTake(file, readC3d(file), reply);
        } else {
            openTake(file, readBvh(file), reply);
        }
    } catch (const std::exception& error) {
        failCommand(reply, ReplayDevice::BadFile, error.what());
    }
}

void ReplayPlayer::openTake(const fs::path& file, const BvhTake& take, Reply& reply) {
    if (take.rig == nullptr || take.tracks == nullptr || take.tracks->fps() < 1) {
        failCommand(reply, ReplayDevice::BadPayload,
                    "\"open\" takes no take without a rig, tracks or rate");
        return;
    }
    reply.setData(take);
    load(file, *take.tracks, paceOf(take), poses_, poseDataType, reply);
}

void ReplayPlayer::openTake(const fs::path& file, const C3dTake& take, Reply& reply) {
    if (take.tracks == nullptr || !std::isfinite(take.rate) || !(take.rate > 0)) {
        failCommand(reply, ReplayDevice::BadPayload,
                    "\"open\" takes no take without tracks or rate");
        return;
    }
    reply.setData(take);
    load(file, *take.tracks, take.rate, markers_, markerDataType, reply);
}

void ReplayPlayer::load(const fs::path& file, Tracks& take, double pace, Output& output,
                        int dataType, Reply& reply) {
    auto frames = framesOf(take, dataType);
    if (std::find(frames.begin(), frames.end(), nullptr) != frames.end()) {
        reply.setData({});
        failCommand(reply, ReplayDevice::BadPayload,
                    "\"open\" takes no take with a frame without a pose, "
                    "or without markers");
        return;
    }
    file_ = file;
    frames_ = std::move(frames);
    output_ = &output;
    rate_ = take.fps();
    pace_ = pace;
    next_ = 0;
    framesSent_ = 0;
    states_.enter(Device::Ready);
}

void ReplayPlayer::start(const Request& /*request*/, Reply& reply) {
    if (!hasTake(reply) || states_.state() == Device::Busy) {
        return;
    }
    if (isAtEnd()) {
        next_ = 0;
    }
    lastTick_.reset();
    beat_ = Beat(clock_.now(), ticksPerSecond());
    states_.enter(Device::Busy);
}

void ReplayPlayer::pause(const Request& /*request*/, Reply& reply) {
    if (hasTake(reply)) {
        states_.enter(Device::Ready);
    }
}

void ReplayPlayer::stop(const Request& /*request*/, Reply& reply) {
    if (hasTake(reply)) {
        next_ = 0;
        states_.enter(Device::Ready);
    }
}

void ReplayPlayer::seek(const Request& request, Reply& reply) {
    if (!hasTake(reply)) {
        return;
    }
    const int* const index = std::any_cast<int>(&request.data());
    if (index == nullptr) {
        failCommand(reply, ReplayDevice::BadPayload, "\"seek\" takes a frame index, as int");
    } else if (*index < 0 || static_cast<std::size_t>(*index) >= frames_.size()) {
        failCommand(reply, ReplayDevice::BadIndex,
                    "expected a frame index from 0 to below " + std::to_string(frames_.size()) +
                        ", found " + std::to_string(*index));
    } else {
        next_ = static_cast<std::size_t>(*index);
    }
}

void ReplayPlayer::rate(const Request& request, Reply& reply) {
    const std::optional<double> factor = numberHeldBy(request.data());
    if (!factor) {
        failCommand(reply, ReplayDevice::BadPayload,
                    "\"rate\" takes a factor, as double, float or int");
        return;
    }
    if (!std::isfinite(*factor) || *factor < 0) {
        failCommand(reply, ReplayDevice::BadFactor,
                    "expected a factor that is 0 or greater, found " + std::to_string(*factor));
        return;
    }
    factor_ = *factor;
    if (states_.state() == Device::Busy && factor_ > 0) {
        Clock::Instant origin = clock_.now();
        if (lastTick_) {
            origin = std::max(origin, *lastTick_ + Beat::intervals(1, ticksPerSecond()));
        }
        beat_ = Beat(origin, ticksPerSecond());
    }
}

void ReplayPlayer::status(const Request& /*request*/, Reply& reply) {
    ReplayStatus status;
    status.state = states_.state();
    status.file = file_;
    status.nextFrame = static_cast<int>(next_);
    status.frameCount = static_cast<int>(frames_.size());
    status.rate = rate_;
    status.factor = factor_;
    status.framesSent = framesSent_;
    reply.setData(status);
}

bool ReplayPlayer::hasTake(Reply& reply) const {
    if (states_.state() == Device::Lost) {
        failCommand(reply, ReplayDevice::NoTake, "no take is open");
        return false;
    }
    return true;
}

} // namespace tarn::kit
