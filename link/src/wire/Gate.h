// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "wire/RateLimit.h"

#include <dds/dds.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <utility>

namespace tarn::link {

/// How much a reader takes of what it is sent. Whatever the sender: nothing else of the middleware
/// bounds it without holding up everybody's samples.
struct Bounds {
    double perSecond = 20; ///< samples of a writer
    double burst = 100;    ///< of a writer, at once
    std::size_t keys = 16; ///< of a writer: more than any program of ours has
    /// Of all that waits to be read, and of how many bytes a sample is; where that is known.
    std::size_t bytes = 0;
    std::size_t (*sizeOf)(const void* sample) = nullptr;
    /// Which samples are of interest at all; empty for all. What is not is not counted.
    std::function<bool(const void* sample)> isWanted;
};

/// Lets in what comes within bounds, before it takes any memory, and counts what is turned away.
/// For any thread.
class Gate {
public:
    explicit Gate(Bounds bounds) : bounds_(std::move(bounds)) {}

    /// Has a topic ask this gate. To be called before readers are made of it, which go first.
    void guard(dds_entity_t topic);
    /// Changes how much there may be of a writer.
    void allow(double perSecond, double burst);
    /// Nothing waits to be read now.
    void drained();
    std::uint64_t turnedAway() const;

private:
    struct Sender {
        RateLimit rate;
        std::set<dds_instance_handle_t> keys;
        RateLimit::Steady::time_point last; ///< when it sent something
    };
    bool lets(const void* sample, const dds_sample_info_t& info);
    bool isWithin(const void* sample, const dds_sample_info_t& info);
    Sender& senderOf(dds_instance_handle_t writer, RateLimit::Steady::time_point now);

    mutable std::mutex mutex_; // guards what follows
    Bounds bounds_;
    std::map<dds_instance_handle_t, Sender> senders_;
    std::size_t waiting_ = 0; ///< bytes
    std::uint64_t turnedAway_ = 0;
};

} // namespace tarn::link
