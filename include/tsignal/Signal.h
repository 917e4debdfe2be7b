// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tsignal/detail/Argument.h>
#include <tsignal/detail/Slot.h>
#include <tsignal/detail/SlotList.h>

#include <any>
#include <functional>
#include <type_traits>
#include <utility>

/// Typed notifications: a `Signal` is emitted by the object that owns it and calls every slot that
/// is connected to it. How that works is in `tsignal/detail/`.
namespace tsignal {

/// Removes one connection when called; harmless when that connection is gone already.
/// Must not be called once the signal it came from has been destroyed.
///
/// It and its copies hold the slot, with all that its callable holds, until the last of them is
/// dropped, also after it was called. A `ScopedConnection` drops it when it disconnects.
using Disconnector = std::function<void()>;

/// A list of slots that `emit` calls in the order in which they were connected.
///
/// Arguments reach each slot by value: every slot gets a copy of its own, or, where the signal's
/// argument is a reference, the very reference the emitter passed. An emission keeps a copy itself;
/// one that nobody listens to copies nothing.
///
/// Threads: every operation takes the signal's recursive mutex, and `emit` holds it while its slots
/// run, on the emitting thread. So the slots of one signal never run concurrently, a slot may use
/// its own signal, and a slot must not wait for another thread that uses the same signal.
/// Disconnectors may be called, copied and dropped on any thread.
///
/// Only an emission that nobody listens to takes no lock, and it synchronises with nothing. Where
/// one thread changes a state and then emits, and another connects and then looks at that state,
/// the slot is told or the look sees the change
///  - if each change and each look happens under a mutex of the state's own, or
///  - if the state is an atomic, changed and looked at in sequentially consistent order (the
///  default).
/// Of a state in release and acquire order, both can miss the change.
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
    ~Signal() = default;

    /// Appends a slot that belongs to `object`, for `disconnect(object)` to find. The object is not
    /// watched: whoever destroys it disconnects it first. Nothing is checked for duplicates: a
    /// callable connected twice is called twice. An empty callable throws `std::bad_function_call`
    /// out of the emission that reaches it.
    template <class Obj, class R>
    Disconnector connect(Obj* object, std::function<R(Args...)> functor) {
        return slots_.template append<ObjectFunctorSlot<Obj, R, Args...>>(object,
                                                                          std::move(functor));
    }

    /// Appends a slot that belongs to no object: only its disconnector and `disconnectAll` remove
    /// it.
    template <class R>
    Disconnector connect(std::function<R(Args...)> functor) {
        return slots_.template append<FunctorSlot<R, Args...>>(std::move(functor));
    }

    /// As above, for any callable of suitable signature: a lambda, a function pointer, ...
    template <class Callable, class R = std::invoke_result_t<Callable&, Args...>>
    Disconnector connect(Callable callable) {
        if constexpr (std::is_class_v<Callable>) {
            return slots_.template append<CallableSlot<Callable, Args...>>(std::move(callable));
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
            return slots_.template append<ObjectCallableSlot<Obj, Callable, Args...>>(
                object, std::move(callable));
        } else {
            using R = std::invoke_result_t<Callable&, Args...>;
            return connect(object, std::function<R(Args...)>(callable));
        }
    }

    /// Removes every slot that was connected with exactly this pointer, of exactly this type (a
    /// pointer to a base of the object is another type).
    template <class Obj>
    void disconnect(Obj* object) {
        slots_.removeMatching(std::any(object));
    }

    /// Removes every slot. From inside a slot it also ends every running emission of this signal
    /// once the current call returns; what the removed slots hold, be it the last reference to the
    /// signal's owner, is then released after the outermost of these emissions is over.
    void disconnectAll() { slots_.removeAll(); }

    /// Calls every slot, in the order in which they were connected. Costs next to nothing where
    /// nobody listens.
    void emit(detail::Passed<Args>... args) { slots_.emit(args...); }

    /// Calls every slot, then removes them all and calls `done`, as one step for other threads: a
    /// slot that they connect meanwhile stays for the next emission. What the slots hold, be it the
    /// last reference to the signal's owner, is released after that. If a slot throws, the rest is
    /// neither called nor removed, and `done` is not called.
    template <class Done>
    void emitAndDisconnectAll(Done done, Args... args) {
        slots_.emitAndRemoveAll(done, args...);
    }

private:
    detail::SlotList<Args...> slots_;
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

    /// Ends the connection now and drops the disconnector; the destructor then has nothing left to
    /// do.
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
