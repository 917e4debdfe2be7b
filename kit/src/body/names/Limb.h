// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "body/names/Claim.h"

#include <tarn_kit/body/BodyNames.h>
#include <tarn_kit/body/Rig.h>

#include <vector>

namespace tarn::kit {

/// The place of a segment in its limb: trunk, arm, leg or finger.
struct LimbPlace {
    int limb;  ///< -1 for a segment of none
    int order; ///< from the trunk, or the hips, outwards
};
LimbPlace limbPlaceOf(EBoneID segment);

/// Whether the segments of a limb are told from each other by the joints around them, since words
/// for them differ from program to program: arms and legs.
bool isSettledAsLimb(EBoneID segment);

/// Decides what the joints of one limb are, of those that make claims on its segments: as many as
/// can be, each another one, in the order in which they hang on each other. Where that leaves
/// several ways, those count that take words at their plain meaning, and of these the ones that
/// leave no joint of the limb out.
std::vector<JointMatch> settledLimb(const std::vector<Claim>& claims, const Rig& rig);

/// Decides what the joints of a chain are whose names give no number: each the next segment after
/// the joint before it. `first` is that of the chain (`BoneSpine`, `BoneNeck`), `numbered` the
/// joints of the chain that are settled already.
std::vector<JointMatch> settledChain(const std::vector<Claim>& claims, EBoneID first,
                                     const std::vector<JointMatch>& numbered, const Rig& rig);

/// Decides on joints that claim one segment, which is theirs alone: it is that of a single one.
std::vector<JointMatch> settledSingle(const std::vector<Claim>& claims);

/// Leaves out what words mean loosely where others mean the same segment.
void dropLooseMeanings(std::vector<Claim>& claims);

} // namespace tarn::kit
