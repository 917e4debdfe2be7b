// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "solving/calibration/SkinMotion.h"

#include "kit/solving/SolvingTesting.h"
#include "solving/BodyAssembly.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <random>
#include <string>
#include <vector>

using namespace solving_testing;

namespace {

std::size_t indexOf(const std::vector<std::string>& names, const std::string& name) {
    return static_cast<std::size_t>(std::find(names.begin(), names.end(), name) - names.begin());
}

/// The same markers as if skin did nothing, and how a body that knows what skin does stands.
struct Skinned {
    explicit Skinned(int frameCount, double noise = 0, double turn = 0.3) : assembly(someBody()) {
        bare = assembly.articulation;
        moving = bare;
        marker = 0;
        while (someBody().markers[marker].name != "STRN") {
            ++marker;
        }
        shoulder = indexOf(assembly.names, "LeftShoulder");
        SkinPull pull = {marker, shoulder, {}};
        pull.shift(1, 2) = 0.03;
        moving.skin.push_back(pull);
        std::mt19937 random(5);
        std::normal_distribution<double> normal;
        PoseProblem problem(moving);
        for (int f = 0; f < frameCount; ++f) {
            FitFrame frame;
            for (std::size_t j = 0; j < bare.joints.size(); ++j) {
                frame.stance.turns.push_back(fromRotationVector(
                    turn * Vector3d{normal(random), normal(random), normal(random)}));
            }
            problem.evaluate(frame.stance, Sightings(bare.markers.size()));
            for (const Vector3d& place : problem.places()) {
                const Vector3d off = {normal(random), normal(random), normal(random)};
                frame.sightings.push_back({place + noise * off, 1});
            }
            frames.push_back(frame);
        }
    }

    double errorOf(const Articulation& body) const {
        PoseProblem problem(body);
        double sum = 0;
        for (const FitFrame& frame : frames) {
            problem.evaluate(frame.stance, frame.sightings);
            sum += lengthOf(problem.misses()[marker]) / static_cast<double>(frames.size());
        }
        return sum;
    }

    BodyAssembly assembly;
    Articulation bare, moving;
    std::vector<FitFrame> frames;
    std::size_t marker = 0, shoulder = 0;
};

} // namespace

TEST(SkinMotion, IsLearntFromHowMarkersMissAsJointsTurn) {
    const Skinned known(200);
    Articulation body = known.bare;
    learnSkinMotion(body, known.frames);
    const auto pull = std::find_if(body.skin.begin(), body.skin.end(), [&](const SkinPull& p) {
        return p.marker == known.marker && p.joint == known.shoulder;
    });
    ASSERT_NE(pull, body.skin.end());
    EXPECT_NEAR(pull->shift(1, 2), 0.03, 0.005);
    EXPECT_NEAR(pull->shift(0, 2), 0, 0.002);
    EXPECT_LT(known.errorOf(body), 0.2 * known.errorOf(known.bare));
}

TEST(SkinMotion, LeavesTheOffsetOfUsualTurns) {
    // The shoulder is never turned as usual: where the marker was seen is not where it sits.
    Skinned known(200);
    known.bare.joints[known.shoulder].usual = fromRotationVector({0, 0, 0.5});
    known.moving.joints[known.shoulder].usual = known.bare.joints[known.shoulder].usual;
    Articulation body = known.bare;
    learnSkinMotion(body, known.frames);
    const Vector3d offset = body.markers[known.marker].offset;
    EXPECT_NEAR(offset.y - known.bare.markers[known.marker].offset.y, 0.5 * 0.03, 0.004);
}

TEST(SkinMotion, IsNotMadeOfNoise) {
    // Joints that hardly turn show nothing of what their turns do.
    const Skinned known(30, 0.003, 0.05);
    Articulation body = known.bare;
    learnSkinMotion(body, known.frames);
    for (const SkinPull& pull : body.skin) {
        if (pull.marker != known.marker) {
            for (const double shift : pull.shift.m) {
                EXPECT_LT(std::abs(shift), 0.02); // 0.04 if noise were believed
            }
        }
    }
}

TEST(SkinMotion, IsLeftOutWhereItIsTooLittleToMatter) {
    const Skinned known(200, 0.001);
    Articulation body = known.bare;
    learnSkinMotion(body, known.frames);
    ASSERT_FALSE(body.skin.empty());
    for (const SkinPull& pull : body.skin) {
        EXPECT_EQ(pull.marker, known.marker);
        EXPECT_EQ(pull.joint, known.shoulder);
    }
}

TEST(SkinMotion, IsNotGuessedOfMarkersThatAreHardlySeen) {
    Skinned known(200);
    for (std::size_t f = 19; f < known.frames.size(); ++f) {
        known.frames[f].sightings[known.marker].weight = 0;
    }
    Articulation body = known.bare;
    learnSkinMotion(body, known.frames);
    EXPECT_TRUE(std::none_of(body.skin.begin(), body.skin.end(),
                             [&](const SkinPull& pull) { return pull.marker == known.marker; }));
    EXPECT_EQ(body.markers[known.marker].offset, known.bare.markers[known.marker].offset);
}

TEST(SkinMotion, OfJointsThatAreNotNextToAMarkerIsNotHeeded) {
    const auto pullsOf = [](const std::string& joint) {
        MarkerBody body = someBody();
        for (BodyMarker& marker : body.markers) {
            if (marker.name == "LELB") {
                marker.skin.emplace_back();
                marker.skin.back().joint = joint;
            }
        }
        return BodyAssembly(body).articulation.skin.size();
    };
    EXPECT_EQ(pullsOf("LeftArm"), 1U);
    EXPECT_EQ(pullsOf("LeftForeArm"), 1U);
    EXPECT_EQ(pullsOf("LeftShoulder"), 0U);
    EXPECT_EQ(pullsOf("Hips"), 0U);
    EXPECT_EQ(pullsOf("Tail"), 0U);
}
