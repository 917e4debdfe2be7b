// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

// What a fuzzer feeds the C3D reader. Bytes that it accepts have to be written back as they are,
// and in another encoding to something that reads again.

#include <tarn_kit/files/C3d.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <stdexcept>
#include <string>

namespace {

namespace kit = tarn::kit;

kit::C3dTake read(const std::string& bytes, kit::C3dMode mode) {
    kit::C3dOptions options;
    options.mode = mode;
    std::istringstream stream(bytes);
    return kit::readC3d(stream, options);
}

void expect(bool condition, const char* what) {
    if (!condition) {
        std::fprintf(stderr, "%s\n", what);
        std::abort();
    }
}

/// What does not fit into another encoding is refused before anything is written.
void convert(const kit::C3dTake& take, kit::C3dEncoding encoding) {
    kit::C3dWriteOptions options;
    options.encoding = encoding;
    std::ostringstream converted;
    try {
        kit::writeC3d(take, converted, options);
    } catch (const std::invalid_argument&) {
        expect(converted.str().empty(), "refused after something was written");
        return;
    }
    const kit::C3dTake again = read(converted.str(), kit::C3dMode::Lenient);
    expect(again.markers.size() == take.markers.size(), "the markers are lost on the way");
}

void readAndWrite(const std::string& bytes) {
    try {
        const kit::C3dTake take = read(bytes, kit::C3dMode::Explain);
        std::ostringstream same;
        kit::writeC3d(take, same);
        expect(same.str() == bytes, "what was not changed is written otherwise");
        convert(take, static_cast<kit::C3dEncoding>(bytes.size() % 6));
    } catch (const kit::ReadError& error) {
        expect(error.offset().value_or(0) <= bytes.size(), error.what());
    }
    try {
        read(bytes, kit::C3dMode::Strict);
    } catch (const kit::ReadError& error) {
        expect(error.offset().value_or(0) <= bytes.size(), error.what());
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    readAndWrite(std::string(data, data + size));
    return 0;
}
