// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_kit/Export.h>
#include <tarn_kit/session/PerformerTake.h>

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <vector>

namespace tarn::kit {

/// How a glTF file is stored.
enum class GltfForm : std::uint8_t {
    Binary, ///< .glb: one file of bytes
    Text,   ///< .gltf: JSON, with the numbers inside as base64
};

struct GltfOptions {
    GltfForm form = GltfForm::Binary;
    /// Whether each performer gets a skinned mesh of its bones. Common programs take joints for
    /// bones only where a mesh is bound to them.
    bool mesh = true;
    /// How far joints may be off, in metres, so that fewer keys are needed; 0 keeps a key for each
    /// frame in which something moves.
    double tolerance = 0;
};

/// What was written.
struct GltfReport {
    std::size_t frames = 0; ///< that have a body, of all performers together
    std::size_t keys = 0;   ///< of all curves together
    /// The farthest that a joint or end site is from where the take has it, at any frame, in
    /// metres: by the numbers in the file, as its readers interpolate them.
    double largestError = 0;
};

/// Writes performers as a glTF 2.0 file: for each one a node of its name, below it a node per joint
/// and end site, and one animation in which all of them move. Lengths are in metres, Y is up, axes
/// are right-handed, whatever unit and axes the rigs have (`metresPerUnit`).
///
/// Nodes keep the names of joints in full. Several performers have theirs before them,
/// "anna:Hips"; names that are there already get "_2", "_3" and so on. Bytes that are no UTF-8 are
/// replaced. A node rests where no joint turns. Joints whose distance to their parent changes have
/// a curve of translations; all that ever turn have one of rotations, of unit length, whose sign
/// does not jump. What stays the same has a single key. Keys lie at the exact times of frames,
/// rounded once; of frames that the take lacks there are none, and readers go straight across.
/// `extras` of a performer's node say where it comes from, its rate, first timecode, unit and axis.
///
/// Throws `std::invalid_argument`, before anything is written, if that cannot be: for no
/// performers, one without a rig, joints or a take, or with more than 65,535 joints and end sites;
/// a value that is not finite; frames so many and so dense that
/// single precision cannot tell their times apart; a tolerance that is negative or no number; more
/// than 4 GiB. A stream that fails is left in that state.
TARN_KIT_EXPORT GltfReport writeGltf(const std::vector<PerformerTake>& performers,
                                     std::ostream& stream, const GltfOptions& options = {});

} // namespace tarn::kit
