// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "files/TextScanner.h"

#include <tarn_kit/body/Rig.h>

#include <memory>

namespace tarn::kit {

/// Reads the first half of a BVH file, from the word HIERARCHY to the word MOTION.
std::shared_ptr<Rig> readHierarchy(TextScanner& scanner);

} // namespace tarn::kit
