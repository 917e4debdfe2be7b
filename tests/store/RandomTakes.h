// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Tracks.h>
#include <tarn_kit/body/Analog.h>
#include <tarn_kit/body/BodyPose.h>
#include <tarn_kit/body/Markers.h>
#include <tarn_kit/body/Rig.h>
#include <tarn_kit/body/RigidBodies.h>
#include <tarn_kit/files/Codec.h>
#include <tarn_kit/solving/MarkerFit.h>

#include <gtest/gtest.h>

#include <any>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace tarn::testing {

/// Takes with all that a take can have, from a seed.
class RandomTakes {
public:
    explicit RandomTakes(unsigned seed) : random_(seed) {}

    int below(int bound) { return static_cast<int>(random_() % static_cast<unsigned>(bound)); }
    float number() { return static_cast<float>(below(1000)) / 7; }

    std::string name() {
        static const std::vector<std::string> names = {"",
                                                       "walk",
                                                       "Жанна",
                                                       "x'); DROP TABLE chunk; --",
                                                       std::string("a\0b", 3),
                                                       "\xff\xfe no text",
                                                       "two\nlines",
                                                       std::string(300, 'n'),
                                                       "?1"};
        return names[static_cast<std::size_t>(below(static_cast<int>(names.size())))];
    }

    std::any payload(int dataType) {
        const auto size = static_cast<std::size_t>(below(5));
        switch (dataType % 9) {
        case 0:
            return {};
        case 1:
            return kit::Pose{std::vector<float>(size, number())};
        case 2:
            return kit::BodyPose{std::vector<kit::Segment>(size, {{number(), 1, 2}, {0, 0, 0, 1}})};
        case 3:
            return kit::MarkerFrame(std::vector<kit::Marker>(size));
        case 4:
            return kit::AnalogFrame(std::vector<float>(size, number()));
        case 5:
            return kit::RigidBodyFrame(std::vector<kit::RigidBody>(size));
        case 6:
            return kit::MarkerFit(std::vector<kit::FittedMarker>(size));
        case 7:
            return std::vector<std::byte>(size * 100'000, std::byte{7});
        default:
            return name();
        }
    }

    std::shared_ptr<Track> track() {
        const int dataType = below(9);
        auto track = std::make_shared<Track>(dataType);
        track->setFrameCount(below(60));
        for (int slot = 0; slot < track->frameCount(); ++slot) {
            if (below(5) == 0) {
                continue;
            }
            const Time time(static_cast<unsigned>(random_()), static_cast<unsigned>(below(1000)));
            const int type = below(20) == 0 ? dataType - 9 * below(3) : dataType;
            track->setFrame(slot, std::make_shared<Frame>(time, type, payload(type + 18)));
        }
        return track;
    }

    std::shared_ptr<Tracks> take(int depth = 0) {
        auto take = std::make_shared<Tracks>();
        take->setTracksName(name());
        take->setFps(below(240));
        take->setTimeLength(below(100));
        take->setFrameCount(below(100));
        take->setTracksVersion(below(9));
        for (int i = below(4); i > 0; --i) {
            take->addTrack(track(), below(40) - 20);
        }
        for (int i = depth < 3 ? below(3) : 0; i > 0; --i) {
            const auto nested = this->take(depth + 1);
            take->addSubTracks(nested, below(40) - 20);
            if (below(3) == 0) {
                take->addSubTracks(nested, 0); // one take in two places
            }
        }
        take->setFrameIndexMap(below(9), below(9));
        take->setWorkRange(below(9), below(90));
        take->setCurrentTime(below(9));
        return take;
    }

private:
    std::mt19937 random_;
};

inline std::vector<std::byte> bytesOf(const Frame& frame) {
    std::vector<std::byte> bytes;
    kit::Codecs::standard()->encode(frame.data(), bytes);
    return bytes;
}

inline void expectEqual(const std::shared_ptr<Frame>& a, const std::shared_ptr<Frame>& b) {
    ASSERT_EQ(a == nullptr, b == nullptr);
    if (a != nullptr) {
        EXPECT_EQ(a->time(), b->time());
        EXPECT_EQ(a->dataType(), b->dataType());
        EXPECT_EQ(a->data().type(), b->data().type());
        EXPECT_EQ(bytesOf(*a), bytesOf(*b));
    }
}

inline void expectEqual(Track& a, Track& b) {
    EXPECT_EQ(a.dataType(), b.dataType());
    ASSERT_EQ(a.frameCount(), b.frameCount());
    for (int slot = 0; slot < a.frameCount(); ++slot) {
        expectEqual(a.getFrame(slot), b.getFrame(slot));
    }
}

inline void expectEqual(Tracks& a, Tracks& b) {
    EXPECT_EQ(a.tracksName(), b.tracksName());
    EXPECT_EQ(a.fps(), b.fps());
    EXPECT_EQ(a.timeLength(), b.timeLength());
    EXPECT_EQ(a.frameCount(), b.frameCount());
    EXPECT_EQ(a.currentTime(), b.currentTime());
    EXPECT_EQ(a.workRangeBegin(), b.workRangeBegin());
    EXPECT_EQ(a.workRangeEnd(), b.workRangeEnd());
    EXPECT_EQ(a.tracksVersion(), b.tracksVersion());
    EXPECT_EQ(a.frameIndexMap(), b.frameIndexMap());
    ASSERT_EQ(a.trackCount(), b.trackCount());
    for (int i = 0; i < a.trackCount(); ++i) {
        EXPECT_EQ(a.trackOffset(a.getTrack(i)), b.trackOffset(b.getTrack(i)));
        expectEqual(*a.getTrack(i), *b.getTrack(i));
    }
    ASSERT_EQ(a.subTracksCount(), b.subTracksCount());
    for (int i = 0; i < a.subTracksCount(); ++i) {
        EXPECT_EQ(a.subTracksOffset(a.subTracks(i)), b.subTracksOffset(b.subTracks(i)));
        EXPECT_EQ(i > 0 && a.subTracks(i) == a.subTracks(i - 1),
                  i > 0 && b.subTracks(i) == b.subTracks(i - 1));
        expectEqual(*a.subTracks(i), *b.subTracks(i));
    }
}

} // namespace tarn::testing
