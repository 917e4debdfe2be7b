// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

// Receives a stream from the network as a device like any other.
#include <tarn_kit/body/Payload.h>
#include <tarn_kit/body/Rig.h>
#include <tarn_link/stream/LinkDevice.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <exception>
#include <iostream>
#include <memory>
#include <string>

int main(int argc, char** argv) {
    using namespace tarn;
    if (argc != 2) {
        std::cerr << "usage: " << argv[0] << " DOMAIN\n";
        return 2;
    }
    try {
        link::LinkOptions options;
        options.domain = static_cast<std::uint32_t>(std::stoul(argv[1]));
        link::LinkDevice device(std::make_shared<link::Link>(options), "hall");
        int highest = 0;
        device.oFramePort(0).connect([&highest](const std::shared_ptr<Frame>& frame) {
            // On the device's own thread. A character, a solver or a recorder would be tied here.
            const auto& pose = kit::payloadOf<kit::Pose>(frame);
            highest = std::max(highest, static_cast<int>(pose.values.at(1)));
        });

        device.open("stage");
        if (!device.awaitConnected(std::chrono::minutes(1))) {
            std::cerr << device.whyNotConnected() << '\n';
            return 1;
        }
        const link::LinkTrack track = device.tracks().at(0);
        std::cout << track.description.subject << ": " << track.description.rig->jointCount()
                  << " joints at " << track.description.rate->text() << " frames per second\n";
        device.start();
        device.awaitEnd(std::chrono::minutes(10));
        device.stop(); // it has left the slot when it answers

        const link::LinkStatus status = device.status();
        std::cout << status.receivedFrames() << " frames received, " << status.lostFrames()
                  << " lost; the hips were " << highest << " high at most\n";
        return status.hasEnded && status.lostFrames() == 0 ? 0 : 1;
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
}
