// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "wire/Hearing.h"

#include "wire/Samples.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <utility>

namespace tarn::link {

namespace {

constexpr std::size_t mostWriters = 64; // of one name; there is one but for restarts and mistakes

bool isSame(const tarn_wire_WriterGuid& a, const tarn_wire_WriterGuid& b) {
    return std::memcmp(a.value, b.value, sizeof a.value) == 0;
}

tarn_wire_WriterGuid guidOf(const dds_guid_t& guid) {
    tarn_wire_WriterGuid copy{};
    static_assert(sizeof copy.value == sizeof guid.v);
    std::memcpy(copy.value, guid.v, sizeof copy.value);
    return copy;
}

/// `areAllKnown` becomes false if one has just gone.
std::vector<tarn_wire_WriterGuid> writersOf(dds_entity_t reader, bool& areAllKnown) {
    std::vector<dds_instance_handle_t> handles(mostWriters);
    const dds_return_t found = dds_get_matched_publications(reader, handles.data(), handles.size());
    handles.resize(std::min(handles.size(), static_cast<std::size_t>(std::max(found, 0))));
    std::vector<tarn_wire_WriterGuid> writers;
    for (const dds_instance_handle_t handle : handles) {
        dds_builtintopic_endpoint_t* const writer =
            dds_get_matched_publication_data(reader, handle);
        if (writer == nullptr) {
            areAllKnown = false;
            continue;
        }
        writers.push_back(guidOf(writer->key));
        dds_builtintopic_free_endpoint(writer);
    }
    return writers;
}

} // namespace

EndSettings hearingEnd(const std::string& stream) {
    return {&tarn_wire_Hearing_desc, hearingTopic, Delivery::Kept, stream, 1};
}

bool HearingReport::update(dds_entity_t frames) {
    bool areAllKnown = true;
    std::vector<tarn_wire_WriterGuid> writers = writersOf(frames, areAllKnown);
    if (std::equal(writers.begin(), writers.end(), heard_.begin(), heard_.end(), isSame)) {
        return areAllKnown;
    }
    tarn_wire_Hearing sample{};
    sample.receiver = receiver_;
    sample.writers._maximum = sample.writers._length = static_cast<std::uint32_t>(writers.size());
    sample.writers._buffer = writers.data();
    if (writer_.write(&sample) != DDS_RETCODE_OK) {
        return false;
    }
    heard_ = std::move(writers);
    return areAllKnown;
}

int HearingCount::of(dds_entity_t frames) const {
    dds_guid_t guid{};
    if (dds_get_guid(frames, &guid) != DDS_RETCODE_OK) {
        return 0;
    }
    const tarn_wire_WriterGuid own = guidOf(guid);
    int count = 0;
    // Those that are gone make room for others.
    eachSample<tarn_wire_Hearing, maxKeys>(reader_.get(), dds_take_mask,
                                           DDS_ANY_SAMPLE_STATE | DDS_ANY_VIEW_STATE |
                                               DDS_NOT_ALIVE_DISPOSED_INSTANCE_STATE |
                                               DDS_NOT_ALIVE_NO_WRITERS_INSTANCE_STATE,
                                           [](const auto& /*sample*/, const auto& /*info*/) {});
    eachSample<tarn_wire_Hearing, maxKeys>(
        reader_.get(), dds_read_mask,
        DDS_ANY_SAMPLE_STATE | DDS_ANY_VIEW_STATE | DDS_ALIVE_INSTANCE_STATE,
        [&](const tarn_wire_Hearing& sample, const dds_sample_info_t& info) {
            const tarn_wire_WriterGuid* const first = sample.writers._buffer;
            const auto isOwn = [&](const auto& writer) { return isSame(writer, own); };
            if (info.valid_data && std::any_of(first, first + sample.writers._length, isOwn)) {
                ++count;
            }
        });
    return count;
}

} // namespace tarn::link
