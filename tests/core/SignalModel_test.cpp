// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "SignalTesting.h"

#include <tsignal/Signal.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <functional>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

// Random programs of connections, disconnections and emissions, nested in each other's slots, are
// run on a signal and on a literal model of its rules. Both must tell the same story.

namespace {

using signal_testing::cargo;
using signal_testing::Trace;
using tsignal::Disconnector;
using tsignal::Signal;

constexpr unsigned programCount = 4000;
constexpr int stepsPerRun = 150;
constexpr int maximumDepth = 4;
constexpr std::size_t objectCount = 3;

enum class Operation {
    connect,
    connectForObject,
    disconnect,
    dropDisconnector,
    disconnectObject,
    disconnectAll,
    emit,
    emitAndDisconnectAll,
    fail
};

struct Step {
    Operation operation;
    std::size_t operand;
};

Operation operationOf(unsigned dice) {
    // In percent: the rarer ones would end most programs early.
    constexpr std::array<std::pair<Operation, unsigned>, 9> upTo{
        {{Operation::connect, 26},
         {Operation::connectForObject, 46},
         {Operation::disconnect, 62},
         {Operation::dropDisconnector, 70},
         {Operation::disconnectObject, 78},
         {Operation::disconnectAll, 80},
         {Operation::emit, 96},
         {Operation::emitAndDisconnectAll, 97},
         {Operation::fail, 100}}};
    return std::find_if(upTo.begin(), upTo.end(),
                        [dice](const auto& entry) { return dice % 100 < entry.second; })
        ->first;
}

/// What a slot does in one of its calls. Depends on the arguments alone.
std::vector<Step> stepsOf(unsigned seed, std::size_t slot, unsigned call, std::size_t most) {
    std::minstd_rand random(seed * 7919U + static_cast<unsigned>(slot) * 104729U + call);
    random.discard(5); // neighbouring seeds begin alike
    std::vector<Step> steps;
    for (std::size_t count = random() % (most + 1); count > 0; --count) {
        const Operation operation = operationOf(static_cast<unsigned>(random()));
        steps.push_back({operation, static_cast<std::size_t>(random())});
    }
    return steps;
}

struct Failure : std::runtime_error {
    Failure() : std::runtime_error("a slot failed") {}
};

/// Runs a program and notes what happens. Slots are numbered in the order of their connection; one
/// number stands for the slot and for its disconnector.
class World {
public:
    explicit World(unsigned seed) : seed_(seed) {}
    World(const World&) = delete;
    World& operator=(const World&) = delete;
    virtual ~World() = default;

    Trace run() {
        while (stepsLeft_ > 0) {
            try {
                play(stepsOf(seed_, mainProgram, ++mainCalls_, 12));
            } catch (const Failure&) {
                note("ends a main program");
            }
            --stepsLeft_;
        }
        end();
        return trace_;
    }

protected:
    void note(const std::string& event) { trace_.push_back(event); }
    void noteDestroyed(std::size_t slot) { note(destroyed + std::to_string(slot)); }

    /// To be called for each call of a slot, with the count of its argument's holders.
    void called(std::size_t slot, long holders) {
        note("called " + std::to_string(slot) + ", held by " + std::to_string(holders));
        ++depth_;
        try {
            play(stepsOf(seed_, slot, ++calls_[slot], 4));
        } catch (const Failure&) {
            --depth_;
            note("fails " + std::to_string(slot));
            throw;
        }
        --depth_;
        note("returns " + std::to_string(slot));
    }

    virtual void connect(std::size_t slot) = 0;
    virtual void connect(std::size_t slot, std::size_t object) = 0;
    virtual void disconnect(std::size_t slot) = 0;
    virtual void dropDisconnector(std::size_t slot) = 0;
    virtual void disconnectObject(std::size_t object) = 0;
    virtual void disconnectAll() = 0;
    virtual void emit() = 0;
    virtual void emitAndDisconnectAll() = 0;
    /// Destroys the signal, then the disconnectors that are left.
    virtual void end() = 0;

private:
    void play(const std::vector<Step>& steps) {
        for (const Step& step : steps) {
            if (stepsLeft_ <= 0) {
                return;
            }
            --stepsLeft_;
            play(step);
        }
    }

    void play(const Step& step) {
        const std::size_t object = step.operand % objectCount;
        switch (step.operation) {
        case Operation::connect:
            connect(nextSlot());
            break;
        case Operation::connectForObject:
            connect(nextSlot(), object);
            break;
        case Operation::disconnect:
            withDisconnector(step, false);
            break;
        case Operation::dropDisconnector:
            withDisconnector(step, true);
            break;
        case Operation::disconnectObject:
            disconnectObject(object);
            break;
        case Operation::disconnectAll:
            disconnectAll();
            break;
        case Operation::emit:
            playEmission([this] { emit(); }, step.operand % 2 == 0);
            break;
        case Operation::emitAndDisconnectAll:
            playEmission([this] { emitAndDisconnectAll(); }, step.operand % 2 == 0);
            break;
        case Operation::fail:
            throw Failure();
        }
    }

    std::size_t nextSlot() {
        calls_.push_back(0);
        hasDisconnector_.push_back(true);
        return calls_.size() - 1;
    }

    void withDisconnector(const Step& step, bool drop) {
        if (calls_.empty() || !hasDisconnector_[step.operand % calls_.size()]) {
            return;
        }
        const std::size_t slot = step.operand % calls_.size();
        if (drop) {
            hasDisconnector_[slot] = false;
            dropDisconnector(slot);
        } else {
            disconnect(slot);
        }
    }

    void playEmission(const std::function<void()>& emission, bool catching) {
        if (depth_ == maximumDepth) {
            return;
        }
        note("emits at " + std::to_string(depth_));
        try {
            emission();
        } catch (const Failure&) {
            note("left by a failure");
            if (!catching) {
                throw;
            }
        }
        note("emitted");
    }

public:
    static constexpr const char* destroyed = "destroyed ";

private:
    static constexpr std::size_t mainProgram = 1000000; // no slot has this number

    unsigned seed_;
    int stepsLeft_ = stepsPerRun;
    int depth_ = 0;
    unsigned mainCalls_ = 0;
    std::vector<unsigned> calls_; // by slot
    std::vector<bool> hasDisconnector_;
    Trace trace_;
};

/// The world of a signal.
class SignalWorld : public World {
public:
    using World::World;

private:
    using Argument = std::shared_ptr<int>;

    auto callable(std::size_t slot) {
        return [this, slot, held = cargo([this, slot] { noteDestroyed(slot); })](
                   std::shared_ptr<int>&& argument) {
            const long holders = argument.use_count();
            Argument kept;
            if (slot % 3 == 1) {
                kept = std::move(argument); // gone when the call returns
            } else if (slot % 3 == 2) {
                argument = std::make_shared<int>(2);
            }
            called(slot, holders);
        };
    }

    void connect(std::size_t slot) override {
        disconnectors_.push_back(signal_->connect(callable(slot)));
    }
    void connect(std::size_t slot, std::size_t object) override {
        disconnectors_.push_back(signal_->connect(&objects_.at(object), callable(slot)));
    }
    void disconnect(std::size_t slot) override { disconnectors_[slot](); }
    void dropDisconnector(std::size_t slot) override { disconnectors_[slot] = nullptr; }
    void disconnectObject(std::size_t object) override {
        signal_->disconnect(&objects_.at(object));
    }
    void disconnectAll() override { signal_->disconnectAll(); }
    void emit() override {
        const Argument argument = std::make_shared<int>(1);
        signal_->emit(argument);
    }
    void emitAndDisconnectAll() override {
        const Argument argument = std::make_shared<int>(1);
        signal_->emitAndDisconnectAll([this] { note("done"); }, argument);
    }
    void end() override {
        signal_.reset();
        disconnectors_.clear();
    }

    std::unique_ptr<Signal<Argument>> signal_ = std::make_unique<Signal<Argument>>();
    std::vector<Disconnector> disconnectors_;
    std::array<int, objectCount> objects_{};
};

/// The rules, word by word: a list, the next place of each running emission in it, and a count of
/// what keeps each slot alive.
class ModelWorld : public World {
public:
    using World::World;

private:
    static constexpr std::size_t listEnd = static_cast<std::size_t>(-1);
    static constexpr std::size_t noObject = objectCount;

    struct Slot {
        std::size_t object;
        int holders; ///< the list, its disconnector, its running calls
    };

    struct Emission {
        std::size_t next;                  ///< index in the list, or `listEnd`
        std::vector<std::size_t> released; ///< kept until the outermost emission is over
    };

    void connect(std::size_t slot) override { connect(slot, noObject); }
    void connect(std::size_t slot, std::size_t object) override {
        slots_.push_back({object, 2});
        list_.push_back(slot); // an emission that is at the end stays there
    }

    void disconnect(std::size_t slot) override {
        remove([slot](std::size_t candidate) { return candidate == slot; });
    }
    void disconnectObject(std::size_t object) override {
        remove(
            [this, object](std::size_t candidate) { return slots_[candidate].object == object; });
    }
    void dropDisconnector(std::size_t slot) override { letGo({slot}); }

    void remove(const std::function<bool(std::size_t slot)>& matches) {
        std::vector<std::size_t> removed;
        for (std::size_t place = 0; place < list_.size();) {
            if (matches(list_[place])) {
                removed.push_back(list_[place]);
                removePlace(place);
            } else {
                ++place;
            }
        }
        letGo(removed);
    }

    void removePlace(std::size_t place) {
        list_.erase(list_.begin() + static_cast<std::ptrdiff_t>(place));
        for (Emission* const emission : emissions_) {
            if (emission->next != listEnd && emission->next > place) {
                --emission->next;
            }
            emission->next = emission->next < list_.size() ? emission->next : listEnd;
        }
    }

    void disconnectAll() override {
        const std::vector<std::size_t> removed = std::exchange(list_, {});
        for (Emission* const emission : emissions_) {
            emission->next = listEnd;
        }
        if (emissions_.empty()) {
            letGo(removed);
        } else {
            std::vector<std::size_t>& released = emissions_.front()->released;
            released.insert(released.end(), removed.begin(), removed.end());
        }
    }

    void emit() override { emit(false); }
    void emitAndDisconnectAll() override { emit(true); }

    void emit(bool isLast) {
        Emission emission{list_.empty() ? listEnd : 0, {}};
        emissions_.push_back(&emission);
        bool failed = false;
        while (emission.next != listEnd && !failed) {
            const std::size_t slot = list_[emission.next];
            emission.next = emission.next + 1 < list_.size() ? emission.next + 1 : listEnd;
            failed = !callHeld(slot);
        }
        if (isLast && !failed) {
            disconnectAll();
        }
        emissions_.pop_back();
        if (isLast && !failed) {
            note("done");
        }
        letGo(emission.released);
        if (failed) {
            throw Failure();
        }
    }

    bool callHeld(std::size_t slot) {
        ++slots_[slot].holders;
        bool returned = true;
        try {
            called(slot, 3); // the emitter, the emission and the slot
        } catch (const Failure&) {
            returned = false;
        }
        letGo({slot});
        return returned;
    }

    void letGo(const std::vector<std::size_t>& slots) {
        for (const std::size_t slot : slots) {
            if (--slots_[slot].holders == 0) {
                noteDestroyed(slot);
            }
        }
    }

    void end() override {
        letGo(list_);
        for (std::size_t slot = 0; slot < slots_.size(); ++slot) {
            if (slots_[slot].holders > 0) {
                letGo({slot});
            }
        }
    }

    std::vector<Slot> slots_;          // by number
    std::vector<std::size_t> list_;    // the connected ones
    std::vector<Emission*> emissions_; // the running ones, outermost first
};

TEST(SignalModel, RandomProgramsDoWhatTheRulesSay) {
    Trace everything;
    for (unsigned seed = 0; seed < programCount; ++seed) {
        SignalWorld signal(seed);
        ModelWorld model(seed);
        Trace actual;
        // A failing slot leaves its signal locked for good: the thread that holds the locks ends
        // here.
        signal_testing::onAnotherThread([&] { actual = signal.run(); });
        ASSERT_EQ(actual, model.run()) << "seed " << seed;
        everything.insert(everything.end(), actual.begin(), actual.end());
    }

    // The programs are worth running: they nest as deep as they may, and slots fail in them.
    const auto occurrences = [&everything](const std::string& event) {
        return std::count(everything.begin(), everything.end(), event);
    };
    EXPECT_GT(occurrences("emits at " + std::to_string(maximumDepth - 1)), 1000);
    EXPECT_GT(occurrences("left by a failure"), 1000);
    EXPECT_GT(occurrences("done"), 1000);
}

} // namespace
