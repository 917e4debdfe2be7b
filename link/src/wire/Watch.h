// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "wire/Entity.h"

#include <cstdint>

namespace tarn::link {

/// What has not been read yet.
inline constexpr std::uint32_t unreadSamples =
    DDS_NOT_READ_SAMPLE_STATE | DDS_ANY_VIEW_STATE | DDS_ANY_INSTANCE_STATE;

/// Wakes who waits at a waitset as long as a reader has samples of some states. Goes before both.
class Watch {
public:
    /// Throws `LinkError`.
    Watch(dds_entity_t reader, dds_entity_t waitset, std::uint32_t states)
        : condition_(dds_create_readcondition(reader, states), "what comes") {
        dds_waitset_attach(waitset, condition_.get(), 0);
    }
    bool hasNews() const { return dds_triggered(condition_.get()) > 0; }

private:
    Entity condition_;
};

} // namespace tarn::link
