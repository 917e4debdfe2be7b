// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/devices/ReplayDevice.h>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <future>
#include <iostream>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// How punctual a replay at 120 frames per second is, in real time: when its frames arrive, against
// when they should.
//
// usage: tarn_replay_jitter [SECONDS]     (60 unless given; 1 to 3600)

namespace {

using namespace std::chrono_literals;
using tarn::kit::Clock;
using tarn::kit::ReplayDevice;

constexpr int rate = 120;
constexpr int longest = 3600;

/// A take of so many frames in a file that goes with it.
class TakeFile {
public:
    explicit TakeFile(int frames)
        : path_(std::filesystem::temp_directory_path() / "tarn_replay_jitter.bvh") {
        std::ofstream file(path_);
        file << "HIERARCHY\nROOT Hips\n{\n  OFFSET 0 0 0\n  CHANNELS 1 Xposition\n}\n"
             << "MOTION\nFrames: " << frames << "\nFrame Time: 0.00833333\n";
        for (int i = 0; i < frames; ++i) {
            file << i << "\n";
        }
    }
    ~TakeFile() { std::filesystem::remove(path_); }
    TakeFile(const TakeFile&) = delete;
    TakeFile& operator=(const TakeFile&) = delete;
    const std::filesystem::path& path() const { return path_; }

private:
    std::filesystem::path path_;
};

std::optional<int> secondsIn(int argc, char** argv) {
    if (argc == 1) {
        return 60;
    }
    const std::string_view text = argv[1];
    int seconds = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), seconds);
    const bool isNumber = error == std::errc() && end == text.data() + text.size();
    return argc == 2 && isNumber && seconds >= 1 && seconds <= longest ? std::optional(seconds)
                                                                       : std::nullopt;
}

/// When each frame of the take arrives.
std::vector<Clock::Instant> arrivals(const std::filesystem::path& file, std::size_t frames) {
    std::vector<Clock::Instant> instants;
    instants.reserve(frames);
    std::promise<void> end;
    ReplayDevice device("replay 1");
    device.oFramePort(ReplayDevice::posePort)
        .connect([&](const std::shared_ptr<tarn::Frame>& /*frame*/) {
            instants.emplace_back(std::chrono::steady_clock::now());
        });
    device.syncRequest(std::make_shared<tarn::Request>("open", file));
    device.onStateChanged().connect([&](tarn::Device::DeviceState state) {
        if (state == tarn::Device::Ready) {
            end.set_value();
        }
    });
    device.syncRequest("start");
    end.get_future().wait();
    return instants;
}

/// How late each frame is, in microseconds, ascending. The first frame, sent when the replay
/// starts, sets the time for the others and does not count.
std::vector<double> lateness(const std::vector<Clock::Instant>& arrivals) {
    std::vector<double> late;
    for (std::size_t i = 1; i < arrivals.size(); ++i) {
        const std::chrono::duration<double, std::micro> since = arrivals[i] - arrivals.front();
        late.push_back(since.count() - static_cast<double>(i) * 1e6 / rate);
    }
    std::sort(late.begin(), late.end());
    return late;
}

/// What this part of the values does not exceed. Precondition: there are values.
double percentile(const std::vector<double>& sorted, double part) {
    const auto index = static_cast<std::size_t>(part * static_cast<double>(sorted.size()));
    return sorted[std::min(index, sorted.size() - 1)];
}

} // namespace

int main(int argc, char** argv) {
    const std::optional<int> seconds = secondsIn(argc, argv);
    if (!seconds) {
        std::cerr << "usage: tarn_replay_jitter [SECONDS]   (1 to " << longest << ")\n";
        return 2;
    }
    const int frames = *seconds * rate;
    const TakeFile file(frames);
    const std::vector<double> late =
        lateness(arrivals(file.path(), static_cast<std::size_t>(frames)));
    std::printf("%d frames at %d per second\n", frames, rate);
    std::printf("late by: median %.0f us, 99th percentile %.0f us, most %.0f us, least %.0f us\n",
                percentile(late, 0.5), percentile(late, 0.99), late.back(), late.front());
    return 0;
}
