// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

// What a fuzzer feeds the readers of take files: bytes.

#include "TakeFuzzing.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const tarn::testing::FuzzDirectory directory;
    const auto file = directory / "take.tarn";
    std::ofstream(file, std::ios::binary)
        .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    tarn::testing::useTakeFile(directory, file);
    return 0;
}
