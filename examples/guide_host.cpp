// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

// The host that docs/guide.md builds step by step.
#include <tarn/tarn.h>
#include <tarn_kit/devices/ReplayDevice.h>
#include <tarn_kit/files/Bvh.h>
#include <tarn_kit/processing/BodyDimensionCalibrator.h>
#include <tarn_kit/processing/ForwardKinematicsSolver.h>
#include <tarn_kit/session/RecorderNode.h>

#include <algorithm>
#include <future>
#include <iostream>
#include <memory>
#include <string>

namespace {

// Solves what a character's take shows, and hands the body on.
void solveLive(tarn::Solver& solver, tarn::Timeline& timeline,
               tsignal::Signal<std::shared_ptr<tarn::Frame>>& solved) {
    const auto pose = timeline.frame(tarn::kit::poseDataType);
    if (pose == nullptr) {
        return; // the take shows nothing at this frame index
    }
    solver.clearInput(); // a solver keeps what it was given until it is told otherwise
    solver.clearOutput();
    solver.addInput(pose);
    if (solver.evaluate()) {
        solved.emit(solver.getOutput(tarn::kit::bodyDataType)->getFrame(0));
    }
}

// Waits until a device has streamed its take to the end.
void streamToTheEnd(tarn::Device& device) {
    device.syncRequest(std::make_shared<tarn::Request>("rate", 0.0)); // as fast as it goes
    std::promise<void> ended;
    const tsignal::ScopedConnection connection(
        device.onStateChanged().connect([&ended](tarn::Device::DeviceState state) {
            if (state == tarn::Device::Ready) {
                ended.set_value(); // on the device's thread
            }
        }));
    if (*device.syncRequest("start")) { // one that is refused streams nothing to wait for
        ended.get_future().wait();
    }
    device.syncRequest("status"); // answered once the device has left its slots
}

void play(tarn::Tracks& take, int frames) {
    for (int i = 0; i < frames; ++i) {
        take.setCurrentTime(i);
    }
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::cerr << "usage: guide_host TAKE.bvh DIRECTORY\n";
        return 2;
    }
    const std::string file = argv[1];
    const std::string directory = argv[2];

    // The scene, and a character in it.
    tarn::Scene scene;
    tarn::Character ada("1", "Ada");
    tarn::Actor actor;
    actor.setActorName("Ada");
    ada.setActor(&actor);
    scene.addCharacter(&ada);
    scene.setCurrentCharacter(&ada);

    // The device that delivers her motion.
    tarn::kit::ReplayDevice device("camera volume");
    const auto opened = device.syncRequest(std::make_shared<tarn::Request>("open", file));
    if (!*opened) {
        std::cerr << opened->errorString() << "\n";
        return 1;
    }
    const auto rig = opened->dataAs<tarn::kit::BvhTake>().rig;
    ada.addDevice(&device);

    // What the device sends is recorded, and becomes the character's take.
    tarn::kit::RecorderNode recorder(tarn::kit::poseDataType, 100000);
    recorder.tieToIFramePort(tarn::kit::RecorderNode::framePort,
                             device.oFramePort(tarn::kit::ReplayDevice::posePort));
    streamToTheEnd(device);
    const auto take = recorder.take();
    ada.setTracks(take);
    std::cout << "recorded " << take->frameCount() << " frames at " << take->fps()
              << " per second\n";

    // A solver, fed by the host whenever the take moves.
    tarn::kit::ForwardKinematicsSolver solver("live", rig);
    ada.setSolver(&solver);
    tsignal::Signal<std::shared_ptr<tarn::Frame>> solved;
    ada.onFrame().connect([&](const std::shared_ptr<tarn::Timeline>& timeline) {
        solveLive(solver, *timeline, solved);
    });

    // Calibration: a second of frames, from which the body is measured.
    tarn::kit::BodyDimensionCalibrator dimensions("body", take->fps());
    dimensions.setSolver(&solver);
    ada.addCalibrator(&dimensions, true);
    ada.beginCalibrate();
    play(*take, take->fps());
    ada.endCalibrate();
    std::cout << "calibrated over " << dimensions.collectedFrames() << " frames: height "
              << actor.bodyDimension("Height", 0) << "\n";

    // Playing: whoever listens gets every solved body.
    float highest = 0;
    solved.connect([&highest](const std::shared_ptr<tarn::Frame>& frame) {
        const auto& body = frame->dataAs<tarn::kit::BodyPose>();
        highest = std::max(highest, body.segments.front().position.y);
    });
    play(*take, take->timeLength());
    std::cout << "the hips rise to " << highest << "\n";

    // Saving: settings documents for the actor, and whatever the host keeps with the scene.
    const bool actorSaved = actor.saveSettingsToFile(directory + "/ada.xml");
    scene.setValue("Capture.Take", "walk");
    const bool sceneSaved = scene.saveSettingsToFile(directory + "/scene.xml");
    std::cout << (actorSaved && sceneSaved ? "saved\n" : "not saved\n");

    tarn::Actor loaded;
    if (loaded.loadSettingsFromFile(directory + "/ada.xml")) {
        std::cout << "loaded " << loaded.actorName() << ", height "
                  << loaded.bodyDimension("Height", 0) << "\n";
    }

    // Stopping: undo links before what they lead to goes.
    ada.setTracks(nullptr);
    ada.removeCalibrator(&dimensions);
    dimensions.removeChild(&solver);
    ada.setSolver(nullptr);
    ada.removeDevice(&device);
    ada.setActor(nullptr);
    scene.removeCharacter(&ada);
    device.oFramePort(tarn::kit::ReplayDevice::posePort).disconnectAll(); // ends the tie
}
