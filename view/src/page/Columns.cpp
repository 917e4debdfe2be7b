// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "page/Columns.h"

#include <tarn_kit/files/Text.h>

#include <algorithm>
#include <stdexcept>
#include <zlib.h>

namespace tarn::view {

namespace {

using Numbers = std::vector<std::int32_t>;

Numbers differencesOf(const Numbers& numbers) {
    Numbers differences = numbers;
    for (std::size_t i = numbers.size(); i-- > 1;) {
        differences[i] = numbers[i] - numbers[i - 1];
    }
    return differences;
}

/// How much there is to say, roughly; the first numbers say where a column starts.
std::uint64_t weightOf(const Numbers& numbers) {
    std::uint64_t weight = 0;
    for (std::size_t i = std::min<std::size_t>(2, numbers.size()); i < numbers.size(); ++i) {
        weight += static_cast<std::uint64_t>(numbers[i] < 0 ? -static_cast<std::int64_t>(numbers[i])
                                                            : numbers[i]);
    }
    return weight;
}

std::uint32_t zigzag(std::int32_t number) {
    return number < 0 ? (static_cast<std::uint32_t>(-(number + 1)) << 1U) + 1U
                      : static_cast<std::uint32_t>(number) << 1U;
}

} // namespace

void Columns::add(const Numbers& numbers) {
    Numbers best = numbers;
    char order = 0;
    Numbers next = numbers;
    for (char tried = 1; tried <= 2; ++tried) {
        next = differencesOf(next);
        if (weightOf(next) < weightOf(best)) {
            best = next;
            order = tried;
        }
    }
    std::uint32_t all = 0;
    for (const std::int32_t number : best) {
        all |= zigzag(number);
    }
    unsigned planes = 0;
    while (planes < 4 && all >> (8U * planes) != 0) {
        ++planes;
    }
    bytes_ += order;
    bytes_ += static_cast<char>(planes);
    for (unsigned plane = 0; plane < planes; ++plane) {
        for (const std::int32_t number : best) {
            bytes_ += static_cast<char>(zigzag(number) >> (8U * plane) & 0xFFU);
        }
    }
}

std::string packed(const std::string& bytes) {
    uLongf size = compressBound(static_cast<uLong>(bytes.size()));
    std::string compressed(size, '\0');
    // zlib reads and writes bytes as unsigned ones.
    const int result = compress2(reinterpret_cast<Bytef*>(compressed.data()), &size, // NOLINT
                                 reinterpret_cast<const Bytef*>(bytes.data()),       // NOLINT
                                 static_cast<uLong>(bytes.size()), 6);
    if (result != Z_OK) {
        throw std::runtime_error("zlib cannot compress the page's data");
    }
    compressed.resize(size);
    return kit::base64(compressed);
}

} // namespace tarn::view
