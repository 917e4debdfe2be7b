// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <any>
#include <atomic>
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <type_traits>
#include <utility>

/// Typed notifications: a `Signal` is emitted by the object that owns it and calls every slot that
/// is connected to it.
///
/// How that is fast, and what has to hold for it:
///  - A connection is one block: the slot with its callable, its links in the list, and a count of
///    its holders, which are the list and the copies of its disconnector. So connecting takes two
///    blocks, the other one being the disconnector's,
///    and a disconnector need not search.
///  - An emission holds no slot. It is a frame on the stack, known to its signal, that says what it
///    is calling and what it calls next. Whoever takes a connection out of the list sees to all
///    frames: none goes on to it, and the outermost one that is calling it gets the list's share in
///    it until that call has returned.
///  - All of that changes under the signal's mutex. The count of holders is atomic: disconnectors
///    are copied and dropped anywhere.
///  - An atomic number, the signal's stakes, is 0 only while no slot is connected, no emission is
///    under way and no exception has left one. `emit` reads it first and is done when it is 0.
///    Whoever connects and then looks at a state that an emitter changes before it emits is told of
///    the change or sees it, as if both had taken the lock: that is why the number leaves 0, and is
///    read, in the single total order of such operations.
namespace tsignal {

/// Removes one connection when called; harmless when that connection is gone already.
/// Must not be called once the signal it came from has been destroyed.
using Disconnector = std::function<void()>;

/// What a signal calls. Slots are made by `Signal::connect` and always destroyed as what they were
/// made, hence no virtual destructor.
template <class... Args>
class ISlot {
public:
    /// Calls the slot's callable and discards what it returns.
    virtual void call(Args... args) = 0;
    /// Part of the slot interface; no slot is ever found by its callable.
    virtual bool matchesFunctor(std::any functor) = 0;
    /// Part of the slot interface; no slot is ever found by its callable.
    virtual bool matches(std::any object, std::any functor) = 0;
    /// Whether `object` holds exactly the pointer, of exactly the type, the slot was connected
    /// with.
    virtual bool matchesObject(std::any object) = 0;

protected:
    ISlot() = default;
    ISlot(const ISlot&) = default;
    ISlot& operator=(const ISlot&) = default;
    ~ISlot() = default;
};

/// A slot that is a bare callable, stored as it is.
template <class Callable, class... Args>
class CallableSlot final : public ISlot<Args...> {
public:
    explicit CallableSlot(Callable callable) : callable_(std::move(callable)) {}

    void call(Args... args) override { invoke(std::forward<Args>(args)...); }
    /// The same, without passing the arguments on by value.
    void invoke(Args&&... args) { static_cast<void>(callable_(std::forward<Args>(args)...)); }
    bool matchesFunctor(std::any /*functor*/) override { return false; }
    bool matches(std::any /*object*/, std::any /*functor*/) override { return false; }
    bool matchesObject(std::any /*object*/) override { return false; }

private:
    Callable callable_;
};

/// A callable tagged with the object that owns the connection. The object is compared, never used.
template <class Obj, class Callable, class... Args>
class ObjectCallableSlot final : public ISlot<Args...> {
public:
    ObjectCallableSlot(Obj* object, Callable callable)
        : object_(object), callable_(std::move(callable)) {}

    void call(Args... args) override { invoke(std::forward<Args>(args)...); }
    /// The same, without passing the arguments on by value.
    void invoke(Args&&... args) { static_cast<void>(callable_(std::forward<Args>(args)...)); }
    bool matchesFunctor(std::any /*functor*/) override { return false; }
    bool matches(std::any /*object*/, std::any /*functor*/) override { return false; }
    bool matchesObject(std::any object) override {
        Obj* const* const candidate = std::any_cast<Obj*>(&object);
        return candidate != nullptr && *candidate == object_;
    }

private:
    Obj* object_;
    Callable callable_;
};

/// A slot that is a bare function.
template <class R, class... Args>
using FunctorSlot = CallableSlot<std::function<R(Args...)>, Args...>;

/// A function tagged with the object that owns the connection.
template <class Obj, class R, class... Args>
using ObjectFunctorSlot = ObjectCallableSlot<Obj, std::function<R(Args...)>, Args...>;

namespace detail {

/// How `emit` takes an argument: not copied before it is known that somebody listens.
template <class Arg>
using Passed = std::conditional_t<std::is_class_v<Arg>, const Arg&, Arg>;

/// An argument of a running emission, on its way to the slots: each gets a copy of its own, or the
/// reference that it is.
template <class Arg>
class Argument {
public:
    explicit Argument(Arg& argument) : argument_(argument) {}
    Arg forNextSlot(bool /*isLast*/) { return argument_; }
    /// Ends the life of what the last call was given.
    void dropCopy() {}

private:
    Arg& argument_;
};

/// The last slot may have the emission's own string: nobody can tell.
template <class Char>
class Argument<std::basic_string<Char>> {
public:
    using Text = std::basic_string<Char>;

    explicit Argument(Text& argument) : argument_(argument) {}
    Text forNextSlot(bool isLast) { return isLast ? std::move(argument_) : argument_; }
    void dropCopy() {}

private:
    Text& argument_;
};

/// The holders of a shared pointer are counted, so there is a copy during each call. But when a
/// slot has left its copy alone, the next one may have it: nobody can tell.
template <class T>
class Argument<std::shared_ptr<T>> {
public:
    explicit Argument(std::shared_ptr<T>& argument) : argument_(argument), copy_(argument) {}
    std::shared_ptr<T>&& forNextSlot(bool /*isLast*/) {
        if (copy_ != argument_ || copy_.owner_before(argument_) || argument_.owner_before(copy_)) {
            copy_ = argument_;
        }
        return std::move(copy_);
    }
    void dropCopy() { copy_.reset(); }

private:
    std::shared_ptr<T>& argument_;
    std::shared_ptr<T> copy_;
};

/// How a connection takes an argument that is for it alone.
template <class Arg>
using Given = std::conditional_t<std::is_class_v<Arg>, Arg&&, Arg>;

/// A slot with its place in its signal's list and the count of its holders: the list, or whatever
/// took it out of there, and the copies of its disconnector.
template <class... Args>
class Connection {
public:
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    virtual void call(Given<Args>... args) = 0;
    virtual ISlot<Args...>& slot() = 0;

    void hold() noexcept { holders_.fetch_add(1, std::memory_order_relaxed); }
    /// The same for the list, while nobody but its first holder knows the connection.
    void holdForList() noexcept { holders_.store(2, std::memory_order_relaxed); }
    /// Destroys the connection if nobody else holds it.
    void letGo() noexcept {
        if (isLast(holders_.load(std::memory_order_acquire)) ||
            isLast(holders_.fetch_sub(1, std::memory_order_acq_rel))) {
            delete this;
        }
    }
    /// Lets go of the list's share for a caller that is a holder himself, which spares an atomic
    /// count: the share stays in the number, and the last holder takes it along.
    void letGoForList() noexcept { isListGone_.store(true, std::memory_order_relaxed); }

    // Guarded by the signal.
    Connection* previous = nullptr;
    Connection* next = nullptr;
    bool isConnected = false;

protected:
    Connection() = default;
    virtual ~Connection() = default;

private:
    /// Whether so many shares are the caller's alone. Who has read that number also sees what those
    /// did who let go before.
    bool isLast(int holders) const noexcept {
        return holders == (isListGone_.load(std::memory_order_relaxed) ? 2 : 1);
    }

    std::atomic<bool> isListGone_ = false;
    std::atomic<int> holders_ = 1;
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

} // namespace detail

/// A list of slots that `emit` calls in the order in which they were connected.
///
/// Arguments reach each slot by value: every slot gets a copy of its own, or, where the signal's
/// argument is a reference, the very reference the emitter passed. An emission keeps a copy itself;
/// one that nobody listens to copies nothing.
///
/// Threads: every operation takes the signal's recursive mutex, and `emit` holds it while its slots
/// run, on the emitting thread. So the slots of one signal never run concurrently, a slot may use
/// its own signal, and a slot must not wait for another thread that uses the same signal. Only an
/// emission that nobody listens to does without the mutex.
///
/// Re-entrance: a slot may connect, disconnect and emit on the signal that calls it.
///  - A slot connected meanwhile is called by the running emission, unless it was connected by the
///    last slot of the list: then the next emission is its first.
///  - A slot that disconnects itself finishes its call; one that disconnects a slot further down
///    the list keeps that one from being called.
///
/// Exceptions: slots must not throw. If one does, the exception leaves `emit` with the signal still
/// locked by the emitting thread: that thread can go on using the signal, every other one blocks.
///
/// Lifetime: a signal is neither copied nor moved, and must outlive its emissions; only a slot list
/// emptied by `disconnectAll` may take the signal's owner with it. Destroying the signal tells
/// nobody.
template <class... Args>
class Signal {
public:
    Signal() = default;
    Signal(const Signal&) = delete;
    Signal& operator=(const Signal&) = delete;
    ~Signal() {
        // What the slots hold may be connections of this very signal: they find it empty and whole.
        while (first_ != nullptr) {
            Removed removed;
            takeOutAll(removed);
        }
    }

    /// Appends a slot that belongs to `object`, for `disconnect(object)` to find. The object is not
    /// watched: whoever destroys it disconnects it first. Nothing is checked for duplicates: a
    /// callable connected twice is called twice. An empty callable throws `std::bad_function_call`
    /// out of the emission that reaches it.
    template <class Obj, class R>
    Disconnector connect(Obj* object, std::function<R(Args...)> functor) {
        return append<ObjectFunctorSlot<Obj, R, Args...>>(object, std::move(functor));
    }

    /// Appends a slot that belongs to no object: only its disconnector and `disconnectAll` remove
    /// it.
    template <class R>
    Disconnector connect(std::function<R(Args...)> functor) {
        return append<FunctorSlot<R, Args...>>(std::move(functor));
    }

    /// As above, for any callable of suitable signature: a lambda, a function pointer, ...
    template <class Callable, class R = std::invoke_result_t<Callable&, Args...>>
    Disconnector connect(Callable callable) {
        if constexpr (std::is_class_v<Callable>) {
            return append<CallableSlot<Callable, Args...>>(std::move(callable));
        } else {
            return connect(std::function<R(Args...)>(callable)); // a null pointer makes it empty
        }
    }

    /// As above, with an object to find the slot by. A pointer to a member function is called on
    /// `object`, which must then outlive the connection.
    template <class Obj, class Callable>
    Disconnector connect(Obj* object, Callable callable) {
        if constexpr (std::is_member_function_pointer_v<Callable>) {
            using R = std::invoke_result_t<Callable, Obj*, Args...>;
            if (callable == nullptr) {
                return connect(object, std::function<R(Args...)>());
            }
            return connect(object, [object, callable](Args&&... args) -> R {
                return (object->*callable)(std::forward<Args>(args)...);
            });
        } else if constexpr (std::is_class_v<Callable>) {
            return append<ObjectCallableSlot<Obj, Callable, Args...>>(object, std::move(callable));
        } else {
            using R = std::invoke_result_t<Callable&, Args...>;
            return connect(object, std::function<R(Args...)>(callable));
        }
    }

    /// Removes every slot that was connected with exactly this pointer, of exactly this type (a
    /// pointer to a base of the object is another type).
    template <class Obj>
    void disconnect(Obj* object) {
        Removed removed; // declared before the lock, so let go after it
        const std::lock_guard<std::recursive_mutex> lock(mutex_);
        for (Connection* next = first_; next != nullptr;) {
            Connection& connection = *std::exchange(next, next->next);
            if (connection.slot().matchesObject(std::any(object))) {
                Emission* const caller = takeOut(connection);
                (caller == nullptr ? removed : caller->removedRunning).add(connection);
            }
        }
    }

    /// Removes every slot. From inside a slot it also ends every running emission of this signal
    /// once the current call returns; what the removed slots hold, be it the last reference to the
    /// signal's owner, is then released after the outermost of these emissions is over.
    void disconnectAll() {
        Removed removed; // declared before the lock, so let go after it
        const std::lock_guard<std::recursive_mutex> lock(mutex_);
        Removed* keeper = &removed;
        for (Emission* emission = emission_; emission != nullptr; emission = emission->outer) {
            emission->next = nullptr;
            emission->isChanged = true;
            keeper = &emission->removed;
        }
        takeOutAll(*keeper);
    }

    /// Calls every slot, in the order in which they were connected. Costs next to nothing where
    /// nobody listens.
    void emit(detail::Passed<Args>... args) {
        if (stakes_.load() != 0) {
            emitToSlots(args...);
        }
    }

    /// Calls every slot, then removes them all and calls `done`, as one step for other threads: a
    /// slot that they connect meanwhile stays for the next emission. What the slots hold, be it the
    /// last reference to the signal's owner, is released after that. If a slot throws, the rest is
    /// neither called nor removed, and `done` is not called.
    template <class Done>
    void emitAndDisconnectAll(Done done, Args... args) {
        mutex_.lock();
        Emission emission{first_, emission_};
        call(emission, detail::Argument<Args>(args)...);
        emission_ = &emission; // what is removed now stays until the signal is unlocked
        disconnectAll();
        emission_ = emission.outer;
        done();
        leave();
    }

private:
    using Connection = detail::Connection<Args...>;
    using Hold = detail::Hold<Args...>;
    using Removed = detail::Removed<Args...>;

    /// A running emission, on the stack of its `emit`.
    struct Emission {
        Connection* next;              ///< what to call next, or null
        Emission* outer;               ///< the emission this one was started from, or null
        Connection* running = nullptr; ///< what was called last
        bool isChanged = false;        ///< whether `next` or `removedRunning` was changed by others
        Removed removed{};             ///< what `disconnectAll` removed while this one ran
        Removed removedRunning{};      ///< what is running, if it was removed in its call
    };

    /// An emission to listeners. Its own copies of the arguments are made before it locks.
    void emitToSlots(Args... args) {
        mutex_.lock();
        Emission emission{first_, emission_};
        call(emission, detail::Argument<Args>(args)...);
        leave();
        // From here on the signal may be gone with the slots that `emission` releases.
    }

    /// Runs an emission; the lock is held. Leaves it locked and with its stake, also when a slot
    /// throws.
    void call(Emission& emission, detail::Argument<Args>... args) {
        enter();
        emission_ = &emission;
        try {
            for (Connection* next = emission.next; next != nullptr;) {
                emission.running = next;
                emission.next = next = next->next;
                emission.running->call(args.forNextSlot(next == nullptr)...);
                if (emission.isChanged) {
                    emission.isChanged = false;
                    (args.dropCopy(), ...);
                    emission.removedRunning.letGo(); // may change it once more
                    next = emission.next;
                }
            }
        } catch (...) {
            emission_ = emission.outer; // later disconnections must not reach this frame
            throw;
        }
        emission_ = emission.outer;
    }

    void enter() {
        const std::size_t stakes = stakes_.load(std::memory_order_relaxed);
        if (stakes == 0) {
            stakes_.store(2);
        } else {
            stakes_.store(stakes + 1, std::memory_order_relaxed);
        }
    }

    /// Unlocks after an emission. The last one to leave an empty signal says so.
    void leave() {
        const std::size_t left = stakes_.load(std::memory_order_relaxed) - 1;
        stakes_.store(left == 1 && first_ == nullptr ? 0 : left, std::memory_order_release);
        mutex_.unlock();
    }

    template <class Slot, class... Parts>
    Disconnector append(Parts&&... parts) {
        auto* const connection =
            new detail::ConnectionOf<Slot, Args...>(std::forward<Parts>(parts)...);
        Disconnector disconnector = [this, hold = Hold(*connection)] { remove(*hold); };
        const std::lock_guard<std::recursive_mutex> lock(mutex_);
        connection->holdForList();
        connection->isConnected = true;
        connection->previous = last_;
        (last_ == nullptr ? first_ : last_->next) = connection;
        last_ = connection;
        if (stakes_.load(std::memory_order_relaxed) == 0) {
            stakes_.store(1);
        }
        return disconnector;
    }

    /// For a disconnector, which holds the connection: there is nothing to destroy here.
    void remove(Connection& connection) {
        const std::lock_guard<std::recursive_mutex> lock(mutex_);
        if (!connection.isConnected) {
            return;
        }
        if (Emission* const caller = takeOut(connection)) {
            caller->removedRunning.add(connection);
        } else {
            connection.letGoForList();
        }
    }

    /// Takes a connection, but not the list's share in it, out of the list and out of what is to be
    /// called next; the lock is held. Returns the outermost emission that is calling it, or null.
    Emission* takeOut(Connection& connection) {
        Emission* caller = nullptr;
        for (Emission* emission = emission_; emission != nullptr; emission = emission->outer) {
            if (emission->next == &connection) {
                emission->next = connection.next;
                emission->isChanged = true;
            }
            if (emission->running == &connection) {
                emission->isChanged = true;
                caller = emission;
            }
        }
        unlink(connection);
        return caller;
    }

    /// Empties the list; the emissions know already.
    void takeOutAll(Removed& removed) {
        while (first_ != nullptr) {
            Connection& connection = *first_;
            unlink(connection);
            removed.add(connection);
        }
    }

    void unlink(Connection& connection) {
        (connection.previous == nullptr ? first_ : connection.previous->next) = connection.next;
        (connection.next == nullptr ? last_ : connection.next->previous) = connection.previous;
        connection.isConnected = false;
    }

    std::recursive_mutex mutex_;
    Connection* first_ = nullptr;
    Connection* last_ = nullptr;
    Emission* emission_ = nullptr; ///< the innermost running emission, or null
    /// 0, or one for the slots and one for each emission under way. Written under the lock. The one
    /// for the slots stays when they go, until an emission has found none; the one of an emission
    /// that an exception left stays for good, as its lock does.
    std::atomic<std::size_t> stakes_ = 0;
};

/// Keeps a connection for as long as it lives: calls its disconnector when it is destroyed.
/// Must be destroyed, disconnected or released before the signal is.
class ScopedConnection {
public:
    ScopedConnection() = default;
    /// Takes over a disconnector, as `Signal::connect` returns it (implicit on purpose, so that a
    /// member is simply assigned the result of `connect`).
    ScopedConnection(Disconnector disconnector) : disconnector_(std::move(disconnector)) {}
    ScopedConnection(const ScopedConnection&) = delete;
    ScopedConnection& operator=(const ScopedConnection&) = delete;
    ScopedConnection(ScopedConnection&& other) noexcept : disconnector_(other.release()) {}
    /// Disconnects what it held before.
    ScopedConnection& operator=(ScopedConnection&& other) noexcept {
        if (this != &other) {
            disconnect();
            disconnector_ = other.release();
        }
        return *this;
    }
    ~ScopedConnection() { disconnect(); }

    /// Ends the connection now; the destructor then has nothing left to do.
    void disconnect() {
        if (const Disconnector disconnector = release()) {
            disconnector();
        }
    }

    /// Gives the disconnector back uncalled and forgets it: the connection stays.
    Disconnector release() noexcept { return std::exchange(disconnector_, nullptr); }

private:
    Disconnector disconnector_;
};

} // namespace tsignal
