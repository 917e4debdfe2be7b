// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "device/DeviceTesting.h"

#include <tarn_kit/devices/StateAnnouncer.h>
#include <tsignal/Signal.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <thread>
#include <type_traits>
#include <vector>

namespace tarn::kit {
namespace {

using device_testing::Gate;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using State = Device::DeviceState;

static_assert(!std::is_copy_constructible_v<StateAnnouncer>);

/// Listeners that hear of states one after the other.
struct Announced {
    tsignal::Signal<State> listeners;
    StateAnnouncer states{Device::Lost, [this](State state) { listeners.emit(state); }};
};

TEST(StateAnnouncer, BeginsInAStateThatIsNotAnnounced) {
    std::vector<State> heard;
    const StateAnnouncer states(Device::Lost, [&](State state) { heard.push_back(state); });
    EXPECT_EQ(states.state(), Device::Lost);
    EXPECT_THAT(heard, IsEmpty());
}

TEST(StateAnnouncer, AnnouncesEveryChangeAndNothingElse) {
    std::vector<State> heard;
    StateAnnouncer states(Device::Lost, [&](State state) { heard.push_back(state); });
    for (const State state : {Device::Lost, Device::Ready, Device::Ready, Device::Busy,
                              Device::Ready, Device::Lost, Device::Lost}) {
        states.enter(state);
        EXPECT_EQ(states.state(), state);
    }
    EXPECT_THAT(heard, ElementsAre(Device::Ready, Device::Busy, Device::Ready, Device::Lost));
}

TEST(StateAnnouncer, TellsAllListenersOfAChangeBeforeTheOneThatAListenerMakes) {
    Announced device;
    std::vector<State> first;
    std::vector<State> last;
    device.listeners.connect([&](State state) {
        first.push_back(state);
        if (state == Device::Ready) {
            device.states.enter(Device::Busy);
            EXPECT_EQ(device.states.state(), Device::Busy); // at once, though nobody heard of it
            EXPECT_THAT(last, IsEmpty());
        }
    });
    device.listeners.connect([&](State state) { last.push_back(state); });
    device.states.enter(Device::Ready);
    EXPECT_THAT(first, ElementsAre(Device::Ready, Device::Busy));
    EXPECT_THAT(last, ElementsAre(Device::Ready, Device::Busy));
}

TEST(StateAnnouncer, AnnouncesAlsoWhatAListenerTakesBack) {
    Announced device;
    std::vector<State> heard;
    device.listeners.connect([&](State state) {
        if (heard.empty()) {
            device.states.enter(Device::Busy);
            device.states.enter(Device::Ready);
        }
        heard.push_back(state);
    });
    device.states.enter(Device::Ready);
    EXPECT_THAT(heard, ElementsAre(Device::Ready, Device::Busy, Device::Ready));
}

TEST(StateAnnouncerThreads, LeaveAChangeToTheThreadThatAnnounces) {
    Gate isAnnouncing;
    Gate mayGoOn;
    std::vector<std::thread::id> on;
    std::vector<State> heard;
    StateAnnouncer states(Device::Lost, [&](State state) {
        on.push_back(std::this_thread::get_id());
        heard.push_back(state);
        isAnnouncing.open();
        mayGoOn.wait();
    });
    std::thread announcing([&] { states.enter(Device::Ready); });
    const std::thread::id announcer = announcing.get_id();
    isAnnouncing.wait();
    states.enter(Device::Busy); // does not wait
    EXPECT_EQ(states.state(), Device::Busy);
    mayGoOn.open();
    announcing.join();
    EXPECT_THAT(heard, ElementsAre(Device::Ready, Device::Busy));
    EXPECT_THAT(on, Each(announcer));
}

TEST(StateAnnouncerThreads, NeverAnnounceTwoChangesAtOnce) {
    constexpr int rounds = 2000;
    std::vector<State> heard; // without a lock
    StateAnnouncer states(Device::Lost, [&](State state) { heard.push_back(state); });
    const auto alternate = [&states](State one, State other) {
        for (int i = 0; i < rounds; ++i) {
            states.enter(one);
            states.enter(other);
        }
    };
    std::thread thread(alternate, Device::Ready, Device::Lost);
    alternate(Device::Busy, Device::Unknown);
    thread.join();
    ASSERT_FALSE(heard.empty());
    EXPECT_EQ(heard.back(), states.state());
    for (std::size_t i = 1; i < heard.size(); ++i) {
        ASSERT_NE(heard[i], heard[i - 1]) << "change " << i;
    }
}

#ifndef NDEBUG
TEST(StateAnnouncerDeathTest, IsNotDestroyedByAListener) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    std::unique_ptr<StateAnnouncer> states;
    states =
        std::make_unique<StateAnnouncer>(Device::Lost, [&](State /*state*/) { states.reset(); });
    EXPECT_DEATH(states->enter(Device::Ready), "empty");
}
#endif

} // namespace
} // namespace tarn::kit
