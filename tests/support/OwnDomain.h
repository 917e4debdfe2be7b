// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstdint>
#include <fcntl.h>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <sys/file.h>
#include <unistd.h>

namespace tarn::tests {

/// The number of a domain of links that no other test has while this program runs: tests that run
/// at the same time do not hear each other. `own_domain` of machines.py is the same in Python.
inline std::uint32_t ownDomain() {
    static const std::uint32_t domain = [] {
        constexpr std::uint32_t count = 199;
        const auto first = static_cast<std::uint32_t>(getpid());
        for (std::uint32_t i = 0; i < count; ++i) {
            const std::uint32_t number = 1 + (first + i) % count;
            const std::filesystem::path file = std::filesystem::temp_directory_path() /
                                               ("tarn-test-domain-" + std::to_string(number));
            const int held = ::open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
            if (held >= 0 && ::flock(held, LOCK_EX | LOCK_NB) == 0) {
                return number; // until the program ends
            }
            if (held >= 0) {
                ::close(held);
            }
        }
        throw std::runtime_error("no domain is free");
    }();
    return domain;
}

} // namespace tarn::tests
