// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_kit/Export.h>
#include <tarn_kit/files/C3d.h>

#include <string_view>
#include <vector>

namespace tarn::kit {

/// Whether a name says that nobody has said which marker it is: an empty one, one that begins with
/// a "*" or with "unlabel" or "uname", and one of a "U" and digits, with "_" or "-" between or not
/// ("U_12"); in capital letters or small ones.
TARN_KIT_EXPORT bool isUnlabelled(std::string_view name);

/// The markers of a take that have such names: points that come and go, and that cleaning leaves as
/// they are.
TARN_KIT_EXPORT std::vector<int> unlabelledMarkers(const std::vector<C3dMarker>& markers);

} // namespace tarn::kit
