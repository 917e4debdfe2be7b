// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Calibrator.h>
#include <tarn/Device.h>
#include <tarn/Export.h>

#include <memory>
#include <string>

namespace tarn {

/// A calibrator of one device. The device is bound as a child: the binding lasts as long as that
/// link, and owns nothing. What is done with it is up to the concrete calibrator.
class TARN_EXPORT DeviceCalibrator : public Calibrator {
public:
    DeviceCalibrator();
    ~DeviceCalibrator() override;
    DeviceCalibrator(const DeviceCalibrator&) = delete;
    DeviceCalibrator& operator=(const DeviceCalibrator&) = delete;

    /// The first child that is a device, or null.
    Device* device();
    /// Unlinks the device found so far, if any, and links `device`; one that is bound already is
    /// unlinked and linked again. Its type is not compared with `deviceType()`. A null device is
    /// linked like any other, and never found.
    void setDevice(Device* device);
    /// The kind of device this calibrator is meant for.
    std::string deviceType() const;

protected:
    void setDeviceType(const std::string& type);

private:
    struct PrivateData;
    std::unique_ptr<PrivateData> d_;
};

} // namespace tarn
