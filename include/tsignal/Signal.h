#pragma once

#include <any>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <type_traits>
#include <utility>

/// Typed notifications: a `Signal` is emitted by the object that owns it and calls every slot that
/// is connected to it.
namespace tsignal {

/// Removes one connection when called; harmless when that connection is gone already.
/// Must not be called once the signal it came from has been destroyed.
using Disconnector = std::function<void()>;

/// One connection of a signal. Slots are made by `Signal::connect` and always held as a
/// `std::shared_ptr` of their concrete type, hence no virtual destructor.
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

/// A slot that is a bare callable.
template <class R, class... Args>
class FunctorSlot final : public ISlot<Args...> {
public:
    explicit FunctorSlot(std::function<R(Args...)> functor) : functor_(std::move(functor)) {}

    void call(Args... args) override { functor_(std::forward<Args>(args)...); }
    bool matchesFunctor(std::any /*functor*/) override { return false; }
    bool matches(std::any /*object*/, std::any /*functor*/) override { return false; }
    bool matchesObject(std::any /*object*/) override { return false; }

private:
    std::function<R(Args...)> functor_;
};

/// A callable tagged with the object that owns the connection. The object is compared, never used.
template <class Obj, class R, class... Args>
class ObjectFunctorSlot final : public ISlot<Args...> {
public:
    ObjectFunctorSlot(Obj* object, std::function<R(Args...)> functor)
        : object_(object), functor_(std::move(functor)) {}

    void call(Args... args) override { functor_(std::forward<Args>(args)...); }
    bool matchesFunctor(std::any /*functor*/) override { return false; }
    bool matches(std::any /*object*/, std::any /*functor*/) override { return false; }
    bool matchesObject(std::any object) override {
        Obj* const* const candidate = std::any_cast<Obj*>(&object);
        return candidate != nullptr && *candidate == object_;
    }

private:
    Obj* object_;
    std::function<R(Args...)> functor_;
};

/// A list of slots that `emit` calls in the order in which they were connected.
///
/// Arguments reach each slot by value: every slot gets a copy of its own, or, where the signal's
/// argument is a reference, the very reference the emitter passed.
///
/// Threads: every operation takes the signal's recursive mutex, and `emit` holds it while its slots
/// run, on the emitting thread. So the slots of one signal never run concurrently, a slot may use
/// its own signal, and a slot must not wait for another thread that uses the same signal.
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
        SlotList released;
        released.splice(released.end(), slots_);
    }

    /// Appends a slot that belongs to `object`, for `disconnect(object)` to find. The object is not
    /// watched: whoever destroys it disconnects it first. Nothing is checked for duplicates: a
    /// callable connected twice is called twice. An empty callable throws `std::bad_function_call`
    /// out of the emission that reaches it.
    template <class Obj, class R>
    Disconnector connect(Obj* object, std::function<R(Args...)> functor) {
        return append(
            std::make_shared<ObjectFunctorSlot<Obj, R, Args...>>(object, std::move(functor)));
    }

    /// Appends a slot that belongs to no object: only its disconnector and `disconnectAll` remove
    /// it.
    template <class R>
    Disconnector connect(std::function<R(Args...)> functor) {
        return append(std::make_shared<FunctorSlot<R, Args...>>(std::move(functor)));
    }

    /// As above, for any callable of suitable signature: a lambda, a function pointer, ...
    template <class Callable, class R = std::invoke_result_t<Callable&, Args...>>
    Disconnector connect(Callable callable) {
        return connect(std::function<R(Args...)>(std::move(callable)));
    }

    /// As above, with an object to find the slot by. A pointer to a member function is called on
    /// `object`, which must then outlive the connection.
    template <class Obj, class Callable>
    Disconnector connect(Obj* object, Callable callable) {
        if constexpr (std::is_member_function_pointer_v<Callable>) {
            using R = std::invoke_result_t<Callable, Obj*, Args...>;
            std::function<R(Args...)> functor; // stays empty for a null pointer
            if (callable != nullptr) {
                functor = [object, callable](Args... args) -> R {
                    return (object->*callable)(std::forward<Args>(args)...);
                };
            }
            return connect(object, std::move(functor));
        } else {
            using R = std::invoke_result_t<Callable&, Args...>;
            return connect(object, std::function<R(Args...)>(std::move(callable)));
        }
    }

    /// Removes every slot that was connected with exactly this pointer, of exactly this type (a
    /// pointer to a base of the object is another type).
    template <class Obj>
    void disconnect(Obj* object) {
        remove([object](ISlot<Args...>& slot) { return slot.matchesObject(std::any(object)); });
    }

    /// Removes every slot. From inside a slot it also ends every running emission of this signal
    /// once the current call returns; what the removed slots hold, be it the last reference to the
    /// signal's owner, is then released after the outermost of these emissions is over.
    void disconnectAll() {
        SlotList removed; // declared before the lock, so released after it
        const std::lock_guard<std::recursive_mutex> lock(mutex_);
        SlotList* released = &removed;
        for (Emission* emission = emission_; emission != nullptr; emission = emission->outer) {
            emission->next = slots_.end();
            released = &emission->released;
        }
        released->splice(released->end(), slots_);
    }

    /// Calls every slot, in the order in which they were connected.
    void emit(Args... args) {
        mutex_.lock();
        Emission emission{slots_.begin(), emission_, {}};
        call(emission, args...);
        mutex_.unlock();
        // From here on the signal may be gone with the slots that `emission` releases.
    }

    /// Calls every slot, then removes them all and calls `done`, as one step for other threads: a
    /// slot that they connect meanwhile stays for the next emission. What the slots hold, be it the
    /// last reference to the signal's owner, is released after that. If a slot throws, the rest is
    /// neither called nor removed, and `done` is not called.
    template <class Done>
    void emitAndDisconnectAll(Done done, Args... args) {
        mutex_.lock();
        Emission emission{slots_.begin(), emission_, {}};
        call(emission, args...);
        emission_ = &emission; // what is removed now stays until the signal is unlocked
        disconnectAll();
        emission_ = emission.outer;
        done();
        mutex_.unlock();
    }

private:
    using SlotPtr = std::shared_ptr<ISlot<Args...>>;
    using SlotList = std::list<SlotPtr>;

    /// A running emission, on the stack of its `emit`.
    struct Emission {
        typename SlotList::iterator next; ///< the slot to call next; removals step over it
        Emission* outer;                  ///< the emission this one was started from, or null
        SlotList released;                ///< what `disconnectAll` removed while this one ran
    };

    /// Runs an emission; the lock is held. Leaves it locked, also when a slot throws.
    void call(Emission& emission, Args&... args) {
        emission_ = &emission;
        while (emission.next != slots_.end()) {
            const SlotPtr slot = *emission.next; // alive for its call, even when removed meanwhile
            ++emission.next;
            try {
                slot->call(args...);
            } catch (...) {
                emission_ = emission.outer; // later disconnections must not reach this frame
                throw;
            }
        }
        emission_ = emission.outer;
    }

    Disconnector append(SlotPtr slot) {
        const std::lock_guard<std::recursive_mutex> lock(mutex_);
        slots_.push_back(slot);
        return [this, slot = std::move(slot)] {
            remove([&slot](const ISlot<Args...>& candidate) { return &candidate == slot.get(); });
        };
    }

    template <class Matches>
    void remove(const Matches& matches) {
        SlotList removed; // declared before the lock, so released after it
        const std::lock_guard<std::recursive_mutex> lock(mutex_);
        for (auto node = slots_.begin(); node != slots_.end();) {
            const auto current = node++;
            if (matches(**current)) {
                for (Emission* emission = emission_; emission != nullptr;
                     emission = emission->outer) {
                    if (emission->next == current) {
                        ++emission->next;
                    }
                }
                removed.splice(removed.end(), slots_, current);
            }
        }
    }

    std::recursive_mutex mutex_;
    SlotList slots_;
    Emission* emission_ = nullptr; ///< the innermost running emission, or null
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
