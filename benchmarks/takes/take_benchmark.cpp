// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

// How fast takes are aligned, shown and searched, against the same done literally; and what one
// tick of a character costs beside the look-up that it consists of.
#include "Ratios.h"
#include "takes/LiteralTake.h"

#include <fmt/format.h>
#include <tarn/Character.h>
#include <tarn/Tracks.h>

#include <any>
#include <functional>

namespace {

using tarn_benchmark::Goal;
using tarn_benchmark::LiteralTake;
using tarn_benchmark::Measure;
using tarn_benchmark::repeated;
using tarn_benchmark::Run;
using tarn_benchmark::timed;

using TrackList = std::vector<std::shared_ptr<tarn::Track>>;

/// When a track has its frames.
struct Pattern {
    const char* name;
    std::function<bool(int track, int slot)> has;
    std::function<unsigned(int track)> rate;
};

const Pattern equalTimes{"equal times", [](int, int) { return true; }, [](int) { return 120U; }};
const Pattern mixedRates{"gaps and mixed rates",
                         [](int track, int slot) { return (slot + track) % 7 != 0; },
                         [](int track) { return 30U * (1U + static_cast<unsigned>(track) % 4U); }};

TrackList makeTracks(const Pattern& pattern, int trackCount, int frameCount) {
    TrackList tracks;
    for (int t = 0; t < trackCount; ++t) {
        auto track = std::make_shared<tarn::Track>(t);
        track->setFrameCount(frameCount);
        for (int i = 0; i < frameCount; ++i) {
            if (pattern.has(t, i)) {
                const tarn::Time time(static_cast<unsigned>(i), pattern.rate(t));
                track->setFrame(i, std::make_shared<tarn::Frame>(time, t, std::any(i)));
            }
        }
        tracks.push_back(std::move(track));
    }
    return tracks;
}

/// Aligns a new take each time; only the alignment is timed.
template <class Take, class Add>
Run alignment(const Pattern& pattern, int trackCount, int frameCount, Add add) {
    return [=](std::size_t count) {
        double nanoseconds = 0;
        for (std::size_t i = 0; i < count; ++i) {
            Take take;
            for (auto& track : makeTracks(pattern, trackCount, frameCount)) {
                add(take, std::move(track));
            }
            nanoseconds += timed([&] { take.alignTracksByTime(); });
        }
        return nanoseconds;
    };
}

void addLiteral(LiteralTake& take, std::shared_ptr<tarn::Track> track) {
    take.tracks.emplace_back(std::move(track), 0);
}

void addOurs(tarn::Tracks& take, std::shared_ptr<tarn::Track> track) {
    take.addTrack(std::move(track), 0);
}

Measure alignmentMeasure(const Pattern& pattern, int trackCount, int frameCount, double goal) {
    return {fmt::format("align {} x {}, {}", trackCount, frameCount, pattern.name),
            alignment<tarn::Tracks>(pattern, trackCount, frameCount, addOurs),
            std::nullopt,
            Goal{goal,
                 {{"ordered set",
                   alignment<LiteralTake>(pattern, trackCount, frameCount, addLiteral)}}},
            std::nullopt,
            {}};
}

/// A take and its literal twin, which share their frames.
struct Pair {
    explicit Pair(int trackCount) {
        constexpr int frameCount = 1000;
        for (const auto& track : makeTracks(equalTimes, trackCount, frameCount)) {
            addLiteral(*literal, track);
            addOurs(*ours, track);
        }
        literal->alignTracksByTime();
        ours->alignTracksByTime();
        ours->setFps(120);
    }
    int next() { return index = (index + 1) % 1000; }

    std::shared_ptr<LiteralTake> literal = std::make_shared<LiteralTake>();
    std::shared_ptr<tarn::Tracks> ours = std::make_shared<tarn::Tracks>();
    int index = 0;
};

Measure showMeasure(int trackCount) {
    const auto pair = std::make_shared<Pair>(trackCount);
    return {fmt::format("Tracks::getFrame(index), {} tracks", trackCount),
            repeated([pair] { benchmark::DoNotOptimize(pair->ours->getFrame(pair->next())); }),
            std::nullopt,
            Goal{0.55, {{"literal", repeated([pair] {
                             benchmark::DoNotOptimize(pair->literal->getFrame(pair->next()));
                         })}}},
            std::nullopt,
            {}};
}

/// A sequence in disorder, as shared frames that are re-timed leave it; the last frame is sought.
struct Search {
    Search() {
        for (unsigned i = 0; i < 100000; ++i) {
            frames.push_back(std::make_shared<tarn::Frame>(tarn::Time(i, 120), 1, std::any()));
            sequence.addFrame(frames.back());
        }
    }
    tarn::Sequence sequence{1};
    std::vector<std::shared_ptr<tarn::Frame>> frames;
    tarn::Time last{99999, 120};
};

template <class Matches>
const tarn::Frame* firstThat(const std::vector<std::shared_ptr<tarn::Frame>>& frames,
                             Matches matches) {
    for (const auto& frame : frames) {
        if (matches(frame->time())) {
            return frame.get();
        }
    }
    return nullptr;
}

std::vector<Measure> searchMeasures() {
    const auto search = std::make_shared<Search>();
    const auto bareEqual = [search] {
        benchmark::DoNotOptimize(firstThat(
            search->frames, [t = search->last](const tarn::Time& time) { return time == t; }));
    };
    const auto bareLater = [search] {
        benchmark::DoNotOptimize(
            firstThat(search->frames,
                      [t = search->last, s = search->last.toSecond()](const tarn::Time& time) {
                          return time.toSecond() > s || time == t;
                      }));
    };
    return {
        {"Sequence::findFrame, the last of 100,000",
         repeated([search] { benchmark::DoNotOptimize(search->sequence.findFrame(search->last)); }),
         std::nullopt,
         Goal{1.1, {{"bare loop", repeated(bareEqual)}}},
         std::nullopt,
         {}},
        {"Sequence::findFirstFrame, the last of 100,000",
         repeated(
             [search] { benchmark::DoNotOptimize(search->sequence.findFirstFrame(search->last)); }),
         std::nullopt,
         Goal{1.1, {{"bare loop", repeated(bareLater)}}},
         std::nullopt,
         {}}};
}

/// A character that calibrates, with calibrators that use no frame.
struct Ticking {
    Ticking() {
        character.setSolver(&solver);
        for (tarn::Calibrator& calibrator : calibrators) {
            character.addCalibrator(&calibrator, false);
        }
        character.setTracks(pair.ours);
        character.beginCalibrate();
    }
    ~Ticking() { character.setTracks(nullptr); }
    Ticking(const Ticking&) = delete;
    Ticking& operator=(const Ticking&) = delete;

    Pair pair{20};
    tarn::Solver solver{"none", ""};
    std::array<tarn::Calibrator, 4> calibrators;
    tarn::Character character{"1", "Ada"};
};

Measure tickMeasure() {
    const auto ticking = std::make_shared<Ticking>();
    const Run look = repeated([ticking] {
        benchmark::DoNotOptimize(ticking->pair.ours->getFrame(ticking->pair.next()));
    });
    // The goal is a ratio and a constant: 1.15 times the look-up and 100 ns.
    const Run allowed = [look](std::size_t count) {
        return 1.15 * look(count) + 100 * static_cast<double>(count);
    };
    return {"a tick of a character, 20 tracks, four idle calibrators",
            repeated([ticking] { ticking->pair.ours->setCurrentTime(ticking->pair.next()); }),
            std::nullopt,
            Goal{1, {{"1.15 x getFrame + 100 ns", allowed}}},
            std::nullopt,
            {{"getFrame alone", look}}};
}

} // namespace

int main(int argc, char** argv) {
    std::vector<Measure> measures;
    for (const auto& [trackCount, frameCount] :
         {std::pair{4, 1000}, {60, 1000}, {4, 100000}, {60, 100000}}) {
        measures.push_back(alignmentMeasure(equalTimes, trackCount, frameCount, 0.3));
        measures.push_back(alignmentMeasure(mixedRates, trackCount, frameCount, 0.33));
    }
    for (const int trackCount : {20, 60, 200}) {
        measures.push_back(showMeasure(trackCount));
    }
    for (Measure& measure : searchMeasures()) {
        measures.push_back(std::move(measure));
    }
    measures.push_back(tickMeasure());
    return tarn_benchmark::compare(argc, argv, measures, {});
}
