// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/devices/CommandThread.h>

#include <atomic>
#include <cassert>
#include <deque>
#include <mutex>
#include <thread>
#include <utility>

namespace tarn::kit {

namespace {

/// How deep requests may nest that are made on the thread. Each level costs stack and holds the
/// lock of its reply; sanitizers bear no more than some 60 locks.
constexpr int maxNesting = 16;

struct WaitingCommand {
    std::shared_ptr<Request> request;
    std::shared_ptr<Reply> reply;
};

} // namespace

struct CommandThread::PrivateData {
    explicit PrivateData(ThreadWork itsWork) : work(std::move(itsWork)) {}

    // Any thread.
    bool isCurrent() const { return std::this_thread::get_id() == own; }
    void post(WaitingCommand command);

    // The thread itself.
    void run();
    void answerWaiting();
    void answer(const WaitingCommand& command);
    void answerNested(const WaitingCommand& command);

    const ThreadWork work;
    int nesting = 0; ///< for the thread itself
    std::mutex mutex;
    std::deque<WaitingCommand> waiting; ///< guarded by the mutex
    std::atomic<bool> closing{false};   ///< written under the mutex; nothing is queued afterwards
    std::atomic<std::thread::id> own{std::thread::id()};
    std::thread thread;
};

void CommandThread::PrivateData::post(WaitingCommand command) {
    {
        const std::lock_guard<std::mutex> lock(mutex);
        if (!closing) {
            waiting.push_back(std::move(command));
            work.wake();
            return;
        }
    }
    answer(command); // with a refusal
}

void CommandThread::PrivateData::run() {
    own = std::this_thread::get_id();
    while (!closing) {
        work.wait();
        answerWaiting();
        if (!closing) {
            work.proceed();
        }
    }
    answerWaiting();
}

/// Takes what waits now: requests that come meanwhile do not hold up the work.
void CommandThread::PrivateData::answerWaiting() {
    std::deque<WaitingCommand> commands;
    {
        const std::lock_guard<std::mutex> lock(mutex);
        commands.swap(waiting);
    }
    for (const WaitingCommand& command : commands) {
        answer(command);
    }
}

void CommandThread::PrivateData::answer(const WaitingCommand& command) {
    if (closing) {
        failCommand(*command.reply, work.closingError, "the device is being destroyed");
    } else if (!work.handle(*command.request, *command.reply)) {
        command.reply->setResultCode(commandUnknown);
    }
    command.reply->finished();
}

/// Answers at once, since the caller may be one that blocks until there is an answer; which cannot
/// be told, so what nests too deep is taken for a chain of callbacks.
void CommandThread::PrivateData::answerNested(const WaitingCommand& command) {
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

void failCommand(Reply& reply, int error, const std::string& text) {
    reply.setResultCode(commandFailed);
    reply.setError(error, text);
}

CommandThread::CommandThread(ThreadWork work) : d_(std::make_unique<PrivateData>(std::move(work))) {
    assert(d_->work.handle && d_->work.wait && d_->work.wake && d_->work.proceed);
}

CommandThread::~CommandThread() { close(); }

void CommandThread::start() {
    assert(!d_->thread.joinable());
    d_->thread = std::thread([this] { d_->run(); });
}

void CommandThread::close() {
    assert(!isCurrent());
    {
        const std::lock_guard<std::mutex> lock(d_->mutex);
        if (d_->closing.exchange(true)) {
            return;
        }
        d_->work.wake();
    }
    if (d_->thread.joinable()) {
        d_->thread.join();
    } else {
        d_->answerWaiting(); // it was never started
    }
}

void CommandThread::request(std::shared_ptr<Request> request, std::shared_ptr<Reply> reply) {
    WaitingCommand command{std::move(request), std::move(reply)};
    if (isCurrent()) {
        d_->answerNested(command);
    } else {
        d_->post(std::move(command));
    }
}

bool CommandThread::isCurrent() const { return d_->isCurrent(); }

} // namespace tarn::kit
