// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Device.h>

#include <any>
#include <memory>
#include <string>

namespace tarn::capture {

/// Gives a device a command and waits for its answer. Throws `std::runtime_error` with the device's
/// own words when it fails.
std::shared_ptr<Reply> command(Device& device, const std::string& id, const std::any& data = {});

} // namespace tarn::capture
