// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

// A device with a thread of its own, 59.94 times a second, recorded in a take file while it
// streams.
#include <tarn/Device.h>
#include <tarn_kit/tarn_kit.h>
#include <tarn_store/tarn_store.h>

#include <cmath>
#include <future>
#include <iostream>
#include <optional>

using namespace tarn;

/// Cameras that see a marker go up and down for a second. All but `doRequest` runs on
/// the thread, so nothing needs a lock.
class Cameras : public Device {
public:
    static constexpr int port = 0;
    const kit::Rate rate = kit::Rate::nearest(59.94); // 60000/1001

    Cameras()
        : Device("cameras", "hall"), output_(addOFramePort(port)),
          thread_({[this](const Request& request, Reply& reply) { return handle(request, reply); },
                   [this] { wait_.until(clock_, due()); }, [this] { wait_.wake(); },
                   [this] { proceed(); }, closing}) {
        setState(Ready);
        thread_.start();
    }
    ~Cameras() override { thread_.close(); } // first thing: it works with all that is here

protected:
    void doRequest(std::shared_ptr<Request> request, std::shared_ptr<Reply> reply) override {
        thread_.request(std::move(request), std::move(reply));
    }

private:
    static constexpr int closing = 1; // the error of requests that come too late

    bool handle(const Request& request, Reply& reply) {
        if (request.id() == "start") {
            next_ = 0;
            began_ = clock_.now();
            setState(Busy);
        } else if (request.id() == "stop") {
            setState(Ready);
        } else {
            return false;
        }
        reply.setResultCode(0);
        return true;
    }
    std::optional<kit::Clock::Instant> due() { // nothing unless it streams
        const std::chrono::microseconds offset(microsecondsOf(rate.at(next_)));
        return isBusy() ? std::optional(began_ + offset) : std::nullopt;
    }
    void proceed() {
        if (!due() || clock_.now() < *due()) {
            return; // woken for a request
        }
        const double height = 1.2 + 0.3 * std::sin(6 * rate.at(next_).seconds());
        const kit::MarkerFrame markers({kit::Marker::at({0, static_cast<float>(height), 0})});
        output_.emit(std::make_shared<Frame>(rate.time(next_), kit::markerDataType, markers));
        if (++next_ == 60) {
            setState(Ready); // by which a host knows that nothing more comes
        }
    }

    tsignal::Signal<std::shared_ptr<Frame>>& output_;
    kit::SteadyClock clock_;
    kit::Clock::Instant began_;
    int next_ = 0;
    kit::WakeableWait wait_;
    kit::CommandThread thread_;
};

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: " << argv[0] << " NEW.tarn\n";
        return 2;
    }
    try {
        Cameras cameras;
        kit::TrackDescription description; // for whoever reads the file
        description.subject = "hall";
        description.rate = cameras.rate;
        description.space = {*kit::lengthUnitNamed("m"), kit::Origin::Stated, kit::UpAxis::Y,
                             kit::Origin::Stated};
        description.labels = {{"", "wand", "", ""}};
        store::TakeRecorder recorder(argv[1]); // refuses a file that is there
        recorder.tieToIFramePort(recorder.addTrack(kit::markerDataType, description),
                                 cameras.oFramePort(Cameras::port));
        recorder.start();

        std::promise<void> ended;
        cameras.onStateChanged().connect([&ended](Device::DeviceState state) {
            if (state == Device::Ready) {
                ended.set_value();
            }
        });
        kit::command(cameras, "start");
        ended.get_future().wait(); // a host has other things to do meanwhile
        recorder.end();
        std::cout << recorder.safeFrames() << " frames are safe, " << recorder.lostFrames()
                  << " lost\n";

        store::TakeReader reader(argv[1]);
        const auto frame = reader.frame(reader.tracks().front().id, 15);
        std::cout << "frame 15 at " << frame->time().fps() << ": "
                  << kit::payloadOf<kit::MarkerFrame>(frame)[0].position.y << " m high\n";
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
}
