// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "SignalTesting.h"

#include <tsignal/Signal.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

// How an emission's arguments reach its slots.

namespace {

using signal_testing::cargo;
using signal_testing::Trace;
using testing::ElementsAre;
using testing::Pointer;
using tsignal::Signal;

using Shared = std::shared_ptr<int>;

struct Moment {
    int index = 0;
};

/// An argument that counts its copies.
struct Counted {
    explicit Counted(int& copies) : copies_(&copies) {}
    Counted(const Counted& other) : copies_(other.copies_) { ++*copies_; }
    Counted(Counted&& other) noexcept = default;
    Counted& operator=(const Counted&) = delete;
    Counted& operator=(Counted&&) = delete;
    ~Counted() = default;

private:
    int* copies_;
};

TEST(SignalArguments, EverySlotGetsThemInOrder) {
    Signal<std::string, int> signal;
    Trace calls;
    signal.connect([&](const std::string& name, int value) {
        calls.push_back("first " + name + ' ' + std::to_string(value));
    });
    signal.connect([&](const std::string& name, int value) {
        calls.push_back("second " + name + ' ' + std::to_string(value));
    });

    signal.emit("Height", 180);
    EXPECT_THAT(calls, ElementsAre("first Height 180", "second Height 180"));
}

TEST(SignalArguments, ConvertToWhatTheCallableTakes) {
    Signal<int, const char*> signal;
    double real = 0;
    std::string text;
    signal.connect([&](double value, std::string name) {
        real = value;
        text = std::move(name);
    });

    signal.emit(2, "two");
    EXPECT_EQ(real, 2.0);
    EXPECT_EQ(text, "two");
}

TEST(SignalArguments, ASharedPointerIsHeldOnceMoreDuringEachCall) {
    Signal<std::shared_ptr<int>> signal;
    const auto argument = std::make_shared<int>(1);
    std::vector<long> counts;
    const auto note = [&counts](const std::shared_ptr<int>& held) {
        counts.push_back(held.use_count());
    };
    signal.connect(note);
    signal.connect(note);

    signal.emit(argument);
    // The caller's, the emission's, and one for the slot that is being called.
    EXPECT_THAT(counts, ElementsAre(3, 3));
    EXPECT_EQ(argument.use_count(), 1);
}

TEST(SignalArguments, WhatASlotDoesToItsSharedPointerDoesNotReachTheNext) {
    Signal<Shared> signal;
    const auto argument = std::make_shared<int>(1);
    const auto other = std::make_shared<int>(2);
    std::vector<long> counts;
    std::vector<int*> seen;
    const auto note = [&](const Shared& held) {
        counts.push_back(held.use_count());
        seen.push_back(held.get());
    };
    signal.connect([&](Shared own) { note(own); });
    signal.connect([&](Shared&& own) {
        note(own);
        own.reset();
    });
    signal.connect([&](Shared&& own) {
        note(own);
        own = other;
    });
    signal.connect([&](Shared&& own) {
        note(own);
        own = Shared(other, argument.get()); // the same pointer, but not the same thing held
    });
    signal.connect([&](Shared&& own) {
        note(own);
        own = Shared(Shared(), argument.get());
    });
    signal.connect(note);

    signal.emit(argument);
    EXPECT_THAT(counts, ElementsAre(3, 3, 3, 3, 3, 3));
    EXPECT_THAT(seen, testing::Each(argument.get()));
    EXPECT_EQ(argument.use_count(), 1);
    EXPECT_EQ(other.use_count(), 1);
}

TEST(SignalArguments, ASharedPointerIsHeldNoMoreByTheSlotWhenARemovedSlotGoes) {
    Signal<Shared> signal;
    const auto argument = std::make_shared<int>(1);
    std::vector<long> counts;
    int object = 0;
    signal.connect(&object, [&, held = cargo([&] { counts.push_back(argument.use_count()); })](
                                const Shared& /*held*/) { signal.disconnect(&object); });
    signal.connect([&](const Shared& held) { counts.push_back(held.use_count()); });

    signal.emit(argument);
    EXPECT_THAT(counts, ElementsAre(2, 3)); // the caller's and the emission's; the next slot's too
}

TEST(SignalArguments, ASlotMayKeepItsSharedPointer) {
    Signal<std::shared_ptr<int>> signal;
    std::shared_ptr<int> kept;
    signal.connect([&kept](std::shared_ptr<int> argument) { kept = std::move(argument); });

    signal.emit(std::make_shared<int>(7));
    EXPECT_THAT(kept, Pointer(testing::Ne(nullptr)));
    EXPECT_EQ(*kept, 7);
    EXPECT_EQ(kept.use_count(), 1);
}

TEST(SignalArguments, WhatASlotDoesToItsCopyDoesNotReachTheNext) {
    Signal<std::string> signal;
    const std::string argument = "a text that is too long to be stored in place";
    std::string taken;
    std::string changed;
    std::string last;
    signal.connect([&](std::string text) { taken = std::move(text); });
    signal.connect([&](std::string text) { changed = std::move(text.append(", changed")); });
    signal.connect([&](const std::string& text) { last = text; });
    signal.connect([&](std::string text) { text.clear(); }); // this one's copy is nobody else's

    signal.emit(argument);
    EXPECT_EQ(taken, argument);
    EXPECT_EQ(changed, argument + ", changed");
    EXPECT_EQ(last, argument);
}

TEST(SignalArguments, EverySlotGetsACopyOfItsOwn) {
    Signal<std::string> signal;
    const std::string argument = "text";
    std::vector<std::string> seen;
    bool wasThePassedOne = false;
    signal.connect([&](std::string&& text) {
        wasThePassedOne = &text == &argument;
        text.clear();
    });
    signal.connect([&](const std::string& text) { seen.push_back(text); });

    signal.emit(argument);
    EXPECT_FALSE(wasThePassedOne);
    EXPECT_THAT(seen, ElementsAre("text"));
    EXPECT_EQ(argument, "text");
}

TEST(SignalArguments, AConstReferenceReachesEverySlotAsItWasPassed) {
    Signal<const Moment&> signal;
    const Moment moment;
    std::vector<const Moment*> seen;
    const auto note = [&seen](const Moment& reached) { seen.push_back(&reached); };
    int object = 0;
    signal.connect(note);
    signal.connect(&object, note);
    signal.connect(std::function<void(const Moment&)>(note));

    signal.emit(moment);
    EXPECT_THAT(seen, ElementsAre(&moment, &moment, &moment));
}

TEST(SignalArguments, AMemberFunctionGetsTheVeryReferenceToo) {
    struct Listener {
        void hear(const Moment& moment) { heard = &moment; }
        const Moment* heard = nullptr;
    };
    Signal<const Moment&> signal;
    const Moment moment;
    Listener listener;
    signal.connect(&listener, &Listener::hear);

    signal.emit(moment);
    EXPECT_EQ(listener.heard, &moment);
}

TEST(SignalArguments, AReferenceLetsASlotTakeItByValue) {
    Signal<const Moment&> signal;
    const Moment moment{3};
    Moment copy;
    signal.connect([&copy](Moment own) {
        ++own.index;
        copy = own;
    });

    signal.emit(moment);
    EXPECT_EQ(copy.index, 4);
    EXPECT_EQ(moment.index, 3);
}

TEST(SignalArguments, ANonConstReferenceLetsASlotAnswer) {
    Signal<Moment&> signal;
    signal.connect([](Moment& moment) { moment.index += 1; });
    signal.connect([](Moment& moment) { moment.index *= 10; });

    Moment moment{2};
    signal.emit(moment);
    EXPECT_EQ(moment.index, 30);
}

TEST(SignalArguments, AreNotCopiedWhenNobodyListens) {
    Signal<Counted> signal;
    int copies = 0;
    const Counted argument(copies);
    signal.emit(argument);
    EXPECT_EQ(copies, 0);

    const auto disconnect = signal.connect([](const Counted&) {});
    signal.emit(argument);
    EXPECT_EQ(copies, 2); // the emission's and the slot's
    disconnect();
    signal.emit(argument); // finds nobody, and leaves word of that
    copies = 0;
    signal.emit(argument);
    EXPECT_EQ(copies, 0);
}

TEST(SignalArguments, AreCopiedAgainOnceSomebodyListens) {
    Signal<Counted> signal;
    int copies = 0;
    int calls = 0;
    const Counted argument(copies);
    const auto slot = [&](const Counted&) { ++calls; };
    signal.connect(slot)();
    signal.emit(argument);
    signal.connect(slot);
    signal.emit(argument);
    EXPECT_EQ(calls, 1);
    signal.emitAndDisconnectAll([&] { signal.connect(slot); }, argument);
    EXPECT_EQ(calls, 2);
    signal.emit(argument);
    EXPECT_EQ(calls, 3);
    signal.emitAndDisconnectAll([] {}, argument);
    copies = 0;
    signal.emit(argument);
    EXPECT_EQ(copies, 0);
}

TEST(SignalArguments, TheEmissionKeepsItsOwnCopyOfWhatTheSlotsMayChange) {
    Signal<std::string> signal;
    std::string current = "old";
    Trace seen;
    signal.connect([&](const std::string& /*text*/) { current = "new"; });
    signal.connect([&](const std::string& text) { seen.push_back(text); });

    signal.emit(current);
    EXPECT_EQ(current, "new");
    EXPECT_THAT(seen, ElementsAre("old"));
}

} // namespace
