// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

// The host that docs/guide.md builds step by step.
#include <tarn/tarn.h>
#include <tarn_kit/tarn_kit.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <exception>
#include <iostream>
#include <memory>
#include <string>

namespace {

using FramePtr = std::shared_ptr<tarn::Frame>;

// Ctrl-C asks the capture to end.
volatile std::sig_atomic_t interrupted = 0;
void interrupt(int /*signal*/) { interrupted = 1; }

// Streams all that a device has, and says how many frames arrived.
int countFrames(tarn::Device& device, int port) {
    tarn::kit::FrameQueue queue(256);
    const tsignal::ScopedConnection arrivals = device.oFramePort(port).connect(
        [&queue](const FramePtr& frame) { queue.add(frame); }); // on the device's thread
    const tsignal::ScopedConnection end =
        device.onStateChanged().connect([&queue](tarn::Device::DeviceState state) {
            if (state != tarn::Device::Busy) {
                queue.finish(); // on the device's thread
            }
        });
    queue.open();
    tarn::kit::command(device, "start");
    int count = 0;
    while (!queue.isOver()) { // on this thread
        count += static_cast<int>(queue.take(std::chrono::milliseconds(50)).size());
    }
    return count;
}

void capture(const std::string& file, const std::string& directory) {
    // The device that delivers her motion, on a thread of its own.
    tarn::kit::ReplayDevice device("camera volume");
    const tarn::kit::BvhTake original = device.open(file);
    const int rate = original.tracks->fps();
    device.setSpeed(0); // as fast as frames are taken; hardware has a pace of its own
    std::cout << countFrames(device, tarn::kit::ReplayDevice::posePort) << " frames arrive at "
              << rate << " per second\n";

    // The solver that turns poses into bodies, and what measures them.
    tarn::kit::ForwardKinematicsSolver solver("live", original.rig);
    tarn::kit::BodyDimensionCalibrator dimensions("body", rate);
    dimensions.setSolver(&solver);

    // The session: a scene, and a performer in it.
    tarn::kit::Session session;
    tarn::kit::PerformerSetup setup;
    setup.name = "Ada";
    setup.device = &device;
    setup.port = tarn::kit::ReplayDevice::posePort;
    setup.solver = &solver;
    setup.rate = rate;
    setup.frameCount = original.tracks->timeLength();
    tarn::kit::Performer& ada = session.addPerformer(setup);
    ada.addCalibrator(dimensions, true);

    // Ending: a second thread's flag, a button or a signal, asked for at every step.
    std::signal(SIGINT, interrupt);
    const auto stopRequested = [] { return interrupted != 0; };

    // Calibration: a second of frames, from which the body is measured.
    if (!session.calibrate(rate, stopRequested)) {
        std::cout << "stopped while calibrating\n";
        return;
    }
    std::cout << "calibrated over " << dimensions.collectedFrames() << " frames: height "
              << ada.actor().bodyDimension("Height", 0) << "\n";

    // Showing: whoever listens gets every solved body, while the take is recorded.
    float highest = 0;
    ada.onSolved().connect([&highest](const FramePtr& frame) {
        const auto& body = frame->dataAs<tarn::kit::BodyPose>();
        highest = std::max(highest, body.segments.front().position.y);
    });
    const bool complete = session.play(stopRequested);
    const tarn::kit::PerformerStatistics& frames = ada.statistics();
    std::cout << (complete ? "recorded " : "stopped after ") << frames.framesOut << " frames, "
              << frames.framesExpected - frames.framesIn << " lost; the hips rise to " << highest
              << "\n";

    // The recording: a take like any other, to be played at any rate.
    const std::shared_ptr<tarn::Tracks> recording = ada.recording();
    int shown = 0;
    recording->onCurrentTimeChanged().connect([&](int index) {
        const FramePtr body = recording->getFrame(index, tarn::kit::bodyDataType);
        shown += body == nullptr ? 0 : 1; // nothing is there where a frame was lost
    });
    tarn::kit::Playback(*recording, tarn::kit::Rate(30)).run();
    recording->onCurrentTimeChanged().disconnectAll();
    std::cout << "played " << shown << " bodies at 30 per second\n";

    // Saving: settings documents for the actor, and whatever the host keeps with the scene.
    const bool actorSaved = ada.actor().saveSettingsToFile(directory + "/ada.xml");
    session.scene().setValue("Capture.Take", "walk");
    const bool sceneSaved = session.scene().saveSettingsToFile(directory + "/scene.xml");
    std::cout << (actorSaved && sceneSaved ? "saved\n" : "not saved\n");

    tarn::Actor loaded;
    if (loaded.loadSettingsFromFile(directory + "/ada.xml")) {
        std::cout << "loaded " << loaded.actorName() << ", height "
                  << loaded.bodyDimension("Height", 0) << "\n";
    }
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::cerr << "usage: guide_host TAKE.bvh DIRECTORY\n";
        return 2;
    }
    try {
        capture(argv[1], argv[2]);
    } catch (const std::exception& error) { // what a device or a setup has to say
        std::cerr << error.what() << "\n";
        return 1;
    }
}
