// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "Ratios.h"

#include <algorithm>
#include <charconv>
#include <condition_variable>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <mutex>
#include <stdexcept>
#include <string_view>
#include <thread>

namespace tarn_benchmark {

namespace {

constexpr std::size_t fewestRepetitions = 5;
constexpr double turnNanoseconds = 3e6; // long against the clock's grain, short against a hiccup

struct Options {
    std::size_t repetitions = 15;
    std::string only;
    std::string json;
};

/// A goal, and what came of it.
struct Row {
    std::string name;
    std::string against;
    double ours = 0;
    double theirs = 0;
    double ratio = 0;
    std::optional<double> goal;

    bool isMet() const { return !goal || ratio <= *goal; }
};

/// A contender's turns.
struct Turns {
    const Contender* contender;
    std::size_t count = 1;           ///< operations in a turn
    std::vector<double> nanoseconds; ///< per operation, by round
};

/// A thread that does nothing but be there.
class SecondThread {
public:
    SecondThread()
        : thread_([this] {
              std::unique_lock<std::mutex> lock(mutex_);
              isOver_.wait(lock, [this] { return over_; });
          }) {}
    SecondThread(const SecondThread&) = delete;
    SecondThread& operator=(const SecondThread&) = delete;
    ~SecondThread() {
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            over_ = true;
        }
        isOver_.notify_one();
        thread_.join();
    }

private:
    std::mutex mutex_;
    std::condition_variable isOver_;
    bool over_ = false;
    std::thread thread_; // last: it uses the others
};

std::size_t repetitionsIn(std::string_view text) {
    std::size_t count = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), count);
    if (error != std::errc() || end != text.data() + text.size() || count < fewestRepetitions) {
        throw std::invalid_argument("--repetitions takes a number from 5");
    }
    return count;
}

Options optionsIn(const std::vector<std::string>& arguments) {
    Options options;
    for (std::size_t i = 0; i < arguments.size(); i += 2) {
        const std::string& name = arguments[i];
        if (name != "--repetitions" && name != "--only" && name != "--json") {
            throw std::invalid_argument("unknown argument " + name);
        }
        if (i + 1 == arguments.size()) {
            throw std::invalid_argument(name + " takes a value");
        }
        const std::string& value = arguments[i + 1];
        if (name == "--repetitions") {
            options.repetitions = repetitionsIn(value);
        } else {
            (name == "--only" ? options.only : options.json) = value;
        }
    }
    return options;
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    const std::size_t middle = values.size() / 2;
    return values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

double medianRatio(const std::vector<double>& ours, const std::vector<double>& theirs) {
    std::vector<double> ratios(ours.size());
    std::transform(ours.begin(), ours.end(), theirs.begin(), ratios.begin(), std::divides<>());
    return median(ratios);
}

/// As many operations as make a turn long enough; also warms up.
std::size_t countFor(const Run& run) {
    for (std::size_t count = 1;; count *= 2) {
        const double elapsed = run(count);
        if (elapsed >= turnNanoseconds / 4) {
            return std::max<std::size_t>(1, static_cast<std::size_t>(static_cast<double>(count) *
                                                                     turnNanoseconds / elapsed));
        }
    }
}

void takeTurn(Turns& turns) {
    turns.nanoseconds.push_back(turns.contender->run(turns.count) /
                                static_cast<double>(turns.count));
}

/// Lets all take turns: there and back again, so that none always comes after the same one.
std::vector<Turns> race(const std::vector<const Contender*>& contenders, std::size_t rounds) {
    std::vector<Turns> all;
    all.reserve(contenders.size());
    for (const Contender* contender : contenders) {
        all.push_back({contender, countFor(contender->run), {}});
    }
    for (std::size_t round = 0; round < rounds; ++round) {
        if (round % 2 == 0) {
            std::for_each(all.begin(), all.end(), takeTurn);
        } else {
            std::for_each(all.rbegin(), all.rend(), takeTurn);
        }
    }
    return all;
}

/// The measures of one line, in a race whose first contender is ours.
class Judge {
public:
    Judge(const Measure& measure, std::size_t rounds)
        : measure_(measure), ours_{measure.name, measure.ours} {
        std::vector<const Contender*> contenders = {&ours_};
        const auto enter = [&contenders](const std::vector<Contender>& more) {
            for (const Contender& contender : more) {
                contenders.push_back(&contender);
            }
            return more.size();
        };
        limits_ = measure.limit ? enter(measure.limit->against) : 0;
        peers_ = measure.peers ? enter(measure.peers->against) : 0;
        enter(measure.references);
        turns_ = race(contenders, rounds);
    }

    std::vector<Row> rows() const {
        std::vector<Row> rows;
        if (measure_.nanoseconds) {
            const double ours = median(turns_.front().nanoseconds);
            const double most = *measure_.nanoseconds;
            rows.push_back({measure_.name, "nanoseconds", ours, most, ours / most, 1.0});
        }
        addRows(rows, 1, limits_, measure_.limit);
        addRows(rows, 1 + limits_, peers_, measure_.peers);
        addRows(rows, 1 + limits_ + peers_, measure_.references.size(), std::nullopt);
        return rows;
    }

private:
    /// The fastest of a group has the goal; the others are shown.
    void addRows(std::vector<Row>& rows, std::size_t first, std::size_t count,
                 const std::optional<Goal>& goal) const {
        std::vector<Row> group;
        for (std::size_t i = first; i < first + count; ++i) {
            const Turns& theirs = turns_[i];
            group.push_back({measure_.name, theirs.contender->name,
                             median(turns_.front().nanoseconds), median(theirs.nanoseconds),
                             medianRatio(turns_.front().nanoseconds, theirs.nanoseconds),
                             std::nullopt});
        }
        std::stable_sort(group.begin(), group.end(), [](const Row& left, const Row& right) {
            return left.theirs < right.theirs;
        });
        if (goal && !group.empty()) {
            group.front().goal = goal->ratio;
        }
        rows.insert(rows.end(), group.begin(), group.end());
    }

    const Measure& measure_;
    Contender ours_;
    std::size_t limits_ = 0; ///< how many there are
    std::size_t peers_ = 0;
    std::vector<Turns> turns_;
};

void print(const Row& row) {
    std::printf("%-34s %10.2f  %-34s %10.2f %8.3f", row.name.c_str(), row.ours, row.against.c_str(),
                row.theirs, row.ratio);
    if (row.goal) {
        std::printf(" %6.2f  %s", *row.goal, row.isMet() ? "met" : "MISSED");
    }
    std::printf("\n");
    std::fflush(stdout);
}

void writeJson(const std::string& path, const std::vector<Row>& rows) {
    std::ofstream file(path);
    const char* separator = "[\n";
    for (const Row& row : rows) {
        if (row.goal) {
            file << separator << R"(  {"name": ")" << row.name << R"(", "against": ")"
                 << row.against << R"(", "ours": )" << row.ours << R"(, "theirs": )" << row.theirs
                 << R"(, "ratio": )" << row.ratio << R"(, "goal": )" << *row.goal << R"(, "met": )"
                 << (row.isMet() ? "true" : "false") << "}";
            separator = ",\n";
        }
    }
    file << (*separator == '[' ? "[]\n" : "\n]\n");
    if (!file.flush()) {
        throw std::runtime_error("cannot write " + path);
    }
}

std::vector<Row> measureAll(const Options& options, const std::vector<Measure>& measures,
                            const std::vector<Fact>& facts) {
    const auto isAsked = [&options](const std::string& name) {
        return name.find(options.only) != std::string::npos;
    };
    std::vector<Row> rows;
    const auto add = [&rows](const Row& row) {
        print(row);
        rows.push_back(row);
    };
    std::printf("%-34s %10s  %-34s %10s %8s %6s\n", "measure", "ours", "against", "theirs", "ratio",
                "goal");
    for (const Measure& measure : measures) {
        if (isAsked(measure.name)) {
            const std::vector<Row> found = Judge(measure, options.repetitions).rows();
            std::for_each(found.begin(), found.end(), add);
        }
    }
    for (const Fact& fact : facts) {
        if (isAsked(fact.name)) {
            add({fact.name, fact.unit + ", at most", fact.value, fact.most,
                 fact.most > 0 ? fact.value / fact.most : fact.value + 1, 1.0});
        }
    }
    return rows;
}

} // namespace

int compare(int argc, char** argv, const std::vector<Measure>& measures,
            const std::vector<Fact>& facts) {
    try {
        const Options options = optionsIn({argv + 1, argv + argc});
        const SecondThread other;
        const std::vector<Row> rows = measureAll(options, measures, facts);
        const auto met = std::count_if(rows.begin(), rows.end(),
                                       [](const Row& row) { return row.goal && row.isMet(); });
        const auto goals = std::count_if(rows.begin(), rows.end(),
                                         [](const Row& row) { return row.goal.has_value(); });
        std::printf("%td of %td goals met\n", met, goals);
        if (!options.json.empty()) {
            writeJson(options.json, rows);
        }
        return 0;
    } catch (const std::invalid_argument& error) {
        std::cerr << argv[0] << ": " << error.what() << "\n";
        return 2;
    } catch (const std::runtime_error& error) {
        std::cerr << argv[0] << ": " << error.what() << "\n";
        return 1;
    }
}

} // namespace tarn_benchmark
