// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_store/file/StoredTakes.h>

#include "support/Samples.h"
#include "support/TemporaryDirectory.h"

#include <tarn_kit/files/Bvh.h>
#include <tarn_kit/files/C3d.h>
#include <tarn_store/recording/TakeRecorder.h>

#include <gtest/gtest.h>

#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace tarn::store {
namespace {

using tarn::testing::TemporaryDirectory;

struct Part {
    int dataType;
    TrackDescription description;
    std::shared_ptr<Tracks> take;
    std::set<int> lost;
};

/// Frame indexes begin at 1000, wherever the take's begin.
void record(const std::string& file, const std::vector<Part>& parts) {
    RecorderOptions options;
    options.whenFull = WhenFull::Wait;
    TakeRecorder recorder(file, options);
    std::vector<tsignal::Signal<std::shared_ptr<Frame>>> ports(parts.size());
    for (std::size_t i = 0; i < parts.size(); ++i) {
        recorder.tieToIFramePort(recorder.addTrack(parts[i].dataType, parts[i].description),
                                 ports[i]);
    }
    recorder.start();
    for (std::size_t i = 0; i < parts.size(); ++i) {
        for (int k = 0; k < parts[i].take->timeLength(); ++k) {
            if (parts[i].lost.count(k) == 0) {
                auto frame =
                    std::make_shared<Frame>(*parts[i].take->getFrame(k, parts[i].dataType));
                frame->setTime(Time(1000 + static_cast<unsigned>(k), frame->time().fps()));
                ports[i].emit(frame);
            }
        }
    }
    recorder.end();
}

std::string bvhOf(const kit::BvhTake& take) {
    std::ostringstream text;
    kit::writeBvh(take, text);
    return text.str();
}

Part body(const kit::BvhTake& take, const std::string& subject, std::set<int> lost = {}) {
    return {kit::poseDataType, TrackDescription::of(take, subject), take.tracks, std::move(lost)};
}

TEST(StoredTakes, GiveBackTheBodyThatWasRecorded) {
    const TemporaryDirectory directory;
    const auto take = kit::readBvh(tarn::testing::samplePath("cmu_131_01_walk.bvh"));
    record(directory / "take.tarn", {body(take, "Ada")});
    EXPECT_TRUE(isTakeFile(directory / "take.tarn"));
    TakeReader reader(directory / "take.tarn");
    EXPECT_FALSE(holdsMarkersOnly(reader));
    const auto again = bodyTakeOf(reader);
    EXPECT_EQ(again.exactRate(), take.exactRate());
    kit::BvhTake same = again;
    same.frameTime = take.frameTime;
    EXPECT_EQ(bvhOf(same), bvhOf(take));
    EXPECT_EQ(again.tracks->getFrame(3, kit::poseDataType)->time(),
              take.tracks->getFrame(3, kit::poseDataType)->time());
}

TEST(StoredTakes, HoldThePoseBeforeOneThatWasLost) {
    const TemporaryDirectory directory;
    const auto take = kit::readBvh(tarn::testing::samplePath("cmu_131_01_walk.bvh"));
    record(directory / "take.tarn", {body(take, "Ada", {5, 6})});
    TakeReader reader(directory / "take.tarn");
    const auto again = bodyTakeOf(reader);
    ASSERT_EQ(again.tracks->timeLength(), take.tracks->timeLength());
    const auto values = [](const kit::BvhTake& of, int index) {
        return of.tracks->getFrame(index, kit::poseDataType)->dataAs<kit::Pose>().values;
    };
    EXPECT_EQ(values(again, 6), values(take, 4));
    EXPECT_EQ(values(again, 7), values(take, 7));
    EXPECT_EQ(again.tracks->getFrame(6, kit::poseDataType)->time().frameIndex(), 6U);
}

TEST(StoredTakes, AreToldByTheirSubjects) {
    const TemporaryDirectory directory;
    const auto take = kit::readBvh(tarn::testing::samplePath("cmu_131_01_walk.bvh"));
    record(directory / "take.tarn", {body(take, "Ada"), body(take, "Bo")});
    TakeReader reader(directory / "take.tarn");
    EXPECT_EQ(bodiesIn(reader), (std::vector<std::string>{"Ada", "Bo"}));
    EXPECT_EQ(bodyTakeOf(reader, "Bo").tracks->tracksName(), "Bo");
    try {
        bodyTakeOf(reader);
        FAIL();
    } catch (const StoreError& error) {
        EXPECT_EQ(error.reason(), "holds several bodies: Ada, Bo");
    }
    EXPECT_THROW(bodyTakeOf(reader, "Cy"), StoreError);
    EXPECT_THROW(markerTakeOf(reader), StoreError);
}

TEST(StoredTakes, GiveBackTheMarkersThatWereRecorded) {
    const TemporaryDirectory directory;
    const auto take = kit::readC3d(tarn::testing::samplePath("cmu_85_02.c3d"));
    record(directory / "take.tarn",
           {{kit::markerDataType, TrackDescription::of(take, ""), take.tracks, {2}}});
    TakeReader reader(directory / "take.tarn");
    EXPECT_TRUE(holdsMarkersOnly(reader));
    const auto again = markerTakeOf(reader);
    EXPECT_EQ(again.rate, take.rate);
    EXPECT_EQ(again.unit, take.unit);
    EXPECT_EQ(again.metresPerUnit, take.metresPerUnit);
    ASSERT_EQ(again.markers.size(), take.markers.size());
    EXPECT_EQ(again.markers[1].label(), take.markers[1].label());
    ASSERT_EQ(again.frameCount, take.frameCount);
    const auto marker = [](const kit::C3dTake& of, int frame) {
        return of.tracks->getFrame(frame, kit::markerDataType)->dataAs<kit::MarkerFrame>()[0];
    };
    EXPECT_EQ(marker(again, 1).position.x, marker(take, 1).position.x);
    EXPECT_FALSE(marker(again, 2).hasPosition());
}

TEST(StoredTakes, AreNotOtherFiles) {
    const TemporaryDirectory directory;
    tarn::testing::writeFile(directory / "text", "SQLite");
    EXPECT_FALSE(isTakeFile(directory / "text"));
    EXPECT_FALSE(isTakeFile(directory / "none"));
    EXPECT_FALSE(isTakeFile(directory.path()));
}

} // namespace
} // namespace tarn::store
