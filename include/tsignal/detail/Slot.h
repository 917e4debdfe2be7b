// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <any>
#include <functional>
#include <utility>

namespace tsignal {

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

} // namespace tsignal
