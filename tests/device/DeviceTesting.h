// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/CommInterface.h>

#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace device_testing {

using Callback = std::function<void(std::shared_ptr<tarn::Reply>)>;
using Handler = std::function<void(std::shared_ptr<tarn::Request>, std::shared_ptr<tarn::Reply>)>;

/// Keeps threads waiting until it is opened, for good.
class Gate {
public:
    void open() {
        const std::lock_guard<std::mutex> lock(mutex_);
        open_ = true;
        opened_.notify_all();
    }
    void wait() {
        std::unique_lock<std::mutex> lock(mutex_);
        opened_.wait(lock, [this] { return open_; });
    }

private:
    std::mutex mutex_;
    std::condition_variable opened_;
    bool open_ = false;
};

/// A channel that handles its requests as the test says.
class Channel : public tarn::CommInterface {
public:
    explicit Channel(Handler handler)
        : CommInterface("test", "channel"), handler_(std::move(handler)) {}

protected:
    void doRequest(std::shared_ptr<tarn::Request> request,
                   std::shared_ptr<tarn::Reply> reply) override {
        handler_(std::move(request), std::move(reply));
    }

private:
    Handler handler_;
};

/// A channel that answers one request at a time, when it is told to: a new request replaces the
/// one before, and with it the channel's own reference to that reply.
class OneAtATime : public tarn::CommInterface {
public:
    OneAtATime() : CommInterface("test", "one at a time") {}

    /// Finishes the reply to the latest request.
    void answer() {
        pending_->setResultCode(0);
        pending_->finished();
    }
    /// What to do with every new reply; nothing by default.
    void onRequest(Callback callback) { onRequest_ = std::move(callback); }

protected:
    void doRequest(std::shared_ptr<tarn::Request> /*request*/,
                   std::shared_ptr<tarn::Reply> reply) override {
        pending_ = std::move(reply);
        if (onRequest_) {
            onRequest_(pending_);
        }
    }

private:
    std::shared_ptr<tarn::Reply> pending_;
    Callback onRequest_;
};

/// Threads that do what is posted to them; destroying it lets them finish that first.
class Workers {
public:
    explicit Workers(int count) {
        for (int i = 0; i < count; ++i) {
            threads_.emplace_back([this] { run(); });
        }
    }
    Workers(const Workers&) = delete;
    Workers& operator=(const Workers&) = delete;
    ~Workers() {
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            closing_ = true;
        }
        changed_.notify_all();
        for (std::thread& thread : threads_) {
            thread.join();
        }
    }

    /// May be called from any thread, the workers included.
    void post(std::function<void()> job) {
        const std::lock_guard<std::mutex> lock(mutex_);
        jobs_.push_back(std::move(job));
        changed_.notify_one();
    }

private:
    void run() {
        while (const std::function<void()> job = next()) {
            job();
        }
    }

    /// The next job, or an empty one when there is none and there will be none.
    std::function<void()> next() {
        std::unique_lock<std::mutex> lock(mutex_);
        changed_.wait(lock, [this] { return closing_ || !jobs_.empty(); });
        if (jobs_.empty()) {
            return {};
        }
        std::function<void()> job = std::move(jobs_.front());
        jobs_.pop_front();
        return job;
    }

    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<std::function<void()>> jobs_;
    bool closing_ = false;
    std::vector<std::thread> threads_;
};

} // namespace device_testing
