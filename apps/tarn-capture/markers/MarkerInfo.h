// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_kit/files/C3d.h>

#include <string>

namespace tarn::capture {

/// All that is to be known of a take of markers, line by line below the name of its file: what it
/// holds, how much each marker was seen, and what contradicts itself in the file.
std::string describeMarkers(const std::string& file, const kit::C3dTake& take);

/// One line: frames, rate, length, markers and what is in the report.
std::string describeBriefly(const std::string& file, const kit::C3dInfo& take);

} // namespace tarn::capture
