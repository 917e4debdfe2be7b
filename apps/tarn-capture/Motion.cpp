#include "Motion.h"

#include <fmt/format.h>
#include <tarn_kit/ForwardKinematics.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <utility>

namespace tarn::capture {

namespace {

using Positions = std::vector<Vector3f>;

double lowestPoint(const Positions& positions) {
    double lowest = std::numeric_limits<double>::infinity();
    for (const Vector3f& at : positions) {
        lowest = std::isfinite(at.y) ? std::min(lowest, static_cast<double>(at.y)) : lowest;
    }
    return lowest;
}

/// A median leaves jumps and stray frames out.
double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return std::isfinite(*middle) ? *middle : 0;
}

/// Positions 0 to `count` - 1 of which at most `wanted` are kept, evenly spaced, both ends
/// included.
std::vector<std::size_t> evenlySpaced(std::size_t count, std::size_t wanted) {
    std::vector<std::size_t> kept;
    const std::size_t last = std::min(count, wanted) - 1;
    for (std::size_t i = 0; i <= last; ++i) {
        kept.push_back(last == 0 ? 0 : (i * (count - 1) + last / 2) / last);
    }
    return kept;
}

Motion restMotion(const Take& take) {
    Positions positions = kit::worldPositions(take.rig(), take.restPose());
    Motion motion;
    motion.rootPath.push_back(positions.front());
    motion.ground = median({lowestPoint(positions)});
    motion.instants.push_back({-1, 0, std::move(positions)});
    return motion;
}

} // namespace

std::string captionOf(const Instant& instant) {
    return instant.frame < 0 ? "rest pose: the take has no frames"
                             : fmt::format("frame {}, {:.3f} s", instant.frame, instant.seconds);
}

Motion summarize(const Take& take, const std::vector<Recorder::Shown>& shown, int instantCount) {
    if (shown.empty()) {
        return restMotion(take);
    }
    const auto positionsOf = [&take](const Recorder::Shown& at) {
        return kit::worldPositions(take.rig(), at.data->dataAs<kit::Pose>());
    };
    Motion motion;
    std::vector<double> lowest;
    for (const Recorder::Shown& at : shown) {
        const Positions positions = positionsOf(at);
        motion.rootPath.push_back(positions.front());
        lowest.push_back(lowestPoint(positions));
    }
    motion.ground = median(std::move(lowest));
    for (const std::size_t i : evenlySpaced(shown.size(), static_cast<std::size_t>(instantCount))) {
        motion.instants.push_back(
            {shown[i].frame, take.secondsAt(shown[i].frame), positionsOf(shown[i])});
    }
    return motion;
}

} // namespace tarn::capture
