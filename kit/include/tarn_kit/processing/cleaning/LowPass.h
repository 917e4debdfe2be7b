// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Tracks.h>
#include <tarn_kit/Export.h>

#include <memory>
#include <vector>

namespace tarn::kit {

/// A Butterworth low-pass filter that runs over a curve forwards and then backwards, so that
/// nothing comes later than it was (zero lag). The numbers are those of both passes together:
/// "fourth order at 6 Hz" are two passes of second order, and a wave of 6 Hz comes out at 1/sqrt(2)
/// of its height (-3 dB).
struct LowPassOptions {
    double cutoff = 6; ///< Hz
    int order = 4;     ///< even, from 2 to 16
    /// Frames per second; 0 takes that of the take.
    double rate = 0;
    /// Takes `order` and `cutoff` for those of each pass, as programs do that run a filter twice
    /// and leave it at that: what comes out is of twice the order, and a wave at the cut-off has
    /// half its height (-6 dB). The order may then be odd, too, and from 1 to 8.
    bool perPass = false;
    /// Markers that are left as they are.
    std::vector<int> untouched;
};

/// A curve of evenly spaced values, filtered. Each end is continued by its reflection in the end
/// point, over three times as many values as a pass has coefficients (or as there are), and each
/// pass begins at rest there: as in textbooks. A value that is not finite spoils the curve.
///
/// Throws `std::invalid_argument` for an order that is not offered, no rate, and a cut-off that is
/// not between 0 and half the rate.
TARN_KIT_EXPORT std::vector<double> lowPass(const std::vector<double>& values,
                                            const LowPassOptions& options);

struct LowPassed {
    /// The take with filtered positions; all else is shared with the original.
    std::shared_ptr<Tracks> take;
    int samples = 0; ///< markers that were filtered, each in each frame
    /// Markers that had a position in fewer frames in a row than it takes to filter (two); they
    /// stay as they are.
    int tooShort = 0;
};

/// Filters the positions in the first track of markers of a take. Every run of frames in which a
/// marker has positions, seen or filled, is a curve of its own: nothing is smeared across a gap,
/// and none is closed. What else is known of a marker stays as it was.
///
/// Any thread; the take is only read. Throws as the other form, and as `fillGaps`.
TARN_KIT_EXPORT LowPassed lowPass(const std::shared_ptr<Tracks>& take,
                                  const LowPassOptions& options = {});

} // namespace tarn::kit
