#pragma once

#include <tarn/Tracks.h>
#include <tarn_kit/Export.h>
#include <tarn_kit/ReadError.h>
#include <tarn_kit/Rig.h>

#include <cstddef>
#include <filesystem>
#include <istream>
#include <memory>
#include <string>

namespace tarn::kit {

/// What a BVH file holds.
struct BvhTake {
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
};

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

} // namespace tarn::kit
