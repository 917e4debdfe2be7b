// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "files/c3d/C3dNumbers.h"

#include <tarn_kit/files/C3d.h>

#include <string>

namespace tarn::kit {

/// The record of a group or a parameter as it is written. Throws `std::invalid_argument` if
/// something does not fit its field.
std::string recordOf(const C3dGroup& group, C3dProcessor processor);
std::string recordOf(const C3dGroup& group, const C3dParameter& parameter, C3dProcessor processor);

/// Makes a record state that the next one is at its end.
void setDistance(std::string& record, C3dProcessor processor);

} // namespace tarn::kit
