// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "device/DeviceTesting.h"
#include "support/TemporaryDirectory.h"

#include <tarn_kit/devices/ReplayDevice.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <any>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <memory>
#include <mutex>
#include <ostream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

/// What the tests of the replay device and the recorder have in common.
namespace replay_testing {

using tarn::Device;
using tarn::Frame;
using tarn::Reply;
using tarn::Request;
using tarn::kit::Clock;
using tarn::kit::ManualClock;
using tarn::kit::ReplayDevice;
using tarn::kit::ReplayStatus;
using FramePtr = std::shared_ptr<Frame>;
using State = Device::DeviceState;

/// A file with a take, in a directory of its own that goes with it. Each frame holds its index.
class TakeFile {
public:
    explicit TakeFile(int frames, const std::string& frameTime = "0.01") {
        std::ofstream file(path());
        file << "HIERARCHY\nROOT Hips\n{\n  OFFSET 0 0 0\n  CHANNELS 1 Xposition\n}\n"
             << "MOTION\nFrames: " << frames << "\nFrame Time: " << frameTime << "\n";
        for (int i = 0; i < frames; ++i) {
            file << i << "\n";
        }
    }

    std::filesystem::path path() const { return directory_ / "take.bvh"; }

private:
    tarn::testing::TemporaryDirectory directory_;
};

/// What was heard, in order, on whatever thread.
template <class T>
class Heard {
public:
    void add(T value) {
        const std::lock_guard<std::mutex> lock(mutex_);
        values_.push_back(std::move(value));
        added_.notify_all();
    }
    std::vector<T> all() const {
        const std::lock_guard<std::mutex> lock(mutex_);
        return values_;
    }
    /// Blocks until there are so many.
    void await(std::size_t count) {
        std::unique_lock<std::mutex> lock(mutex_);
        added_.wait(lock, [this, count] { return values_.size() >= count; });
    }

private:
    mutable std::mutex mutex_;
    std::condition_variable added_;
    std::vector<T> values_;
};

/// A frame by its index, and when it came.
struct Sent {
    unsigned index;
    Clock::Duration at;
    bool operator==(const Sent& other) const { return index == other.index && at == other.at; }
};

inline std::ostream& operator<<(std::ostream& stream, const Sent& sent) {
    return stream << "frame " << sent.index << " at " << sent.at.count() << " ns";
}

/// A device and all that was heard of it.
class Listened {
public:
    explicit Listened(const std::shared_ptr<Clock>& clock)
        : owner_(std::make_unique<ReplayDevice>("replay 1", clock)), device_(owner_.get()) {
        device_->onStateChanged().connect([this](State state) { states_.add(state); });
        for (const int port : {ReplayDevice::posePort, ReplayDevice::markerPort}) {
            device_->oFramePort(port).connect([this, clock, port](const FramePtr& frame) {
                sent_.add({frame->time().frameIndex(), clock->now().time_since_epoch()});
                ports_.add(port);
            });
        }
    }

    ReplayDevice& device() { return *device_; }
    void destroy() { owner_.reset(); }

    std::shared_ptr<Reply> command(const std::string& id, const std::any& payload = {}) {
        return device_->syncRequest(std::make_shared<Request>(id, payload));
    }
    ReplayStatus status() { return command("status")->dataAs<ReplayStatus>(); }
    void open(const TakeFile& file) { ASSERT_TRUE(*command("open", file.path())); }

    std::vector<Sent> sent() const { return sent_.all(); }
    std::vector<unsigned> indexes() const {
        std::vector<unsigned> indexes;
        for (const Sent& sent : sent_.all()) {
            indexes.push_back(sent.index);
        }
        return indexes;
    }
    /// Out of which port each was sent.
    std::vector<int> ports() const { return ports_.all(); }
    std::vector<State> states() const { return states_.all(); }
    void awaitSent(std::size_t count) { sent_.await(count); }
    void awaitStates(std::size_t count) { states_.await(count); }

private:
    Heard<State> states_;
    Heard<Sent> sent_;
    Heard<int> ports_;
    std::unique_ptr<ReplayDevice> owner_; // goes before the others, since it uses them
    ReplayDevice* device_;                // for slots to use while it is being destroyed
};

/// On a clock that stands still until the test moves it.
class Replay : public Listened {
public:
    Replay() : Replay(std::make_shared<ManualClock>()) {}
    explicit Replay(std::shared_ptr<ManualClock> clock)
        : Listened(clock), clock_(std::move(clock)) {}

    ManualClock& clock() { return *clock_; }
    /// Once the device waits for the next frame to be due, moves on to that instant.
    void step() { clock_->advanceTo(clock_->awaitWaiting()); }
    /// So many times.
    void steps(int count) {
        for (int i = 0; i < count; ++i) {
            step();
        }
    }
    /// Returns when every frame that is due has been sent and the device waits for the next one.
    void settle() { clock_->awaitWaiting(); }

private:
    std::shared_ptr<ManualClock> clock_;
};

/// 0, 1, ... up to below `end`.
inline std::vector<unsigned> upTo(unsigned end) {
    std::vector<unsigned> numbers(end);
    for (unsigned i = 0; i < end; ++i) {
        numbers[i] = i;
    }
    return numbers;
}

/// For the device's own thread: comes back when the device is being destroyed.
inline void awaitClosing(Device& device) {
    while (device.syncRequest("status")->errorCode() != ReplayDevice::Closing) {
    }
}

} // namespace replay_testing
