// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

// Sends a take over the network: a device's frames go out as a stream with a name.
#include <tarn_kit/devices/ReplayDevice.h>
#include <tarn_link/stream/LinkPublisher.h>

#include <chrono>
#include <cstdint>
#include <exception>
#include <future>
#include <iostream>
#include <memory>
#include <string>

int main(int argc, char** argv) {
    using namespace tarn;
    if (argc != 3) {
        std::cerr << "usage: " << argv[0] << " TAKE.bvh DOMAIN\n";
        return 2;
    }
    try {
        kit::ReplayDevice device("walk"); // any other device does as well
        const kit::BvhTake take = device.open(argv[1]);
        device.setSpeed(0);

        link::LinkOptions options;
        options.domain = static_cast<std::uint32_t>(std::stoul(argv[2]));
        // options.peers = {"recorder.studio"}; // without it, nothing leaves this machine
        link::LinkPublisher publisher(std::make_shared<link::Link>(options), "stage");
        // A track has a port here and one of the same number in each receiver, which learns from
        // the description what the frames mean.
        const int track =
            publisher.addTrack(kit::poseDataType, kit::TrackDescription::of(take, "walk"));
        publisher.tieToIFramePort(track, device.oFramePort(kit::ReplayDevice::posePort));
        publisher.start();

        if (!publisher.awaitReceivers(1, std::chrono::minutes(1))) {
            std::cerr << "nobody wants it\n";
            return 1;
        }
        std::promise<void> ended;
        device.onStateChanged().connect([&ended](Device::DeviceState state) {
            if (state == Device::Ready) {
                ended.set_value();
            }
        });
        device.start();
        ended.get_future().wait();
        const bool arrived = publisher.end(); // tells receivers how much there was
        std::cout << publisher.sentFrames() << " frames sent, "
                  << (arrived ? "all have arrived\n" : "not all have arrived\n");
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
}
