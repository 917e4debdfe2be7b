// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

// From a C3D file to a body: a performer is calibrated in the first second of a take and solved in
// the next one, as the device sends it.
//
// usage: example_solve_markers TAKE.c3d

#include <tarn_kit/devices/ReplayDevice.h>
#include <tarn_kit/session/Session.h>
#include <tarn_kit/solving/MarkerCalibrator.h>
#include <tarn_kit/solving/MarkerFit.h>
#include <tarn_kit/solving/MarkerSolver.h>

#include <cmath>
#include <exception>
#include <iostream>
#include <string>

namespace {

using namespace tarn::kit;

void solve(const std::string& file) {
    // The device, and what its frames hold.
    const C3dTake take = readC3d(file);
    ReplayDevice device("camera volume");
    device.open(take);
    device.setSpeed(0); // 1 is the pace of the take
    MarkerSource source{{}, take.metresPerUnit};
    source.up = UpAxis::Z; // as laboratories have it
    for (const C3dMarker& marker : take.markers) {
        source.names.push_back(marker.name);
    }

    // Solver and calibrator begin with nobody's body in particular.
    const MarkerSet set = MarkerSet::load("cmu41");
    MarkerSolver solver("markers", MarkerBody::generic(set), source);
    MarkerCalibrator calibrator("markers", set);
    calibrator.setSolver(&solver);

    // A performer ties them together.
    PerformerSetup setup;
    setup.name = "Ada";
    setup.device = &device;
    setup.port = ReplayDevice::markerPort;
    setup.inputType = tarn::kit::markerDataType;
    setup.solver = &solver;
    setup.rate = take.tracks->fps();
    setup.frameCount = 240; // two seconds
    Session session;
    Performer& ada = session.addPerformer(setup);
    ada.addCalibrator(calibrator, true);

    // Any movement calibrates. The body is then the solver's and the actor's.
    session.calibrate(120);
    if (!calibrator.report().isGood()) {
        std::cout << calibrator.report().error << "\n";
        return;
    }
    std::cout << "calibrated with " << calibrator.report().frames << " frames: thigh and shank "
              << (ada.actor().bodyDimension("LeftUpLeg", 0) > 0.4F &&
                          ada.actor().bodyDimension("LeftLeg", 0) > 0.35F
                      ? "as of an adult\n"
                      : "short\n");

    // Every solved frame: the body, and how far each marker is from where the body has it.
    int bodies = 0;
    int near = 0;
    ada.onSolved().connect([&](const std::shared_ptr<tarn::Frame>&) {
        const auto fit = solver.getOutput(markerFitDataType)->getFrame(0)->dataAs<MarkerFit>();
        for (const FittedMarker& marker : fit) {
            near += marker.residual < 15 ? 1 : 0; // in the unit of the file: mm
        }
        ++bodies;
    });
    session.play();
    std::cout << bodies << " bodies; more than nine markers of ten within 15 mm: "
              << (10 * near > 9 * 41 * bodies ? "yes" : "no") << "\n";
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: example_solve_markers TAKE.c3d\n";
        return 2;
    }
    try {
        solve(argv[1]);
    } catch (const std::exception& error) {
        std::cerr << error.what() << "\n";
        return 1;
    }
    return 0;
}
