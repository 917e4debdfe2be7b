// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "kit/solving/SolvingTesting.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>
#include <utility>

using namespace solving_testing;

namespace {

std::atomic<long> taken = 0; ///< how often memory was

void* allocate(std::size_t size) {
    void* const block = std::malloc(size > 0 ? size : 1);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    ++taken;
    return block;
}

/// Kept out of line: GCC takes a free() that it sees beside a new for a mistake.
[[gnu::noinline]] void release(void* block) noexcept { std::free(block); }

/// How often memory is taken while a frame is solved and put out.
long takenFor(MarkerSolver& solver, const std::shared_ptr<Frame>& frame) {
    solver.clearInput();
    solver.clearOutput();
    solver.addInput(frame);
    const long before = taken;
    solver.evaluate();
    return taken - before;
}

} // namespace

void* operator new(std::size_t size) { return allocate(size); }
void* operator new[](std::size_t size) { return allocate(size); }
void operator delete(void* block) noexcept { release(block); }
void operator delete[](void* block) noexcept { release(block); }
void operator delete(void* block, std::size_t /*size*/) noexcept { release(block); }
void operator delete[](void* block, std::size_t /*size*/) noexcept { release(block); }

// What is put out takes memory, the same for every frame: a frame that takes many steps, exchanges
// labels and looks for the body anew takes no more than one that is solved at once.
TEST(SolverMemory, SolvingTakesNoneAfterTheFirstFrame) {
    const MarkerBody body = someBody();
    MarkerSolver solver("s", body, sourceOf(body));
    std::mt19937 random(3);
    const auto markersAt = [&](unsigned i) {
        return markersOf(truthAt(body, 0.01 * i), 1, random);
    };
    takenFor(solver, frameOf(markersAt(0), 0));
    const long usual = takenFor(solver, frameOf(markersAt(1), 1));
    EXPECT_GT(usual, 0);
    int mostSteps = 0;
    for (unsigned i = 2; i < 40; ++i) {
        std::vector<Marker> markers = markersAt(i);
        if (i % 10 < 5) {
            std::swap(markers[4], markers[20]);
        }
        if (i > 20 && i < 30) { // nonsense: the body is lost
            std::rotate(markers.begin(), markers.begin() + 13, markers.end());
        }
        ASSERT_EQ(takenFor(solver, frameOf(markers, i)), usual) << i;
        mostSteps = std::max(mostSteps, fitIn(solver).iterations);
    }
    EXPECT_GT(mostSteps, 50);
}
