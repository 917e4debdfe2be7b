// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn/Device.h>

#include "support/VirtualTable.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <list>
#include <memory>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

using tarn::CommInterface;
using tarn::Device;
using tarn::Object;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

static_assert(std::is_base_of_v<CommInterface, Device>);
static_assert(std::is_convertible_v<Device*, CommInterface*>);
static_assert(std::has_virtual_destructor_v<Device>);
static_assert(!std::is_abstract_v<Device>);
static_assert(!std::is_default_constructible_v<Device>, "for subclasses only");
static_assert(!std::is_copy_constructible_v<Device>);
static_assert(!std::is_copy_assignable_v<Device>);
static_assert(sizeof(Device) == sizeof(CommInterface) + sizeof(void*));

static_assert(std::is_same_v<std::underlying_type_t<Device::DeviceState>, int>);
static_assert(Device::Unknown == 0);
static_assert(Device::Lost == 1);
static_assert(Device::Ready == 2);
static_assert(Device::Busy == 3);
static_assert(std::is_convertible_v<Device::DeviceState, int>);

constexpr auto undefinedState = static_cast<Device::DeviceState>(7);

/// A device that is told late what it is.
class LateDevice : public Device {
public:
    LateDevice() = default;
    using Device::init;
};

/// A device that answers its one command.
class Suit : public Device {
public:
    Suit() : Device("suit", "left locker") {}

protected:
    void doRequest(std::shared_ptr<tarn::Request> request,
                   std::shared_ptr<tarn::Reply> reply) override {
        if (request->id() != "start") {
            Device::doRequest(request, reply);
            return;
        }
        setState(Busy);
        reply->setResultCode(0);
        reply->finished();
    }
};

#ifdef TARN_KNOWN_VIRTUAL_TABLE
struct VirtualProbe : Device {
    using Device::doRequest;
    virtual void next() {}
};

TEST(Device, AddsNothingToTheTableOfItsBase) {
    EXPECT_EQ(tarn::testing::tableIndex(&VirtualProbe::doRequest), 2U);
    EXPECT_EQ(tarn::testing::tableIndex(&VirtualProbe::next), 3U);
}
#endif

/// A device, two channels to attach, and what the device announced about channels.
class DeviceChannels : public testing::Test {
protected:
    DeviceChannels() {
        device.onCommInterfaceAvailable().connect(
            [this](CommInterface* channel) { available.push_back(channel); });
        device.onCommInterfaceUnavailable().connect(
            [this](CommInterface* channel) { unavailable.push_back(channel); });
    }

    Device device{"suit", "left locker"};
    CommInterface serial{"serial", "COM3"};
    CommInterface udp{"udp", "7001"};
    std::vector<CommInterface*> available;
    std::vector<CommInterface*> unavailable;
};

} // namespace

TEST(Device, TakesItsTypeFirstAndItsIdentifierSecond) {
    const Device device("suit", "left locker");
    EXPECT_EQ(device.type(), "suit");
    EXPECT_EQ(device.id(), "left locker");
}

TEST(Device, IsOfEmptyTypeAndIdentifierUntilASubclassSaysOtherwise) {
    LateDevice device;
    EXPECT_EQ(device.type(), "");
    EXPECT_EQ(device.id(), "");
    device.init("suit", "left locker");
    EXPECT_EQ(device.type(), "suit");
    EXPECT_EQ(device.id(), "left locker");
}

TEST(Device, IsInNoKnownStateWhenItIsNew) {
    const Device device("suit", "left locker");
    const LateDevice late;
    for (const Device* const fresh : {&device, static_cast<const Device*>(&late)}) {
        EXPECT_EQ(fresh->state(), Device::Unknown);
        EXPECT_FALSE(fresh->isLost());
        EXPECT_FALSE(fresh->isReady());
        EXPECT_FALSE(fresh->isBusy());
    }
}

TEST(Device, IsInTheStateItWasSetTo) {
    Device device("suit", "left locker");
    device.setState(Device::Lost);
    EXPECT_TRUE(device.isLost());
    EXPECT_FALSE(device.isReady());
    EXPECT_FALSE(device.isBusy());
    device.setState(Device::Ready);
    EXPECT_FALSE(device.isLost());
    EXPECT_TRUE(device.isReady());
    EXPECT_FALSE(device.isBusy());
    device.setState(Device::Busy);
    EXPECT_FALSE(device.isLost());
    EXPECT_FALSE(device.isReady());
    EXPECT_TRUE(device.isBusy());
    device.setState(Device::Unknown);
    EXPECT_FALSE(device.isLost() || device.isReady() || device.isBusy());
}

TEST(Device, KeepsAStateThatHasNoName) {
    Device device("suit", "left locker");
    std::vector<int> states;
    device.onStateChanged().connect([&](Device::DeviceState state) { states.push_back(state); });
    device.setState(undefinedState);
    EXPECT_EQ(device.state(), undefinedState);
    EXPECT_FALSE(device.isLost());
    EXPECT_FALSE(device.isReady());
    EXPECT_FALSE(device.isBusy());
    EXPECT_THAT(states, ElementsAre(7));
}

TEST(Device, AnnouncesTheStateOnEveryCall) {
    Device device("suit", "left locker");
    std::vector<Device::DeviceState> states;
    device.onStateChanged().connect([&](Device::DeviceState state) { states.push_back(state); });
    device.setState(Device::Ready);
    device.setState(Device::Ready);
    EXPECT_THAT(states, ElementsAre(Device::Ready, Device::Ready));
    EXPECT_TRUE(device.isReady());
    device.setState(Device::Unknown);
    EXPECT_THAT(states, ElementsAre(Device::Ready, Device::Ready, Device::Unknown));
}

TEST(Device, StoresTheStateBeforeItAnnouncesIt) {
    Device device("suit", "left locker");
    std::vector<Device::DeviceState> seen;
    device.onStateChanged().connect(
        [&](Device::DeviceState /*state*/) { seen.push_back(device.state()); });
    device.setState(Device::Busy);
    EXPECT_THAT(seen, ElementsAre(Device::Busy));
}

TEST(Device, AnnouncesTheStateOnTheThreadThatSetsIt) {
    Device device("suit", "left locker");
    std::thread::id listening;
    device.onStateChanged().connect(
        [&](Device::DeviceState /*state*/) { listening = std::this_thread::get_id(); });
    std::thread worker([&] { device.setState(Device::Ready); });
    const std::thread::id setting = worker.get_id();
    worker.join();
    EXPECT_EQ(listening, setting);
    EXPECT_TRUE(device.isReady());
}

TEST(Device, KnowsNoCommandOfItsOwn) {
    Device device("suit", "left locker");
    const auto reply = device.syncRequest("start");
    EXPECT_EQ(reply->resultCode(), 1);
    EXPECT_FALSE(*reply);
}

TEST(Device, OfASubclassAnswersItsCommandsAndDrivesItsState) {
    Suit suit;
    EXPECT_TRUE(*suit.syncRequest("start"));
    EXPECT_TRUE(suit.isBusy());
    EXPECT_EQ(suit.syncRequest("dance")->resultCode(), 1);
}

TEST_F(DeviceChannels, NoneAreThereAtFirst) {
    EXPECT_THAT(device.commInterfaces(), IsEmpty());
    EXPECT_THAT(device.commInterfaces("serial"), IsEmpty());
    EXPECT_THAT(device.commInterfaces(""), IsEmpty());
}

TEST_F(DeviceChannels, AreListedInTheOrderInWhichTheyWereAttached) {
    device.addCommInterface(&udp);
    device.addCommInterface(&serial);
    EXPECT_THAT(device.commInterfaces(), ElementsAre(&udp, &serial));
    EXPECT_THAT(device.children(), ElementsAre(&udp, &serial));
    EXPECT_EQ(udp.parent(), &device);
    EXPECT_THAT(available, ElementsAre(&udp, &serial));
    EXPECT_THAT(unavailable, IsEmpty());
}

TEST_F(DeviceChannels, AreListedByTheirExactType) {
    CommInterface secondSerial("serial", "COM4");
    device.addCommInterface(&serial);
    device.addCommInterface(&udp);
    device.addCommInterface(&secondSerial);
    EXPECT_THAT(device.commInterfaces("serial"), ElementsAre(&serial, &secondSerial));
    EXPECT_THAT(device.commInterfaces("udp"), ElementsAre(&udp));
    for (const char* const type : {"tcp", "Serial", "seria", "serial ", ""}) {
        EXPECT_THAT(device.commInterfaces(type), IsEmpty()) << type;
    }
    const std::string withZero("udp\0", 4);
    EXPECT_THAT(device.commInterfaces(withZero), IsEmpty());
}

TEST_F(DeviceChannels, OfEmptyTypeAreFoundByIt) {
    CommInterface untyped("", "any");
    device.addCommInterface(&serial);
    device.addCommInterface(&untyped);
    EXPECT_THAT(device.commInterfaces(""), ElementsAre(&untyped));
}

TEST_F(DeviceChannels, AreNoLongerListedOnceTheyAreDetached) {
    device.addCommInterface(&serial);
    device.addCommInterface(&udp);
    device.removeCommInterface(&serial);
    EXPECT_THAT(device.commInterfaces(), ElementsAre(&udp));
    EXPECT_EQ(serial.parent(), nullptr);
    EXPECT_THAT(unavailable, ElementsAre(&serial));
    EXPECT_THAT(available, ElementsAre(&serial, &udp));
}

TEST_F(DeviceChannels, AreAttachedBeforeAndDetachedBeforeTheyAreAnnounced) {
    std::list<CommInterface*> whenAvailable;
    std::list<CommInterface*> whenUnavailable;
    device.onCommInterfaceAvailable().connect(
        [&](CommInterface* /*channel*/) { whenAvailable = device.commInterfaces(); });
    device.onCommInterfaceUnavailable().connect(
        [&](CommInterface* /*channel*/) { whenUnavailable = device.commInterfaces(); });
    device.addCommInterface(&udp);
    device.addCommInterface(&serial);
    EXPECT_THAT(whenAvailable, ElementsAre(&udp, &serial));
    device.removeCommInterface(&udp);
    EXPECT_THAT(whenUnavailable, ElementsAre(&serial));
}

TEST_F(DeviceChannels, AreAnnouncedAfterTheObjectTreeHasAnnouncedThem) {
    std::vector<std::string> order;
    device.onChildAdded().connect([&](Object* /*child*/) { order.emplace_back("child added"); });
    device.onChildWillRemove().connect(
        [&](Object* /*child*/) { order.emplace_back("child will be removed"); });
    device.onCommInterfaceAvailable().connect(
        [&](CommInterface* /*channel*/) { order.emplace_back("available"); });
    device.onCommInterfaceUnavailable().connect(
        [&](CommInterface* /*channel*/) { order.emplace_back("unavailable"); });
    device.addCommInterface(&udp);
    device.removeCommInterface(&udp);
    EXPECT_THAT(order,
                ElementsAre("child added", "available", "child will be removed", "unavailable"));
}

TEST_F(DeviceChannels, ThatWereNeverAttachedAreAnnouncedAsDetachedAllTheSame) {
    device.addCommInterface(&udp);
    device.removeCommInterface(&serial);
    device.removeCommInterface(&serial);
    EXPECT_THAT(unavailable, ElementsAre(&serial, &serial));
    EXPECT_THAT(device.commInterfaces(), ElementsAre(&udp));
}

TEST_F(DeviceChannels, AttachedTwiceAreListedAndAnnouncedTwiceAndDetachedTogether) {
    device.addCommInterface(&udp);
    device.addCommInterface(&udp);
    EXPECT_THAT(device.commInterfaces(), ElementsAre(&udp, &udp));
    EXPECT_THAT(available, ElementsAre(&udp, &udp));
    device.removeCommInterface(&udp);
    EXPECT_THAT(device.commInterfaces(), IsEmpty());
    EXPECT_THAT(unavailable, ElementsAre(&udp));
}

TEST_F(DeviceChannels, ThatAreNullAreAnnouncedButNotListed) {
    device.addCommInterface(nullptr);
    EXPECT_THAT(device.children(), ElementsAre(nullptr));
    EXPECT_THAT(device.commInterfaces(), IsEmpty());
    EXPECT_THAT(device.commInterfaces(""), IsEmpty());
    device.removeCommInterface(nullptr);
    EXPECT_THAT(device.children(), IsEmpty());
    EXPECT_THAT(available, ElementsAre(nullptr));
    EXPECT_THAT(unavailable, ElementsAre(nullptr));
}

TEST_F(DeviceChannels, AreAllChildrenThatAreChannelsHoweverTheyWereLinked) {
    Object plain("not a channel");
    tarn::StreamNode node;
    Device inner("glove", "left");
    device.addChild(&plain);
    device.addChild(&serial);
    device.addChild(&node);
    device.addChild(&inner);
    EXPECT_THAT(device.commInterfaces(), ElementsAre(&serial, &inner));
    EXPECT_THAT(device.commInterfaces("glove"), ElementsAre(&inner));
    EXPECT_THAT(available, IsEmpty());
    device.removeChild(&serial);
    EXPECT_THAT(device.commInterfaces(), ElementsAre(&inner));
    EXPECT_THAT(unavailable, IsEmpty());
}

TEST_F(DeviceChannels, AreListedWhateverTheirObjectName) {
    serial.setObjectName("front");
    device.addCommInterface(&serial);
    device.addCommInterface(&udp);
    EXPECT_THAT(device.commInterfaces(), ElementsAre(&serial, &udp));
}

TEST_F(DeviceChannels, OfAttachedDevicesAreNotListedThemselves) {
    Device inner("glove", "left");
    inner.addCommInterface(&serial);
    device.addCommInterface(&inner);
    EXPECT_THAT(device.commInterfaces(), ElementsAre(&inner));
}

TEST_F(DeviceChannels, OutliveTheDevice) {
    {
        Device shortLived("glove", "left");
        shortLived.addCommInterface(&serial);
        shortLived.removeCommInterface(&serial);
    }
    EXPECT_EQ(serial.type(), "serial");
    EXPECT_THAT(serial.parents(), IsEmpty());
}
