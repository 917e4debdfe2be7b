// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <vector>

namespace tarn::kit {

/// A digital Butterworth low-pass filter for one pass: the analog one, moved to the rate by the
/// bilinear transform, with the cut-off where it is asked for. As a chain of sections of second
/// order, and one of first order where the order is odd, so that high orders at low cut-offs do not
/// suffer from rounding.
class Butterworth {
public:
    /// Precondition: `order` is at least 1, 0 < `cutoff` < `rate` / 2.
    Butterworth(int order, double cutoff, double rate);

    /// What the filter remembers of the values before.
    using State = std::vector<double>;

    /// As if the value had always been `value`.
    State atRest(double value) const;
    /// The next value out for the next one in.
    double next(double value, State& state) const;
    /// How many frames a slow movement comes out later than it went in.
    double delay() const;

private:
    struct Section {
        double b0, b1, b2, a1, a2;
    };

    std::vector<Section> sections_;
};

} // namespace tarn::kit
