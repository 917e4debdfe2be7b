// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_kit/files/C3d.h>

#include <string>

namespace tarn::capture {

/// All that is to be known of a take of markers, line by line below the name of its file: what it
/// holds and how much each marker was seen; of a C3D file also how its numbers are encoded and what
/// contradicts itself in it. `isStored` is a take in a take file, where frames have another number
/// besides.
std::string describeMarkers(const std::string& file, const kit::C3dTake& take, bool isStored);

/// One line: frames, rate, length, markers and what is in the report.
std::string describeBriefly(const std::string& file, const kit::C3dInfo& take);

} // namespace tarn::capture
