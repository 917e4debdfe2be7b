// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "takes/StoredSource.h"

#include "support/Samples.h"
#include "support/TemporaryDirectory.h"
#include "takes/TakeSource.h"

#include <gmock/gmock.h>
#include <tarn_kit/body/Payload.h>
#include <tarn_kit/files/Bvh.h>
#include <tarn_kit/files/C3d.h>
#include <tarn_store/recording/TakeRecorder.h>

#include <memory>
#include <string>
#include <vector>

namespace tarn::capture {
namespace {

using ::testing::IsEmpty;
using ::testing::SizeIs;
using testing::TemporaryDirectory;
using Port = tsignal::Signal<std::shared_ptr<Frame>>;

/// A recording of two bodies and of markers, 120 times a second, of which each begins later than
/// the one before.
class StoredSources : public ::testing::Test {
protected:
    void SetUp() override {
        store::RecorderOptions options;
        options.whenFull = store::WhenFull::Wait;
        store::TakeRecorder recorder(file_, options);
        using store::TrackDescription;
        const int ann = recorder.addTrack(kit::poseDataType, TrackDescription::of(walk_, "Ann"));
        const int bob = recorder.addTrack(kit::poseDataType, TrackDescription::of(walk_, "Bob"));
        const int cam = recorder.addTrack(kit::markerDataType, TrackDescription::of(jump_, "Cam"));
        Port annPort;
        Port bobPort;
        Port camPort;
        recorder.tieToIFramePort(ann, annPort);
        recorder.tieToIFramePort(bob, bobPort);
        recorder.tieToIFramePort(cam, camPort);
        recorder.start();
        send(annPort, *walk_.tracks, kit::poseDataType, 100);
        send(bobPort, *walk_.tracks, kit::poseDataType, 130);
        send(camPort, *jump_.tracks, kit::markerDataType, 160);
        store::Note note;
        note.frame = 160;
        note.text = "Cam comes";
        recorder.addNote(note);
        recorder.end();
    }
    static void send(Port& port, Tracks& take, int dataType, unsigned first) {
        for (unsigned i = 0; i < 20; ++i) {
            auto frame = std::make_shared<Frame>(*take.getFrame(static_cast<int>(i), dataType));
            frame->setTime(Time(first + i, 120));
            port.emit(frame);
        }
    }

    const TemporaryDirectory directory_;
    const std::string file_ = directory_ / "all.tarn";
    const kit::BvhTake walk_ = kit::readBvh(testing::samplePath("cmu_131_01_walk.bvh"));
    const kit::C3dTake jump_ = kit::readC3d(testing::samplePath("cmu_85_02.c3d"));
};

TEST_F(StoredSources, AreEverybodyAtTheirTime) {
    StoredSource source(file_, "");
    const auto performers = source.performers({});
    ASSERT_THAT(performers, SizeIs(2));
    EXPECT_EQ(performers[0].name, "Ann");
    EXPECT_EQ(performers[1].name, "Bob");
    const auto pose = [](const kit::PerformerTake& performer, int frame) {
        return kit::payloadIf<kit::Pose>(performer.take->getFrame(frame, kit::poseDataType));
    };
    ASSERT_EQ(performers[0].take->timeLength(), 20);
    ASSERT_EQ(performers[1].take->timeLength(), 50);
    EXPECT_EQ(pose(performers[1], 29), nullptr) << "Bob comes after 30 frames";
    ASSERT_NE(pose(performers[1], 30), nullptr);
    EXPECT_EQ(pose(performers[1], 30)->values, pose(performers[0], 0)->values);
    EXPECT_EQ(performers[1].firstFrame, 100) << "the numbers are those of the recording";

    const auto markers = source.markers({});
    ASSERT_THAT(markers, SizeIs(1));
    const view::MarkerCloud& cloud = markers[0].cloud;
    EXPECT_EQ(cloud.name, "Cam");
    ASSERT_EQ(cloud.take->timeLength(), 80);
    EXPECT_EQ(cloud.take->getFrame(59, kit::markerDataType), nullptr);
    const auto seen = cloud.take->getFrame(60, kit::markerDataType);
    const auto sent = jump_.tracks->getFrame(0, kit::markerDataType);
    EXPECT_EQ(kit::payloadOf<kit::MarkerFrame>(seen)[0].position.x,
              kit::payloadOf<kit::MarkerFrame>(sent)[0].position.x);
}

TEST_F(StoredSources, AreOneSubjectIfThatIsAskedFor) {
    StoredSource bob(file_, "Bob");
    ASSERT_THAT(bob.performers({}), SizeIs(1));
    EXPECT_EQ(bob.performers({})[0].name, "Bob");
    EXPECT_THAT(bob.markers({}), IsEmpty());
    StoredSource cam(file_, "Cam");
    EXPECT_THAT(cam.performers({}), IsEmpty());
    EXPECT_THAT(cam.markers({}), SizeIs(1));
}

TEST_F(StoredSources, TellWhatWasNotedAndWhen) {
    const auto notes = StoredSource(file_, "").notes();
    ASSERT_THAT(notes, SizeIs(1));
    EXPECT_EQ(notes[0].label, "Cam comes");
    EXPECT_NEAR(notes[0].seconds, 0.5, 1e-9);
}

TEST_F(StoredSources, AreKnownByTheirNamesOnTheCommandLine) {
    EXPECT_THAT(performersOf({file_}, {}), SizeIs(2));
    const auto twice = performersOf({file_ + "#Bob", file_}, {});
    ASSERT_THAT(twice, SizeIs(3));
    EXPECT_EQ(twice[2].name, "Bob-2");
    EXPECT_THROW(performersOf({file_ + "#Nobody"}, {}), store::StoreError);
}

TEST_F(StoredSources, TakeTheUnitFromTheUser) {
    SpaceChoice space;
    space.unit = kit::lengthUnitNamed("m");
    StoredSource source(file_, "");
    EXPECT_EQ(source.performers(space)[0].rig->space().unit.metres, 1);
    EXPECT_EQ(source.markers(space)[0].cloud.metresPerUnit, 1);
}

} // namespace
} // namespace tarn::capture
