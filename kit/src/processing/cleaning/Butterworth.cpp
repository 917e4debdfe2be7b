// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "processing/cleaning/Butterworth.h"

#include <tarn_kit/body/Rotations.h>

#include <cassert>
#include <cmath>
#include <cstddef>

namespace tarn::kit {

Butterworth::Butterworth(int order, double cutoff, double rate) {
    assert(order >= 1 && cutoff > 0 && cutoff < rate / 2);
    // The transform bends frequencies: the analog filter is cut off where that ends up right.
    const double w = std::tan(pi * cutoff / rate);
    for (int k = 0; k < order / 2; ++k) {
        // s^2 + 2 sin(theta) w s + w^2 with s = (1 - z^-1) / (1 + z^-1)
        const double damping = 2 * std::sin(pi * (2 * k + 1) / (2 * order)) * w;
        const double scale = 1 / (1 + damping + w * w);
        const double b = w * w * scale;
        sections_.push_back({b, 2 * b, b, 2 * (w * w - 1) * scale, (1 - damping + w * w) * scale});
    }
    if (order % 2 == 1) {
        const double scale = 1 / (1 + w);
        sections_.push_back({w * scale, w * scale, 0, (w - 1) * scale, 0});
    }
}

Butterworth::State Butterworth::atRest(double value) const {
    State state;
    for (const Section& section : sections_) { // each passes a constant as it is
        state.push_back((1 - section.b0) * value);
        state.push_back((section.b2 - section.a2) * value);
    }
    return state;
}

double Butterworth::next(double value, State& state) const {
    double* memory = state.data();
    for (const Section& section : sections_) { // direct form II, transposed
        const double out = section.b0 * value + memory[0];
        memory[0] = section.b1 * value - section.a1 * out + memory[1];
        memory[1] = section.b2 * value - section.a2 * out;
        memory += 2;
        value = out;
    }
    return value;
}

double Butterworth::delay() const {
    double frames = 0;
    for (const Section& s : sections_) { // group delay at 0 Hz: of the numerator less the other
        frames += (s.b1 + 2 * s.b2) / (s.b0 + s.b1 + s.b2) - (s.a1 + 2 * s.a2) / (1 + s.a1 + s.a2);
    }
    return frames;
}

} // namespace tarn::kit
