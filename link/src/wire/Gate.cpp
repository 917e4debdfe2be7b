// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "wire/Gate.h"

#include <algorithm>

namespace tarn::link {

namespace {

/// Whoever was not heard of for longest is forgotten for another one.
constexpr std::size_t mostSenders = 1'024;

} // namespace

void Gate::guard(dds_entity_t topic) {
    dds_topic_filter filter{};
    filter.mode = DDS_TOPIC_FILTER_SAMPLE_SAMPLEINFO_ARG;
    filter.f.sample_sampleinfo_arg = [](const void* sample, const dds_sample_info_t* info,
                                        void* gate) {
        return static_cast<Gate*>(gate)->lets(sample, *info);
    };
    filter.arg = this;
    dds_set_topic_filter_extended(topic, &filter);
}

void Gate::allow(double perSecond, double burst) {
    const std::lock_guard<std::mutex> lock(mutex_);
    bounds_.perSecond = perSecond;
    bounds_.burst = burst;
    for (auto& [writer, sender] : senders_) {
        sender.rate.set(perSecond, burst);
    }
}

void Gate::drained() {
    const std::lock_guard<std::mutex> lock(mutex_);
    waiting_ = 0;
}

std::uint64_t Gate::turnedAway() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return turnedAway_;
}

bool Gate::lets(const void* sample, const dds_sample_info_t& info) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (bounds_.isWanted && !bounds_.isWanted(sample)) {
        return false;
    }
    const bool isIn = isWithin(sample, info);
    turnedAway_ += isIn ? 0 : 1;
    return isIn;
}

bool Gate::isWithin(const void* sample, const dds_sample_info_t& info) {
    const auto now = RateLimit::Steady::now();
    Sender& sender = senderOf(info.publication_handle, now);
    if (sender.keys.count(info.instance_handle) == 0) {
        if (sender.keys.size() >= bounds_.keys) {
            return false;
        }
        sender.keys.insert(info.instance_handle);
    }
    const std::size_t size = bounds_.sizeOf == nullptr ? 0 : bounds_.sizeOf(sample);
    if (waiting_ + size > bounds_.bytes && size > 0) {
        return false;
    }
    if (!sender.rate.takes(now)) {
        return false;
    }
    waiting_ += size;
    return true;
}

Gate::Sender& Gate::senderOf(dds_instance_handle_t writer, RateLimit::Steady::time_point now) {
    auto found = senders_.find(writer);
    if (found == senders_.end()) {
        if (senders_.size() >= mostSenders) {
            senders_.erase(std::min_element(
                senders_.begin(), senders_.end(),
                [](const auto& a, const auto& b) { return a.second.last < b.second.last; }));
        }
        found =
            senders_.emplace(writer, Sender{RateLimit(bounds_.perSecond, bounds_.burst), {}, now})
                .first;
    }
    found->second.last = now;
    return found->second;
}

} // namespace tarn::link
