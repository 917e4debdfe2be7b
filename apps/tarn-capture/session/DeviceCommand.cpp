// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "session/DeviceCommand.h"

#include <fmt/format.h>

#include <stdexcept>

namespace tarn::capture {

std::shared_ptr<Reply> command(Device& device, const std::string& id, const std::any& data) {
    auto reply = device.syncRequest(std::make_shared<Request>(id, data));
    if (!*reply) {
        throw std::runtime_error(reply->errorString().empty()
                                     ? fmt::format("the device refuses '{}'", id)
                                     : reply->errorString());
    }
    return reply;
}

} // namespace tarn::capture
