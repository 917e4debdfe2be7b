// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <dds/dds.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace tarn::link {

/// Calls `visit(const T&, const dds_sample_info_t&)` for samples that `get` (`dds_take_mask` or
/// `dds_read_mask`) finds of the states in `mask`, at most `AtOnce`; returns how many there were.
/// The middleware fills as many places as a reader was ever asked for: that number has to be the
/// same whenever one reader is read.
template <class T, std::size_t AtOnce = 64, class Get, class Visit>
std::size_t eachSample(dds_entity_t reader, Get get, std::uint32_t mask, Visit visit) {
    std::vector<void*> samples(AtOnce, nullptr);
    std::vector<dds_sample_info_t> infos(AtOnce);
    const dds_return_t found =
        get(reader, samples.data(), infos.data(), AtOnce, static_cast<std::uint32_t>(AtOnce), mask);
    if (found <= 0) {
        return 0;
    }
    const auto count = static_cast<std::size_t>(found);
    for (std::size_t i = 0; i < count; ++i) {
        visit(*static_cast<const T*>(samples[i]), infos[i]);
    }
    dds_return_loan(reader, samples.data(), found);
    return count;
}

} // namespace tarn::link
