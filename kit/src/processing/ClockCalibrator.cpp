// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/processing/ClockCalibrator.h>

#include "processing/AnyNumber.h"

#include <algorithm>
#include <any>
#include <atomic>
#include <cassert>
#include <chrono>
#include <cmath>
#include <functional>
#include <limits>
#include <mutex>
#include <utility>

namespace tarn::kit {

namespace {

/// The straight line of least squares through points that come one after the other, in constant
/// memory. Sums are kept about the means, and the residuals add up from what each point was off the
/// line of those before it: so nothing small is ever the difference of two large numbers.
class Line {
public:
    void add(double x, double y) {
        ++count_;
        const double dx = x - meanX_;
        const double dy = y - meanY_;
        if (count_ > 2) {
            const double off = dy - slope() * dx;
            residuals_ += off * off / (1 + 1 / (count_ - 1) + dx * dx / squaresX_);
        }
        meanX_ += dx / count_;
        meanY_ += dy / count_;
        squaresX_ += dx * (x - meanX_);
        products_ += dx * (y - meanY_);
    }
    /// Precondition for both: there are points of different x.
    double slope() const { return products_ / squaresX_; }
    /// The standard deviation from the line.
    double deviation() const { return std::sqrt(residuals_ / count_); }

private:
    double count_ = 0;
    double meanX_ = 0;
    double meanY_ = 0;
    double squaresX_ = 0;
    double products_ = 0;
    double residuals_ = 0; ///< the sum of their squares
};

/// Arrivals, and the beat that their frame indexes tell.
class Stream {
public:
    void add(const Time& time, Clock::Instant arrival);
    std::int64_t frames() const { return frames_; }
    StreamQuality quality() const;

private:
    std::int64_t frames_ = 0;
    std::int64_t missing_ = 0;
    double beat_ = 0; ///< of the last frame, counted from the first
    Time first_;
    Time last_;
    Clock::Instant firstArrival_;
    double lastArrival_ = 0; ///< in seconds after the first
    Line line_;              ///< of the arrivals over the beats
};

void Stream::add(const Time& time, Clock::Instant arrival) {
    if (frames_ == 0) {
        first_ = time;
        firstArrival_ = arrival;
    } else if (time.frameIndex() > last_.frameIndex()) {
        const auto step = std::int64_t{time.frameIndex()} - std::int64_t{last_.frameIndex()};
        missing_ += step - 1;
        beat_ += static_cast<double>(step);
    } else {
        beat_ += 1;
    }
    ++frames_;
    last_ = time;
    lastArrival_ = std::chrono::duration<double>(arrival - firstArrival_).count();
    line_.add(beat_, lastArrival_);
}

StreamQuality Stream::quality() const {
    StreamQuality quality;
    quality.frames = frames_;
    quality.missing = missing_;
    quality.duration = lastArrival_;
    quality.statedRate = static_cast<double>(first_.fps());
    if (lastArrival_ > 0) {
        quality.measuredRate = 1 / line_.slope();
        quality.jitter = line_.deviation();
    }
    return quality;
}

} // namespace

struct ClockCalibrator::PrivateData {
    PrivateData(ClockCalibrator& theOwner, int portId, int count, std::shared_ptr<Clock> theClock)
        : owner(theOwner), port(portId), frameCount(count), clock(std::move(theClock)) {}

    /// Begins a run; returns false if there is one.
    bool begin();
    void listenTo(Device& device);
    /// The handler of the port.
    void add(const std::shared_ptr<Frame>& frame);
    /// Ends the run; returns false if there is none. From then on no frame counts.
    bool stop();
    void clear();
    StreamQuality quality();

    ClockCalibrator& owner;
    const int port;
    std::atomic<int> frameCount; // read on the device's thread
    const std::shared_ptr<Clock> clock;

    std::mutex mutex; // guards what follows; not held while a signal is emitted or disconnected
    Stream stream;
    bool running = false;
    tsignal::Disconnector connection; ///< from the device that it was bound to when the run began
};

bool ClockCalibrator::PrivateData::begin() {
    const std::lock_guard<std::mutex> lock(mutex);
    if (std::exchange(running, true)) {
        return false;
    }
    stream = Stream();
    return true;
}

void ClockCalibrator::PrivateData::listenTo(Device& device) {
    auto connected = device.oFramePort(port).connect(
        this, [this](const std::shared_ptr<Frame>& frame) { add(frame); });
    {
        const std::lock_guard<std::mutex> lock(mutex);
        if (running) {
            connection = std::move(connected);
            return;
        }
    }
    connected(); // a slot has ended the run already
}

void ClockCalibrator::PrivateData::add(const std::shared_ptr<Frame>& frame) {
    if (frame == nullptr) {
        return;
    }
    const Clock::Instant arrival = clock->now();
    std::int64_t frames = 0;
    {
        const std::lock_guard<std::mutex> lock(mutex);
        if (!running) {
            return;
        }
        stream.add(frame->time(), arrival);
        frames = stream.frames();
    }
    const int wanted = frameCount;
    if (frames <= wanted) {
        owner.onProgress().emit(static_cast<float>(frames) / static_cast<float>(wanted));
    }
}

bool ClockCalibrator::PrivateData::stop() {
    tsignal::Disconnector ended;
    bool wasRunning = false;
    {
        const std::lock_guard<std::mutex> lock(mutex);
        wasRunning = std::exchange(running, false);
        ended.swap(connection);
    }
    if (ended) {
        ended(); // waits for an emission on another thread to be over
    }
    return wasRunning;
}

void ClockCalibrator::PrivateData::clear() {
    const std::lock_guard<std::mutex> lock(mutex);
    stream = Stream();
}

StreamQuality ClockCalibrator::PrivateData::quality() {
    const std::lock_guard<std::mutex> lock(mutex);
    return stream.quality();
}

ClockCalibrator::ClockCalibrator(const std::string& id, int port, int frameCount,
                                 std::shared_ptr<Clock> clock) {
    assert(frameCount >= 2);
    assert(clock != nullptr);
    d_ = std::make_unique<PrivateData>(*this, port, frameCount, std::move(clock));
    setId(id);
    setCalibratorType("clock");
    addFactor(
        frameCountFactor, [this] { return std::any(d_->frameCount.load()); },
        [this](const std::any& value) {
            constexpr int most = std::numeric_limits<int>::max();
            d_->frameCount = wholeNumberHeldBy(value, 2, most).value_or(d_->frameCount);
        });
}

ClockCalibrator::~ClockCalibrator() { d_->stop(); }

StreamQuality ClockCalibrator::quality() const { return d_->quality(); }

bool ClockCalibrator::isTrusted() const {
    const StreamQuality quality = d_->quality();
    return quality.frames >= d_->frameCount && quality.missing == 0 && quality.measuredRate > 0 &&
           std::abs(quality.measuredRate - quality.statedRate) <= 0.01 * quality.statedRate &&
           quality.jitter * quality.statedRate <= 0.25;
}

bool ClockCalibrator::doCheckAvaialbe() {
    const Device* const bound = device();
    return bound != nullptr && !bound->isLost();
}

bool ClockCalibrator::doCalibrate() {
    Device* const bound = device();
    if (bound == nullptr) {
        return false;
    }
    if (d_->begin()) {
        onBegin().emit();
        onProgress().emit(0);
        d_->listenTo(*bound);
    }
    return true;
}

void ClockCalibrator::doCancelCalibrate() {
    if (d_->stop()) {
        d_->clear();
        onEnd().emit();
    }
}

void ClockCalibrator::doFinishCalibrate() {
    if (d_->stop()) {
        onEnd().emit();
    }
}

void ClockCalibrator::doGlobalStart() { start(); }

void ClockCalibrator::doGlobalCancel() { cancel(); }

void ClockCalibrator::doGlobalFinish() { finish(); }

} // namespace tarn::kit
