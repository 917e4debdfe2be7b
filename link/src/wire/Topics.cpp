// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "wire/Topics.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace tarn::link {

namespace {

/// Whoever offers something and is not heard of for so long is gone. It says that it is there when
/// four fifths of it are over: the rest is what a busy machine or a bad network may take.
constexpr dds_duration_t leaseTime = DDS_SECS(2);

Qos partitionOf(const EndSettings& settings) {
    Qos qos(dds_create_qos());
    if (!settings.partition.empty()) {
        dds_qset_partition1(qos.get(), settings.partition.c_str());
    }
    return qos;
}

/// `isReader`: a reader chooses how it wants what a writer offers.
Qos qualityOf(const EndSettings& settings, bool isReader) {
    Qos qos(dds_create_qos());
    const bool isBestEffort = settings.delivery == Delivery::Newest;
    dds_qset_reliability(qos.get(),
                         isBestEffort ? DDS_RELIABILITY_BEST_EFFORT : DDS_RELIABILITY_RELIABLE,
                         DDS_MSECS(1));
    dds_qset_history(qos.get(), DDS_HISTORY_KEEP_LAST, settings.depth);
    if (settings.delivery == Delivery::Kept) {
        dds_qset_durability(qos.get(), DDS_DURABILITY_TRANSIENT_LOCAL);
        dds_qset_durability_service(qos.get(), 0, DDS_HISTORY_KEEP_LAST, 1, maxKeys, maxKeys, 1);
        dds_qset_liveliness(qos.get(), DDS_LIVELINESS_AUTOMATIC,
                            isReader ? DDS_INFINITY : leaseTime);
    }
    return qos;
}

/// A topic of its own, that asks a gate.
Entity guardedTopic(dds_entity_t participant, const EndSettings& settings, Gate& gate) {
    Entity topic(dds_create_topic(participant, settings.type, settings.topic, nullptr, nullptr),
                 settings.topic);
    gate.guard(topic.get());
    return topic;
}

} // namespace

Writer::Writer(dds_entity_t participant, const EndSettings& settings)
    : topic_(dds_create_topic(participant, settings.type, settings.topic, nullptr, nullptr),
             settings.topic),
      publisher_(dds_create_publisher(participant, partitionOf(settings).get(), nullptr),
                 settings.topic),
      writer_(dds_create_writer(publisher_.get(), topic_.get(), qualityOf(settings, false).get(),
                                nullptr),
              settings.topic) {}

int Writer::readers() const {
    std::vector<dds_instance_handle_t> handles(maxKeys);
    const dds_return_t found =
        dds_get_matched_subscriptions(writer_.get(), handles.data(), handles.size());
    handles.resize(std::min(handles.size(), static_cast<std::size_t>(std::max(found, 0))));
    return static_cast<int>(
        std::count_if(handles.begin(), handles.end(), [this](dds_instance_handle_t handle) {
            dds_builtintopic_endpoint_t* const reader =
                dds_get_matched_subscription_data(writer_.get(), handle);
            if (reader == nullptr) {
                return false; // it has just gone
            }
            dds_reliability_kind_t kind{};
            const bool isReliable = dds_qget_reliability(reader->qos, &kind, nullptr) &&
                                    kind == DDS_RELIABILITY_RELIABLE;
            dds_builtintopic_free_endpoint(reader);
            return isReliable;
        }));
}

bool Writer::isRead() const {
    dds_publication_matched_status_t status{};
    return dds_get_publication_matched_status(writer_.get(), &status) == DDS_RETCODE_OK &&
           status.current_count > 0;
}

Reader::Reader(dds_entity_t participant, const EndSettings& settings)
    : gate_(std::make_unique<Gate>(settings.bounds)),
      topic_(guardedTopic(participant, settings, *gate_)),
      subscriber_(dds_create_subscriber(participant, partitionOf(settings).get(), nullptr),
                  settings.topic),
      reader_(dds_create_reader(subscriber_.get(), topic_.get(), qualityOf(settings, true).get(),
                                nullptr),
              settings.topic) {}

} // namespace tarn::link
