// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn/Tracks.h>

#include "data/AlignModel.h"
#include "data/MotionData.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

using motion::Log;
using tarn::Time;

namespace {

constexpr int intMin = std::numeric_limits<int>::min();
constexpr int intMax = std::numeric_limits<int>::max();

int slotCount(tarn::Tracks& take) {
    int count = 0;
    for (int i = 0; i < take.trackCount(); ++i) {
        count += take.getTrack(i)->frameCount();
    }
    return count;
}

/// Random takes that are built twice, as real ones and as models, and aligned side by side.
class World {
public:
    explicit World(unsigned seed, model::Steps& steps) : random_(seed) {
        const int count = between(1, 5);
        for (int i = 0; i < count; ++i) {
            addTake("take" + std::to_string(i), steps);
        }
        for (std::size_t outer = 0; outer < takes_.size(); ++outer) {
            for (std::size_t inner = outer + 1; inner < takes_.size(); ++inner) {
                nest(outer, inner);
            }
        }
    }

    void align() {
        takes_.front().model->alignTracksByTime();
        takes_.front().real->alignTracksByTime();
    }

    /// Adds, removes and remaps a little, so that the next alignment starts from the last one.
    void change() {
        for (auto& take : takes_) {
            if (chance(0.3) && !take.model->tracks.empty()) {
                const auto removed = take.model->tracks.front().first;
                take.real->removeTrack(take.real->getTrack(0));
                auto& tracks = take.model->tracks;
                tracks.erase(
                    std::remove_if(tracks.begin(), tracks.end(),
                                   [&](const auto& entry) { return entry.first == removed; }),
                    tracks.end());
            }
            if (chance(0.5)) {
                addTrack(take);
            }
        }
    }

    void expectSame() {
        EXPECT_EQ(realLog_, modelLog_);
        for (const auto& take : takes_) {
            SCOPED_TRACE(take.model->name);
            expectSame(*take.real, *take.model);
        }
    }

private:
    struct TakePair {
        std::shared_ptr<tarn::Tracks> real;
        std::shared_ptr<model::Take> model;
    };
    struct TrackPair {
        std::shared_ptr<tarn::Track> real;
        std::shared_ptr<model::Track> model;
    };
    struct FramePair {
        std::shared_ptr<tarn::Frame> real;
        model::FramePtr model;
    };

    int between(int low, int high) {
        return std::uniform_int_distribution<int>(low, high)(random_);
    }
    bool chance(double probability) { return std::bernoulli_distribution(probability)(random_); }

    void addTake(const std::string& name, model::Steps& steps) {
        TakePair take{std::make_shared<tarn::Tracks>(), std::make_shared<model::Take>()};
        take.model->name = name;
        take.model->log = &modelLog_;
        take.model->steps = &steps;
        take.real->setFps(between(-1, 1) * 30);
        take.real->onWorkRangeChanged().connect([this, name, real = take.real.get()](int b, int e) {
            realLog_.push_back(model::rangeEntry(name, b, e, real->timeLength(), slotCount(*real),
                                                 static_cast<int>(real->frameIndexMap().size())));
        });
        if (chance(0.2)) {
            take.real->setFrameIndexMap(1000, -1000);
            take.model->frameIndexMap[1000] = -1000;
        }
        for (int i = between(0, 4); i > 0; --i) {
            addTrack(take);
        }
        takes_.push_back(take);
    }

    void nest(std::size_t outer, std::size_t inner) {
        while (chance(outer == 0 ? 0.6 : 0.3)) {
            const int offset = randomOffset();
            takes_[outer].real->addSubTracks(takes_[inner].real, offset);
            takes_[outer].model->subTakes.emplace_back(takes_[inner].model, offset);
        }
    }

    void addTrack(TakePair& take) {
        if (tracks_.empty() || !chance(0.15)) {
            tracks_.push_back(randomTrack());
        }
        const auto& track = tracks_[static_cast<std::size_t>(
            chance(0.8) ? static_cast<int>(tracks_.size()) - 1
                        : between(0, static_cast<int>(tracks_.size()) - 1))];
        const int offset = randomOffset();
        take.real->addTrack(track.real, offset);
        take.model->tracks.emplace_back(track.model, offset);
    }

    int randomOffset() {
        if (chance(0.03)) {
            return chance(0.5) ? intMin : intMax;
        }
        return chance(0.4) ? 0 : between(-12, 12);
    }

    TrackPair randomTrack() {
        std::vector<FramePair> slots;
        const int count = between(0, 9);
        slots.reserve(static_cast<std::size_t>(count));
        for (int i = 0; i < count; ++i) {
            slots.push_back(randomFrame());
        }
        if (chance(0.7)) {
            std::stable_sort(slots.begin(), slots.end(),
                             [](const FramePair& a, const FramePair& b) {
                                 return sortKey(a.model->time) < sortKey(b.model->time);
                             });
        }
        TrackPair track{std::make_shared<tarn::Track>(between(1, 3)),
                        std::make_shared<model::Track>()};
        track.model->dataType = track.real->dataType();
        track.model->real = track.real.get();
        track.real->setFrameCount(count);
        const bool holes = chance(0.5);
        for (int i = 0; i < count; ++i) {
            const bool hole = holes && chance(0.25);
            const auto& frame = slots[static_cast<std::size_t>(i)];
            track.real->setFrame(i, hole ? nullptr : frame.real);
            track.model->slots.push_back(hole ? nullptr : frame.model);
        }
        expectSame(track.real, track.model);
        return track;
    }

    static float sortKey(const Time& time) { return time.fps() == 0 ? 0.1F : time.toSecond(); }

    FramePair randomFrame() {
        if (!frames_.empty() && chance(0.1)) {
            return frames_[static_cast<std::size_t>(
                between(0, static_cast<int>(frames_.size()) - 1))];
        }
        const int payload = static_cast<int>(frames_.size());
        const auto real = motion::frameAt(randomTime(), between(1, 3), payload);
        frames_.push_back({real, std::make_shared<model::Frame>(
                                     model::Frame{real->time(), payload, real.get()})});
        expectSame(real, frames_.back().model);
        return frames_.back();
    }

    /// Tenths of a second, which several rates can express, or any frame of any rate.
    Time randomTime() {
        constexpr std::array<int, 4> evenRates = {30, 50, 60, 120};
        constexpr std::array<int, 11> rates = {24, 25, 30, 50, 60, 90, 96, 100, 120, 150, 1};
        if (chance(0.06)) {
            return {static_cast<unsigned>(between(0, 2)), 0};
        }
        if (chance(0.6)) {
            const int rate = evenRates[static_cast<std::size_t>(between(0, 3))];
            return {static_cast<unsigned>(between(0, 8) * rate / 10), static_cast<unsigned>(rate)};
        }
        const int rate = rates[static_cast<std::size_t>(between(0, 10))];
        return {static_cast<unsigned>(between(0, rate)), static_cast<unsigned>(rate)};
    }

    void expectSame(tarn::Tracks& real, const model::Take& expected) {
        EXPECT_EQ(real.timeLength(), expected.timeLength);
        EXPECT_EQ(real.workRangeBegin(), expected.workBegin);
        EXPECT_EQ(real.workRangeEnd(), expected.workEnd);
        EXPECT_EQ(real.frameIndexMap(), expected.frameIndexMap);
        expectSameTimes(real, expected);
        ASSERT_EQ(real.trackCount(), static_cast<int>(expected.tracks.size()));
        for (int i = 0; i < real.trackCount(); ++i) {
            SCOPED_TRACE("track " + std::to_string(i));
            const auto& track = expected.tracks[static_cast<std::size_t>(i)].first;
            EXPECT_EQ(real.trackOffset(real.getTrack(i)), firstOffset(expected, track));
            expectSame(real.getTrack(i), track);
        }
    }

    static void expectSameTimes(tarn::Tracks& real, const model::Take& expected) {
        const int count = static_cast<int>(expected.times.size());
        for (int i = -1; i < count + 2; ++i) {
            const Time counted = i < 0 || real.fps() <= 0 ? Time()
                                                          : Time(static_cast<unsigned>(i),
                                                                 static_cast<unsigned>(real.fps()));
            const bool stored = i >= 0 && i < count;
            EXPECT_EQ(real.getTime(i),
                      stored ? expected.times[static_cast<std::size_t>(i)] : counted)
                << i;
        }
    }

    static int firstOffset(const model::Take& take, const std::shared_ptr<model::Track>& track) {
        return std::find_if(take.tracks.begin(), take.tracks.end(),
                            [&](const auto& entry) { return entry.first == track; })
            ->second;
    }

    void expectSame(const std::shared_ptr<tarn::Track>& real,
                    const std::shared_ptr<model::Track>& expected) {
        EXPECT_EQ(real->dataType(), expected->dataType);
        expectSameIdentity(real, expected);
        ASSERT_EQ(real->frameCount(), static_cast<int>(expected->slots.size()));
        for (int i = 0; i < real->frameCount(); ++i) {
            SCOPED_TRACE("slot " + std::to_string(i));
            const auto frame = real->getFrame(i);
            const auto& expectedFrame = expected->slots[static_cast<std::size_t>(i)];
            ASSERT_EQ(frame == nullptr, expectedFrame == nullptr);
            if (frame != nullptr) {
                expectSame(frame, expectedFrame);
            }
        }
    }

    void expectSame(const std::shared_ptr<tarn::Frame>& real, const model::FramePtr& expected) {
        const auto& original = frames_[static_cast<std::size_t>(expected->payload)].real;
        EXPECT_EQ(real->time(), expected->time);
        EXPECT_EQ(real->dataAs<int>(), expected->payload);
        EXPECT_EQ(real->dataType(), original->dataType());
        expectSameIdentity(real, expected);
    }

    /// What the host made is the host's; what an alignment made is one new object per model.
    template <class Real, class Model>
    void expectSameIdentity(const Real& real, const Model& expected) {
        if (expected->real != nullptr) {
            EXPECT_EQ(real.get(), expected->real);
        }
        EXPECT_EQ(counterparts_.emplace(expected, real).first->second, real);
        EXPECT_EQ(models_.emplace(real, expected).first->second, expected);
    }

    using Identity = std::shared_ptr<const void>; ///< keeps addresses from being used again

    std::mt19937 random_;
    Log realLog_;
    Log modelLog_;
    std::vector<TakePair> takes_;
    std::vector<TrackPair> tracks_;
    std::vector<FramePair> frames_;
    std::map<Identity, Identity> counterparts_; ///< by model
    std::map<Identity, Identity> models_;       ///< by counterpart
};

} // namespace

TEST(TracksAlignModel, RandomTakesComeOutAsTheProcedureSaysStepByStep) {
    model::Steps steps;
    for (unsigned seed = 1; seed <= 4000 && !testing::Test::HasFailure(); ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        World world(seed, steps);
        world.align();
        world.expectSame();
        world.change();
        world.align();
        world.expectSame();
    }
    // Every step has been put to the test.
    EXPECT_GT(steps.steppedBackFromTheEnd, 4000);
    EXPECT_GT(steps.emptySlots, 4000);
    EXPECT_GT(steps.beforeTheFirstSlot, 4000);
    EXPECT_GT(steps.shared, 4000);
    EXPECT_GT(steps.held, 4000);
    EXPECT_GT(steps.steppedBackInTime, 4000);
    EXPECT_GT(steps.incomparable, 4000);
}
