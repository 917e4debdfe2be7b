// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn/DeviceCalibrator.h>

#include "processing/BoundChild.h"

namespace tarn {

struct DeviceCalibrator::PrivateData {
    std::string deviceType;
};

DeviceCalibrator::DeviceCalibrator() : d_(std::make_unique<PrivateData>()) {}

DeviceCalibrator::~DeviceCalibrator() = default;

Device* DeviceCalibrator::device() { return typedChild<Device>(*this); }

void DeviceCalibrator::setDevice(Device* device) { bindChild(*this, device); }

std::string DeviceCalibrator::deviceType() const { return d_->deviceType; }

void DeviceCalibrator::setDeviceType(const std::string& type) { d_->deviceType = type; }

} // namespace tarn
