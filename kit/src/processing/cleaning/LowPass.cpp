// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/processing/cleaning/LowPass.h>

#include <tarn_kit/body/Rotations.h>

#include "processing/cleaning/Butterworth.h"
#include "processing/cleaning/MarkerTable.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <stdexcept>

namespace tarn::kit {

namespace {

/// One pass, there and back.
class ZeroLag {
public:
    explicit ZeroLag(const LowPassOptions& options)
        : order_(orderOf(options)), filter_(order_, cutoffOf(options, order_), options.rate) {}

    std::vector<double> operator()(const std::vector<double>& values) const;

private:
    static int orderOf(const LowPassOptions& options);
    static double cutoffOf(const LowPassOptions& options, int order);
    void pass(std::vector<double>& values) const;

    int order_; ///< of one pass
    Butterworth filter_;
};

int ZeroLag::orderOf(const LowPassOptions& options) {
    constexpr int most = 8;
    const int order = options.perPass ? options.order : options.order / 2;
    if (order < 1 || order > most || (!options.perPass && options.order % 2 != 0)) {
        throw std::invalid_argument(options.perPass ? "the order of a pass has to be from 1 to 8"
                                                    : "the order has to be even and from 2 to 16");
    }
    return order;
}

double ZeroLag::cutoffOf(const LowPassOptions& options, int order) {
    if (!(options.rate > 0) || !std::isfinite(options.rate)) {
        throw std::invalid_argument("the rate has to be greater than 0");
    }
    double cutoff = options.cutoff;
    if (!options.perPass && cutoff > 0 && cutoff < options.rate / 2) {
        // Each pass is to take half of the 3 dB at the cut-off: it is cut off higher up, as the
        // bilinear transform bends frequencies.
        const double raise = std::pow(std::sqrt(2.0) - 1, -1.0 / (2 * order));
        cutoff = std::atan(raise * std::tan(pi * cutoff / options.rate)) * options.rate / pi;
    }
    if (!(cutoff > 0 && cutoff < options.rate / 2)) {
        throw std::invalid_argument("the cut-off has to be between 0 and half the rate");
    }
    return cutoff;
}

void ZeroLag::pass(std::vector<double>& values) const {
    Butterworth::State state = filter_.atRest(values.front());
    for (double& value : values) {
        value = filter_.next(value, state);
    }
}

std::vector<double> ZeroLag::operator()(const std::vector<double>& values) const {
    if (values.size() < 2) {
        return values;
    }
    const std::size_t padding =
        std::min(3 * (static_cast<std::size_t>(order_) + 1), values.size() - 1);
    std::vector<double> padded;
    padded.reserve(values.size() + 2 * padding);
    for (std::size_t i = padding; i > 0; --i) {
        padded.push_back(2 * values.front() - values[i]);
    }
    padded.insert(padded.end(), values.begin(), values.end());
    for (std::size_t i = 1; i <= padding; ++i) {
        padded.push_back(2 * values.back() - values[values.size() - 1 - i]);
    }
    pass(padded);
    std::reverse(padded.begin(), padded.end());
    pass(padded);
    std::reverse(padded.begin(), padded.end());
    const auto first = padded.begin() + static_cast<std::ptrdiff_t>(padding);
    return {first, first + static_cast<std::ptrdiff_t>(values.size())};
}

/// Filters a marker in the frames from `first` to before `end`, in all of which it has a position.
void filterRun(MarkerTable& table, int marker, int first, int end, const ZeroLag& filter) {
    std::array<std::vector<double>, 3> curves;
    for (int frame = first; frame < end; ++frame) {
        const Vector3d position = table.at(frame, marker);
        for (std::size_t axis = 0; axis < 3; ++axis) {
            curves.at(axis).push_back(position[axis]);
        }
    }
    for (std::vector<double>& curve : curves) {
        curve = filter(curve);
    }
    for (int frame = first; frame < end; ++frame) {
        const auto i = static_cast<std::size_t>(frame - first);
        Marker value = table(frame, marker);
        value.position = toSingle(Vector3d{curves[0][i], curves[1][i], curves[2][i]});
        table.set(frame, marker, value);
    }
}

void filterMarker(MarkerTable& table, int marker, const ZeroLag& filter, LowPassed& result) {
    int frame = 0;
    while (frame < table.frameCount()) {
        int end = frame;
        while (end < table.frameCount() && table.has(end, marker)) {
            ++end;
        }
        if (end - frame >= 2) {
            filterRun(table, marker, frame, end, filter);
            result.samples += end - frame;
        } else {
            result.tooShort += end - frame;
        }
        frame = end + 1;
    }
}

} // namespace

std::vector<double> lowPass(const std::vector<double>& values, const LowPassOptions& options) {
    return ZeroLag(options)(values);
}

LowPassed lowPass(const std::shared_ptr<Tracks>& take, const LowPassOptions& options) {
    MarkerTable table(take);
    LowPassOptions known = options;
    known.rate = options.rate > 0 ? options.rate : take->fps();
    const ZeroLag filter(known);
    LowPassed result;
    for (int marker = 0; marker < table.markerCount(); ++marker) {
        if (std::find(options.untouched.begin(), options.untouched.end(), marker) ==
            options.untouched.end()) {
            filterMarker(table, marker, filter, result);
        }
    }
    result.take = table.take();
    return result;
}

} // namespace tarn::kit
