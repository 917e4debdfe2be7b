// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "../Ratios.h"
#include "Allocations.h"
#include "Contenders.h"

#include <tsignal/Signal.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <utility>
#include <vector>

// What signals cost: against the least that could do, against the rules written literally, and
// against the peers. Those lock as the signals here do, but for libsigc++, which is shown only.

namespace {

using contenders::BareFunctions;
using contenders::LockedFunctions;
using tarn_benchmark::Allocations;
using tarn_benchmark::Fact;
using tarn_benchmark::Goal;
using tarn_benchmark::Measure;
using tarn_benchmark::repeated;
using tarn_benchmark::Run;
using Pointer = std::shared_ptr<int>;

constexpr const char* boostName = "Boost.Signals2";
constexpr const char* qtName = "Qt 5, direct";
constexpr const char* sigcName = "libsigc++ (locks nothing)";
constexpr const char* literalName = "the literal form";
constexpr const char* lockedName = "functions under a recursive mutex";
constexpr const char* bareName = "bare functions";

long sum = 0; // what the slots do

struct Adder {
    void operator()(int value) const { *total += value; }
    void operator()(const Pointer& value) const { *total += *value; }
    long* total = &sum;
};

/// Emissions to so many slots.
template <class Target, class Arg>
Run emission(std::size_t slots, const Arg& argument) {
    auto target = std::make_shared<Target>();
    for (std::size_t i = 0; i < slots; ++i) {
        target->connect(Adder());
    }
    return repeated([target, argument] { target->emit(argument); });
}

template <class Arg>
Measure emissionMeasure(const std::string& name, std::size_t slots, const Arg& argument,
                        double peerGoal) {
    Measure measure;
    measure.name = name;
    measure.ours = emission<contenders::Ours<Arg>>(slots, argument);
    measure.peers = Goal{peerGoal,
                         {{boostName, emission<contenders::Boost<Arg>>(slots, argument)},
                          {qtName, emission<contenders::Qt<Arg>>(slots, argument)}}};
    measure.references = {{literalName, emission<contenders::Literal<Arg>>(slots, argument)},
                          {sigcName, emission<contenders::Sigc<Arg>>(slots, argument)}};
    return measure;
}

template <class Arg>
Measure emissionUnderMutex(const std::string& name, std::size_t slots, const Arg& argument,
                           double limitGoal, double peerGoal) {
    Measure measure = emissionMeasure(name, slots, argument, peerGoal);
    measure.limit =
        Goal{limitGoal, {{lockedName, emission<LockedFunctions<Arg>>(slots, argument)}}};
    return measure;
}

Measure emissionToNobody() {
    Measure measure = emissionMeasure("emit(int), no slot", 0, 1, 0.3);
    measure.nanoseconds = 1;
    return measure;
}

Measure emissionToMany() {
    Measure measure = emissionMeasure("emit(int), 64 slots", 64, 1, 1.1);
    measure.limit = Goal{1.25, {{bareName, emission<BareFunctions<int>>(64, 1)}}};
    return measure;
}

template <class Target>
Run connection() {
    auto target = std::make_shared<Target>();
    return repeated([target] {
        auto handle = target->connect(Adder());
        target->disconnect(handle);
    });
}

Measure connectionMeasure() {
    return {"connect and disconnect",
            connection<contenders::Ours<int>>(),
            std::nullopt,
            Goal{0.8, {{literalName, connection<contenders::Literal<int>>()}}},
            Goal{0.85,
                 {{boostName, connection<contenders::Boost<int>>()},
                  {qtName, connection<contenders::Qt<int>>()}}},
            {{sigcName, connection<contenders::Sigc<int>>()}}};
}

/// Disconnects all of so many slots, one after the other in no order, and drops their handles; only
/// that is timed.
template <class Target>
double disconnections(Target& target, std::size_t slots) {
    std::vector<typename Target::Handle> handles;
    for (std::size_t i = 0; i < slots; ++i) {
        handles.push_back(target.connect(Adder()));
    }
    std::shuffle(handles.begin(), handles.end(), std::minstd_rand());
    return tarn_benchmark::timed([&] {
        for (auto& handle : handles) {
            target.disconnect(handle);
        }
        handles.clear();
    });
}

template <class Target>
Run disconnection(std::size_t slots) {
    auto target = std::make_shared<Target>();
    return [target, slots](std::size_t count) {
        double elapsed = 0;
        for (std::size_t done = 0; done < count; done += slots) {
            elapsed +=
                disconnections(*target, slots) *
                std::min(1.0, static_cast<double>(count - done) / static_cast<double>(slots));
        }
        return elapsed;
    };
}

Measure disconnectionMeasure() {
    constexpr std::size_t slots = 1000;
    return {"disconnect one of 1,000",
            disconnection<contenders::Ours<int>>(slots),
            std::nullopt,
            Goal{1.5, {{"one of 100", disconnection<contenders::Ours<int>>(slots / 10)}}},
            Goal{0.6,
                 {{boostName, disconnection<contenders::Boost<int>>(slots)},
                  {qtName, disconnection<contenders::Qt<int>>(slots)}}},
            {{literalName, disconnection<contenders::Literal<int>>(slots)},
             {sigcName, disconnection<contenders::Sigc<int>>(slots)}}};
}

template <class Target>
Run life() {
    return repeated([] {
        Target target;
        benchmark::DoNotOptimize(&target);
        benchmark::ClobberMemory();
    });
}

Measure lifeMeasure() {
    return {
        "an empty signal",
        life<contenders::Ours<int>>(),
        1,
        std::nullopt,
        Goal{1.0,
             {{boostName, life<contenders::Boost<int>>()}, {qtName, life<contenders::Qt<int>>()}}},
        {{literalName, life<contenders::Literal<int>>()},
         {sigcName, life<contenders::Sigc<int>>()}}};
}

/// What `work` allocates.
template <class Work>
Allocations allocatedBy(Work work) {
    const Allocations before = tarn_benchmark::allocations();
    work();
    const Allocations after = tarn_benchmark::allocations();
    return {after.count - before.count, after.bytes - before.bytes};
}

std::vector<Fact> facts() {
    const Allocations empty = allocatedBy([] {
        tsignal::Signal<int> signal;
        benchmark::DoNotOptimize(&signal);
    });
    tsignal::Signal<int> signal;
    int object = 0;
    tsignal::Disconnector handle;
    const std::function<void(int)> function = Adder();
    const Allocations one = allocatedBy([&] { handle = signal.connect(&object, function); });
    const auto number = [](std::size_t count) { return static_cast<double>(count); };
    return {{"an empty signal's size", "bytes", number(sizeof(signal)), 72},
            {"an empty signal's allocations", "blocks", number(empty.count), 0},
            {"a connection's size", "bytes", number(one.bytes), 128},
            {"a connection's allocations", "blocks", number(one.count), 2}};
}

std::vector<Measure> measures() {
    const Pointer pointer = std::make_shared<int>(1);
    std::vector<Measure> all;
    all.push_back(emissionToNobody());
    all.push_back(emissionUnderMutex("emit(int), 1 slot", 1, 1, 1.25, 0.8));
    all.push_back(emissionUnderMutex("emit(int), 8 slots", 8, 1, 1.2, 0.75));
    all.push_back(emissionToMany());
    all.push_back(emissionUnderMutex("emit(shared_ptr), 1 slot", 1, pointer, 1.1, 0.9));
    all.push_back(emissionUnderMutex("emit(shared_ptr), 8 slots", 8, pointer, 1.1, 0.9));
    all.push_back(connectionMeasure());
    all.push_back(disconnectionMeasure());
    all.push_back(lifeMeasure());
    return all;
}

} // namespace

int main(int argc, char** argv) { return tarn_benchmark::compare(argc, argv, measures(), facts()); }
