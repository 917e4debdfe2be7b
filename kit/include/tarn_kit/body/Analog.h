// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_kit/Export.h>
#include <tarn_kit/body/SharedArray.h>

namespace tarn::kit {

/// One sample of every analog channel of a take (force plates, muscles, triggers): one value per
/// channel, in the channel's unit, in the order in which whoever produces them names the channels.
/// It is the payload of frames of the data type `analogDataType`. A light value: copies share the
/// samples, which never change.
class TARN_KIT_EXPORT AnalogFrame : public SharedArray<float> {
public:
    using SharedArray::SharedArray;
};

/// The data type of frames whose payload is an `AnalogFrame`.
inline constexpr int analogDataType = 4;

} // namespace tarn::kit
