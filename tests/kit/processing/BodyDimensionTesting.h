// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "kit/body/BodyTesting.h"

#include <tarn/Timeline.h>
#include <tarn_kit/processing/BodyDimensionCalibrator.h>

#include <array>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

/// What the tests of the body dimension calibrator have in common.
namespace body_dimension_testing {

using namespace body_testing;
using tarn::Calibrator;
using tarn::Timeline;
using tarn::kit::BodyDimensionCalibrator;

/// What a calibrator announces from now on, in order: "begin", "end", and progress with two digits.
class Announced {
public:
    explicit Announced(Calibrator& calibrator)
        : begin_(calibrator.onBegin().connect([this] { all_.emplace_back("begin"); })),
          end_(calibrator.onEnd().connect([this] { all_.emplace_back("end"); })),
          progress_(calibrator.onProgress().connect([this](float progress) {
              std::array<char, 32> text = {};
              std::snprintf(text.data(), text.size(), "%.2f", static_cast<double>(progress));
              all_.emplace_back(text.data());
          })) {}
    const std::vector<std::string>& all() const { return all_; }

private:
    std::vector<std::string> all_;
    tsignal::ScopedConnection begin_;
    tsignal::ScopedConnection end_;
    tsignal::ScopedConnection progress_;
};

/// A calibrator with a solver of the small rig.
struct Bench {
    explicit Bench(int frameCount) : calibrator("dimensions", frameCount) {
        calibrator.setSolver(&solver);
    }
    Bench(const Bench&) = delete;
    Bench& operator=(const Bench&) = delete;
    ~Bench() { calibrator.removeChild(&solver); }

    void solve(unsigned index, const Values& values = {0, 0, 0, 0, 0}) {
        solver.addInput(poseFrame(index, values));
        EXPECT_TRUE(solver.evaluate());
    }
    void flush(unsigned index) {
        calibrator.flushFrame(std::make_shared<Timeline>(Time(index, 100)));
    }
    /// Both.
    void give(unsigned index, const Values& values = {0, 0, 0, 0, 0}) {
        solve(index, values);
        flush(index);
    }

    ForwardKinematicsSolver solver{"solver", smallRig()};
    BodyDimensionCalibrator calibrator;
};

} // namespace body_dimension_testing
