// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstddef>
#include <cstring>

// Subclasses of hosts and plug-ins rely on the place of every virtual operation in its table. Read
// here as this ABI writes it: a destructor takes two places.
#if defined(__GLIBCXX__) && defined(__x86_64__)
#define TARN_KNOWN_VIRTUAL_TABLE 1

namespace tarn::testing {

/// The place of a virtual member function in its class's table.
template <class Member>
std::size_t tableIndex(Member member) {
    std::size_t offsetPlusOne = 0; // how a pointer to a virtual member function starts
    std::memcpy(&offsetPlusOne, &member, sizeof(offsetPlusOne));
    return (offsetPlusOne - 1) / sizeof(void*);
}

} // namespace tarn::testing
#endif
