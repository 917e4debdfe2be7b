// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/devices/Command.h>

namespace tarn::kit {

namespace {

std::string textOf(const Reply& reply) {
    if (!reply.errorString().empty()) {
        return reply.errorString();
    }
    return "the device " +
           std::string(reply.resultCode() == commandUnknown ? "does not know" : "refuses") +
           " the command '" + reply.id() + "'";
}

} // namespace

CommandError::CommandError(const std::string& text, int resultCode, int errorCode)
    : std::runtime_error(text), resultCode_(resultCode), errorCode_(errorCode) {}

CommandError::~CommandError() = default;

std::shared_ptr<Reply> command(CommInterface& device, const std::string& id, const std::any& data) {
    auto reply = device.syncRequest(std::make_shared<Request>(id, data));
    if (!*reply) {
        throw CommandError(textOf(*reply), reply->resultCode(), reply->errorCode());
    }
    return reply;
}

} // namespace tarn::kit
