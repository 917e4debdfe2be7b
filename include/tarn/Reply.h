// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Export.h>
#include <tsignal/Signal.h>

#include <any>
#include <atomic>
#include <string>

namespace tarn {

/// The answer to one request. Whoever handles the request fills it in and then calls `finished()`;
/// whoever waits for it is told through `onFinished()`.
///
/// The result code alone decides whether a reply is good: 0 is success, -1 means that none has been
/// set yet, 1 that the interface does not know the command; other values belong to the device. The
/// error code and its text say more, and decide nothing.
///
/// Ownership: always held by `std::shared_ptr`. A listener may hold the reply it is connected to:
/// `finished()` lets go of the listeners.
///
/// Threads: `finished()` may be called from any thread, and listeners run on that thread. Nothing
/// else locks: a reply is filled in from one thread at a time, and before it is finished.
class TARN_EXPORT Reply {
public:
    /// An open reply to the request of this identifier: result code -1, no error, no payload.
    explicit Reply(const std::string& id);
    ~Reply();
    Reply(const Reply&) = delete;
    Reply& operator=(const Reply&) = delete;

    /// The identifier of the request.
    const std::string& id() const;

    /// 0 for success; -1 until it is set.
    int resultCode() const;
    void setResultCode(int code);
    /// Whether the result code is 0.
    explicit operator bool() const { return resultCode_ == 0; }

    /// 0 until an error is set.
    int errorCode() const;
    std::string errorString() const;
    /// Says what went wrong. The result code stays as it is.
    void setError(int code, const std::string& text);

    /// The payload; empty when none was set.
    const std::any& data() const;
    /// The payload as a `T`. Throws `std::bad_any_cast` when it is of another type, or empty.
    template <class T>
    const T& dataAs() const {
        return std::any_cast<const T&>(data_);
    }
    void setData(const std::any& data);

    /// Tells every listener the result code as it is now, then removes them all and releases what
    /// they hold, which may be the last reference to this reply. To other threads that is one step:
    /// a listener that they connect meanwhile is there for the next call.
    ///
    /// A call that comes while the listeners are being told, from one of them or from another
    /// thread, returns at once: each listener is told once. A later call tells those that were
    /// connected since. Should a listener throw, against the rules, the exception leaves this call
    /// with all listeners still connected and their signal locked by this thread; a later call on
    /// it tells them all.
    void finished();

    /// When the reply is finished, with the result code.
    tsignal::Signal<int>& onFinished();

private:
    int resultCode_ = -1;
    std::string id_;
    std::any data_;
    int errorCode_ = 0;
    std::string errorString_;
    tsignal::Signal<int> finishedSignal_;
    std::atomic<bool> telling_{false};
};

} // namespace tarn
