// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

// What the kit reads from a C3D file, as text for a second reader to compare:
//   c3d_tool dump FILE
// What it writes, for the second reader to read:
//   c3d_tool write IN OUT [ENCODING]      ENCODING counts from 0, as `C3dEncoding` does

#include <tarn_kit/files/C3d.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

namespace {

namespace kit = tarn::kit;

void dump(const kit::C3dTake& take) {
    std::printf("rate %a\nfirst %lld\nunit %s\nframes %d\n", take.rate,
                static_cast<long long>(take.firstFrame), take.unit.c_str(), take.frameCount);
    for (const kit::C3dMarker& marker : take.markers) {
        std::printf("marker %s\n", marker.label().c_str());
    }
    for (const kit::C3dChannel& channel : take.channels) {
        std::printf("channel %s\n", channel.name.c_str());
    }
    for (int i = 0; i < take.frameCount; ++i) {
        const auto frame = take.tracks->getFrame(i, kit::markerDataType);
        for (const kit::Marker& marker : frame->dataAs<kit::MarkerFrame>()) {
            if (marker.hasPosition()) {
                std::printf("%a %a %a %a %d\n", static_cast<double>(marker.position.x),
                            static_cast<double>(marker.position.y),
                            static_cast<double>(marker.position.z),
                            static_cast<double>(marker.residual), marker.cameras);
            } else {
                std::puts("-");
            }
        }
    }
    for (int i = 0; take.analogTracks != nullptr && i < take.analogTracks->timeLength(); ++i) {
        const auto frame = take.analogTracks->getFrame(i, kit::analogDataType);
        for (const float sample : frame->dataAs<kit::AnalogFrame>()) {
            std::printf("%a\n", static_cast<double>(sample));
        }
    }
}

void write(const kit::C3dTake& take, const std::vector<std::string>& arguments) {
    kit::C3dWriteOptions options;
    if (arguments.size() > 3) {
        options.encoding = static_cast<kit::C3dEncoding>(std::stoi(arguments[3]));
    }
    std::ofstream file(arguments[2], std::ios::binary);
    kit::writeC3d(take, file, options);
    file.close();
    if (!file) {
        std::fprintf(stderr, "cannot write %s\n", arguments[2].c_str());
        std::exit(1);
    }
}

} // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    if (arguments.size() == 2 && arguments[0] == "dump") {
        dump(kit::readC3d(std::filesystem::path(arguments[1])));
    } else if (arguments.size() >= 3 && arguments[0] == "write") {
        write(kit::readC3d(std::filesystem::path(arguments[1])), arguments);
    } else {
        return 2;
    }
    return 0;
}
