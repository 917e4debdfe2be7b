// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tsignal/detail/Argument.h>
#include <tsignal/detail/Connection.h>
#include <tsignal/detail/Slot.h>

#include <any>
#include <atomic>
#include <cstddef>
#include <functional>
#include <mutex>
#include <utility>

namespace tsignal::detail {

/// The connections of a signal, and its emissions; `Signal` says what each operation means.
///
/// How that is fast, and what has to hold for it:
///  - A connection is one block: the slot with its callable, its links in the list, and a count of
///    its holders, which are the list and the copies of its disconnector. So connecting takes two
///    blocks, the other one being the disconnector's, and a disconnector need not search.
///  - An emission holds no slot. It is a frame on the stack, known to the list, that says what it
///    is calling and what it calls next. Whoever takes a connection out of the list sees to all
///    frames: none goes on to it, and the outermost one that is calling it gets the list's share in
///    it until that call has returned.
///  - All of that changes under the mutex. Only the count of holders is changed anywhere, and is
///    atomic: disconnectors are copied and dropped without the mutex.
///  - An atomic number, the stakes, is 0 only while no slot is connected, no emission is under way
///    and no exception has left one. `emit` reads it first and is done when it is 0. That it leaves
///    0, and that `emit` reads it, are sequentially consistent: an emitter who reads 0 comes before
///    whoever connects meanwhile in the single total order of such operations.
template <class... Args>
class SlotList {
public:
    SlotList() = default;
    SlotList(const SlotList&) = delete;
    SlotList& operator=(const SlotList&) = delete;
    ~SlotList() {
        // What the slots hold may be connections of this very list: they find it empty and whole.
        while (first_ != nullptr) {
            Removed removed;
            takeOutAll(removed);
        }
    }

    /// Appends a slot made of `parts` and returns its disconnector.
    template <class Slot, class... Parts>
    std::function<void()> append(Parts&&... parts) {
        auto* const connection = new ConnectionOf<Slot, Args...>(std::forward<Parts>(parts)...);
        std::function<void()> disconnector = [this, hold = Hold(*connection)] { remove(*hold); };
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

    /// Removes every slot that matches the object.
    void removeMatching(const std::any& object) {
        Removed removed; // declared before the lock, so let go after it
        const std::lock_guard<std::recursive_mutex> lock(mutex_);
        for (Connection* next = first_; next != nullptr;) {
            Connection& connection = *std::exchange(next, next->next);
            if (connection.slot().matchesObject(object)) {
                Emission* const caller = takeOut(connection);
                (caller == nullptr ? removed : caller->removedRunning).add(connection);
            }
        }
    }

    void removeAll() {
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

    void emit(Passed<Args>... args) {
        if (stakes_.load() != 0) {
            emitToSlots(args...);
        }
    }

    template <class Done>
    void emitAndRemoveAll(Done&& done, Args&... args) {
        mutex_.lock();
        Emission emission{first_, emission_};
        call(emission, Argument<Args>(args)...);
        emission_ = &emission; // what is removed now stays until the mutex is unlocked
        removeAll();
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
        Removed removed{};             ///< what `removeAll` removed while this one ran
        Removed removedRunning{};      ///< what is running, if it was removed in its call
    };

    /// An emission to listeners. Its own copies of the arguments are made before it locks.
    void emitToSlots(Args... args) {
        mutex_.lock();
        Emission emission{first_, emission_};
        call(emission, Argument<Args>(args)...);
        leave();
        // From here on the list may be gone with the slots that `emission` releases.
    }

    /// Runs an emission; the lock is held. Leaves it locked and with its stake, also when a slot
    /// throws.
    void call(Emission& emission, Argument<Args>... args) {
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

    /// Unlocks after an emission. The last one to leave an empty list says so.
    void leave() {
        const std::size_t left = stakes_.load(std::memory_order_relaxed) - 1;
        stakes_.store(left == 1 && first_ == nullptr ? 0 : left, std::memory_order_release);
        mutex_.unlock();
    }

    /// For a disconnector, which holds the connection: there is nothing to destroy under the lock.
    void remove(Connection& connection) {
        const std::lock_guard<std::recursive_mutex> lock(mutex_);
        if (!connection.isConnected) {
            return;
        }
        if (Emission* const caller = takeOut(connection)) {
            caller->removedRunning.add(connection);
        } else {
            connection.letGo();
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

} // namespace tsignal::detail
