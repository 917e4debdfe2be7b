// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "Allocations.h"

#include <cstdlib>
#include <new>

namespace {

tarn_benchmark::Allocations total; // of the one thread that does anything

} // namespace

namespace tarn_benchmark {

Allocations allocations() { return total; }

} // namespace tarn_benchmark

void* operator new(std::size_t size) {
    ++total.count;
    total.bytes += size;
    if (void* const memory = std::malloc(size)) {
        return memory;
    }
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t /*size*/) noexcept { std::free(memory); }
