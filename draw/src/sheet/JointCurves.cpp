// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_draw/sheet/JointCurves.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>

namespace tarn::draw {

namespace {

constexpr float nowhere = std::numeric_limits<float>::quiet_NaN();

/// Where each joint is, frame by frame.
std::vector<std::vector<Vector3f>> pathsOf(const Subject& subject,
                                           const std::vector<TrackedJoint>& joints, int frames) {
    std::vector<std::vector<Vector3f>> paths(joints.size());
    for (int frame = 0; frame < frames; ++frame) {
        const std::vector<Vector3f> body = positionsAt(subject, frame);
        for (std::size_t i = 0; i < joints.size(); ++i) {
            paths[i].push_back(body.empty() ? Vector3f{nowhere, nowhere, nowhere}
                                            : body[joints[i].node]);
        }
    }
    return paths;
}

double distance(const Vector3f& a, const Vector3f& b) {
    return std::hypot(static_cast<double>(a.x) - static_cast<double>(b.x),
                      static_cast<double>(a.y) - static_cast<double>(b.y),
                      static_cast<double>(a.z) - static_cast<double>(b.z));
}

std::vector<double> heightsOf(const std::vector<Vector3f>& path) {
    std::vector<double> heights;
    heights.reserve(path.size());
    for (const Vector3f& at : path) {
        heights.push_back(static_cast<double>(at.y));
    }
    return heights;
}

std::vector<double> speedsOf(const std::vector<Vector3f>& path, double rate) {
    constexpr std::size_t reach = 2;
    std::vector<double> speeds;
    speeds.reserve(path.size());
    for (std::size_t i = 0; i < path.size(); ++i) {
        const std::size_t from = i < reach ? 0 : i - reach;
        const std::size_t to = std::min(i + reach, path.size() - 1);
        const double seconds = static_cast<double>(to - from) / rate; // 0 / 0 is not a number
        speeds.push_back(distance(path[from], path[to]) / seconds);
    }
    return speeds;
}

} // namespace

JointCurves jointCurvesOf(const Subject& subject, int frames, double rate) {
    JointCurves curves{trackedJoints(*subject.rig), {}, {}};
    const auto paths = pathsOf(subject, curves.joints, frames);
    for (std::size_t i = 0; i < paths.size(); ++i) {
        curves.heights.push_back({heightsOf(paths[i]), curves.joints[i].style});
        curves.speeds.push_back({speedsOf(paths[i], rate), curves.joints[i].style});
    }
    return curves;
}

} // namespace tarn::draw
