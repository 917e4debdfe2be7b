// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

// A node: takes frames in at one port and sends others out of another; hosts tie nodes together.
#include <tarn/StreamNode.h>

#include <iostream>
#include <memory>

/// Lets every n-th frame through.
class Thinner : public tarn::StreamNode {
public:
    static constexpr int in = 0;
    static constexpr int out = 0; // inputs and outputs are numbered apart

    explicit Thinner(int n) : n_(n) {
        addOFramePort(out);
        addIFramePort(in, [this](const std::shared_ptr<tarn::Frame>& frame) {
            if (count_++ % n_ == 0) {
                oFramePort(out).emit(frame);
            }
        });
    }

private:
    int n_;
    int count_ = 0;
};

int main() {
    tsignal::Signal<std::shared_ptr<tarn::Frame>> camera; // what a device's port would be
    Thinner half(2);
    Thinner third(3);
    half.tieToIFramePort(Thinner::in, camera);
    third.tieToIFramePort(Thinner::in, half.oFramePort(Thinner::out));
    third.oFramePort(Thinner::out).connect([](const std::shared_ptr<tarn::Frame>& frame) {
        std::cout << "frame " << frame->time().frameIndex() << "\n";
    });

    for (unsigned i = 0; i < 14; ++i) {
        camera.emit(std::make_shared<tarn::Frame>(tarn::Time(i, 120)));
    }
    std::cout << "no such port: " << half.tieToIFramePort(7, camera) << "\n";
    camera.disconnectAll(); // frame ties end with the signal's connections
}
