// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_kit/processing/ForwardKinematicsSolver.h>
#include <tarn_kit/session/Session.h>

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

/// What the tests of performers and sessions have in common.
namespace session_testing {

using tarn::Device;
using tarn::Frame;
using tarn::Reply;
using tarn::Request;
using tarn::Solver;
using tarn::Time;
using tarn::Tracks;
using tarn::kit::Performer;
using tarn::kit::PerformerSetup;
using tarn::kit::Pose;
using tarn::kit::Rig;
using tarn::kit::Session;
using FramePtr = std::shared_ptr<Frame>;

constexpr int port = 4;
constexpr int rate = 50;

/// A pose that holds its frame index.
inline FramePtr poseAt(unsigned index) {
    return std::make_shared<Frame>(Time(index, rate), tarn::kit::poseDataType,
                                   Pose{{static_cast<float>(index)}});
}

/// A body of one joint, which moves along x.
inline std::shared_ptr<Rig> sledRig() {
    auto rig = std::make_shared<Rig>();
    rig->addJoint("Sled", -1, {0, 0, 0}, {tarn::kit::Channel::Xposition});
    return rig;
}

/// A live device: told to start, it sends frames with the indexes of a script from a thread of its
/// own, as fast as they are taken, and is ready again then.
class ScriptedDevice : public Device {
public:
    using Maker = std::function<FramePtr(unsigned)>;

    explicit ScriptedDevice(std::vector<unsigned> script, Maker maker = poseAt)
        : Device("scripted", "1"), script_(std::move(script)), maker_(std::move(maker)) {
        addOFramePort(port);
        setState(Ready);
    }
    ~ScriptedDevice() override { join(); }
    ScriptedDevice(const ScriptedDevice&) = delete;
    ScriptedDevice& operator=(const ScriptedDevice&) = delete;

    /// The state in which it is once it has sent everything.
    void endAs(DeviceState state) { end_ = state; }
    /// Fails a command from now on.
    void refuse(const std::string& command) { refused_ = command; }
    /// The commands that it was given, in order.
    const std::vector<std::string>& commands() const { return commands_; }

protected:
    void doRequest(std::shared_ptr<Request> request, std::shared_ptr<Reply> reply) override {
        commands_.push_back(request->id());
        if (request->id() == refused_) {
            reply->setResultCode(2);
            reply->setError(7, "the lens cap is on");
        } else {
            join();
            reply->setResultCode(0);
            if (request->id() == "start") {
                stopping_ = false;
                setState(Busy);
                thread_ = std::thread([this] { send(); });
            }
        }
        reply->finished();
    }

private:
    void send() {
        for (const unsigned index : script_) {
            if (stopping_) {
                break;
            }
            oFramePort(port).emit(maker_(index));
        }
        setState(end_);
    }
    void join() {
        stopping_ = true;
        if (thread_.joinable()) {
            thread_.join();
        }
    }

    const std::vector<unsigned> script_;
    const Maker maker_;
    DeviceState end_ = Ready;
    std::string refused_;
    std::vector<std::string> commands_;
    std::atomic<bool> stopping_{false};
    std::thread thread_;
};

/// The setup of a performer on a sled.
inline PerformerSetup sledSetup(Device& device, Solver* solver, int frames,
                                const std::string& name = "Ada") {
    PerformerSetup setup;
    setup.name = name;
    setup.device = &device;
    setup.port = port;
    setup.solver = solver;
    setup.rate = rate;
    setup.frameCount = frames;
    return setup;
}

/// The frame index of each frame of a data type that a take shows; -1 where it shows none.
inline std::vector<int> shownIn(Tracks& take, int dataType) {
    std::vector<int> indexes;
    for (int i = 0; i < take.timeLength(); ++i) {
        const FramePtr frame = take.getFrame(i, dataType);
        indexes.push_back(frame == nullptr ? -1 : static_cast<int>(frame->time().frameIndex()));
    }
    return indexes;
}

/// 0, 1, ... up to below `end`.
inline std::vector<unsigned> upTo(unsigned end) {
    std::vector<unsigned> numbers(end);
    for (unsigned i = 0; i < end; ++i) {
        numbers[i] = i;
    }
    return numbers;
}

} // namespace session_testing
