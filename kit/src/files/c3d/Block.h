// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <type_traits>

#if defined(__linux__)
#include <sys/mman.h>
#endif

namespace tarn::kit {

/// Room for `count` values, which are not made yet. Large blocks ask for large pages: memory that
/// is new to the process otherwise costs more than what is done with it.
template <class T>
std::shared_ptr<T> makeBlock(std::uint64_t count) {
    static_assert(std::is_trivially_destructible_v<T>);
    constexpr std::align_val_t pageSize{std::size_t{2} << 20U};
    const std::size_t size = static_cast<std::size_t>(count) * sizeof(T);
    if (size < 4 * static_cast<std::size_t>(pageSize)) {
        return std::shared_ptr<T>(static_cast<T*>(::operator new(size)),
                                  [](T* first) { ::operator delete(first); });
    }
    void* const block = ::operator new(size, pageSize);
#if defined(__linux__)
    madvise(block, size, MADV_HUGEPAGE); // only advice: it may fail
#endif
    return std::shared_ptr<T>(static_cast<T*>(block),
                              [](T* first) { ::operator delete(first, pageSize); });
}

} // namespace tarn::kit
