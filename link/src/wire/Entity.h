// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_link/stream/Link.h>

#include <dds/dds.h>

#include <memory>
#include <string>
#include <utility>

namespace tarn::link {

/// What was made of the middleware's objects, and goes with this. Those that were made of it go
/// before it.
class Entity {
public:
    Entity() = default;
    /// Throws `LinkError` if `handle` stands for a failure of `what`.
    Entity(dds_entity_t handle, const char* what) : handle_(handle) {
        if (handle < 0) {
            throw LinkError(std::string(what) + ": " + dds_strretcode(handle));
        }
    }
    ~Entity() { reset(); }
    Entity(Entity&& other) noexcept : handle_(std::exchange(other.handle_, 0)) {}
    Entity& operator=(Entity&& other) noexcept {
        reset();
        handle_ = std::exchange(other.handle_, 0);
        return *this;
    }

    dds_entity_t get() const noexcept { return handle_; }
    explicit operator bool() const noexcept { return handle_ > 0; }
    void reset() noexcept {
        if (handle_ > 0) {
            dds_delete(std::exchange(handle_, 0));
        }
    }

private:
    dds_entity_t handle_ = 0;
};

struct QosDeleter {
    void operator()(dds_qos_t* qos) const noexcept { dds_delete_qos(qos); }
};
using Qos = std::unique_ptr<dds_qos_t, QosDeleter>;

} // namespace tarn::link
