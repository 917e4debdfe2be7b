// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Tracks.h>
#include <tarn_kit/Export.h>
#include <tarn_kit/body/Rig.h>
#include <tarn_kit/files/ReadError.h>
#include <tarn_kit/session/Rate.h>

#include <cstddef>
#include <filesystem>
#include <istream>
#include <memory>
#include <ostream>
#include <string>

namespace tarn::kit {

/// What a BVH file holds.
struct TARN_KIT_EXPORT BvhTake {
    /// Its unit and the axis that is up are guessed (`guessSpace`): files do not state them.
    std::shared_ptr<Rig> rig;
    /// One track of the data type `poseDataType` at offset 0, with a `Pose` of `rig` in every slot.
    /// Frame i is stamped `Time(i, rate)`; rate, length, frame count, times and work range are set,
    /// the current time is 0 and the name is that of the source without directory and extension.
    std::shared_ptr<Tracks> tracks;
    /// Seconds from frame to frame, as the file states them.
    double frameTime = 0;
    /// Whether the frame rate is not whole and was rounded: 1 / `frameTime` is off the take's rate
    /// by more than the few digits explain to which frame times are commonly written (1 part in
    /// 10,000).
    bool rateRounded = false;

    /// The rate that the frame time means, as an exact fraction: 30000/1001 for 0.0333667. It is
    /// what times of frames are to be told by. Precondition: the frame time is one that files may
    /// have.
    Rate exactRate() const { return Rate::fromFrameTime(frameTime); }
};

/// A take of solved bodies (frames of `bodyDataType`, by frame index) as a motion file holds it,
/// at its exact rate: `poseOf` each, with the angles nearest to those of the frame before, so that
/// channels do not jump while the body does not. Motion files have no word for a frame that was
/// lost: the body stays as it was before it or, at the beginning, as it will be; without any body
/// there are no frames. A recording of a `Performer` is such a take.
///
/// Throws `std::invalid_argument` for a body of another rig, and as `poseOf` does. Precondition:
/// neither pointer is null.
TARN_KIT_EXPORT BvhTake bvhTakeOf(std::shared_ptr<Rig> rig, const std::shared_ptr<Tracks>& bodies,
                                  const Rate& rate);

/// The same take with all lengths, those of the rig and those of its motion, multiplied by
/// `factor`. What the rig's space says stays. Precondition: `factor` is finite and greater than 0;
/// there is a pose of the rig in every slot.
TARN_KIT_EXPORT BvhTake scaledTake(const BvhTake& take, double factor);

/// A file with more joints and end sites than this is refused: no body has them, and each costs the
/// host some kilobyte, far more than the few bytes that claim it in a file.
inline constexpr std::size_t bvhMaxNodes = 10'000;

/// A file with a joint name of more bytes than this is refused: every end site repeats its
/// parent's.
inline constexpr std::size_t bvhMaxNameLength = 1'000;

/// Reads a BVH file (text: a hierarchy of joints, then one line of channel values per frame).
///
/// Accepts what real files hold: any order of channels, any order of rotations per joint, position
/// channels on any joint, several roots, no frames, any mix of line ends, tabs and blanks,
/// scientific notation, blanks in names, blank lines, a missing final newline, a leading byte-order
/// mark.
///
/// Throws `ReadError` with the place and what was expected there when the file cannot be read or is
/// broken. Memory is bounded by the size of the file, whatever its header claims.
TARN_KIT_EXPORT BvhTake readBvh(const std::filesystem::path& file);

/// The same from a stream, read to its end; `name` stands for the file in errors and names the
/// take.
TARN_KIT_EXPORT BvhTake readBvh(std::istream& stream, const std::string& name = "stream");

/// Writes a take as a BVH file, such that `readBvh` gives back the same: nodes with their names,
/// offsets and channels, frame time, and every value of every pose, each with the fewest digits
/// that read back to it. The poses are those that the take shows from frame index 0 to its length.
/// A rig whose joints are not each followed by all that is below them reads back in that order.
/// Memory does not grow with the length.
///
/// Throws `std::invalid_argument`, before anything is written, if that cannot be: for a take
/// without a rig, tracks or a frame time that the reader accepts (from 0.000001 to 2 seconds), a
/// rig without nodes or with more than `bvhMaxNodes`, frames of a rig without channels, an index
/// that shows no pose or one that does not fit the rig, a value that is not finite, or a joint name
/// that cannot be read back: an empty one, a longer one than `bvhMaxNameLength`, one with a line
/// end or `{` in it, or with blanks around it. A stream that fails is left in that state.
TARN_KIT_EXPORT void writeBvh(const BvhTake& take, std::ostream& stream);

} // namespace tarn::kit
