// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

// How fast markers are cleaned. A gap is bounded by the rigid fits of its trials: three clusters in
// up to a thousand frames each. The filter is bounded by the ten multiplications, one after the
// other, that each coordinate takes twice, and by the take's being read and written anew. What
// repairs live is bounded by learning which markers are rigid neighbours: the distances of each
// from each other one, in up to 300 frames, at each fault and every few seconds.
#include "Ratios.h"

#include <tarn_kit/files/C3d.h>
#include <tarn_kit/processing/cleaning/GapFilling.h>
#include <tarn_kit/processing/cleaning/LowPass.h>
#include <tarn_kit/processing/cleaning/LowPassNode.h>
#include <tarn_kit/processing/cleaning/MarkerRepair.h>
#include <tarn_kit/processing/cleaning/MarkerRepairNode.h>
#include <tarn_kit/session/TakeOf.h>

#include <fmt/format.h>

#include <cstddef>
#include <filesystem>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace {

namespace kit = tarn::kit;
using tarn_benchmark::Contender;
using tarn_benchmark::Measure;
using tarn_benchmark::repeated;
using Frames = std::vector<std::shared_ptr<tarn::Frame>>;

constexpr int rate = 120;

/// The sample, 41 markers without a gap, so many times over.
Frames framesOf(int times) {
    const kit::C3dTake take =
        kit::readC3d(std::filesystem::path(TARN_EXAMPLE_DATA "/cmu_85_02.c3d"));
    Frames frames;
    frames.reserve(static_cast<std::size_t>(take.frameCount) * static_cast<std::size_t>(times));
    for (int i = 0; i < take.frameCount * times; ++i) {
        const auto frame = take.tracks->getFrame(i % take.frameCount, kit::markerDataType);
        frames.push_back(std::make_shared<tarn::Frame>(tarn::Time(static_cast<unsigned>(i), rate),
                                                       kit::markerDataType, frame->data()));
    }
    return frames;
}

std::shared_ptr<tarn::Tracks> takeOf(Frames frames) {
    return kit::takeOf(kit::markerDataType, std::move(frames), rate);
}

/// Cuts a gap of `length` frames out of every other marker, one after the other.
int cutGaps(Frames& frames, std::size_t length) {
    int gaps = 0;
    std::size_t marker = 0;
    for (std::size_t first = 100; first + length + 100 < frames.size(); first += length + 50) {
        for (std::size_t i = first; i < first + length; ++i) {
            auto markers = frames[i]->dataAs<kit::MarkerFrame>().toVector();
            markers[marker % markers.size()] = kit::Marker();
            frames[i] = std::make_shared<tarn::Frame>(frames[i]->time(), kit::markerDataType,
                                                      kit::MarkerFrame(std::move(markers)));
        }
        marker += 2;
        ++gaps;
    }
    return gaps;
}

/// The least that whoever changes a take has to do: every marker read, written and put into a
/// frame.
void copyTake(tarn::Tracks& take) {
    Frames frames;
    frames.reserve(static_cast<std::size_t>(take.timeLength()));
    for (int i = 0; i < take.timeLength(); ++i) {
        const auto frame = take.getFrame(i, kit::markerDataType);
        auto markers = frame->dataAs<kit::MarkerFrame>().toVector();
        frames.push_back(std::make_shared<tarn::Frame>(frame->time(), kit::markerDataType,
                                                       kit::MarkerFrame(std::move(markers))));
    }
    benchmark::DoNotOptimize(takeOf(std::move(frames)));
}

void addFilling(std::vector<Measure>& measures) {
    constexpr double nanosecondsPerGap = 20e6;
    for (const std::size_t length : {10U, 100U}) {
        Frames frames = framesOf(5);
        const int gaps = cutGaps(frames, length);
        const auto take = takeOf(std::move(frames));
        measures.push_back({fmt::format("fillGaps, {} gaps of {} frames, at 20 ms", gaps, length),
                            repeated([take] { benchmark::DoNotOptimize(kit::fillGaps(take)); }),
                            gaps * nanosecondsPerGap,
                            std::nullopt,
                            std::nullopt,
                            {{"the take copied", repeated([take] { copyTake(*take); })}}});
    }
}

void addFiltering(std::vector<Measure>& measures) {
    const auto take = takeOf(framesOf(10));
    constexpr double nanosecondsPerMarker = 300;
    const std::vector<Contender> copied = {
        {"the take copied", repeated([take] { copyTake(*take); })}};
    measures.push_back(
        {fmt::format("lowPass, {} frames of 41 markers, at 300 ns each", take->timeLength()),
         repeated([take] { benchmark::DoNotOptimize(kit::lowPass(take)); }),
         take->timeLength() * 41 * nanosecondsPerMarker, std::nullopt, std::nullopt, copied});
    constexpr double nanosecondsPerFrame = 100e3;
    measures.push_back(
        {fmt::format("repairMarkers, {} frames of 41 markers, at 0.1 ms", take->timeLength()),
         repeated([take] { benchmark::DoNotOptimize(kit::repairMarkers(take)); }),
         take->timeLength() * nanosecondsPerFrame, std::nullopt, std::nullopt, copied});
}

/// Feeds frames to a node, so many at a time, over and over.
template <class Node>
std::function<void()> feeding(std::shared_ptr<Node> node, Frames frames, std::size_t atOnce) {
    const auto in = std::make_shared<tsignal::Signal<std::shared_ptr<tarn::Frame>>>();
    node->tieToIFramePort(Node::framePort, *in);
    return [in, node = std::move(node), frames = std::move(frames), atOnce, next = 0U]() mutable {
        for (std::size_t i = 0; i < atOnce; ++i) {
            in->emit(frames[next++ % frames.size()]);
        }
    };
}

/// A frame in which two markers are exchanged, or one is off its way.
std::shared_ptr<tarn::Frame> faulty(const tarn::Frame& frame, std::size_t marker, bool isSwap) {
    auto markers = frame.dataAs<kit::MarkerFrame>().toVector();
    if (isSwap) {
        std::swap(markers[marker], markers[marker + 1]);
    } else {
        markers[marker].position.x += 100;
    }
    return std::make_shared<tarn::Frame>(frame.time(), kit::markerDataType,
                                         kit::MarkerFrame(std::move(markers)));
}

/// The sample with a spike and a swap of a quarter of a second in every second.
Frames faultyFrames() {
    Frames frames = framesOf(1);
    for (std::size_t i = 0; i < frames.size(); ++i) {
        const std::size_t inSecond = i % rate;
        const std::size_t marker = i / rate * 3;
        if (inSecond == 20 || (inSecond >= 50 && inSecond < 80)) {
            frames[i] = faulty(*frames[i], marker, inSecond != 20);
        }
    }
    return frames;
}

void addLive(std::vector<Measure>& measures) {
    constexpr double nanosecondsPerFrame = 1e9 / rate;
    measures.push_back({"LowPassNode, a frame of 41 markers, within 8.3 us",
                        repeated(feeding(std::make_shared<kit::LowPassNode>(rate), framesOf(1), 1)),
                        nanosecondsPerFrame / 1000, // a thousandth of the time there is
                        std::nullopt,
                        std::nullopt,
                        {}});
    kit::MarkerRepairOptions options;
    options.rate = rate;
    const auto add = [&](const char* what, const Frames& frames) {
        const std::size_t count = frames.size();
        measures.push_back(
            {fmt::format("MarkerRepairNode, {} frames of 41 markers, {}, at 0.42 ms", count, what),
             repeated(feeding(std::make_shared<kit::MarkerRepairNode>(options), frames, count)),
             static_cast<double>(count) * nanosecondsPerFrame / 20, // a twentieth
             std::nullopt,
             std::nullopt,
             {}});
    };
    add("no fault", framesOf(1));
    add("two faults a second", faultyFrames());
}

} // namespace

int main(int argc, char** argv) {
    std::vector<Measure> measures;
    addFilling(measures);
    addFiltering(measures);
    addLive(measures);
    return tarn_benchmark::compare(argc, argv, measures, {});
}
