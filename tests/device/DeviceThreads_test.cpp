// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

// A device that lives on a thread of its own while its host looks at it from another.
#include "support/Polling.h"

#include <tarn/Device.h>

#include <gtest/gtest.h>

#include <atomic>
#include <memory>

using tarn::Device;
using tarn::Frame;
using tarn::Time;
using tarn::testing::whilePolling;

namespace {

constexpr int port = 1;
constexpr int rounds = 2000;

class StreamingDevice : public Device {
public:
    StreamingDevice() : Device("glove", "left") {
        addOFramePort(port);
        addOSequencePort(port);
    }
    /// What the device's own thread does.
    void run() {
        for (int i = 0; i < rounds; ++i) {
            setState(i % 2 == 0 ? Busy : Ready);
            oFramePort(port).emit(std::make_shared<Frame>(Time(static_cast<unsigned>(i), 60)));
        }
        setState(Lost);
    }
};

} // namespace

TEST(DeviceThreads, ItsStateMayBePolledWhileItsThreadSetsIt) {
    StreamingDevice device;
    whilePolling([&] { device.run(); },
                 [&] {
                     const Device::DeviceState state = device.state();
                     EXPECT_TRUE(state >= Device::Unknown && state <= Device::Busy);
                     EXPECT_FALSE(device.isBusy() && device.state() == Device::Unknown);
                     static_cast<void>(device.isReady());
                     static_cast<void>(device.isLost());
                 });
    EXPECT_TRUE(device.isLost());
}

TEST(DeviceThreads, ItsNamesAndPortsMayBeLookedUpAndListenedToWhileItStreams) {
    StreamingDevice device;
    whilePolling([&] { device.run(); },
                 [&] {
                     EXPECT_EQ(device.type() + device.id(), "gloveleft");
                     EXPECT_TRUE(device.hasOFramePort(port));
                     EXPECT_EQ(device.supportOFramePorts().size(), 1U);
                     EXPECT_FALSE(device.hasIFramePort(port));
                     static_cast<void>(device.oSequencePort(port));
                     std::atomic<int> heard{0};
                     const tsignal::ScopedConnection listening(device.oFramePort(port).connect(
                         [&](const std::shared_ptr<Frame>&) { ++heard; }));
                 });
}

TEST(CommInterfaceThreads, RequestsMayBeIssuedFromManyThreadsAtOnce) {
    tarn::CommInterface channel("test", "channel");
    std::atomic<int> answered{0};
    const auto ask = [&] {
        channel.asyncRequest("anything", [&](const std::shared_ptr<tarn::Reply>& reply) {
            answered += reply->resultCode();
        });
        return channel.syncRequest("anything")->resultCode();
    };
    int asked = 0;
    whilePolling(
        [&] {
            for (int i = 0; i < 100; ++i) {
                EXPECT_EQ(ask(), 1);
            }
        },
        [&] {
            EXPECT_EQ(channel.type() + channel.id(), "testchannel");
            EXPECT_EQ(ask(), 1);
            ++asked;
        });
    EXPECT_EQ(answered, asked + 100);
}
