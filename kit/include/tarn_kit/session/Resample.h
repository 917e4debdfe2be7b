// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Tracks.h>
#include <tarn_kit/Export.h>
#include <tarn_kit/body/Rig.h>
#include <tarn_kit/session/Rate.h>

#include <any>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <variant>
#include <vector>

namespace tarn::kit {

/// One of several takes that are to be put on one axis of time.
struct ResampleSource {
    /// Its tracks; nested takes are not looked at.
    std::shared_ptr<Tracks> take;
    /// The exact rate of its frames. A frame that is stamped with this rate's `fps()` is at the
    /// moment of its index at this rate, moved by its track's offset; one that is stamped with
    /// another rate keeps that one's.
    Rate rate;
    /// When frame 0 of the take was, on the clock that all sources share.
    Instant start;
};

/// What a track shows at a moment at which it has no frame.
enum class Filling : std::uint8_t {
    Hold,        ///< the frame before; nothing before the first one
    Nearest,     ///< the frame that is nearest in time, of two as near the earlier one
    Interpolate, ///< what lies between its neighbours; nothing before the first and after the last
};

/// Gives what lies between two frames of one data type: the payload at `fraction` of the way from
/// `before` (0) to `after` (1).
using Interpolation =
    std::function<std::any(const Frame& before, const Frame& after, double fraction)>;

/// The moments of all frames of all sources, each once.
struct UnionOfTimes {};
/// The moments of the source with the highest rate, for as long as any of the sources lasts.
struct FastestSource {};
/// A rate, from the first moment of any source to the last one.
using ResampleAxis = std::variant<UnionOfTimes, FastestSource, Rate>;

struct ResampleOptions {
    ResampleAxis axis = FastestSource{};
    Filling filling = Filling::Hold;
    /// By data type, beside or in place of those of the kit's own payloads: bodies (positions
    /// linear, rotations on the shortest way), markers (linear; a marker that either neighbour has
    /// not seen is not seen) and analog samples (linear). Frames of a data type that has none are
    /// held. For poses, see `poseInterpolation`.
    std::map<int, Interpolation> interpolations;
    /// Seconds. Where neighbouring frames are farther apart, frames were lost: moments between them
    /// show nothing. As long as need be, if it is not set.
    std::optional<double> longestGap;
};

/// Takes on one axis of time.
struct ResampledTake {
    /// One nested take per source, in their order, each with the source's tracks in their order, at
    /// offset 0 and of one length. Frames are copies, stamped with their index and the `fps()` of
    /// the axis.
    std::shared_ptr<Tracks> tracks;
    /// Of the axis; nothing for a union of times that are not evenly spaced.
    std::optional<Rate> rate;
    /// When each index is, on the sources' clock.
    std::vector<Instant> moments;
};

/// Puts takes of any rates on one axis. Moments are compared as fractions, so that 1,000 Hz and
/// 120 Hz stay together for as long as one likes; the sources stay as they are.
///
/// Frames at rate 0 have no moment and are left out; of several frames of a track at one moment the
/// last one counts. Throws `std::invalid_argument` for a source without a take, and for an axis of
/// more than 2^31 - 1 moments. What an interpolation throws reaches the caller.
TARN_KIT_EXPORT ResampledTake resample(const std::vector<ResampleSource>& sources,
                                       const ResampleOptions& options = {});

/// The interpolation of `Pose` frames of a rig: each joint's position linear, its rotation on the
/// shortest way, with angles nearest to those before. It keeps a share in the rig.
TARN_KIT_EXPORT Interpolation poseInterpolation(std::shared_ptr<const Rig> rig);

} // namespace tarn::kit
