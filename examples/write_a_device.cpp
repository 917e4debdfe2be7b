// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

// A device: answers commands, follows them with its state, and sends frames out of a port.
#include <tarn/Device.h>

#include <iostream>
#include <memory>

/// A thermometer on a performer's belt. It answers in the call. One with a thread of its own may
/// call `finished()`, `setState` and `emit` from there: listeners and callbacks then run on that
/// thread, so what they share with others needs a lock. It would make its ports before the thread
/// starts, and join the thread first thing in its destructor. `tarn::kit::CommandThread` is such a
/// thread, with a queue of the requests that others make.
class Thermometer : public tarn::Device {
public:
    static constexpr int dataType = 100; // chosen by whoever writes the device
    static constexpr int port = 0;

    explicit Thermometer(const std::string& id) : Device("thermometer", id) {
        addOFramePort(port);
        setState(Lost);
    }

    /// What a driver would call when the hardware delivers a value.
    void measured(unsigned index, float celsius) {
        oFramePort(port).emit(
            std::make_shared<tarn::Frame>(tarn::Time(index, 10), dataType, celsius));
    }

protected:
    void doRequest(std::shared_ptr<tarn::Request> request,
                   std::shared_ptr<tarn::Reply> reply) override {
        if (request->id() != "connect") {
            Device::doRequest(request, reply); // finishes it as unknown
            return;
        }
        setState(Ready);
        reply->setResultCode(0);
        reply->setData(std::string("firmware 2.1"));
        reply->finished();
    }
};

int main() {
    Thermometer belt("belt");
    belt.onStateChanged().connect(
        [](tarn::Device::DeviceState state) { std::cout << "state " << state << "\n"; });
    belt.oFramePort(Thermometer::port).connect([](const std::shared_ptr<tarn::Frame>& frame) {
        std::cout << to_string(frame->time()) << ": " << frame->dataAs<float>() << " degrees\n";
    });

    const auto reply = belt.syncRequest("connect");
    std::cout << "connected: " << reply->dataAs<std::string>() << "\n";
    std::cout << "unknown command: " << belt.syncRequest("dance")->resultCode() << "\n";
    belt.measured(0, 36.5F);
    belt.measured(1, 36.75F);
}
