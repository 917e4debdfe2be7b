// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "export/MotionSample.h"
#include "session/Take.h"

#include <string>

namespace tarn::capture {

// The same as the table, as a JSON document: what the take is, its nodes, and a pose per frame.
// docs/formats.md describes it for users.

/// The document up to its first pose.
std::string jsonBegin(const Take& take, const MotionKinds& kinds);

/// A pose; a comma goes between two of them.
std::string jsonPose(const kit::Rig& rig, int frame, double seconds, const MotionSample& sample);

/// The rest of the document.
inline constexpr const char* jsonEnd = "\n]}\n";

} // namespace tarn::capture
