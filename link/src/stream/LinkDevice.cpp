// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_link/stream/LinkDevice.h>

#include "stream/LinkAccess.h"
#include "stream/Receiver.h"
#include "wire/Refusal.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <mutex>
#include <utility>

namespace tarn::link {

struct LinkDevice::PrivateData {
    PrivateData(LinkDevice& itself, std::shared_ptr<Link> itsLink, LinkDeviceOptions itsOptions);

    // Any thread.
    template <class Condition>
    bool await(std::chrono::milliseconds patience, const std::function<bool()>& stopRequested,
               Condition condition) const;

    // The device's own thread.
    void wait();

    LinkDevice& device;
    const std::shared_ptr<Link> link;
    const LinkDeviceOptions options;
    std::array<tsignal::Signal<std::shared_ptr<Frame>>*, maxTracks> ports{};
    tsignal::Signal<> described;
    tsignal::Signal<LinkSample> sample;
    tsignal::Signal<LinkEvent> event;
    StreamView view;
    Entity waitset;
    Entity woken;
    Receiver receiver;         ///< for the device's own thread
    kit::CommandThread thread; ///< goes before all that it works with
};

LinkDevice::PrivateData::PrivateData(LinkDevice& itself, std::shared_ptr<Link> itsLink,
                                     LinkDeviceOptions itsOptions)
    : device(itself), link(std::move(itsLink)), options(std::move(itsOptions)),
      waitset(dds_create_waitset(LinkAccess::participant(*link)), "a link's device"),
      woken(dds_create_guardcondition(LinkAccess::participant(*link)), "a link's device"),
      receiver(*link, waitset.get(), options, view,
               {[this](std::size_t track, const std::shared_ptr<Frame>& frame) {
                    ports[track]->emit(frame);
                },
                [this] { described.emit(); },
                [this](const LinkSample& arrived) { sample.emit(arrived); },
                {[this](const LinkEvent& happened) { event.emit(happened); },
                 [this](DeviceState state) { device.setState(state); }}}),
      thread(
          {[this](const Request& request, Reply& reply) { return receiver.handle(request, reply); },
           [this] { wait(); }, [this] { dds_set_guardcondition(woken.get(), true); },
           [this] { receiver.work(); }, Closing}) {
    for (std::size_t track = 0; track < ports.size(); ++track) {
        ports[track] = &device.addOFramePort(static_cast<int>(track));
    }
    dds_waitset_attach(waitset.get(), woken.get(), 0);
}

void LinkDevice::PrivateData::wait() {
    dds_waitset_wait(waitset.get(), nullptr, 0, receiver.patience().count());
    bool isWoken = false;
    dds_take_guardcondition(woken.get(), &isWoken);
}

template <class Condition>
bool LinkDevice::PrivateData::await(std::chrono::milliseconds patience,
                                    const std::function<bool()>& stopRequested,
                                    Condition condition) const {
    const auto latest = std::chrono::steady_clock::now() + patience;
    std::unique_lock<std::mutex> lock(view.mutex);
    while (!condition(view)) {
        const auto now = std::chrono::steady_clock::now();
        if (now >= latest) {
            return false;
        }
        constexpr auto beat = std::chrono::milliseconds(50); // how soon a request to stop is heard
        view.changed.wait_until(
            lock, std::min<std::chrono::steady_clock::time_point>(latest, now + beat));
        lock.unlock();
        if (stopRequested && stopRequested()) {
            return false;
        }
        lock.lock();
    }
    return true;
}

LinkDevice::LinkDevice(std::shared_ptr<Link> link, const std::string& id, LinkDeviceOptions options)
    : Device("link", id) {
    assert(link != nullptr);
    setState(Lost);
    d_ = std::make_unique<PrivateData>(*this, std::move(link), std::move(options));
    d_->thread.start();
}

LinkDevice::~LinkDevice() { d_->thread.close(); }

void LinkDevice::open(const std::string& name) { kit::command(*this, "open", name); }

void LinkDevice::start() { kit::command(*this, "start"); }

void LinkDevice::stop() { kit::command(*this, "stop"); }

LinkStatus LinkDevice::status() { return kit::command(*this, "status")->dataAs<LinkStatus>(); }

std::string LinkDevice::whyNotConnected() const {
    std::string name;
    std::uint64_t turnedAway = 0;
    {
        const std::lock_guard<std::mutex> lock(d_->view.mutex);
        if (d_->view.isConnected) {
            return {};
        }
        name = d_->view.name;
        turnedAway = d_->view.turnedAway;
    }
    return link::whyNotConnected(*d_->link, name, turnedAway);
}

std::vector<LinkTrack> LinkDevice::tracks() const {
    const std::lock_guard<std::mutex> lock(d_->view.mutex);
    return d_->view.tracks;
}

std::optional<kit::ClockRelation> LinkDevice::clock() const {
    std::shared_ptr<LinkClock> clock;
    {
        const std::lock_guard<std::mutex> lock(d_->view.mutex);
        clock = d_->view.clock;
    }
    return clock ? clock->relation() : std::nullopt;
}

bool LinkDevice::awaitConnected(std::chrono::milliseconds patience,
                                const std::function<bool()>& stopRequested) const {
    return d_->await(patience, stopRequested,
                     [](const StreamView& view) { return view.isConnected; });
}

bool LinkDevice::awaitEnd(std::chrono::milliseconds patience,
                          const std::function<bool()>& stopRequested) const {
    return d_->await(patience, stopRequested, [](const StreamView& view) { return view.isOver; });
}

tsignal::Signal<>& LinkDevice::onDescribed() { return d_->described; }

tsignal::Signal<LinkSample>& LinkDevice::onSample() { return d_->sample; }

tsignal::Signal<LinkEvent>& LinkDevice::onEvent() { return d_->event; }

void LinkDevice::doRequest(std::shared_ptr<Request> request, std::shared_ptr<Reply> reply) {
    d_->thread.request(std::move(request), std::move(reply));
}

} // namespace tarn::link
