// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Reply.h>
#include <tarn/Request.h>
#include <tarn_kit/Export.h>
#include <tarn_kit/devices/Command.h>

#include <functional>
#include <memory>
#include <string>

namespace tarn::kit {

/// Makes a reply one of a command that failed, with the result code `commandFailed`, for a reason
/// that the device has given a number. The reply is left to be finished.
TARN_KIT_EXPORT void failCommand(Reply& reply, int error, const std::string& text);

/// What a device does on a `CommandThread`. All of it is required, and none of it may throw.
struct TARN_KIT_EXPORT ThreadWork {
    /// Carries out a command and fills in its reply, which is left to be finished. Returns false,
    /// and does nothing, when there is no such command.
    std::function<bool(const Request& request, Reply& reply)> handle;
    /// Blocks until there is work, or `wake` was called. A wake counts for the next wait, if none
    /// is going on.
    std::function<void()> wait;
    /// Ends a wait, from any thread; must not call back.
    std::function<void()> wake;
    /// Does what there is to do, if there is anything: sends the next frame, reads what has come.
    std::function<void()> proceed;
    /// The error code of commands that come while the device is being destroyed.
    int closingError = 0;
};

/// For authors of devices: a thread on which a device carries out its commands, one after the
/// other, and does its work in between. The device hands its requests over and is otherwise written
/// as if there were one thread:
///
/// ```
/// void doRequest(std::shared_ptr<Request> request, std::shared_ptr<Reply> reply) override {
///     thread_.request(std::move(request), std::move(reply));
/// }
/// ```
///
/// A request that is made on the thread itself, in a slot or a callback, is answered before the
/// call returns, ahead of those that wait, so that `syncRequest` works there as well. Callbacks
/// that each make the next request nest, 16 deep; from there on a request waits for its turn, so
/// that chains may go on for ever, but `syncRequest` must not be used that deep. Commands that come
/// while the thread is at others wait until it has proceeded: no stream of commands holds up the
/// frames.
///
/// A command that is not known is finished with the result code `commandUnknown`.
///
/// Threads: `request` may be called from any thread, before `start`, too: commands wait for it.
/// Whoever owns this starts and closes it, with nobody else about who makes requests; one who is
/// blocked in `syncRequest` may be: he gets his answer.
class TARN_KIT_EXPORT CommandThread {
public:
    /// Precondition: every function of `work` is there.
    explicit CommandThread(ThreadWork work);
    /// Closes it.
    ~CommandThread();
    CommandThread(const CommandThread&) = delete;
    CommandThread& operator=(const CommandThread&) = delete;

    /// Once all that the work needs has been made. Throws `std::system_error` if no thread can be
    /// started. Precondition: it has not been started before.
    void start();
    /// Answers what waits with a failure of the error `closingError`, and so what the callbacks of
    /// that ask for; a chain of requests that goes on regardless is cut off 16 deep: the callback
    /// of the last one is released uncalled. Then joins the thread. For the beginning of the
    /// device's destructor, while all that the work needs is there. Nothing happens the second
    /// time. Precondition: it is not called on the thread itself.
    void close();

    /// Takes a command over, which is then finished on the thread; once it is being closed, at
    /// once.
    void request(std::shared_ptr<Request> request, std::shared_ptr<Reply> reply);
    /// Whether the caller is on the thread.
    bool isCurrent() const;

private:
    struct PrivateData;
    std::unique_ptr<PrivateData> d_;
};

} // namespace tarn::kit
