// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Export.h>
#include <tarn/Reply.h>
#include <tarn/Request.h>
#include <tarn/StreamNode.h>

#include <functional>
#include <memory>
#include <string>

namespace tarn {

/// A channel that takes requests and answers each with a reply, to a callback or to a caller that
/// waits. A concrete channel overrides `doRequest`.
///
/// Threads: a reply may be finished on any thread. Issuing a request changes nothing of the
/// channel: whether several threads may do so at once is for the channel's `doRequest` to say.
///
/// There are no time-outs: a reply that is never finished keeps its caller waiting, its callback
/// uncalled, and itself and what the callback holds in memory.
class TARN_EXPORT CommInterface : public StreamNode {
public:
    /// `type` is the kind of channel, `id` tells it from others of its kind.
    CommInterface(const std::string& type, const std::string& id);
    ~CommInterface() override;
    CommInterface(const CommInterface&) = delete;
    CommInterface& operator=(const CommInterface&) = delete;

    std::string type() const;
    std::string id() const;

    /// Issues a request; the callback gets the reply once, when it is finished: before this
    /// returns, on this thread, or later, on the thread that finishes it. The callback may issue
    /// the next request. It must not throw; an empty one makes `finished()` throw
    /// `std::bad_function_call`. The connection belongs to the request: disconnecting that from the
    /// reply's `onFinished()` takes the callback back. What the handler throws comes out of here;
    /// if it has kept the reply it may still finish it, and the callback is called.
    /// Precondition: `request` is not empty.
    void asyncRequest(std::shared_ptr<Request> request,
                      std::function<void(std::shared_ptr<Reply>)> callback);
    /// As above, with a command that has no payload.
    void asyncRequest(const std::string& id, std::function<void(std::shared_ptr<Reply>)> callback);

    /// Issues a request and blocks until its reply is finished; returns it as the handler left it,
    /// never empty. What the handler throws comes out of here, and the reply may then still be
    /// finished, as it may be a second time after this has returned. Must not be called on the
    /// thread that is to finish the reply later. Precondition: `request` is not empty.
    std::shared_ptr<Reply> syncRequest(std::shared_ptr<Request> request);
    /// As above, with a command that has no payload.
    std::shared_ptr<Reply> syncRequest(const std::string& id);

protected:
    /// A channel of empty type and identifier, for subclasses that call `init` once before use.
    CommInterface();
    /// Replaces type and identifier.
    void init(const std::string& type, const std::string& id);

    /// Handles one command: fills in the reply and ends with `reply->finished()`, now or later, on
    /// this thread or another. This version knows no command: it finishes with the result code 1,
    /// and is there to be called for every command that a subclass does not handle.
    virtual void doRequest(std::shared_ptr<Request> request, std::shared_ptr<Reply> reply);

private:
    struct PrivateData;
    std::unique_ptr<PrivateData> d_;
};

} // namespace tarn
