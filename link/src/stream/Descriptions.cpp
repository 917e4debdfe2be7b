// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "stream/Descriptions.h"

#include "wire/Refusal.h"
#include "wire/Samples.h"

#include <cstddef>
#include <iterator>

namespace tarn::link {

namespace {

constexpr std::size_t mostDescribed = 8;

} // namespace

std::vector<std::string>
Descriptions::read(const std::function<bool(std::uint64_t stream)>& isOffered,
                   std::uint64_t current) {
    std::vector<std::string> refusals;
    eachSample<tarn_wire_Description>(
        reader_.get(), dds_take_mask, DDS_ANY_STATE,
        [&](const tarn_wire_Description& sample, const dds_sample_info_t& info) {
            if (!info.valid_data) {
                return;
            }
            try {
                described_[sample.stream] = tracksIn(sample);
            } catch (const Refusal& refusal) {
                refusals.emplace_back(refusal.what());
            }
        });
    for (const bool evenOffered : {false, true}) {
        for (auto at = described_.begin(); at != described_.end();) {
            const bool isSpare = described_.size() > mostDescribed && at->first != current &&
                                 (evenOffered || !isOffered(at->first));
            at = isSpare ? described_.erase(at) : std::next(at);
        }
    }
    return refusals;
}

const std::vector<StreamTrack>* Descriptions::of(std::uint64_t stream) const {
    const auto found = described_.find(stream);
    return found == described_.end() ? nullptr : &found->second;
}

} // namespace tarn::link
