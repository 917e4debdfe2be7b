// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/solving/MarkerCalibrator.h>

#include "kit/solving/SolvingTesting.h"

#include <tarn/Character.h>

#include <gtest/gtest.h>

#include <cmath>
#include <thread>

using namespace solving_testing;

namespace {

/// A character that is calibrated with frames of a body that is known.
class MarkerCalibratorTest : public ::testing::Test {
protected:
    MarkerCalibratorTest() {
        calibrator.setSolver(&solver);
        character.setActor(&actor);
        character.setSolver(&solver);
        character.addCalibrator(&calibrator, true);
    }
    ~MarkerCalibratorTest() override { character.setTracks(nullptr); }

    void show(int count, double noise = 1) {
        std::mt19937 random(5);
        std::vector<std::shared_ptr<Frame>> frames;
        frames.reserve(static_cast<std::size_t>(count));
        for (int i = 0; i < count; ++i) {
            const Truth truth = truthAt(body, 0.05 * i);
            frames.push_back(frameOf(markersOf(truth, noise, random), static_cast<unsigned>(i)));
        }
        character.setTracks(takeOf(markerDataType, frames, 100));
        for (int i = 0; i < count; ++i) {
            character.tracks()->setCurrentTime(i);
        }
    }

    static MarkerBody performer() {
        MarkerBody body = someBody();
        body.body.setLength("LeftUpLeg", 0.44);
        body.body.setLength("RightUpLeg", 0.44);
        body.body.setLength("LeftForeArm", 0.27);
        body.body.setLength("RightForeArm", 0.27);
        for (BodyMarker& marker : body.markers) {
            marker.offset = marker.offset + Vector3d{0.004, -0.006, 0.005};
        }
        return body;
    }

    MarkerBody body = performer();
    MarkerSet set = MarkerSet::load("cmu41");
    MarkerSolver solver{"s", MarkerBody::generic(set), sourceOf(body)};
    MarkerCalibrator calibrator{"c", set};
    Actor actor;
    Character character{"1", "Anna"};
};

double lengthIn(const MarkerBody& body, const std::string& name) {
    for (const HumanLength& length : body.body.lengths()) {
        if (length.name == name) {
            return length.metres;
        }
    }
    return std::nan("");
}

} // namespace

TEST_F(MarkerCalibratorTest, FindsLengthsAndTellsActorAndSolver) {
    std::vector<float> progress;
    calibrator.onProgress().connect([&](float part) { progress.push_back(part); });
    character.beginCalibrate();
    show(80);
    EXPECT_TRUE(calibrator.isCalibrating());
    EXPECT_EQ(calibrator.collectedFrames(), 80);
    character.endCalibrate();
    EXPECT_FALSE(calibrator.isCalibrating());
    const CalibrationReport& report = calibrator.report();
    ASSERT_TRUE(report.isGood()) << report.error;
    EXPECT_LT(report.markerRms, 0.004);
    EXPECT_EQ(report.frames, 80);
    for (const LengthUncertainty& length : report.body.uncertainties) {
        const bool isHeight = length.length == "Height";
        const double truth = isHeight ? body.body.stature() : lengthIn(body, length.length);
        const double found =
            isHeight ? report.body.body.height() : lengthIn(report.body, length.length);
        EXPECT_LT(std::abs(found - truth), std::max(0.03 * std::abs(truth), 3 * length.metres))
            << length.length << " " << found << " " << truth;
        EXPECT_GT(length.metres, 0.0001) << length.length;
    }
    EXPECT_NEAR(static_cast<double>(actor.bodyDimension("LeftUpLeg", 0)),
                lengthIn(report.body, "LeftUpLeg"), 1e-6);
    EXPECT_EQ(MarkerBody::of(actor).markers.size(), 41U);
    ASSERT_GT(report.body.usualTurns.size(), 1U);
    EXPECT_GT(report.body.usualTurns[1].spread.x, 0); // what was learnt of turns goes along
    EXPECT_GT(lengthOf(report.body.usualTurns[1].turn), 1);
    EXPECT_NEAR(lengthIn(solver.body(), "LeftUpLeg"), lengthIn(report.body, "LeftUpLeg"), 1e-12);
    EXPECT_EQ(progress.front(), 0);
    EXPECT_EQ(progress.back(), 1);
    EXPECT_TRUE(std::is_sorted(progress.begin(), progress.end()));
}

TEST_F(MarkerCalibratorTest, FindsHowTallThePerformerStands) {
    // Long legs under a long trunk: from limbs alone the height cannot be guessed.
    for (const char* length : {"Spine", "Spine1", "Spine2", "Neck", "LeftLeg", "RightLeg"}) {
        body.body.setLength(length, 1.12 * lengthIn(body, length));
    }
    const double truth = body.body.stature();
    ASSERT_GT(truth, 1.76);
    character.beginCalibrate();
    show(80);
    character.endCalibrate();
    const MarkerBody& found = calibrator.report().body;
    EXPECT_NEAR(found.body.height(), found.body.stature(), 1e-9);
    EXPECT_NEAR(static_cast<double>(actor.bodyDimension("Height", 0)), found.body.stature(), 1e-6);
    ASSERT_EQ(found.uncertainties.back().length, "Height");
    const double uncertainty = found.uncertainties.back().metres;
    EXPECT_GT(uncertainty, 0.0001);
    EXPECT_LT(uncertainty, 0.03);
    EXPECT_NEAR(found.body.stature(), truth, 2 * uncertainty);
    EXPECT_EQ(MarkerBody::of(actor).uncertainties.back().length, "Height");
}

TEST_F(MarkerCalibratorTest, ChangesNothingWhenItIsCancelled) {
    character.beginCalibrate();
    show(20);
    character.cancelCalibrate();
    EXPECT_EQ(calibrator.collectedFrames(), 0);
    EXPECT_THROW(MarkerBody::of(actor), MarkerBodyError);
    EXPECT_FALSE(calibrator.report().isGood());
}

TEST_F(MarkerCalibratorTest, StopsInTheMiddleOfTheFitWhenItIsCancelled) {
    calibrator.onProgress().connect([&](float part) {
        if (part > 0.5F) {
            calibrator.cancel();
        }
    });
    character.beginCalibrate();
    show(20);
    character.endCalibrate();
    EXPECT_FALSE(calibrator.isCalibrating());
    EXPECT_THROW(MarkerBody::of(actor), MarkerBodyError);
}

TEST_F(MarkerCalibratorTest, NamesTheMarkersOfASetThatDoesNotFitTheTake) {
    MarkerSolver other("o", someBody("gait16"), sourceOf(someBody("gait16")));
    calibrator.setSolver(&other);
    const MarkerBody legs = someBody("gait16");
    std::mt19937 random(5);
    character.beginCalibrate();
    std::vector<std::shared_ptr<Frame>> frames;
    for (unsigned i = 0; i < 20; ++i) {
        frames.push_back(frameOf(markersOf(truthAt(legs, 0.1 * i), 0, random), i));
    }
    character.setTracks(takeOf(markerDataType, frames, 100));
    for (int i = 0; i < 20; ++i) {
        character.tracks()->setCurrentTime(i);
    }
    character.endCalibrate();
    EXPECT_NE(calibrator.report().error.find("RELB"), std::string::npos)
        << calibrator.report().error;
    EXPECT_THROW(MarkerBody::of(actor), MarkerBodyError);
}

TEST_F(MarkerCalibratorTest, SaysWhyNoBodyComesOfDegenerateFrames) {
    const auto errorOf = [&](const Marker& marker, int count) {
        character.beginCalibrate();
        std::vector<std::shared_ptr<Frame>> frames;
        frames.reserve(static_cast<std::size_t>(count));
        for (int i = 0; i < count; ++i) {
            frames.push_back(frameOf(std::vector<Marker>(41, marker), static_cast<unsigned>(i)));
        }
        character.setTracks(takeOf(markerDataType, frames, 100));
        for (int i = 0; i < count; ++i) {
            character.tracks()->setCurrentTime(i);
        }
        character.endCalibrate();
        return calibrator.report().error;
    };
    EXPECT_NE(errorOf(Marker(), 0).find("no frames"), std::string::npos);
    EXPECT_NE(errorOf(Marker(), 20).find("0 of the 41"), std::string::npos);
    EXPECT_NE(errorOf(Marker::at({1, 2, 3}), 20).find("apart"), std::string::npos);
    EXPECT_NE(errorOf(Marker::at({1, 2, 3}), 3).find("it takes 10"), std::string::npos);
    EXPECT_NE(errorOf(Marker::at({NAN, 2, 3}), 20).find("0 of the 41"), std::string::npos);
}

TEST_F(MarkerCalibratorTest, GivesBackTheFramesItCollected) {
    EXPECT_EQ(calibrator.calibrationData(), nullptr);
    character.beginCalibrate();
    show(15);
    const auto data = calibrator.calibrationData();
    ASSERT_NE(data, nullptr);
    EXPECT_EQ(data->timeLength(), 15);
    calibrator.truncCalibrationData();
    EXPECT_EQ(calibrator.collectedFrames(), 0);
    calibrator.setCalibrationData(data);
    EXPECT_EQ(calibrator.collectedFrames(), 15);
    character.cancelCalibrate();
}

TEST(MarkerCalibrator, TakesATakeOfAnotherSetForWhatItIs) {
    // A take of the whole body has most of the markers of the legs, and none of the hips'.
    const MarkerBody whole = someBody("cmu41");
    MarkerSolver solver("s", whole, sourceOf(whole));
    MarkerCalibrator calibrator("c", MarkerSet::load("gait16"));
    calibrator.setSolver(&solver);
    std::mt19937 random(5);
    std::vector<std::shared_ptr<Frame>> frames;
    frames.reserve(20);
    for (unsigned i = 0; i < 20; ++i) {
        frames.push_back(frameOf(markersOf(truthAt(whole, 0.1 * i), 1, random), i));
    }
    calibrator.setCalibrationData(takeOf(markerDataType, frames, 100));
    calibrator.finish();
    EXPECT_NE(calibrator.report().error.find("LASI"), std::string::npos)
        << calibrator.report().error;
    // Without some that nothing depends on it goes on, and names them.
    MarkerSource source = sourceOf(whole);
    for (std::string& name : source.names) {
        if (name == "LFIN" || name == "RTHI") {
            name += "-1";
        }
    }
    MarkerSolver most("m", whole, source);
    MarkerCalibrator patient("p", MarkerSet::load("cmu41"));
    patient.setSolver(&most);
    patient.setCalibrationData(takeOf(markerDataType, frames, 100));
    patient.finish();
    EXPECT_EQ(patient.report().error, "");
    EXPECT_EQ(patient.report().missingMarkers.size(), 2U);
}

// Bodies and markers are drawn as people differ; what is found is as far from them as it says.
TEST(MarkerCalibrator, StatesUncertaintiesThatHoldOverManyBodies) {
    std::mt19937 random(11);
    std::normal_distribution<double> normal;
    double squares = 0;
    double squaresInMetres = 0;
    int count = 0;
    int outside = 0;
    const HumanBody usual(1.70);
    for (int draw = 0; draw < 12; ++draw) {
        MarkerBody body = someBody("gait16");
        for (const HumanLength& length : usual.lengths()) {
            body.body.setLength(length.name, length.metres + length.spread * normal(random));
        }
        for (BodyMarker& marker : body.markers) {
            const Vector3d off = {normal(random), normal(random), normal(random)};
            marker.offset = marker.offset + 0.01 * off;
        }
        MarkerSolver solver("s", body, sourceOf(body));
        MarkerCalibrator calibrator("c", MarkerSet::load("gait16"));
        calibrator.setSolver(&solver);
        std::vector<std::shared_ptr<Frame>> frames;
        frames.reserve(60);
        for (unsigned i = 0; i < 60; ++i) {
            frames.push_back(frameOf(markersOf(truthAt(body, 0.1 * i), 1, random), i));
        }
        calibrator.setCalibrationData(takeOf(markerDataType, frames, 100));
        calibrator.finish();
        ASSERT_EQ(calibrator.report().error, "");
        const MarkerBody& found = calibrator.report().body;
        for (const LengthUncertainty& length : found.uncertainties) {
            if (length.length.find("Leg") != std::string::npos) {
                const double off = lengthIn(found, length.length) - lengthIn(body, length.length);
                const double ratio = off / length.metres;
                squares += ratio * ratio;
                squaresInMetres += off * off;
                outside += std::abs(ratio) > 2 ? 1 : 0;
                ++count;
            }
        }
    }
    ASSERT_EQ(count, 48);
    // One standard deviation, with a margin on the side of caution.
    EXPECT_LT(std::sqrt(squares / count), 1.2);
    EXPECT_GT(std::sqrt(squares / count), 0.25);
    EXPECT_LE(outside, 5);
    EXPECT_LT(std::sqrt(squaresInMetres / count), 0.008);
}

TEST(MarkerCalibrator, IsThereForAMarkerSolverOnly) {
    MarkerCalibrator calibrator("c", MarkerSet::load("cmu41"));
    EXPECT_FALSE(calibrator.isAvailable());
    EXPECT_FALSE(calibrator.start());
    EXPECT_EQ(calibrator.solverType(), "markers");
}

TEST(MarkerCalibratorThreads, ProgressMayBePolledWhileFramesCome) {
    const MarkerBody body = someBody();
    MarkerSolver solver("s", body, sourceOf(body));
    MarkerCalibrator calibrator("c", MarkerSet::load("cmu41"));
    calibrator.setSolver(&solver);
    calibrator.start();
    std::thread poller([&] {
        for (int i = 0; i < 100; ++i) {
            EXPECT_LE(calibrator.currentCalibrateProgress(), 1);
            EXPECT_TRUE(calibrator.isCalibrating());
        }
    });
    std::mt19937 random(1);
    for (unsigned i = 0; i < 30; ++i) {
        auto timeline = std::make_shared<Timeline>(Time(i, 100));
        timeline->addFrame(frameOf(markersOf(truthAt(body, 0.1 * i), 0, random), i));
        calibrator.flushFrame(timeline);
    }
    poller.join();
    EXPECT_EQ(calibrator.collectedFrames(), 30);
    calibrator.cancel();
}
