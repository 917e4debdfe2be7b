// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "link/LinkTest.h"

#include <dds/dds.h>
#include <gtest/gtest.h>
#include <tarn_link.h>

#include <cstring>

namespace tarn::link {

/// A writer on a topic of the wire, as a program has it that does not use the library.
class Stranger {
public:
    Stranger(dds_domainid_t domain, const dds_topic_descriptor_t* type, const char* topic,
             const char* partition, bool isKept)
        : participant_(dds_create_participant(domain, nullptr, nullptr)) {
        dds_qos_t* const common = dds_create_qos();
        if (partition != nullptr) {
            dds_qset_partition1(common, partition);
        }
        dds_qos_t* const qos = dds_create_qos();
        dds_qset_reliability(qos, DDS_RELIABILITY_RELIABLE, DDS_SECS(1));
        dds_qset_history(qos, DDS_HISTORY_KEEP_LAST, 1000);
        if (isKept) {
            dds_qset_durability(qos, DDS_DURABILITY_TRANSIENT_LOCAL);
        }
        const dds_entity_t publisher = dds_create_publisher(participant_, common, nullptr);
        writer_ = dds_create_writer(
            publisher, dds_create_topic(participant_, type, topic, nullptr, nullptr), qos, nullptr);
        dds_delete_qos(qos);
        dds_delete_qos(common);
    }
    ~Stranger() { dds_delete(participant_); }
    Stranger(const Stranger&) = delete;
    Stranger& operator=(const Stranger&) = delete;

    void write(const void* sample) const { ASSERT_EQ(dds_write(writer_, sample), DDS_RETCODE_OK); }
    bool awaitReader() const {
        return eventually([this] {
            dds_publication_matched_status_t status{};
            dds_get_publication_matched_status(writer_, &status);
            return status.current_count > 0;
        });
    }

private:
    dds_entity_t participant_;
    dds_entity_t writer_ = 0;
};

/// A reader of every frame of a stream that never says that it hears them; or of the newest, where
/// it is not reliable.
class SilentReader {
public:
    SilentReader(dds_domainid_t domain, const char* stream, const char* topic = "tarn_frame_1",
                 bool isReliable = true)
        : participant_(dds_create_participant(domain, nullptr, nullptr)) {
        dds_qos_t* const common = dds_create_qos();
        dds_qset_partition1(common, stream);
        dds_qos_t* const qos = dds_create_qos();
        dds_qset_reliability(
            qos, isReliable ? DDS_RELIABILITY_RELIABLE : DDS_RELIABILITY_BEST_EFFORT, DDS_SECS(1));
        dds_qset_history(qos, DDS_HISTORY_KEEP_ALL, 0);
        const dds_entity_t subscriber = dds_create_subscriber(participant_, common, nullptr);
        reader_ = dds_create_reader(
            subscriber,
            dds_create_topic(participant_, &tarn_wire_Frame_desc, topic, nullptr, nullptr), qos,
            nullptr);
        dds_delete_qos(qos);
        dds_delete_qos(common);
    }
    ~SilentReader() { dds_delete(participant_); }
    SilentReader(const SilentReader&) = delete;
    SilentReader& operator=(const SilentReader&) = delete;

    /// Whether a frame has come.
    bool hasHeard() const {
        dds_sample_info_t info{};
        void* sample = nullptr;
        const dds_return_t found = dds_take(reader_, &sample, &info, 1, 1);
        if (found > 0) {
            dds_return_loan(reader_, &sample, found);
        }
        return found > 0;
    }
    /// Calls `visit` for each sample that has come.
    template <class Visit>
    void eachFrame(Visit visit) const {
        dds_sample_info_t info{};
        void* sample = nullptr;
        while (dds_take(reader_, &sample, &info, 1, 1) > 0) {
            if (info.valid_data) {
                visit(*static_cast<const tarn_wire_Frame*>(sample));
            }
            dds_return_loan(reader_, &sample, 1);
            sample = nullptr;
        }
    }
    /// Of the one writer that it reads from.
    tarn_wire_WriterGuid writer() const {
        dds_instance_handle_t handle = 0;
        tarn_wire_WriterGuid guid{};
        if (dds_get_matched_publications(reader_, &handle, 1) == 1) {
            dds_builtintopic_endpoint_t* const found =
                dds_get_matched_publication_data(reader_, handle);
            std::memcpy(guid.value, found->key.v, sizeof guid.value);
            dds_builtintopic_free_endpoint(found);
        }
        return guid;
    }

private:
    dds_entity_t participant_;
    dds_entity_t reader_ = 0;
};

} // namespace tarn::link
