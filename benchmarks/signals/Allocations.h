// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstddef>

namespace tarn_benchmark {

/// What the program has asked of `operator new` so far.
struct Allocations {
    std::size_t count = 0;
    std::size_t bytes = 0;
};

Allocations allocations();

} // namespace tarn_benchmark
