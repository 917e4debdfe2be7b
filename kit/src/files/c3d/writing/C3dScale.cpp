// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "files/c3d/writing/C3dScale.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace tarn::kit {

namespace {

/// The largest distance from the origin along an axis, and the largest residual.
struct Extent {
    double place = 0;
    double residual = 0;
};

Extent extentOf(const C3dSamples& samples) {
    Extent extent;
    const auto grow = [](double& most, float value) {
        const double size = std::abs(static_cast<double>(value));
        most = std::isfinite(size) ? std::max(most, size) : most;
    };
    for (int i = 0; i < samples.frames; ++i) {
        for (const Marker& marker : samples.markers(i)) {
            if (marker.hasPosition()) {
                grow(extent.place, marker.position.x);
                grow(extent.place, marker.position.y);
                grow(extent.place, marker.position.z);
                grow(extent.residual, marker.residual);
            }
        }
    }
    return extent;
}

} // namespace

double chooseScale(const C3dTake& take, const C3dSamples& samples, bool real) {
    const bool given = std::isfinite(take.scale) && take.scale > 0;
    if (given && real) {
        return take.scale;
    }
    constexpr double steps = 32767;
    const Extent extent = extentOf(samples);
    if (given && extent.place < (steps + 1.5) * take.scale) { // down to -32768
        return take.scale;
    }
    const double scale = std::max(extent.place / steps, given ? 0 : extent.residual / 255);
    if (scale == 0) {
        return given ? take.scale : 1;
    }
    return static_cast<double>(
        std::nextafter(static_cast<float>(scale), std::numeric_limits<float>::max()));
}

bool fitsInteger(float sample, const C3dChannel& channel, bool isUnsigned) {
    const auto value = static_cast<double>(sample);
    if (channel.scale == 0) {
        return value == 0;
    }
    const double stored = value / channel.scale + channel.offset;
    const double least = isUnsigned ? -0.5 : -32768.5;
    const double most = isUnsigned ? 65535.5 : 32767.5;
    return stored > least && stored < most && std::abs(stored - std::rint(stored)) <= 0.01;
}

C3dChannel rescaled(const C3dSamples& samples, std::size_t index, C3dChannel channel) {
    double most = 0;
    for (int i = 0; i < samples.samples; ++i) {
        const double size = std::abs(static_cast<double>(samples.analog(i)[index]));
        most = std::isfinite(size) ? std::max(most, size) : most;
    }
    const auto scale = static_cast<float>(most / 32767);
    channel.scale =
        most == 0 ? 1
                  : static_cast<double>(std::nextafter(scale, std::numeric_limits<float>::max()));
    channel.offset = 0;
    return channel;
}

} // namespace tarn::kit
