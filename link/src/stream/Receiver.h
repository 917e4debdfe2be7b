// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "wire/DescriptionWire.h"
#include "wire/FrameWire.h"
#include "wire/Hearing.h"
#include "wire/NumberCount.h"
#include "wire/Offers.h"

#include <tarn/Reply.h>
#include <tarn/Request.h>
#include <tarn_link/clock/LinkClock.h>
#include <tarn_link/stream/LinkDevice.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace tarn::link {

/// What others than the device's thread see of its stream.
struct StreamView {
    mutable std::mutex mutex;
    mutable std::condition_variable changed;
    std::string name;
    std::vector<LinkTrack> tracks;
    std::shared_ptr<LinkClock> clock; ///< of the publisher that was connected last
    bool isConnected = false;
    bool isOver = false; ///< it has ended, or has gone
};

/// What a `LinkDevice` does on its thread, without the thread: carries out commands, and looks at
/// what has come. Slots may give it commands while they run.
class Receiver {
public:
    struct Outputs {
        std::function<void(std::size_t track, const std::shared_ptr<Frame>&)> frame;
        std::function<void(Device::DeviceState)> state;
        std::function<void()> described;
        std::function<void(const LinkSample&)> sample;
        std::function<void(const LinkEvent&)> event;
    };

    /// The waitset is told of all that may bring work. Everything outlives it.
    Receiver(const Link& link, dds_entity_t waitset, const LinkDeviceOptions& options,
             StreamView& view, Outputs outputs);

    /// Carries out a command and fills in its reply, which is left to be finished. Returns false,
    /// and does nothing, when there is no such command.
    bool handle(const Request& request, Reply& reply);
    /// Looks at all that has come.
    void work();
    /// How long to wait for more before there is work in any case.
    std::chrono::nanoseconds patience() const;

private:
    using Steady = std::chrono::steady_clock;
    using Handler = void (Receiver::*)(const Request&, Reply&);
    struct Track {
        StreamTrack what;
        NumberCount numbers;
        LinkTrackStatus status; ///< `lost` only of the streams before
        std::uint64_t told = 0; ///< how many missing ones were told
    };

    void open(const Request& request, Reply& reply);
    void start(const Request& request, Reply& reply);
    void stop(const Request& request, Reply& reply);
    void status(const Request& request, Reply& reply);

    void followOffers();
    void leave(const std::vector<LinkOffer>& gone);
    void disconnectIfDrained();
    void connect(const LinkOffer& offer);
    void measureClock(std::uint64_t clock);
    void disconnect();
    void readDescriptions();
    void adopt();
    void stopFrames();
    void readFrames();
    void hold(FrameSample sample);
    void deliverHeld();
    /// `newest` says of each track up to which sample of a batch its frames are passed over.
    void deliver(const FrameSample& sample, const std::vector<std::uint64_t>& newest);
    bool count(const FrameItem& item);
    void endIfOver();
    void finish();

    bool isConnected() const { return current_ && isDescribed_; }
    void refuse(const std::string& why, int track = -1);
    void tell(LinkEvent event);
    void enterState();
    void showTracks();
    void showView(bool isOver);
    static LinkTrackStatus statusOf(const Track& track);
    Entity attach(dds_entity_t reader, std::uint32_t mask);

    const Link& link_;
    const dds_entity_t waitset_;
    const LinkDeviceOptions& options_;
    StreamView& view_;
    const Outputs outputs_;

    OfferReader offers_;
    Entity offersCame_;
    std::unique_ptr<Reader> descriptions_; ///< while a stream is open
    Entity descriptionsCame_;
    std::unique_ptr<Reader> frames_; ///< while it is started
    Entity framesCame_;
    std::unique_ptr<HearingReport> hearing_; ///< while every frame is wanted

    std::string name_;
    /// Counts commands: a slot that gives one ends what is being done for the one before.
    std::uint64_t era_ = 0;
    std::map<std::uint64_t, std::uint64_t> seen_; ///< offered streams and in which order they came
    std::uint64_t order_ = 0;
    std::optional<LinkOffer> current_; ///< the stream that is followed
    LinkOffer last_;
    bool isDescribed_ = false;
    bool isLeaving_ = false; ///< it is offered no more; what it has sent may still be here
    bool wasConnected_ = false;
    std::map<std::uint64_t, std::vector<StreamTrack>> described_; ///< of streams, the latest ones
    std::vector<Track> tracks_;
    std::deque<FrameSample> held_; ///< of streams that are not described yet
    std::size_t heldBytes_ = 0;
    bool hasEnded_ = false;
    Steady::time_point quietSince_ = Steady::now();
    Steady::time_point lookAgain_ = Steady::time_point::min();

    Device::DeviceState state_ = Device::Lost;
    std::deque<Device::DeviceState> announcements_; ///< the first one is being made
    std::uint64_t refused_ = 0;
    std::uint64_t reconnects_ = 0;
    std::uint64_t samples_ = 0;
    std::int64_t captured_ = 0;
    kit::Clock::Instant received_;
    std::deque<LinkEvent> events_;
};

} // namespace tarn::link
