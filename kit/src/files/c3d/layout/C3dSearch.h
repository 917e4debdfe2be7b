// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "files/c3d/C3dJudge.h"
#include "files/c3d/C3dSection.h"

#include <cstdint>
#include <string_view>

namespace tarn::kit {

/// Finds the parameters of a file: where its first byte says, or where there are some, in the order
/// of bytes that they state, or in the one in which they make sense. A section that starts at 0
/// says that there are none. Fails if there is no C3D file at all.
C3dSection findSection(std::string_view bytes, std::uint64_t fileSize, C3dJudge& judge);

} // namespace tarn::kit
