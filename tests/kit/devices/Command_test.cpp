// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "device/DeviceTesting.h"
#include "kit/devices/ReplayTesting.h"

#include <tarn_kit/devices/Command.h>

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <type_traits>
#include <vector>

namespace tarn::kit {
namespace {

using namespace replay_testing;
using device_testing::Channel;

static_assert(std::is_base_of_v<std::runtime_error, CommandError>);

/// The error of a command that fails.
CommandError errorOf(CommInterface& device, const std::string& id) {
    try {
        command(device, id);
    } catch (const CommandError& error) {
        return error;
    }
    ADD_FAILURE() << id << " succeeds";
    return {"", 0, 0};
}

TEST(Command, CarriesItsPayloadAndReturnsTheReply) {
    Channel channel(
        [](const std::shared_ptr<Request>& request, const std::shared_ptr<Reply>& reply) {
            reply->setResultCode(0);
            reply->setData(request->id() + std::to_string(request->dataAs<int>()));
            reply->finished();
        });
    EXPECT_EQ(command(channel, "seek", 7)->dataAs<std::string>(), "seek7");
}

TEST(Command, ThrowsWithTheDevicesOwnWordsAndCodes) {
    Channel channel([](const std::shared_ptr<Request>&, const std::shared_ptr<Reply>& reply) {
        reply->setResultCode(5);
        reply->setError(42, "no signal from the hip");
        reply->finished();
    });
    const CommandError error = errorOf(channel, "start");
    EXPECT_STREQ(error.what(), "no signal from the hip");
    EXPECT_EQ(error.resultCode(), 5);
    EXPECT_EQ(error.errorCode(), 42);
}

TEST(Command, NamesTheCommandWhereTheDeviceHasNoWords) {
    Channel channel([](const std::shared_ptr<Request>&, const std::shared_ptr<Reply>& reply) {
        reply->setResultCode(3);
        reply->finished();
    });
    EXPECT_STREQ(errorOf(channel, "start").what(), "the device refuses the command 'start'");
    CommInterface plain("test", "1");
    EXPECT_STREQ(errorOf(plain, "dance").what(), "the device does not know the command 'dance'");
    EXPECT_EQ(errorOf(plain, "dance").resultCode(), 1);
}

TEST(ReplayCalls, DoWhatTheCommandsDo) {
    const TakeFile file(5);
    Replay replay;
    ReplayDevice& device = replay.device();
    const BvhTake take = device.open(file.path());
    EXPECT_EQ(take.tracks->timeLength(), 5);
    device.setSpeed(2);
    device.seek(3);
    EXPECT_EQ(device.status().factor, 2);
    EXPECT_EQ(device.status().nextFrame, 3);
    device.start();
    replay.awaitSent(1);
    EXPECT_EQ(device.status().state, Device::Busy);
    device.pause();
    EXPECT_EQ(device.status().state, Device::Ready);
    EXPECT_EQ(device.status().nextFrame, 4);
    device.stop();
    EXPECT_EQ(device.status().nextFrame, 0);
    EXPECT_EQ(replay.indexes(), std::vector<unsigned>{3});
}

TEST(ReplayCalls, ThrowWhatTheReplySays) {
    const TakeFile file(5);
    ReplayDevice device("replay 1");
    try {
        device.start();
        FAIL() << "starts without a take";
    } catch (const CommandError& error) {
        EXPECT_STREQ(error.what(), "no take is open");
        EXPECT_EQ(error.errorCode(), ReplayDevice::NoTake);
    }
    EXPECT_THROW(device.pause(), CommandError);
    EXPECT_THROW(device.stop(), CommandError);
    EXPECT_THROW(device.open("nowhere.bvh"), CommandError);
    device.open(file.path());
    EXPECT_THROW(device.seek(5), CommandError);
    EXPECT_THROW(device.setSpeed(-1), CommandError);
}

TEST(ReplayCallsThreads, MayBeMadeFromAnyThread) {
    const TakeFile file(5);
    ReplayDevice device("replay 1");
    device.open(file.path());
    std::vector<std::thread> threads;
    threads.reserve(3);
    for (int i = 0; i < 3; ++i) {
        threads.emplace_back([&device, i] {
            for (int round = 0; round < 50; ++round) {
                device.setSpeed(1 + i);
                device.seek(round % 5);
                device.start();
                EXPECT_EQ(device.status().frameCount, 5);
                device.stop();
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(device.status().state, Device::Ready);
}

} // namespace
} // namespace tarn::kit
