// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "files/c3d/C3dSection.h"

namespace tarn::kit {

/// Brings parameters and groups together that a damaged number keeps apart, and recognises what
/// every file has under a name that is one letter off. What was believed is added to the findings.
void mendParameters(C3dSection& section);

} // namespace tarn::kit
