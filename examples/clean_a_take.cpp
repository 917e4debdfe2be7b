// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

// Cleans a take of markers: puts labels right, closes gaps, filters, and says what it changed.
//
// usage: clean_a_take IN.c3d OUT.c3d
#include <tarn/OutputFile.h>
#include <tarn_kit/tarn_kit.h>

#include <cstddef>
#include <exception>
#include <iostream>
#include <vector>

using namespace tarn;

int main(int argc, char** argv) {
    if (argc != 3) {
        std::cerr << "usage: clean_a_take IN.c3d OUT.c3d\n";
        return 2;
    }
    try {
        kit::C3dTake take = kit::readC3d(argv[1]);
        const std::vector<int> unlabelled = kit::unlabelledMarkers(take.markers);

        kit::MarkerRepairOptions repairing;
        repairing.untouched = unlabelled;
        const kit::MarkerRepair repair = kit::repairMarkers(take.tracks, repairing);
        std::cout << repair.changes.size() << " swaps and spikes\n";

        kit::GapFillingOptions filling;
        filling.untouched = unlabelled;
        const kit::GapFilling filled = kit::fillGaps(repair.take, filling);
        std::cout << filled.filledSamples() << " samples filled\n";
        for (const kit::MarkerGap& gap : filled.gaps) {
            const auto marker = static_cast<std::size_t>(gap.marker);
            std::cout << take.markers[marker].name << ", " << gap.last - gap.first + 1
                      << " frames: " << (gap.reason.empty() ? "filled" : gap.reason) << "\n";
        }

        kit::LowPassOptions filter;
        filter.cutoff = 12; // Hz, for somebody who jumps
        filter.rate = take.rate;
        const kit::LowPassed smooth = kit::lowPass(filled.take, filter);
        std::cout << smooth.samples << " samples filtered\n";

        take.tracks = smooth.take; // all else is written as it was read
        OutputFile file(argv[2]);
        kit::writeC3d(take, file.stream());
        file.commit();
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
}
