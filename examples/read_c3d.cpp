// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

// Reads a C3D file, goes through its markers, and writes it back.
//
// usage: read_c3d IN.c3d OUT.c3d
#include <tarn/OutputFile.h>
#include <tarn_kit/files/C3d.h>

#include <exception>
#include <iostream>

using namespace tarn;

int main(int argc, char** argv) {
    if (argc != 3) {
        std::cerr << "usage: read_c3d IN.c3d OUT.c3d\n";
        return 2;
    }
    try {
        const kit::C3dTake take = kit::readC3d(argv[1]);
        for (const kit::C3dFinding& finding : take.report) {
            std::cerr << to_string(finding) << "\n"; // where, what was stated, believed, and why
        }

        std::cout << take.markers.size() << " markers in frames " << take.firstFrame << " to "
                  << take.firstFrame + take.frameCount - 1 << ", " << take.rate << " per second\n";
        int seen = 0;
        Vector3f highest;
        for (int i = 0; i < take.frameCount; ++i) {
            const auto frame = take.tracks->getFrame(i, kit::markerDataType);
            for (const kit::Marker& marker : frame->dataAs<kit::MarkerFrame>()) {
                if (marker.hasPosition()) { // in take.unit, in the axes of the file
                    ++seen;
                    highest = marker.position.z > highest.z ? marker.position : highest;
                }
            }
        }
        std::cout << seen << " positions, up to " << highest.z << " " << take.unit << " high\n";

        OutputFile file(argv[2]);
        kit::writeC3d(take, file.stream()); // the same bytes, since nothing was changed
        file.commit();
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
}
