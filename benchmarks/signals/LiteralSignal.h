// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <any>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <utility>

/// The rules of `tsignal::Signal` written down as literally as they can be, for the yardstick: a
/// recursive mutex, a list of shared slots, a function in each, and a shared pointer copied for
/// each call.
namespace literal {

template <class... Args>
class Signal {
public:
    using Disconnector = std::function<void()>;

    Signal() = default;
    Signal(const Signal&) = delete;
    Signal& operator=(const Signal&) = delete;
    ~Signal() = default;

    Disconnector connect(std::function<void(Args...)> functor) {
        auto slot = std::make_shared<FunctorSlot>(std::move(functor));
        const std::lock_guard<std::recursive_mutex> lock(mutex_);
        slots_.push_back(slot);
        return [this, slot = std::move(slot)] { remove(slot.get()); };
    }

    void emit(Args... args) {
        mutex_.lock();
        Emission emission{slots_.begin(), emission_};
        emission_ = &emission;
        while (emission.next != slots_.end()) {
            const std::shared_ptr<Slot> slot = *emission.next++;
            slot->call(args...);
        }
        emission_ = emission.outer;
        mutex_.unlock();
    }

private:
    struct Slot {
        virtual void call(Args... args) = 0;
        virtual bool matchesObject(std::any object) = 0;

    protected:
        ~Slot() = default;
    };

    struct FunctorSlot final : Slot {
        explicit FunctorSlot(std::function<void(Args...)> itsFunctor)
            : functor(std::move(itsFunctor)) {}
        void call(Args... args) override { functor(std::forward<Args>(args)...); }
        bool matchesObject(std::any /*object*/) override { return false; }
        std::function<void(Args...)> functor;
    };

    using SlotList = std::list<std::shared_ptr<Slot>>;

    struct Emission {
        typename SlotList::iterator next;
        Emission* outer;
    };

    void remove(const Slot* slot) {
        SlotList removed;
        const std::lock_guard<std::recursive_mutex> lock(mutex_);
        for (auto node = slots_.begin(); node != slots_.end();) {
            const auto current = node++;
            if (current->get() == slot) {
                for (Emission* at = emission_; at != nullptr; at = at->outer) {
                    at->next = at->next == current ? node : at->next;
                }
                removed.splice(removed.end(), slots_, current);
            }
        }
    }

    std::recursive_mutex mutex_;
    SlotList slots_;
    Emission* emission_ = nullptr;
};

} // namespace literal
