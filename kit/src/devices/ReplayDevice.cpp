// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "devices/ReplayPlayer.h"

#include <atomic>
#include <cassert>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <utility>

namespace tarn::kit {

namespace {

/// How deep requests may nest that are made on the device's thread. Each level costs stack and
/// holds the lock of its reply; sanitizers bear no more than some 60 locks.
constexpr int maxNesting = 16;

struct Command {
    std::shared_ptr<Request> request;
    std::shared_ptr<Reply> reply;
};

} // namespace

struct ReplayDevice::PrivateData {
    PrivateData(ReplayDevice& itself, std::shared_ptr<Clock> itsClock)
        : device(itself), clock(std::move(itsClock)),
          player(*clock, device.addOFramePort(posePort), device.addOFramePort(markerPort),
                 [this](DeviceState state) { device.setState(state); }) {}

    // Any thread.
    bool isOwnThread() const { return std::this_thread::get_id() == thread.get_id(); }
    void post(Command command);
    void close();

    // The device's own thread.
    void run();
    void waitForWork();
    void answerWaiting();
    bool isFrameDue() const;
    void answer(const Command& command);
    void answerNested(const Command& command);

    ReplayDevice& device;
    const std::shared_ptr<Clock> clock;
    ReplayPlayer player; ///< for the device's own thread, as is the next
    int nesting = 0;

    std::mutex mutex;
    std::condition_variable changed;
    std::deque<Command> waiting;      ///< guarded by the mutex
    std::atomic<bool> closing{false}; ///< written under the mutex; nothing is queued afterwards
    std::thread thread;
};

void ReplayDevice::PrivateData::post(Command command) {
    {
        const std::lock_guard<std::mutex> lock(mutex);
        if (!closing) {
            waiting.push_back(std::move(command));
            changed.notify_one();
            return;
        }
    }
    answer(command); // with a refusal
}

void ReplayDevice::PrivateData::close() {
    assert(!isOwnThread());
    {
        const std::lock_guard<std::mutex> lock(mutex);
        closing = true;
        changed.notify_one();
    }
    thread.join();
}

void ReplayDevice::PrivateData::run() {
    while (!closing) {
        waitForWork();
        answerWaiting();
        if (!closing && isFrameDue()) {
            player.sendNext();
        }
    }
    answerWaiting();
}

/// Returns when there is something to answer or a frame to send.
void ReplayDevice::PrivateData::waitForWork() {
    const std::optional<Clock::Instant> due = player.due();
    const bool isAhead = due && clock->now() < *due;
    const auto wake = [this] { return closing || !waiting.empty(); };
    std::unique_lock<std::mutex> lock(mutex);
    if (!due) {
        changed.wait(lock, wake);
    } else if (isAhead) {
        clock->waitUntil(lock, changed, *due, wake);
    }
}

/// Takes what waits now: requests that come meanwhile do not hold up the next frame.
void ReplayDevice::PrivateData::answerWaiting() {
    std::deque<Command> commands;
    {
        const std::lock_guard<std::mutex> lock(mutex);
        commands.swap(waiting);
    }
    for (const Command& command : commands) {
        answer(command);
    }
}

bool ReplayDevice::PrivateData::isFrameDue() const {
    const std::optional<Clock::Instant> due = player.due();
    return due && clock->now() >= *due;
}

void ReplayDevice::PrivateData::answer(const Command& command) {
    if (closing) {
        fail(*command.reply, Closing, "the device is being destroyed");
        command.reply->finished();
    } else if (player.handle(*command.request, *command.reply)) {
        command.reply->finished();
    } else {
        device.Device::doRequest(command.request, command.reply);
    }
}

/// Answers at once, since the caller may be one that blocks until there is an answer; which cannot
/// be told, so what nests too deep is taken for a chain of callbacks.
void ReplayDevice::PrivateData::answerNested(const Command& command) {
    if (nesting < maxNesting) {
        ++nesting;
        answer(command);
        --nesting;
    } else if (closing) {
        command.reply->onFinished().disconnectAll(); // or the chain would never end
    } else {
        post(command);
    }
}

ReplayDevice::ReplayDevice(const std::string& id, std::shared_ptr<Clock> clock)
    : Device("replay", id) {
    assert(clock != nullptr);
    setState(Lost);
    d_ = std::make_unique<PrivateData>(*this, std::move(clock));
    d_->thread = std::thread([this] { d_->run(); });
}

ReplayDevice::~ReplayDevice() { d_->close(); }

BvhTake ReplayDevice::open(const std::filesystem::path& file) {
    return command(*this, "open", file)->dataAs<BvhTake>();
}

void ReplayDevice::open(const BvhTake& take) { command(*this, "open", take); }

void ReplayDevice::open(const C3dTake& take) { command(*this, "open", take); }

void ReplayDevice::start() { command(*this, "start"); }

void ReplayDevice::pause() { command(*this, "pause"); }

void ReplayDevice::stop() { command(*this, "stop"); }

void ReplayDevice::seek(int frameIndex) { command(*this, "seek", frameIndex); }

void ReplayDevice::setSpeed(double factor) { command(*this, "rate", factor); }

ReplayStatus ReplayDevice::status() { return command(*this, "status")->dataAs<ReplayStatus>(); }

void ReplayDevice::doRequest(std::shared_ptr<Request> request, std::shared_ptr<Reply> reply) {
    Command command{std::move(request), std::move(reply)};
    if (d_->isOwnThread()) {
        d_->answerNested(command);
    } else {
        d_->post(std::move(command));
    }
}

} // namespace tarn::kit
