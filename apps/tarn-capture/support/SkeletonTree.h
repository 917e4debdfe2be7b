// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_kit/body/Rig.h>

#include <string>

namespace tarn::capture {

/// The nodes of a rig, one line each that starts with `margin`, children indented below their
/// parents, with the channels of each joint in the order in which the file lists them. From 40
/// levels on the level is written as a number instead, so that the text of a long chain grows with
/// its length, not with its square.
std::string skeletonTree(const kit::Rig& rig, const std::string& margin);

} // namespace tarn::capture
