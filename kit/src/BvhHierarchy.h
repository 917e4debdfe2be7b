#pragma once

#include "TextScanner.h"

#include <tarn_kit/Rig.h>

#include <memory>

namespace tarn::kit {

/// Reads the first half of a BVH file, from the word HIERARCHY to the word MOTION.
std::shared_ptr<Rig> readHierarchy(TextScanner& scanner);

} // namespace tarn::kit
