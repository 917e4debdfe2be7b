// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn/Solver.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <any>
#include <memory>
#include <optional>
#include <stdexcept>
#include <vector>

// What callables of factors may do while they run: they are kept for as long as a call of theirs
// lasts, and no longer.

namespace {

using ::testing::ElementsAre;

class OpenSolver : public tarn::Solver {
public:
    using Solver::addFactor;
};

/// What a callable holds: it says whether the callable still exists.
using Held = std::shared_ptr<int>;

TEST(FactorReentrance, AGetterThatIsReplacedInACallWithinItsCallFinishesBoth) {
    OpenSolver solver;
    const Held held = std::make_shared<int>(0);
    std::vector<long> users;
    solver.addFactor(1,
                     [&solver, &users, held, depth = std::make_shared<int>(0)]() -> std::any {
                         if (++*depth < 3) {
                             std::any inner = solver.queryFactor(1);
                             users.push_back(held.use_count());
                             return inner;
                         }
                         solver.addFactor(1, [] { return std::any(7); }, {});
                         users.push_back(held.use_count());
                         return *depth;
                     },
                     {});

    EXPECT_EQ(std::any_cast<int>(solver.queryFactor(1)), 3);
    EXPECT_THAT(users, ElementsAre(2, 2, 2));
    EXPECT_EQ(held.use_count(), 1);
    EXPECT_EQ(std::any_cast<int>(solver.queryFactor(1)), 7);
}

TEST(FactorReentrance, ACallableThatThrowsAfterItWasReplacedIsLetGo) {
    OpenSolver solver;
    const Held held = std::make_shared<int>(0);
    solver.addFactor(
        1,
        [&solver, held]() -> std::any {
            solver.addFactor(1, [] { return std::any(7); }, {});
            throw std::runtime_error("no value");
        },
        [&solver, held](const std::any&) {
            solver.addFactor(1, {}, [](const std::any&) {});
            throw std::runtime_error("out of range");
        });

    EXPECT_THROW(solver.queryFactor(1), std::runtime_error);
    EXPECT_EQ(held.use_count(), 2);
    EXPECT_THROW(solver.setFactor(1, 5), std::runtime_error);
    EXPECT_EQ(held.use_count(), 1);
    EXPECT_EQ(std::any_cast<int>(solver.queryFactor(1)), 7);
}

TEST(FactorReentrance, ACallableThatThrowsStays) {
    OpenSolver solver;
    const Held held = std::make_shared<int>(0);
    solver.addFactor(1, [held]() -> std::any { throw std::runtime_error("no value"); }, {});

    EXPECT_THROW(solver.queryFactor(1), std::runtime_error);
    EXPECT_THROW(solver.queryFactor(1), std::runtime_error);
    EXPECT_EQ(held.use_count(), 2);
}

TEST(FactorReentrance, ACallableThatDoesNotRunGoesAtOnceWhileAnotherDoes) {
    OpenSolver solver;
    const Held held = std::make_shared<int>(0);
    std::vector<long> users;
    solver.addFactor(1,
                     [&] {
                         solver.addFactor(2, [] { return std::any(); }, {});
                         users.push_back(held.use_count());
                         solver.removeFactor(3, {});
                         users.push_back(held.use_count());
                         return std::any();
                     },
                     {});
    solver.addFactor(2, [held] { return std::any(); }, {});
    solver.addFactor(3, {}, [held](const std::any&) {});

    solver.queryFactor(1);
    EXPECT_THAT(users, ElementsAre(2, 1));
}

TEST(FactorReentrance, AGetterMayDestroyItsSolver) {
    std::optional<OpenSolver> solver(std::in_place);
    const Held held = std::make_shared<int>(5);
    solver->addFactor(1,
                      [&solver, held] {
                          solver.reset();
                          return std::any(
                              *held); // still there, though nothing else of the solver is
                      },
                      {});

    EXPECT_EQ(std::any_cast<int>(solver->queryFactor(1)), 5);
    EXPECT_EQ(held.use_count(), 1);
}

TEST(FactorReentrance, ASetterMayDestroyItsSolver) {
    auto solver = std::make_unique<OpenSolver>();
    const Held held = std::make_shared<int>(0);
    int told = 0;
    solver->onFactorChanged().connect([&told](int /*id*/) { ++told; });
    solver->addFactor(
        1, [] { return std::any(); },
        [&solver, held](const std::any& value) {
            solver.reset();
            *held = std::any_cast<int>(value); // still there, though nothing else of the solver is
        });

    solver->setFactor(1, 5);
    EXPECT_EQ(*held, 5);
    EXPECT_EQ(held.use_count(), 1);
    EXPECT_EQ(told, 0) << "there was nobody left to tell it";
}

TEST(FactorReentrance, ASetterMayDestroyItsSolverWhenItsFactorIsRemoved) {
    auto solver = std::make_unique<OpenSolver>();
    const Held held = std::make_shared<int>(0);
    solver->addFactor(
        1, [] { return std::any(); },
        [&solver, held](const std::any& /*value*/) { solver.reset(); });

    solver->removeFactor(1, 5);
    EXPECT_EQ(solver, nullptr);
    EXPECT_EQ(held.use_count(), 1);
}

TEST(FactorReentrance, ASetterThatHasReplacedItselfMayDestroyItsSolver) {
    auto solver = std::make_unique<OpenSolver>();
    const Held held = std::make_shared<int>(0);
    solver->addFactor(
        1, [] { return std::any(); },
        [&solver, held](const std::any& /*value*/) {
            solver->addFactor(1, {}, [](const std::any&) {});
            solver.reset();
        });

    solver->setFactor(1, 5);
    EXPECT_EQ(solver, nullptr);
    EXPECT_EQ(held.use_count(), 1);
}

TEST(FactorReentrance, ASetterWithinASetterMayDestroyTheSolverOfBoth) {
    auto solver = std::make_unique<OpenSolver>();
    std::vector<int> finished;
    const auto readable = [] { return std::any(); };
    solver->addFactor(1, readable, [&](const std::any& value) {
        solver->setFactor(2, value);
        finished.push_back(1);
    });
    solver->addFactor(2, readable, [&](const std::any& /*value*/) {
        solver.reset();
        finished.push_back(2);
    });

    solver->setFactor(1, 5);
    EXPECT_EQ(solver, nullptr);
    EXPECT_THAT(finished, ElementsAre(2, 1));
}

TEST(FactorReentrance, ASetterThatThrowsMayHaveDestroyedItsSolver) {
    auto solver = std::make_unique<OpenSolver>();
    const Held held = std::make_shared<int>(0);
    solver->addFactor(
        1, [] { return std::any(); },
        [&solver, held](const std::any& /*value*/) {
            solver.reset();
            throw std::runtime_error("out of range");
        });

    EXPECT_THROW(solver->setFactor(1, 5), std::runtime_error);
    EXPECT_EQ(held.use_count(), 1);
}

TEST(FactorReentrance, ASetterMaySetOtherFactorsAndEachIsAnnounced) {
    OpenSolver solver;
    std::vector<int> told;
    solver.onFactorChanged().connect([&told](int id) { told.push_back(id); });
    const auto readable = [] { return std::any(); };
    solver.addFactor(1, readable, [&solver](const std::any& value) { solver.setFactor(2, value); });
    solver.addFactor(2, readable, [](const std::any& value) {
        if (std::any_cast<int>(value) < 0) {
            throw std::runtime_error("out of range");
        }
    });

    solver.setFactor(1, 5);
    EXPECT_THAT(told, ElementsAre(2, 1));
    EXPECT_THROW(solver.setFactor(1, -5), std::runtime_error);
    solver.setFactor(1, 6);
    EXPECT_THAT(told, ElementsAre(2, 1, 2, 1));
}

TEST(FactorReentrance, ASetterThatReplacesItselfGoesAfterItsAnnouncement) {
    OpenSolver solver;
    const Held held = std::make_shared<int>(0);
    long users = 0;
    solver.onFactorChanged().connect([&](int /*id*/) { users = held.use_count(); });
    solver.addFactor(
        1, [] { return std::any(); },
        [&solver, held](const std::any&) { solver.addFactor(1, {}, [](const std::any&) {}); });

    solver.setFactor(1, 5);
    EXPECT_EQ(users, 2);
    EXPECT_EQ(held.use_count(), 1);
}

TEST(FactorReentrance, WhatAReplacedCallableReleasesFindsTheNewOne) {
    OpenSolver solver;
    int found = 0;
    const auto atEnd = [&](const int* /*nothing*/) {
        found = solver.isFactorQueriable(1) ? std::any_cast<int>(solver.queryFactor(1)) : 0;
    };
    solver.addFactor(1, [held = std::shared_ptr<int>(nullptr, atEnd)] { return std::any(1); }, {});

    solver.addFactor(1, [] { return std::any(2); }, {});
    EXPECT_EQ(found, 2);
}

TEST(FactorReentrance, ASetterMayRegisterMoreFactorsThanThereWere) {
    OpenSolver solver;
    const Held held = std::make_shared<int>(0);
    solver.addFactor(0, {}, [&solver, held](const std::any& value) {
        for (int id = 1; id <= 100; ++id) {
            solver.addFactor(
                id, [] { return std::any(); }, [](const std::any&) {});
        }
        *held = std::any_cast<int>(value);
    });

    solver.setFactor(0, 9);
    EXPECT_EQ(*held, 9);
    EXPECT_TRUE(solver.isFactorSettable(100));
}

} // namespace
