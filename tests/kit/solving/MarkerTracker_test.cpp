// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

// What goes wrong with labels and measurements in a take, and what a solver makes of it all the
// same.

#include "kit/solving/SolvingTesting.h"

#include <tarn_kit/solving/MarkerFit.h>

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

using namespace solving_testing;

namespace {

class FaultyTake : public ::testing::Test {
protected:
    /// What is measured of frame `index`, with a millimetre of noise.
    std::vector<Marker> measure(unsigned index, double framesPerSecond = 100) {
        truth = truthAt(body, index / framesPerSecond, heading);
        return markersOf(truth, 1, random);
    }
    void solve(const std::vector<Marker>& markers) {
        solver.clearInput();
        solver.addInput(frameOf(markers, next++));
        ASSERT_TRUE(solver.evaluate());
    }
    std::size_t markerOf(const std::string& name) const {
        return static_cast<std::size_t>(set.markerOf(name));
    }
    const FittedMarker& fitted(const std::string& name) { return fitIn(solver)[markerOf(name)]; }
    int countOf(MarkerVerdict verdict) {
        int count = 0;
        for (const FittedMarker& marker : fitIn(solver)) {
            count += marker.verdict == verdict ? 1 : 0;
        }
        return count;
    }

    MarkerSet set = MarkerSet::load("cmu41");
    MarkerBody body = someBody();
    Quaterniond heading;
    std::mt19937 random{11};
    Truth truth;
    unsigned next = 0;
    MarkerSolver solver{"s", body, sourceOf(body)};
};

} // namespace

TEST_F(FaultyTake, MarkersThatStayWhereTheyWereLastSeenAreDoubted) {
    const std::array<const char*, 4> frozen = {"LWRA", "LKNE", "RANK", "C7"};
    double worst = 0;
    std::vector<Marker> last;
    for (unsigned i = 0; i < 150; ++i) {
        std::vector<Marker> markers = measure(i);
        for (const char* name : frozen) {
            if (i > 10) {
                markers[markerOf(name)] = last[markerOf(name)];
            }
        }
        last = markers;
        solve(markers);
        worst = std::max(worst, worstMissOf(solver, truth));
    }
    EXPECT_LT(worst, 13);
    for (const char* name : frozen) {
        EXPECT_EQ(fitted(name).verdict, MarkerVerdict::Doubted) << name;
    }
}

TEST_F(FaultyTake, ABodyThatStandsStillIsBelieved) {
    std::vector<Marker> markers = measure(0);
    markers[markerOf("RKNE")].position.y += 25; // it has slipped
    for (int i = 0; i < 20; ++i) {
        solve(markers);
        ASSERT_EQ(countOf(MarkerVerdict::Believed), static_cast<int>(markers.size())) << i;
    }
}

TEST_F(FaultyTake, FeetThatStandStillAreBelievedWhileTheRestMoves) {
    std::vector<Marker> still = measure(0);
    for (unsigned i = 0; i < 30; ++i) {
        std::vector<Marker> markers = measure(0);
        for (const std::string name : {"ANK", "HEE", "MT5", "TOE", "SHN"}) {
            markers[markerOf("L" + name)] = still[markerOf("L" + name)];
        }
        solve(markers);
        ASSERT_EQ(countOf(MarkerVerdict::Believed), static_cast<int>(markers.size())) << i;
        ASSERT_LT(missOf(solver, truth, "LeftFoot"), 8) << i;
    }
}

TEST_F(FaultyTake, FramesThatComeSeveralTimesAreBelieved) {
    for (unsigned i = 0; i < 40; ++i) {
        const std::vector<Marker> markers = measure(i, 25);
        for (int again = 0; again < 5; ++again) {
            solve(markers);
            ASSERT_EQ(countOf(MarkerVerdict::Doubted), 0) << i;
            ASSERT_LT(worstMissOf(solver, truth), 15) << i;
        }
    }
}
