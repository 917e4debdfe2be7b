#include <tarn_kit/Bvh.h>
#include <tarn_kit/ForwardKinematics.h>

#include <benchmark/benchmark.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>

// How fast BVH files are read, and how fast their poses become positions.

namespace {

namespace fs = std::filesystem;

constexpr const char* samplePath = TARN_EXAMPLE_DATA "/cmu_131_01_walk.bvh";
constexpr int sampleFrames = 994;

std::string sampleText() {
    std::ifstream file(samplePath, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    if (!file) {
        throw std::runtime_error(std::string("cannot read ") + samplePath);
    }
    return text.str();
}

/// The sample with its rows so many times over.
std::string repeatedSample(int times) {
    const std::string sample = sampleText();
    const std::string label = "Frames: ";
    const std::size_t count = sample.find(label) + label.size();
    const std::size_t rows = sample.find('\n', sample.find("Frame Time:")) + 1;
    std::string text = sample.substr(0, count) + std::to_string(sampleFrames * times);
    text += sample.substr(sample.find('\n', count), rows - sample.find('\n', count));
    for (int i = 0; i < times; ++i) {
        text += sample.substr(rows);
    }
    return text;
}

/// A text in a file for as long as a benchmark runs.
class TemporaryFile {
public:
    explicit TemporaryFile(const std::string& text)
        : path_(fs::temp_directory_path() / "tarn_bvh_benchmark.bvh") {
        std::ofstream(path_, std::ios::binary) << text;
    }
    ~TemporaryFile() { fs::remove(path_); }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    const fs::path& path() const { return path_; }

private:
    fs::path path_;
};

/// Reads the sample, its rows repeated as often as the argument says, from a file.
void readFile(benchmark::State& state) {
    const std::string text = repeatedSample(static_cast<int>(state.range(0)));
    const TemporaryFile file(text);
    for ([[maybe_unused]] const auto iteration : state) {
        benchmark::DoNotOptimize(tarn::kit::readBvh(file.path()));
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}
BENCHMARK(readFile)->Arg(1)->Arg(70)->Unit(benchmark::kMillisecond);

/// The same from a stream over memory.
void readStream(benchmark::State& state) {
    const std::string text = repeatedSample(static_cast<int>(state.range(0)));
    for ([[maybe_unused]] const auto iteration : state) {
        std::istringstream stream(text);
        benchmark::DoNotOptimize(tarn::kit::readBvh(stream));
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}
BENCHMARK(readStream)->Arg(1)->Arg(70)->Unit(benchmark::kMillisecond);

/// Positions of the 38 joints and end sites of one pose.
void positionsOfAPose(benchmark::State& state) {
    const tarn::kit::BvhTake take = tarn::kit::readBvh(samplePath);
    int frame = 0;
    for ([[maybe_unused]] const auto iteration : state) {
        const auto sample = take.tracks->getFrame(frame, tarn::kit::poseDataType);
        benchmark::DoNotOptimize(
            tarn::kit::worldPositions(*take.rig, sample->dataAs<tarn::kit::Pose>()));
        frame = (frame + 1) % take.tracks->timeLength();
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(positionsOfAPose)->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
