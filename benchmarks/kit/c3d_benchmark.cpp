// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

// How fast C3D files are read and written. What bounds both is memory. To read, the bytes come from
// the page cache into memory that is new to the process, and so do the markers made of them. To
// write, the markers and the bytes of the source are read, from memory, and compared or encoded; of
// integers the markers are read twice, because the scale that fits has to be known first.
#include "Ratios.h"
#include "kit/SampleTake.h"

#include <tarn_kit/files/C3d.h>

#include <fmt/format.h>

#include <array>
#include <fstream>
#include <memory>
#include <sstream>
#include <streambuf>
#include <string>
#include <vector>

namespace {

namespace kit = tarn::kit;
using tarn_benchmark::Measure;
using tarn_benchmark::repeated;
using tarn_benchmark::TemporaryFile;

constexpr int repetitions = 100; // of the sample: 54 MB of reals

constexpr std::array names = {"Intel real",  "Intel integer", "DEC real",
                              "DEC integer", "MIPS real",     "MIPS integer"};

/// The sample take with its frames so many times over.
kit::C3dTake longTake() {
    kit::C3dTake take = kit::readC3d(std::filesystem::path(TARN_EXAMPLE_DATA "/cmu_85_02.c3d"));
    const int count = take.frameCount * repetitions;
    const auto track = std::make_shared<tarn::Track>(kit::markerDataType);
    track->setFrameCount(count);
    for (int i = 0; i < count; ++i) {
        track->setFrame(i, take.tracks->getFrame(i % take.frameCount, kit::markerDataType));
    }
    take.tracks = std::make_shared<tarn::Tracks>();
    take.tracks->addTrack(track, 0);
    take.tracks->setTimeLength(count);
    return take;
}

std::shared_ptr<TemporaryFile> fileOf(const kit::C3dTake& take, int encoding) {
    kit::C3dWriteOptions options;
    options.encoding = static_cast<kit::C3dEncoding>(encoding);
    std::ostringstream bytes;
    kit::writeC3d(take, bytes, options);
    return std::make_shared<TemporaryFile>(fmt::format("tarn_c3d_benchmark_{}.c3d", encoding),
                                           bytes.str());
}

/// The least that a reader has to do.
void readPlainly(const std::filesystem::path& path) {
    const auto size = static_cast<std::size_t>(std::filesystem::file_size(path));
    const std::unique_ptr<char[]> bytes(new char[size]); // NOLINT(modernize-avoid-c-arrays)
    std::filebuf file;
    file.open(path, std::ios::in | std::ios::binary);
    benchmark::DoNotOptimize(file.sgetn(bytes.get(), static_cast<std::streamsize>(size)));
}

void addReading(std::vector<Measure>& measures, const kit::C3dTake& take) {
    for (std::size_t i = 0; i < names.size(); ++i) {
        const std::shared_ptr<TemporaryFile> file = fileOf(take, static_cast<int>(i));
        const auto size = static_cast<double>(std::filesystem::file_size(file->path()));
        const double nanosecondsPerByte = i == 0 ? 1 : 10.0 / 3; // 1 GB/s, 300 MB/s
        measures.push_back(
            {fmt::format("readC3d, {}, {:.0f} MB, at {:.0f} MB/s", names.at(i), size / 1e6,
                         1000 / nanosecondsPerByte),
             repeated([file] { benchmark::DoNotOptimize(kit::readC3d(file->path())); }),
             size * nanosecondsPerByte,
             std::nullopt,
             std::nullopt,
             {{"the bytes read", repeated([file] { readPlainly(file->path()); })}}});
    }
}

void addInfo(std::vector<Measure>& measures, const kit::C3dTake& take) {
    const std::shared_ptr<TemporaryFile> file = fileOf(take, 0);
    measures.push_back(
        {"readC3dInfo, the same, within 1 ms",
         repeated([file] { benchmark::DoNotOptimize(kit::readC3dInfo(file->path())); }),
         1e6,
         std::nullopt,
         std::nullopt,
         {}});
}

/// Takes bytes and forgets them.
class Nowhere : public std::streambuf {
protected:
    std::streamsize xsputn(const char* bytes, std::streamsize count) override {
        benchmark::DoNotOptimize(bytes);
        return count;
    }
    int_type overflow(int_type c) override { return traits_type::not_eof(c); }
};

/// At least as fast as it can be read: the samples are read once more, and their bytes written.
void addWriting(std::vector<Measure>& measures, const kit::C3dTake& take) {
    const std::shared_ptr<TemporaryFile> file = fileOf(take, 0);
    const auto size = static_cast<double>(std::filesystem::file_size(file->path()));
    const auto read = std::make_shared<const kit::C3dTake>(kit::readC3d(file->path()));
    const auto add = [&](const char* what, std::optional<kit::C3dEncoding> encoding,
                         double nanosecondsPerByte) {
        const auto write = [read, encoding] {
            Nowhere nowhere;
            std::ostream stream(&nowhere);
            kit::writeC3d(*read, stream, {encoding});
        };
        measures.push_back({fmt::format("writeC3d, {}, {:.0f} MB, at {:.0f} MB/s", what, size / 1e6,
                                        1000 / nanosecondsPerByte),
                            repeated(write),
                            size * nanosecondsPerByte,
                            std::nullopt,
                            std::nullopt,
                            {{"the bytes read", repeated([file] { readPlainly(file->path()); })}}});
    };
    constexpr double gigabyte = 1;
    constexpr double third = 10.0 / 3; // 300 MB/s
    add("unchanged", std::nullopt, gigabyte);
    add("Intel real to MIPS real", kit::C3dEncoding::MipsReal, third);
    add("Intel real to Intel integer", kit::C3dEncoding::IntelInteger, third);
}

} // namespace

int main(int argc, char** argv) {
    const kit::C3dTake take = longTake();
    std::vector<Measure> measures;
    addReading(measures, take);
    addInfo(measures, take);
    addWriting(measures, take);
    return tarn_benchmark::compare(argc, argv, measures, {});
}
