// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "files/c3d/C3dSource.h"

#include <tarn_kit/files/C3d.h>

#include <string>

namespace tarn::kit {

/// Gives groups that were made a number that no other has. Throws `std::invalid_argument` if there
/// is none left.
void numberGroups(C3dParameters& parameters);

/// All records, in the order of the source, and the end of them, with the header of the section
/// before them. What says the same as in the source keeps its bytes; without a source all is new.
/// Throws `std::invalid_argument` if they take more blocks than a file can have.
std::string sectionBytes(const C3dParameters& parameters, C3dProcessor processor,
                         const C3dSource* source);

} // namespace tarn::kit
