// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "takes/MarkerSource.h"

#include <filesystem>
#include <string>
#include <vector>

namespace tarn::capture {

/// The measured markers of the performers of a session.xml or a solve.xml whose bodies were fitted
/// to markers: each one's own, in the axes of the body and with how far they are off that. A take
/// that is no longer where it was adds a note instead. Throws `std::runtime_error` for a document
/// that cannot be read, or says of lengths and axes what cannot be.
std::vector<MarkerSource> measuredMarkersOf(const std::filesystem::path& document,
                                            std::vector<std::string>& notes);

} // namespace tarn::capture
