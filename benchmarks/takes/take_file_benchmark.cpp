// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

// What it costs to record a take into a file and to find one's way in a long one, against what a
// capture can spare.
#include "Ratios.h"

#include <fmt/format.h>
#include <tarn_kit/files/Bvh.h>
#include <tarn_store/tarn_store.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

namespace fs = std::filesystem;
using tarn_benchmark::Fact;
using Port = tsignal::Signal<std::shared_ptr<tarn::Frame>>;

constexpr int rate = 120;
constexpr int channels = 96; // of a body of 31 segments: three for each, and where it is
constexpr int performers = 32;
constexpr int liveFrames = 40 * rate;
constexpr int longFrames = 8 * 60 * 60 * rate;
constexpr double milliseconds = 1e6; // in nanoseconds

/// A directory that goes away with everything in it.
class Directory {
public:
    Directory() : path_(fs::temp_directory_path() / fmt::format("tarn_take_files_{}", ::getpid())) {
        fs::create_directory(path_);
    }
    Directory(const Directory&) = delete;
    Directory& operator=(const Directory&) = delete;
    ~Directory() {
        std::error_code ignored;
        fs::remove_all(path_, ignored);
    }
    fs::path operator/(const char* name) const { return path_ / name; }

private:
    fs::path path_;
};

std::shared_ptr<tarn::Frame> frame(int index) {
    tarn::kit::Pose pose;
    pose.values.assign(channels, static_cast<float>(index));
    return std::make_shared<tarn::Frame>(tarn::Time(static_cast<unsigned>(index), rate),
                                         tarn::kit::poseDataType, std::move(pose));
}

/// A recorder with a port for each performer.
struct Recording {
    Recording(const fs::path& file, int count, tarn::store::RecorderOptions options)
        : recorder(file, std::move(options)) {
        tarn::store::TrackDescription description;
        description.rate = tarn::kit::Rate(rate);
        for (int i = 0; i < count; ++i) {
            ports.push_back(std::make_unique<Port>());
            recorder.tieToIFramePort(recorder.addTrack(tarn::kit::poseDataType, description),
                                     *ports.back());
        }
        recorder.start();
    }

    std::vector<std::unique_ptr<Port>> ports;
    tarn::store::TakeRecorder recorder;
};

double payloadBytes(double frames) { return frames * channels * sizeof(float); }

/// Performers at the pace of a capture.
std::vector<Fact> recordLive(const fs::path& file) {
    std::vector<std::shared_ptr<tarn::Frame>> frames;
    frames.reserve(std::size_t{liveFrames} * performers);
    for (int i = 0; i < liveFrames * performers; ++i) {
        frames.push_back(frame(i / performers));
    }
    Recording recording(file, performers, {});
    const double before = tarn_benchmark::processorTime();
    const auto start = std::chrono::steady_clock::now();
    auto next = frames.begin();
    for (int i = 0; i < liveFrames; ++i) {
        std::this_thread::sleep_until(start + i * std::chrono::nanoseconds(1'000'000'000 / rate));
        for (const auto& port : recording.ports) {
            port->emit(*next++);
        }
    }
    recording.recorder.end();
    const double elapsed =
        std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - start).count();
    const double used = tarn_benchmark::processorTime() - before;
    const auto size = static_cast<double>(fs::file_size(file));
    return {{"32 performers recorded live", "percent of a core", 100 * used / elapsed, 10},
            {"32 performers recorded live", "frames lost",
             static_cast<double>(recording.recorder.lostFrames()), 0},
            {"32 performers recorded live", "bytes per byte of payload",
             size / payloadBytes(static_cast<double>(liveFrames) * performers), 1.1}};
}

/// The eight hours of one performer, as fast as they can be written.
std::vector<Fact> recordLong(const fs::path& file) {
    tarn::store::RecorderOptions options;
    options.whenFull = tarn::store::WhenFull::Wait;
    Recording recording(file, 1, options);
    for (int i = 0; i < longFrames; ++i) {
        recording.ports.front()->emit(frame(i));
    }
    recording.recorder.end();
    return {{"8 hours of a performer", "bytes per byte of payload",
             static_cast<double>(fs::file_size(file)) / payloadBytes(longFrames), 1.1}};
}

Fact opening(const fs::path& file) {
    const double nanoseconds = tarn_benchmark::timed([&] {
        tarn::store::TakeReader reader(file);
        const auto track = reader.tracks().front();
        benchmark::DoNotOptimize(reader.frame(track.id, track.firstSlot));
    });
    return {"open 8 hours, to the first frame", "milliseconds", nanoseconds / milliseconds, 50};
}

/// The worst of 200 instants, with the frames of all tracks.
Fact seeking(const std::string& name, const fs::path& file) {
    tarn::store::TakeReader reader(file);
    const auto tracks = reader.tracks();
    std::mt19937 random(1); // NOLINT(cert-msc32-c,cert-msc51-cpp): the same instants in each run
    double worst = 0;
    for (int i = 0; i < 200; ++i) {
        const std::int64_t slot =
            static_cast<std::int64_t>(random()) % (tracks.front().lastSlot + 1);
        worst = std::max(worst, tarn_benchmark::timed([&] {
                             for (const auto& track : tracks) {
                                 benchmark::DoNotOptimize(reader.frame(track.id, slot));
                             }
                         }));
    }
    return {name, "milliseconds", worst / milliseconds, 5};
}

/// Ten minutes out of the middle.
Fact reading(const fs::path& file) {
    constexpr int stretch = 10 * 60 * rate;
    tarn::store::TakeReader reader(file);
    const std::int64_t track = reader.tracks().front().id;
    const double nanoseconds = tarn_benchmark::timed([&] {
        benchmark::DoNotOptimize(
            reader.frames(track, longFrames / 2, longFrames / 2 + stretch - 1));
    });
    return {"read 300 MB of a stretch", "milliseconds",
            nanoseconds / milliseconds * 300e6 / payloadBytes(stretch), 1000};
}

} // namespace

int main(int argc, char** argv) {
    const Directory directory;
    const fs::path live = directory / "live.tarn";
    const fs::path hours = directory / "hours.tarn";
    std::vector<Fact> facts = recordLive(live);
    for (Fact& fact : recordLong(hours)) {
        facts.push_back(std::move(fact));
    }
    facts.push_back(opening(hours));
    facts.push_back(seeking("seek in 8 hours, worst of 200", hours));
    facts.push_back(seeking("seek 32 performers, worst of 200", live));
    facts.push_back(reading(hours));
    return tarn_benchmark::compare(argc, argv, {}, facts);
}
