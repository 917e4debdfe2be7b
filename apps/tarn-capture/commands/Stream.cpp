// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "commands/Commands.h"

#include "session/DeviceCommand.h"
#include "session/Take.h"
#include "support/Errors.h"
#include "support/ProgressBar.h"

#include <fmt/format.h>
#include <tarn_kit/devices/ReplayDevice.h>
#include <tarn_kit/files/Text.h>
#include <tarn_kit/session/RecorderNode.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <cstdio>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace tarn::capture {

namespace {

using SteadyTime = std::chrono::steady_clock::time_point;

struct StreamOptions {
    std::string take;
    double rate = 1;           ///< how much faster than the take; 0 for as fast as it goes
    std::optional<int> frames; ///< how many to stream; all if not given
};

/// Watches a device stream: notes when each frame comes, pauses the device after the last one that
/// is wanted, and lets another thread wait for the end.
class Watch {
public:
    Watch(Device& device, int wanted) : device_(device), wanted_(wanted), bar_(stderr, wanted) {
        arrivals_.reserve(static_cast<std::size_t>(wanted));
        device.oFramePort(kit::ReplayDevice::posePort)
            .connect(this, [this](const std::shared_ptr<Frame>&) { frameArrived(); });
        device.onStateChanged().connect(this, [this](Device::DeviceState state) {
            if (state == Device::Ready) {
                end();
            }
        });
    }
    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;
    ~Watch() {
        device_.oFramePort(kit::ReplayDevice::posePort).disconnect(this);
        device_.onStateChanged().disconnect(this);
    }

    void waitForEnd() {
        std::unique_lock<std::mutex> lock(mutex_);
        ended_.wait(lock, [this] { return hasEnded_; });
    }
    /// When each frame came. For after the end.
    const std::vector<SteadyTime>& arrivals() const { return arrivals_; }

private:
    // On the device's thread.

    void frameArrived() {
        arrivals_.push_back(std::chrono::steady_clock::now());
        bar_.advance();
        if (static_cast<int>(arrivals_.size()) == wanted_) {
            device_.syncRequest("pause"); // answered at once, so not one frame more is sent
        }
    }

    void end() {
        const std::lock_guard<std::mutex> lock(mutex_);
        hasEnded_ = true;
        ended_.notify_all();
    }

    Device& device_;
    int wanted_;
    ProgressBar bar_;
    std::vector<SteadyTime> arrivals_;
    std::mutex mutex_;
    std::condition_variable ended_;
    bool hasEnded_ = false;
};

double secondsBetween(SteadyTime from, SteadyTime to) {
    return std::chrono::duration<double>(to - from).count();
}

/// How late each frame came, in milliseconds, against a beat that starts with the first; ascending.
std::vector<double> lateness(const std::vector<SteadyTime>& arrivals, double framesPerSecond) {
    std::vector<double> late;
    for (std::size_t i = 0; i < arrivals.size(); ++i) {
        const double due = static_cast<double>(i) / framesPerSecond;
        late.push_back(1000 * std::abs(secondsBetween(arrivals.front(), arrivals[i]) - due));
    }
    std::sort(late.begin(), late.end());
    return late;
}

double quantile(const std::vector<double>& ascending, double part) {
    const auto last = static_cast<double>(ascending.size() - 1);
    return ascending[static_cast<std::size_t>(std::lround(part * last))];
}

void printJitter(const std::vector<SteadyTime>& arrivals, double framesPerSecond) {
    if (arrivals.empty() || framesPerSecond <= 0) {
        fmt::print("  jitter    none: frames were not paced\n");
        return;
    }
    const std::vector<double> late = lateness(arrivals, framesPerSecond);
    fmt::print("  jitter    median {:.3f} ms, 99 % within {:.3f} ms, largest {:.3f} ms\n",
               quantile(late, 0.5), quantile(late, 0.99), late.back());
}

bool sameFrame(const Frame& a, const Frame& b) {
    return a.time() == b.time() && a.dataType() == b.dataType() &&
           a.dataAs<kit::Pose>().values == b.dataAs<kit::Pose>().values;
}

/// Compares what was recorded with the first frames of the take, which was read on its own.
void compare(Tracks& recording, const Take& take, int count) {
    if (recording.timeLength() != count) {
        throw std::runtime_error(fmt::format("the recording differs from the take: {} of {} frames",
                                             recording.timeLength(), count));
    }
    for (int i = 0; i < count; ++i) {
        const auto recorded = recording.getFrame(i, kit::poseDataType);
        const auto original = take.tracks().getFrame(i, kit::poseDataType);
        if (!sameFrame(*recorded, *original)) {
            throw std::runtime_error(
                fmt::format("the recording differs from the take at frame {}", i));
        }
    }
}

int framesToStream(const StreamOptions& options, const Take& take) {
    if (options.frames && *options.frames > take.frameCount()) {
        throw UsageError(
            fmt::format("--frames {} is more than the take has ({})", *options.frames,
                        kit::counted(static_cast<std::size_t>(take.frameCount()), "frame")));
    }
    return options.frames.value_or(take.frameCount());
}

void check(const StreamOptions& options) {
    if (!(options.rate >= 0 && std::isfinite(options.rate))) { // not-a-number included
        throw UsageError("--rate must be 0 or greater");
    }
    if (options.frames && *options.frames < 1) {
        throw UsageError("--frames must be at least 1");
    }
}

/// From a replay device to a recorder; what was recorded has to be the take.
int stream(const StreamOptions& options) {
    check(options);
    const Take take(options.take);
    const int count = framesToStream(options, take);

    kit::ReplayDevice device("stream");
    kit::RecorderNode recorder(kit::poseDataType, count);
    recorder.tieToIFramePort(kit::RecorderNode::framePort,
                             device.oFramePort(kit::ReplayDevice::posePort));
    command(device, "open", options.take);
    command(device, "rate", options.rate);
    std::vector<SteadyTime> arrivals;
    if (count > 0) {
        Watch watch(device, count);
        command(device, "start");
        watch.waitForEnd();
        command(device, "stop"); // the device has left its slots when it answers
        arrivals = watch.arrivals();
    }

    const auto streamed = static_cast<std::size_t>(recorder.frameCount());
    fmt::print("{}\n", kit::printable(options.take));
    fmt::print("  streamed  {} of {}\n", kit::counted(streamed, "frame"), take.frameCount());
    fmt::print("  lost      {}\n",
               static_cast<std::int64_t>(count) - recorder.frameCount() + recorder.lostFrames());
    fmt::print("  duration  {:.3f} s\n",
               arrivals.empty() ? 0.0 : secondsBetween(arrivals.front(), arrivals.back()));
    printJitter(arrivals, take.rate() * options.rate);
    compare(*recorder.take(), take, count);
    fmt::print("  recording identical to the take\n");
    return exitSuccess;
}

} // namespace

void addStream(CommandLine& line) {
    auto [command, options] = line.add("stream",
                                       "Stream a take from a replay device to a recorder, and\n"
                                       "compare the recording with the take",
                                       stream);
    command.add_option("TAKE", options.take, "A BVH file")->required()->type_name("");
    command
        .add_option("--rate", options.rate,
                    "How much faster than the take to stream; 0 for as fast\n"
                    "as it goes; if not given, 1")
        ->type_name("F");
    command.add_option("--frames", options.frames, "How many frames to stream; if not given, all")
        ->type_name("N");
}

} // namespace tarn::capture
