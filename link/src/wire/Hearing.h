// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "wire/Topics.h"

#include <cstdint>
#include <string>
#include <vector>

namespace tarn::link {

inline constexpr const char* hearingTopic = "tarn_hearing_1";

EndSettings hearingEnd(const std::string& stream);

/// Tells the publishers of a name that a reader of their frames hears them. A writer is matched
/// with a reader before the reader is matched with it, and what it sends in between never comes.
class HearingReport {
public:
    /// `receiver` is a number that nobody else has.
    HearingReport(dds_entity_t participant, const std::string& stream, std::uint64_t receiver)
        : writer_(participant, hearingEnd(stream)), receiver_(receiver) {}
    /// Says which writers the reader hears now, if these are others than before. False if that is
    /// to be tried again, as it could not be said or one of them is only just coming or going.
    bool update(dds_entity_t frames);

private:
    Writer writer_;
    std::uint64_t receiver_;
    std::vector<tarn_wire_WriterGuid> heard_;
};

/// Counts who says so.
class HearingCount {
public:
    HearingCount(dds_entity_t participant, const std::string& stream)
        : reader_(participant, hearingEnd(stream)) {}
    /// How many hear a writer of frames.
    int of(dds_entity_t frames) const;

private:
    Reader reader_;
};

} // namespace tarn::link
