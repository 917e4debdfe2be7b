// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/BoneID.h>

#include <cstdint>
#include <string>
#include <vector>

namespace tarn::kit {

/// How much a word means the segment that it names.
enum class Meant : std::uint8_t {
    Plainly, ///< the word means nothing else, or its other meanings are as likely
    Instead, ///< it means this where another joint has its plain meaning: a hand below a wrist
    Loosely, ///< it means this unless another joint means it: the root, where there are no hips
    InOrder, ///< it means some segment of a chain, counted from the one that is given
};

/// A segment that the name of a joint may stand for.
struct Option {
    EBoneID segment;
    Meant meant;
};

/// What a joint may be.
struct Claim {
    int node;
    std::string name; ///< as the rig has it, for reasons
    std::vector<Option> options;
    std::string reason; ///< why there are no options
};

} // namespace tarn::kit
