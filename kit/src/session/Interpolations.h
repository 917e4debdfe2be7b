// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_kit/session/Resample.h>

#include <map>

namespace tarn::kit {

/// What lies between two frames of each of the kit's payloads, by data type.
const std::map<int, Interpolation>& interpolationsOfTheKit();

} // namespace tarn::kit
