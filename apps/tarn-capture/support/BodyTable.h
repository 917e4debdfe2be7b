// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_kit/body/BodyNames.h>

#include <string>

namespace tarn::capture {

/// A line per joint, each ended by a line feed and begun with `margin`: its name, and the segment
/// of the body that it is, what it may be, or why it is none.
std::string bodyTable(const kit::Rig& rig, const kit::BodyMatch& match, const std::string& margin);

/// "25 of 31 joints are segments of the body, 1 is ambiguous"
std::string bodySummary(const kit::BodyMatch& match);

} // namespace tarn::capture
