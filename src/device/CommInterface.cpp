// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn/CommInterface.h>

#include <cassert>
#include <condition_variable>
#include <mutex>
#include <utility>

namespace tarn {

struct CommInterface::PrivateData {
    std::string type;
    std::string id;
};

namespace {

/// What a blocked caller waits on. Its slot shares it, so whoever finishes the reply, however late,
/// finds it alive. It also keeps the reply alive until all of its listeners have been told: the
/// caller goes on as soon as it has been told itself, and may be the last who knows the reply.
class ReplyWaiter {
public:
    explicit ReplyWaiter(std::shared_ptr<Reply> reply) : reply_(std::move(reply)) {}

    void tell() {
        const std::lock_guard<std::mutex> lock(mutex_);
        ++told_;
        condition_.notify_all();
    }

    void wait() {
        std::unique_lock<std::mutex> lock(mutex_);
        condition_.wait(lock, [this] { return told_ >= 1; });
    }

    /// The caller waits no more. Without this, a reply that is never finished and its slot would
    /// keep each other alive.
    void giveUp() { reply_.reset(); }

private:
    std::mutex mutex_;
    std::condition_variable condition_;
    int told_ = 0;
    std::shared_ptr<Reply> reply_;
};

/// What an asynchronous request leaves with its reply. It keeps the reply alive until that is
/// finished, which takes this out of the reply.
class ReplyCallback {
public:
    ReplyCallback(std::shared_ptr<Reply> reply,
                  std::function<void(std::shared_ptr<Reply>)> callback)
        : callback_(std::move(callback)), reply_(reply), kept_(std::move(reply)) {}

    /// Whoever finishes the reply holds it.
    void tell() const { callback_(reply_.lock()); }

    /// The reply is the handler's alone from now on. Without this, a reply that is never finished
    /// and its slot would keep each other alive.
    void giveUp() { kept_.reset(); }

private:
    std::function<void(std::shared_ptr<Reply>)> callback_;
    std::weak_ptr<Reply> reply_; ///< read on the thread that finishes it, whatever the other does
    std::shared_ptr<Reply> kept_;
};

} // namespace

CommInterface::CommInterface() : d_(std::make_unique<PrivateData>()) {}

CommInterface::CommInterface(const std::string& type, const std::string& id) : CommInterface() {
    init(type, id);
}

CommInterface::~CommInterface() = default;

void CommInterface::init(const std::string& type, const std::string& id) {
    d_->type = type;
    d_->id = id;
}

std::string CommInterface::type() const { return d_->type; }

std::string CommInterface::id() const { return d_->id; }

void CommInterface::asyncRequest(std::shared_ptr<Request> request,
                                 std::function<void(std::shared_ptr<Reply>)> callback) {
    assert(request != nullptr);
    const auto reply = std::make_shared<Reply>(request->id());
    const auto waiting = std::make_shared<ReplyCallback>(reply, std::move(callback));
    reply->onFinished().connect(request.get(), [waiting](int /*code*/) { waiting->tell(); });
    try {
        doRequest(std::move(request), reply);
    } catch (...) {
        waiting->giveUp();
        throw;
    }
}

void CommInterface::asyncRequest(const std::string& id,
                                 std::function<void(std::shared_ptr<Reply>)> callback) {
    asyncRequest(std::make_shared<Request>(id, std::any()), std::move(callback));
}

std::shared_ptr<Reply> CommInterface::syncRequest(std::shared_ptr<Request> request) {
    assert(request != nullptr);
    auto reply = std::make_shared<Reply>(request->id());
    const auto waiter = std::make_shared<ReplyWaiter>(reply);
    reply->onFinished().connect(waiter.get(), [waiter](int /*code*/) { waiter->tell(); });
    try {
        doRequest(std::move(request), reply);
    } catch (...) {
        waiter->giveUp();
        throw;
    }
    waiter->wait();
    return reply;
}

std::shared_ptr<Reply> CommInterface::syncRequest(const std::string& id) {
    return syncRequest(std::make_shared<Request>(id, std::any()));
}

void CommInterface::doRequest(std::shared_ptr<Request> /*request*/, std::shared_ptr<Reply> reply) {
    reply->setResultCode(1);
    reply->finished();
}

} // namespace tarn
