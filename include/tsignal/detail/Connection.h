// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tsignal/detail/Argument.h>
#include <tsignal/detail/Shares.h>
#include <tsignal/detail/Slot.h>

#include <utility>

namespace tsignal::detail {

/// A slot with its place in its signal's list. Shared by the list, or by whatever took it out of
/// there, and by the copies of its disconnector.
template <class... Args>
class Connection {
public:
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    virtual void call(Given<Args>... args) = 0;
    virtual ISlot<Args...>& slot() = 0;

    void hold() noexcept { shares_.add(); }
    /// The same for the list, while nobody but its first holder knows the connection.
    void holdForList() noexcept { shares_.addSecond(); }
    /// Destroys the connection if nobody else holds it.
    void letGo() noexcept {
        if (shares_.giveUp()) {
            delete this;
        }
    }

    // Guarded by the signal.
    Connection* previous = nullptr;
    Connection* next = nullptr;
    bool isConnected = false;

protected:
    Connection() = default;
    virtual ~Connection() = default;

private:
    Shares<> shares_;
};

template <class Slot, class... Args>
class ConnectionOf final : public Connection<Args...> {
public:
    template <class... Parts>
    explicit ConnectionOf(Parts&&... parts) : slot_(std::forward<Parts>(parts)...) {}

    void call(Given<Args>... args) override { slot_.invoke(std::forward<Args>(args)...); }
    ISlot<Args...>& slot() override { return slot_; }

private:
    ~ConnectionOf() override = default;

    Slot slot_;
};

/// One holder of a connection; of none, once it was moved from.
template <class... Args>
class Hold {
public:
    /// Takes over a share.
    explicit Hold(Connection<Args...>& connection) noexcept : connection_(&connection) {}
    Hold(const Hold& other) noexcept : connection_(other.connection_) { connection_->hold(); }
    Hold(Hold&& other) noexcept : connection_(std::exchange(other.connection_, nullptr)) {}
    Hold& operator=(const Hold&) = delete;
    Hold& operator=(Hold&&) = delete;
    ~Hold() {
        if (connection_ != nullptr) {
            connection_->letGo();
        }
    }

    Connection<Args...>& operator*() const { return *connection_; }

private:
    Connection<Args...>* connection_;
};

/// The list's shares in connections that were taken out of it, in the order in which they were;
/// lets go of them when it is destroyed. Uses the links that they no longer need.
template <class... Args>
class Removed {
public:
    Removed() = default;
    Removed(const Removed&) = delete;
    Removed& operator=(const Removed&) = delete;
    ~Removed() { letGo(); }

    void add(Connection<Args...>& connection) {
        connection.next = nullptr;
        (first_ == nullptr ? first_ : last_->next) = &connection;
        last_ = &connection;
    }

    void letGo() {
        while (first_ != nullptr) {
            std::exchange(first_, first_->next)->letGo();
        }
    }

private:
    Connection<Args...>* first_ = nullptr;
    Connection<Args...>* last_ = nullptr; ///< valid unless empty
};

} // namespace tsignal::detail
