// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/solving/MarkerCalibrator.h>

#include "kit/solving/SolvingTesting.h"

#include <tarn/Character.h>
#include <tarn_kit/files/Text.h>

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
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

    /// What is wrong with the markers of a frame.
    using Fault = std::function<void(int, std::vector<Marker>&)>;

    void show(int count, const Fault& fault = nullptr) {
        std::mt19937 random(5);
        std::vector<std::shared_ptr<Frame>> frames;
        frames.reserve(static_cast<std::size_t>(count));
        for (int i = 0; i < count; ++i) {
            const Truth truth = truthAt(body, 0.05 * i);
            std::vector<Marker> markers = markersOf(truth, 1, random);
            if (fault != nullptr) {
                fault(i, markers);
            }
            frames.push_back(frameOf(std::move(markers), static_cast<unsigned>(i)));
        }
        character.setTracks(takeOf(markerDataType, frames, 100));
        for (int i = 0; i < count; ++i) {
            character.tracks()->setCurrentTime(i);
        }
    }

    const CalibrationReport& calibrate(int count, const Fault& fault = nullptr) {
        character.beginCalibrate();
        show(count, fault);
        character.endCalibrate();
        return calibrator.report();
    }

    std::size_t marker(const char* name) const {
        return static_cast<std::size_t>(set.markerOf(name));
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

/// How far lengths and places of markers of two bodies differ at most, in metres.
double differenceOf(const MarkerBody& a, const MarkerBody& b) {
    double most = 0;
    for (std::size_t l = 0; l < a.body.lengths().size(); ++l) {
        const double difference = a.body.lengths()[l].metres - b.body.lengths()[l].metres;
        most = std::max(most, std::abs(difference));
    }
    for (std::size_t m = 0; m < a.markers.size(); ++m) {
        most = std::max(most, lengthOf(a.markers[m].offset - b.markers[m].offset));
    }
    return most;
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

TEST_F(MarkerCalibratorTest, FindsHowFarApartTheShouldersAreOnEachSide) {
    body.body.setLength("LeftShoulderWidth", 0.045);
    body.body.setLength("RightShoulderWidth", 0.010);
    const MarkerBody& found = calibrate(150).body;
    EXPECT_NEAR(lengthIn(found, "LeftShoulderWidth"), 0.045, 0.008); // people: 0.021
    EXPECT_NEAR(lengthIn(found, "RightShoulderWidth"), 0.010, 0.008);
    EXPECT_GT(lengthIn(MarkerBody::of(actor), "LeftShoulderWidth"), 0.037);
}

TEST_F(MarkerCalibratorTest, PutsLabelsRightThatAreExchangedInMostFrames) {
    // Where these two sit is told by frames alone in which they carry each other's label.
    for (const char* const knee : {"LKNE", "RKNE"}) {
        Vector3d& offset = body.markers[marker(knee)].offset;
        offset = offset + Vector3d{0, 0.03, 0.01};
    }
    const MarkerBody& found = calibrate(80, [&](int frame, std::vector<Marker>& markers) {
                                  if (frame > 4) {
                                      std::swap(markers[marker("LKNE")], markers[marker("RKNE")]);
                                  }
                              }).body;
    for (const char* const knee : {"LKNE", "RKNE"}) {
        const Vector3d off = found.markers[marker(knee)].offset - body.markers[marker(knee)].offset;
        EXPECT_LT(lengthOf(off), 0.018) << knee;
    }
}

TEST_F(MarkerCalibratorTest, NamesAMarkerThatIsNotWhereTheSetSays) {
    const CalibrationReport& report = calibrate(80, [&](int, std::vector<Marker>& markers) {
        markers[marker("LKNE")] = markers[marker("RSHN")]; // on the other leg
        markers[marker("LKNE")].position.x += 15;
    });
    ASSERT_TRUE(report.isGood()) << report.error;
    const auto spot = std::find_if(report.weakSpots.begin(), report.weakSpots.end(),
                                   [](const WeakSpot& weak) { return weak.name == "LKNE"; });
    ASSERT_NE(spot, report.weakSpots.end());
    EXPECT_NE(spot->reason.find("not where the body has it"), std::string::npos) << spot->reason;
    EXPECT_NE(spot->advice.find("label"), std::string::npos) << spot->advice;
    EXPECT_GT(report.markerErrors[marker("LKNE")], 0.1);
    EXPECT_LT(report.markerErrors[marker("RKNE")], 0.004);
    EXPECT_NEAR(lengthIn(report.body, "LeftUpLeg"), 0.44, 0.01);
}

TEST(MarkerCalibrator, FindsWhereMarkersSitOfWhichASetSaysLittleOrWhatIsWrong) {
    const MarkerBody body = someBody();
    std::mt19937 random(5);
    std::vector<std::shared_ptr<Frame>> frames;
    frames.reserve(80);
    for (unsigned i = 0; i < 80; ++i) {
        frames.push_back(frameOf(markersOf(truthAt(body, 0.05 * i), 1, random), i));
    }
    const auto calibrated = [&](const MarkerSet& set) {
        MarkerSolver solver("s", MarkerBody::generic(set), sourceOf(body));
        MarkerCalibrator calibrator("c", set);
        calibrator.setSolver(&solver);
        calibrator.setCalibrationData(takeOf(markerDataType, frames, 100));
        calibrator.finish();
        return calibrator.report();
    };
    MarkerSet set = MarkerSet::load("cmu41");
    const CalibrationReport usual = calibrated(set);
    const auto indexOf = [&](const char* name) {
        return static_cast<std::size_t>(set.markerOf(name));
    };
    for (const char* const name : {"LKNE", "RANK", "LELB"}) { // the segment alone
        set.markers[indexOf(name)].along = 0;
        set.markers[indexOf(name)].offset = {};
    }
    set.markers[indexOf("RTHI")].along = 0.1; // it is in the middle of the thigh
    set.markers[indexOf("RTHI")].offset.z = -0.1;
    const CalibrationReport report = calibrated(set);
    ASSERT_TRUE(report.isGood()) << report.error;
    for (const char* const name : {"LKNE", "RANK", "LELB", "RTHI"}) {
        const std::size_t m = indexOf(name);
        EXPECT_LT(report.markerErrors[m], 0.004) << name;
        EXPECT_LT(lengthOf(report.body.markers[m].offset - body.markers[m].offset), 0.009) << name;
    }
    // What a set does not say is less certain.
    EXPECT_GT(report.body.markers[indexOf("LKNE")].uncertainty,
              1.22 * usual.body.markers[indexOf("LKNE")].uncertainty);
    const auto spot = std::find_if(report.weakSpots.begin(), report.weakSpots.end(),
                                   [](const WeakSpot& weak) { return weak.name == "RTHI"; });
    ASSERT_NE(spot, report.weakSpots.end());
    EXPECT_NE(spot->reason.find("from where the marker set says"), std::string::npos)
        << spot->reason;
}

TEST_F(MarkerCalibratorTest, IsNotPutOffByGhostsFarAway) {
    const MarkerBody clean = calibrate(80).body;
    const CalibrationReport& report = calibrate(80, [&](int frame, std::vector<Marker>& markers) {
        if (frame % 9 == 4) {
            markers[marker("LFIN")] = Marker::at({20000, 0, 0});
        }
    });
    ASSERT_TRUE(report.isGood()) << report.error;
    EXPECT_LT(differenceOf(report.body, clean), 0.004);
}

TEST_F(MarkerCalibratorTest, SaysInWhichUnitTheFramesWouldShowABody) {
    const CalibrationReport& report = calibrate(20, [&](int, std::vector<Marker>& markers) {
        for (Marker& one : markers) { // they are said to be in millimetres
            one.position = toSingle(0.001 * toDouble(one.position));
        }
    });
    EXPECT_NE(report.error.find("In m it would be one"), std::string::npos) << report.error;
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
    // However a program writes their names, they are there.
    for (std::string& name : source.names) {
        name = lowered(name);
    }
    MarkerSolver small("m", whole, source);
    patient.setSolver(&small);
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
