// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

// How cost grows with frames, tracks and characters: the time for so many units in one go against
// the time for as many of them in small portions. A ratio of 1 is linear growth.
#include "Ratios.h"

#include <tarn/Character.h>
#include <tarn/Scene.h>
#include <tarn/Tracks.h>
#include <tarn_kit/files/Bvh.h>
#include <tarn_kit/processing/ForwardKinematicsSolver.h>

#include <fmt/format.h>

#include <any>
#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

namespace kit = tarn::kit;
using tarn_benchmark::Goal;
using tarn_benchmark::Measure;
using tarn_benchmark::repeated;
using tarn_benchmark::Run;
using tarn_benchmark::timed;

constexpr double flat = 1.5;
constexpr double flatBeyondTheCaches = 2;

/// What so many units have to meet: all that is measured here has some 150 bytes per frame, and
/// fewer of everything else.
double goalFor(int units) {
    constexpr long bytesPerUnit = 150;
    const long found = sysconf(_SC_LEVEL2_CACHE_SIZE);
    const long ownCache = found > 0 ? found : 1 << 20;
    return units * bytesPerUnit <= ownCache ? flat : flatBeyondTheCaches;
}

using Take = std::shared_ptr<tarn::Tracks>;

Take makeTake(int tracks, int frames) {
    auto take = std::make_shared<tarn::Tracks>();
    take->setFps(120);
    take->setTimeLength(frames);
    for (int t = 0; t < tracks; ++t) {
        auto track = std::make_shared<tarn::Track>(t);
        track->setFrameCount(frames);
        for (int i = 0; i < frames; ++i) {
            const tarn::Time time(static_cast<unsigned>(i), 120);
            track->setFrame(i, std::make_shared<tarn::Frame>(time, t, std::any(i)));
        }
        take->addTrack(std::move(track), 0);
    }
    return take;
}

/// A measure of a number of units, done `portions` times over in portions of a small number.
Measure growth(const std::string& name, const std::string& portion, const Run& ours,
               const Run& portionRun, std::size_t portions, double goal) {
    const Run theirs = [portionRun, portions](std::size_t count) {
        return portionRun(count * portions);
    };
    return {name, ours, std::nullopt, Goal{goal, {{portion, theirs}}}, std::nullopt, {}};
}

/// The measures of one series: `runOf(n)` makes what does n units once per count.
void addSeries(std::vector<Measure>& measures, const std::string& what, const std::string& unit,
               const std::vector<int>& sizes, const std::function<Run(int)>& runOf) {
    const int portion = sizes.front();
    const Run portionRun = runOf(portion);
    for (std::size_t i = 1; i < sizes.size(); ++i) {
        measures.push_back(growth(fmt::format("{}, {} {}", what, sizes[i], unit),
                                  fmt::format("portions of {}", portion), runOf(sizes[i]),
                                  portionRun, static_cast<std::size_t>(sizes[i] / portion),
                                  goalFor(sizes[i])));
    }
}

/// Made when it is first used, so that what one measure needs does not burden all others.
template <class Made>
std::shared_ptr<std::function<Made&()>> later(const std::function<Made()>& make) {
    auto made = std::make_shared<std::unique_ptr<Made>>();
    return std::make_shared<std::function<Made&()>>([made, make]() -> Made& {
        if (*made == nullptr) {
            *made = std::make_unique<Made>(make());
        }
        return **made;
    });
}

// Frames.

Run showAll(int tracks, int frames) {
    const auto take = later<Take>([=] { return makeTake(tracks, frames); });
    return [take, frames](std::size_t count) {
        tarn::Tracks& shown = *(*take)();
        return repeated([&shown, frames] {
            for (int i = 0; i < frames; ++i) {
                benchmark::DoNotOptimize(shown.getFrame(i));
            }
        })(count);
    };
}

/// Aligns a new take each time; only the alignment is timed.
Run align(int tracks, int frames) {
    return [=](std::size_t count) {
        double nanoseconds = 0;
        for (std::size_t i = 0; i < count; ++i) {
            const Take take = makeTake(tracks, frames);
            nanoseconds += timed([&] { take->alignTracksByTime(); });
        }
        return nanoseconds;
    };
}

std::string motionFile(int frames) {
    std::string text = "HIERARCHY\nROOT Hips\n{\n OFFSET 0 0 0\n CHANNELS 6 Xposition Yposition "
                       "Zposition Zrotation Yrotation Xrotation\n}\nMOTION\n";
    text += fmt::format("Frames: {}\nFrame Time: 0.00833333\n", frames);
    for (int i = 0; i < frames; ++i) {
        text += fmt::format("{} 0.9144 -12.5 {} 3.25 0.125\n", i % 1000, i % 360);
    }
    return text;
}

Run readFile(int frames) {
    const auto text = later<std::string>([frames] { return motionFile(frames); });
    return [text](std::size_t count) {
        const std::string& file = (*text)();
        return repeated([&file] {
            std::istringstream stream(file);
            benchmark::DoNotOptimize(kit::readBvh(stream));
        })(count);
    };
}

/// Solves a whole take and forgets the bodies.
Run solve(int frames) {
    const auto take = later<kit::BvhTake>([frames] {
        std::istringstream stream(motionFile(frames));
        return kit::readBvh(stream);
    });
    return [take, frames](std::size_t count) {
        const kit::BvhTake& solved = (*take)();
        kit::ForwardKinematicsSolver solver("1", solved.rig);
        return repeated([&] {
            solver.evaluate(solved.tracks, 0, frames - 1);
            solver.clearOutput();
        })(count);
    };
}

// Characters.

/// Characters of one scene on one take, each with a solver and a calibrator.
class Stage {
public:
    explicit Stage(int characters) {
        for (int i = 0; i < characters; ++i) {
            cast_.push_back(std::make_unique<Member>());
            Member& member = *cast_.back();
            member.character.setSolver(&member.solver);
            member.character.addCalibrator(&member.calibrator, false);
            scene_.addCharacter(&member.character);
            member.character.setTracks(take_);
            member.character.beginCalibrate();
        }
    }
    Stage(const Stage&) = delete;
    Stage& operator=(const Stage&) = delete;
    ~Stage() {
        for (const auto& member : cast_) {
            member->character.setTracks(nullptr);
        }
    }

    void tick() { take_->setCurrentTime((take_->currentTime() + 1) % take_->timeLength()); }

private:
    struct Member {
        tarn::Solver solver{"none", ""};
        tarn::Calibrator calibrator;
        tarn::Character character{"1", "Ada"};
    };
    Take take_ = makeTake(4, 100);
    tarn::Scene scene_;
    std::vector<std::unique_ptr<Member>> cast_;
};

Run tick(int characters) {
    const auto stage =
        later<std::unique_ptr<Stage>>([characters] { return std::make_unique<Stage>(characters); });
    return [stage](std::size_t count) {
        Stage& ticking = *(*stage)();
        return repeated([&ticking] { ticking.tick(); })(count);
    };
}

} // namespace

int main(int argc, char** argv) {
    std::vector<Measure> measures;
    const std::vector<int> frames = {1000, 10'000, 100'000, 1'000'000};
    addSeries(measures, "show a take", "frames", frames, [](int n) { return showAll(1, n); });
    addSeries(measures, "align a take", "frames", frames, [](int n) { return align(1, n); });
    addSeries(measures, "read a file", "frames", frames, readFile);
    addSeries(measures, "solve a take", "frames", frames, solve);
    for (const std::vector<int>& tracks : {std::vector<int>{1, 10}, {10, 50, 200}}) {
        addSeries(measures, "show a take", "tracks", tracks, [](int n) { return showAll(n, 100); });
        addSeries(measures, "align a take", "tracks", tracks, [](int n) { return align(n, 100); });
    }
    addSeries(measures, "tick a scene", "characters", {1, 10, 100, 1000}, tick);
    return tarn_benchmark::compare(argc, argv, measures, {});
}
