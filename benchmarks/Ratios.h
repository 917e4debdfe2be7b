// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <benchmark/benchmark.h>

#include <cstddef>
#include <ctime>
#include <functional>
#include <optional>
#include <string>
#include <vector>

/// Speed as ratios: how long something takes against a limit or a peer, measured in one run of one
/// program, so that machine, load and compiler cancel out.
///
/// A benchmark describes what it measures and hands it over:
///
///     const std::vector<Measure> measures = {
///         {"emit, 1 slot", repeated([&] { signal.emit(1); }), std::nullopt,
///          Goal{1.25, {{"functions under a mutex", repeated([&] { literal.emit(1); })}}},
///          Goal{0.8, {{"one peer", ...}, {"another peer", ...}}}},
///     };
///     return compare(argc, argv, measures, {{"a signal", "bytes", sizeof(signal), 72}});
///
/// The contenders of a measure take turns, forwards and backwards; a ratio is the median of the
/// ratios of the rounds. A second thread is alive all the while: without one, locks and reference
/// counts are cheaper than they ever are in an application.
namespace tarn_benchmark {

/// Does its operation so many times and says how many nanoseconds that took.
using Run = std::function<double(std::size_t count)>;

struct Contender {
    std::string name;
    Run run;
};

/// How much of the time of the fastest of some contenders may be taken.
struct Goal {
    double ratio = 1;
    std::vector<Contender> against;
};

struct Measure {
    std::string name;
    Run ours;
    std::optional<double> nanoseconds; ///< at most, each
    std::optional<Goal> limit;         ///< against what bounds it: the least that could do
    std::optional<Goal> peers;         ///< against others that do as much
    std::vector<Contender> references; ///< shown, without a goal
};

/// Something that is counted rather than timed.
struct Fact {
    std::string name;
    std::string unit;
    double value = 0;
    double most = 0;
};

/// The nanoseconds of processor time that this program has used. What other programs do meanwhile
/// is not in it.
inline double processorTime() {
    return static_cast<double>(std::clock()) * (1e9 / static_cast<double>(CLOCKS_PER_SEC));
}

/// The nanoseconds that `work` takes.
template <class Work>
double timed(Work&& work) {
    const double start = processorTime();
    work();
    return processorTime() - start;
}

/// Runs an operation in a plain loop. What the operation reads is read anew each time.
template <class Operation>
Run repeated(Operation operation) {
    return [operation](std::size_t count) mutable {
        return timed([&] {
            for (std::size_t i = 0; i < count; ++i) {
                operation();
                benchmark::ClobberMemory();
            }
        });
    };
}

/// Measures, prints a table and returns what `main` returns: 0 also when a goal is missed, 2 for
/// arguments that are wrong.
///
/// usage: PROGRAM [--repetitions N] [--only TEXT] [--json FILE]
///   --repetitions N   rounds per measure, 5 or more (15 unless given)
///   --only TEXT       only the measures and facts whose names contain TEXT
///   --json FILE       also writes an array with an object per goal: name, against, ours, theirs
///                     (nanoseconds; the value and its bound for facts), ratio, goal, met (a bool)
int compare(int argc, char** argv, const std::vector<Measure>& measures,
            const std::vector<Fact>& facts);

} // namespace tarn_benchmark
