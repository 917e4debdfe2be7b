// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

// How well gaps are filled: gaps are cut out of real takes, filled, and compared with what was
// there. For each length and number of gaps at once, over many seeds: the root of the mean square
// error of a cubic spline, of `fillGaps`, and what part the latter is of the former.
//
// usage: tarn_gap_filling [--seeds N] [--frames LENGTH] FILE.c3d...
#include <tarn_kit/body/Rotations.h>
#include <tarn_kit/files/C3d.h>
#include <tarn_kit/processing/cleaning/GapFilling.h>
#include <tarn_kit/session/TakeOf.h>

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <exception>
#include <memory>
#include <numeric>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace {

namespace kit = tarn::kit;
using kit::Vector3d;
using Curve = std::vector<Vector3d>;

/// The markers of a take that are seen throughout.
struct Sample {
    std::string name;
    double rate = 0;
    std::vector<Curve> markers;
    int frames() const { return static_cast<int>(markers.front().size()); }
};

Sample readSample(const std::string& file) {
    const kit::C3dTake take = kit::readC3d(std::filesystem::path(file));
    Sample sample{take.tracks->tracksName(), take.rate, {}};
    for (std::size_t marker = 0; marker < take.markers.size(); ++marker) {
        Curve curve;
        for (int i = 0; i < take.frameCount; ++i) {
            const auto frame = take.tracks->getFrame(i, kit::markerDataType);
            const kit::Marker& value = frame->dataAs<kit::MarkerFrame>()[marker];
            if (value.hasPosition()) {
                curve.push_back(kit::toDouble(value.position));
            }
        }
        if (static_cast<int>(curve.size()) == take.frameCount) {
            sample.markers.push_back(std::move(curve));
        }
    }
    return sample;
}

/// A gap that is cut out of a marker.
struct Cut {
    std::size_t marker;
    int first;
    int end;
};

std::shared_ptr<tarn::Tracks> takeWithout(const Sample& sample, const std::vector<Cut>& cuts) {
    std::vector<std::shared_ptr<tarn::Frame>> frames;
    for (int i = 0; i < sample.frames(); ++i) {
        std::vector<kit::Marker> markers;
        for (const Curve& curve : sample.markers) {
            markers.push_back(kit::Marker::at(kit::toSingle(curve[static_cast<std::size_t>(i)])));
        }
        for (const Cut& cut : cuts) {
            if (i >= cut.first && i < cut.end) {
                markers[cut.marker] = kit::Marker();
            }
        }
        frames.push_back(std::make_shared<tarn::Frame>(
            tarn::Time(static_cast<unsigned>(i), static_cast<unsigned>(std::lround(sample.rate))),
            kit::markerDataType, kit::MarkerFrame(std::move(markers))));
    }
    return kit::takeOf(kit::markerDataType, std::move(frames),
                       static_cast<int>(std::lround(sample.rate)));
}

/// The natural cubic spline through all that is left of a curve, in the frames of a cut.
Curve splineOver(const Curve& curve, const Cut& cut) {
    std::vector<int> x;
    for (int i = 0; i < static_cast<int>(curve.size()); ++i) {
        if (i < cut.first || i >= cut.end) {
            x.push_back(i);
        }
    }
    const auto y = [&](std::size_t i) { return curve[static_cast<std::size_t>(x[i])]; };
    Curve m(x.size());
    std::vector<double> upper(x.size());
    for (std::size_t i = 1; i + 1 < x.size(); ++i) {
        const double h0 = x[i] - x[i - 1];
        const double h1 = x[i + 1] - x[i];
        const double pivot = 2 * (h0 + h1) - h0 * upper[i - 1];
        upper[i] = h1 / pivot;
        m[i] = (1 / pivot) *
               ((6 / h1) * (y(i + 1) - y(i)) - (6 / h0) * (y(i) - y(i - 1)) - h0 * m[i - 1]);
    }
    for (std::size_t i = x.size() - 1; i-- > 1;) {
        m[i] = m[i] - upper[i] * m[i + 1];
    }
    const auto left = static_cast<std::size_t>(cut.first - 1);
    const double h = x[left + 1] - x[left];
    Curve result;
    for (int frame = cut.first; frame < cut.end; ++frame) {
        const double u = (frame - x[left]) / h;
        const double v = 1 - u;
        result.push_back(v * y(left) + u * y(left + 1) + (h * h / 6) * (v * v * v - v) * m[left] +
                         (h * h / 6) * (u * u * u - u) * m[left + 1]);
    }
    return result;
}

double squared(const Vector3d& v) { return dot(v, v); }

struct Errors {
    double ours = 0; ///< root of the mean square over all that was cut out
    double cubic = 0;
};

Errors errorsOf(const Sample& sample, const std::vector<Cut>& cuts) {
    const kit::GapFilling filling = kit::fillGaps(takeWithout(sample, cuts));
    Errors sum;
    double count = 0;
    for (const Cut& cut : cuts) {
        const Curve& truth = sample.markers[cut.marker];
        const Curve cubic = splineOver(truth, cut);
        for (int i = cut.first; i < cut.end; ++i) {
            const Vector3d& at = truth[static_cast<std::size_t>(i)];
            const auto frame = filling.take->getFrame(i, kit::markerDataType);
            const kit::Marker& filled = frame->dataAs<kit::MarkerFrame>()[cut.marker];
            sum.ours += squared(kit::toDouble(filled.position) - at);
            sum.cubic += squared(cubic[static_cast<std::size_t>(i - cut.first)] - at);
            ++count;
        }
    }
    return {std::sqrt(sum.ours / count), std::sqrt(sum.cubic / count)};
}

enum class Pick { Anywhere, Together };

/// `count` markers: anywhere on the body, or one and those nearest to it.
std::vector<std::size_t> pickMarkers(const Sample& sample, std::size_t count, Pick pick,
                                     std::mt19937& random) {
    std::vector<std::size_t> markers(sample.markers.size());
    std::iota(markers.begin(), markers.end(), 0U);
    std::shuffle(markers.begin(), markers.end(), random);
    if (pick == Pick::Together) {
        const Vector3d centre = sample.markers[markers.front()].front();
        std::sort(markers.begin(), markers.end(), [&](std::size_t a, std::size_t b) {
            return squared(sample.markers[a].front() - centre) <
                   squared(sample.markers[b].front() - centre);
        });
    }
    markers.resize(std::min(count, markers.size()));
    return markers;
}

double medianOf(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

double pooled(const std::vector<double>& values) {
    double sum = 0;
    for (const double value : values) {
        sum += value * value;
    }
    return std::sqrt(sum / static_cast<double>(values.size()));
}

void printRow(const Sample& sample, int length, std::size_t count, Pick pick, int seeds) {
    std::vector<double> ours;
    std::vector<double> cubic;
    std::vector<double> ratios;
    for (int seed = 0; seed < seeds; ++seed) {
        std::mt19937 random(static_cast<unsigned>(seed * 1000 + length));
        std::vector<Cut> cuts;
        constexpr int margin = 10;
        const int last = sample.frames() - length - margin;
        const int first = std::uniform_int_distribution<int>(margin, last)(random);
        for (const std::size_t marker : pickMarkers(sample, count, pick, random)) {
            cuts.push_back({marker, first, first + length});
        }
        const Errors errors = errorsOf(sample, cuts);
        ours.push_back(errors.ours);
        cubic.push_back(errors.cubic);
        ratios.push_back(errors.ours / errors.cubic);
    }
    const double goal = length < 50 ? 1.1 : 1.0 / 3;
    const auto missed =
        std::count_if(ratios.begin(), ratios.end(), [goal](double ratio) { return ratio > goal; });
    fmt::print("| {} | {} | {}{} | {:.2f} | {:.2f} | {:.3f} | {:.2f} | {:.2f} | {:.3f} | {} |\n",
               sample.name, length, count, pick == Pick::Together ? " side by side" : "",
               medianOf(cubic), medianOf(ours), medianOf(ratios), pooled(cubic), pooled(ours),
               pooled(ours) / pooled(cubic), missed);
    std::fflush(stdout);
}

void printTable(const Sample& sample, const std::vector<int>& lengths, int seeds) {
    for (const int length : lengths) {
        for (const std::size_t count : {1U, 3U, 5U, 10U}) {
            printRow(sample, length, count, Pick::Anywhere, seeds);
        }
        printRow(sample, length, 3, Pick::Together, seeds);
    }
}

int run(const std::vector<std::string>& arguments) {
    int seeds = 50;
    std::vector<int> lengths = {10, 50, 100, 200};
    std::vector<std::string> files;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        if (arguments[i] == "--seeds" && i + 1 < arguments.size()) {
            seeds = std::stoi(arguments[++i]);
        } else if (arguments[i] == "--frames" && i + 1 < arguments.size()) {
            lengths = {std::stoi(arguments[++i])};
        } else {
            files.push_back(arguments[i]);
        }
    }
    if (files.empty() || seeds < 1) {
        fmt::print(stderr, "usage: tarn_gap_filling [--seeds N] [--frames LENGTH] FILE.c3d...\n");
        return 2;
    }
    fmt::print("| take | frames | gaps at once | cubic | filled | ratio | cubic, pooled | filled, "
               "pooled | ratio | seeds above the goal, of {} |\n"
               "|---|--:|--:|--:|--:|--:|--:|--:|--:|--:|\n",
               seeds);
    for (const std::string& file : files) {
        printTable(readSample(file), lengths, seeds);
    }
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    try {
        return run({argv + 1, argv + argc});
    } catch (const std::exception& error) {
        fmt::print(stderr, "tarn_gap_filling: {}\n", error.what());
        return 1;
    }
}
