// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "wire/Entity.h"
#include "wire/Gate.h"

#include <cstdint>
#include <memory>
#include <string>
#include <tarn_link.h>

namespace tarn::link {

// What is said on which topic, and how reliably (see tarn_link.idl).

inline constexpr const char* offerTopic = "tarn_offer";
inline constexpr const char* descriptionTopic = "tarn_description_1";
inline constexpr const char* frameTopic = "tarn_frame_1";
inline constexpr const char* newestTopic = "tarn_newest_1";

/// How what is written reaches its readers.
enum class Delivery : std::uint8_t {
    Kept,       ///< the last of each key, reliably, also for who joins later
    EveryFrame, ///< all, reliably, as far as `depth` goes
    Newest,     ///< what comes, in order; what is lost is lost
};

struct EndSettings {
    const dds_topic_descriptor_t* type;
    const char* topic;
    Delivery delivery;
    std::string partition; ///< empty: the common one
    /// How many samples of a key are kept for who is slow.
    std::int32_t depth = 1;
    Bounds bounds = {}; ///< of a reader
};

/// More streams, recorders or askers than that are not looked at.
inline constexpr std::int32_t maxKeys = 1024;

/// A writer with all that it needs.
class Writer {
public:
    /// Throws `LinkError`.
    Writer(dds_entity_t participant, const EndSettings& settings);
    dds_entity_t get() const noexcept { return writer_.get(); }
    /// Returns the middleware's code: 0, or why it was not written.
    dds_return_t write(const void* sample) const { return dds_write(writer_.get(), sample); }
    /// How many readers there are that want every sample.
    int readers() const;
    /// Whether there is any reader.
    bool isRead() const;

private:
    Entity topic_;
    Entity publisher_;
    Entity writer_;
};

/// A reader with all that it needs.
class Reader {
public:
    /// Throws `LinkError`.
    Reader(dds_entity_t participant, const EndSettings& settings);
    dds_entity_t get() const noexcept { return reader_.get(); }
    Gate& gate() const noexcept { return *gate_; }

private:
    std::unique_ptr<Gate> gate_; ///< goes last
    Entity topic_;
    Entity subscriber_;
    Entity reader_;
};

} // namespace tarn::link
