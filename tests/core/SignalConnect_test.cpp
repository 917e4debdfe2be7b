// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "SignalTesting.h"

#include <tsignal/Signal.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

// What may be connected, and in which forms.

namespace {

using signal_testing::isLockedForOthers;
using signal_testing::Trace;
using testing::ElementsAre;
using tsignal::Signal;

int total = 0; // for the plain functions, which have nowhere else to note their calls

void addToTotal(int value) { total += value; }
int addAndReturn(int value) { return total += value; }

struct Adder {
    void operator()(int value) const { *sum += value; }
    int* sum;
};

class Counter {
public:
    virtual ~Counter() = default;
    void add(int value) { sum_ += value; }
    int addAndReturn(int value) { return sum_ += value; }
    void addNoexcept(int value) noexcept { sum_ += value; }
    void addConst(int value) const { sum_ += value; }
    virtual void addVirtual(int value) { sum_ += value; }
    void addWide(double value) { sum_ += static_cast<int>(value); }
    int sum() const { return sum_; }

private:
    mutable int sum_ = 0;
};

class DoublingCounter : public Counter {
public:
    void addVirtual(int value) override { add(2 * value); }
};

/// A callable that counts how often it is copied.
struct CopyCounter {
    explicit CopyCounter(int& copies) : copies_(&copies) {}
    CopyCounter(const CopyCounter& other) : copies_(other.copies_) { ++*copies_; }
    CopyCounter(CopyCounter&& other) noexcept = default;
    CopyCounter& operator=(const CopyCounter&) = delete;
    CopyCounter& operator=(CopyCounter&&) = delete;
    ~CopyCounter() = default;
    void operator()() const {}

private:
    int* copies_;
};

/// A callable that cannot be copied, although it has to be.
struct CopyThrower {
    CopyThrower() = default;
    CopyThrower(const CopyThrower& /*other*/) { throw std::runtime_error("no copy"); }
    CopyThrower& operator=(const CopyThrower&) = delete;
    ~CopyThrower() = default;
    void operator()() const {}
};

TEST(SignalConnect, TakesAFunction) {
    Signal<int> signal;
    signal.connect(std::function<void(int)>(addToTotal));
    const std::function<int(int)> returning = addAndReturn;
    signal.connect(returning);

    total = 0;
    signal.emit(3);
    EXPECT_EQ(total, 6);
}

TEST(SignalConnect, TakesAFunctionOfAnotherSignature) {
    Signal<int, std::string> signal;
    long sum = 0;
    std::string text;
    signal.connect(std::function<void(long, const std::string&)>(
        [&](long value, const std::string& name) { sum += value, text = name; }));
    Counter object;
    signal.connect(&object, std::function<long(double, std::string)>([&](double value, auto) {
        return sum += static_cast<long>(value);
    }));

    signal.emit(3, "three");
    EXPECT_EQ(sum, 6);
    EXPECT_EQ(text, "three");
}

TEST(SignalConnect, TakesALambda) {
    Signal<int> signal;
    int sum = 0;
    const auto lambda = [&sum](int value) { sum += value; };
    signal.connect(lambda);
    signal.connect([&sum](int value) { return sum += value; });

    signal.emit(3);
    EXPECT_EQ(sum, 6);
}

TEST(SignalConnect, TakesAGenericLambda) {
    Signal<int, std::string> signal;
    Trace calls;
    signal.connect(
        [&](auto value, const auto& name) { calls.push_back(name + std::to_string(value)); });
    signal.connect([&](auto&&... all) { calls.push_back(std::to_string(sizeof...(all))); });

    signal.emit(3, "three ");
    EXPECT_THAT(calls, ElementsAre("three 3", "2"));
}

TEST(SignalConnect, AMutableLambdaKeepsItsStatePerConnection) {
    Signal<> signal;
    Trace calls;
    const auto counting = [&calls, count = 0]() mutable {
        calls.push_back(std::to_string(++count));
    };
    signal.connect(counting);
    signal.emit();
    signal.connect(counting);
    signal.emit();
    EXPECT_THAT(calls, ElementsAre("1", "2", "1"));
}

TEST(SignalConnect, TakesAFunctionPointer) {
    Signal<int> signal;
    signal.connect(&addToTotal);
    signal.connect(addAndReturn);

    total = 0;
    signal.emit(3);
    EXPECT_EQ(total, 6);
}

TEST(SignalConnect, TakesAFunctionObject) {
    Signal<int> signal;
    int sum = 0;
    Adder adder{&sum};
    signal.connect(adder);
    signal.connect(std::ref(adder));

    signal.emit(3);
    EXPECT_EQ(sum, 6);
}

TEST(SignalConnect, TakesEveryKindOfCallableWithAnObjectToFindItBy) {
    Signal<int> signal;
    int sum = 0;
    Counter object;
    total = 0;
    signal.connect(&object, std::function<void(int)>(addToTotal));
    signal.connect(&object, std::function<int(int)>(addAndReturn));
    signal.connect(&object, addToTotal);
    signal.connect(&object, Adder{&sum});
    signal.connect(&object, [&sum](int value) { sum += value; });
    signal.connect(&object, [&sum](auto value) { return sum += value; });
    signal.connect(&object, [&sum, factor = 0](int value) mutable { sum += ++factor * value; });
    signal.connect(&object, &Counter::add);

    signal.emit(3);
    EXPECT_EQ(total, 9);
    EXPECT_EQ(sum, 12);
    EXPECT_EQ(object.sum(), 3);

    signal.disconnect(&object);
    signal.emit(3);
    EXPECT_EQ(total, 9);
    EXPECT_EQ(sum, 12);
    EXPECT_EQ(object.sum(), 3);
}

TEST(SignalConnect, CallsAMemberFunctionOnTheObject) {
    Signal<int> signal;
    Counter object;
    Counter other;
    signal.connect(&object, &Counter::add);
    signal.connect(&object, &Counter::addAndReturn);
    signal.connect(&object, &Counter::addNoexcept);
    signal.connect(&object, &Counter::addConst);
    signal.connect(&object, &Counter::addWide);
    const auto disconnect = signal.connect(&other, &Counter::add);

    signal.emit(1);
    EXPECT_EQ(object.sum(), 5);
    EXPECT_EQ(other.sum(), 1);

    disconnect();
    signal.emit(1);
    EXPECT_EQ(object.sum(), 10);
    EXPECT_EQ(other.sum(), 1);
}

TEST(SignalConnect, CallsAConstMemberFunctionOnAConstObject) {
    Signal<int> signal;
    const Counter object;
    signal.connect(&object, &Counter::addConst);
    signal.emit(1);
    EXPECT_EQ(object.sum(), 1);

    signal.disconnect(&object);
    signal.emit(1);
    EXPECT_EQ(object.sum(), 1);
}

TEST(SignalConnect, CallsAMemberFunctionOfABaseClass) {
    Signal<int> signal;
    DoublingCounter object;
    signal.connect(&object, &Counter::add);
    signal.connect(&object, &Counter::addVirtual);
    signal.emit(1);
    EXPECT_EQ(object.sum(), 3);

    // The connection belongs to the pointer it was made with, not to the class of the function.
    signal.disconnect(static_cast<Counter*>(&object));
    signal.emit(1);
    EXPECT_EQ(object.sum(), 6);
    signal.disconnect(&object);
    signal.emit(1);
    EXPECT_EQ(object.sum(), 6);
}

TEST(SignalConnect, AnEmptyFunctionThrowsWhenItIsReached) {
    const auto signal = std::make_unique<Signal<int>>();
    Trace calls;
    signal->connect([&](int) { calls.emplace_back("before"); });
    signal->connect(std::function<void(int)>());
    signal->connect([&](int) { calls.emplace_back("after"); });

    EXPECT_THROW(signal->emit(1), std::bad_function_call);
    EXPECT_THAT(calls, ElementsAre("before"));
    EXPECT_TRUE(isLockedForOthers(*signal));
}

/// Connects what is empty and emits.
template <class... Connected>
void emitEmpty(Connected... connected) {
    const auto signal = std::make_unique<Signal<int>>();
    signal->connect(connected...);
    signal->emit(1);
}

TEST(SignalConnect, EveryEmptyCallableThrowsWhenItIsReached) {
    Counter object;
    void (*const noFunction)(int) = nullptr;
    void (Counter::*const noMember)(int) = nullptr;
    void (Counter::*const noConstMember)(int) const = nullptr;

    EXPECT_THROW(emitEmpty(std::function<void(int)>()), std::bad_function_call);
    EXPECT_THROW(emitEmpty(std::function<int(int)>()), std::bad_function_call);
    EXPECT_THROW(emitEmpty(std::function<void(long)>()), std::bad_function_call);
    EXPECT_THROW(emitEmpty(noFunction), std::bad_function_call);
    EXPECT_THROW(emitEmpty(&object, std::function<void(int)>()), std::bad_function_call);
    EXPECT_THROW(emitEmpty(&object, std::function<void(long)>()), std::bad_function_call);
    EXPECT_THROW(emitEmpty(&object, noFunction), std::bad_function_call);
    EXPECT_THROW(emitEmpty(&object, noMember), std::bad_function_call);
    EXPECT_THROW(emitEmpty(&object, noConstMember), std::bad_function_call);
}

TEST(SignalConnect, AnEmptyCallableCanBeDisconnectedBeforeItIsReached) {
    Signal<> signal;
    int calls = 0;
    const auto disconnect = signal.connect(std::function<void()>());
    signal.connect([&] { ++calls; });

    disconnect();
    signal.emit();
    EXPECT_EQ(calls, 1);
}

TEST(SignalConnect, MovesTheCallableIntoTheSlot) {
    Signal<> signal;
    Counter object;
    int copies = 0;
    signal.connect(CopyCounter(copies));
    signal.connect(&object, CopyCounter(copies));
    EXPECT_EQ(copies, 0);

    std::function<void()> functor = CopyCounter(copies);
    signal.connect(std::move(functor));
    functor = CopyCounter(copies);
    signal.connect(&object, std::move(functor));
    EXPECT_EQ(copies, 0);

    signal.emit();
    EXPECT_EQ(copies, 0);
}

TEST(SignalConnect, ACallableThatCannotBeCopiedLeavesTheSignalAsItWas) {
    Signal<> signal;
    Counter object;
    const CopyThrower thrower;
    EXPECT_THROW(signal.connect(thrower), std::runtime_error);
    EXPECT_THROW(signal.connect(&object, thrower), std::runtime_error);
    EXPECT_FALSE(isLockedForOthers(signal));
    signal.emit();
}

} // namespace
