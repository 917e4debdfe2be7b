// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "stream/Descriptions.h"
#include "stream/FrameIntake.h"
#include "stream/OfferChoice.h"
#include "stream/StreamNews.h"
#include "stream/StreamView.h"
#include "stream/TrackCounts.h"

#include <tarn/Reply.h>
#include <tarn/Request.h>
#include <tarn_link/stream/LinkDevice.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tarn::link {

/// What a `LinkDevice` does on its thread, without the thread: carries out commands, follows the
/// stream of a name from its offer to its end, and hands on what comes of it. Slots may give it
/// commands while they run.
class Receiver {
public:
    struct Outputs {
        std::function<void(std::size_t track, const std::shared_ptr<Frame>&)> frame;
        std::function<void()> described;
        std::function<void(const LinkSample&)> sample;
        StreamNews::Listeners news;
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
    void readFrames();
    void hold(FrameSample sample);
    void deliverHeld();
    /// `newest` says of each track up to which sample its frames are passed over.
    void deliver(const FrameSample& sample, const std::vector<std::uint64_t>& newest);
    std::uint64_t turnedAwayDescriptions() const;
    std::uint64_t turnedAway() const;
    void tellOfFlood();
    void endIfOver();
    void finish();

    bool isConnected() const { return current_ && isDescribed_; }
    void enterState();
    void showTracks();
    void showView(bool isOver);

    const Link& link_;
    const dds_entity_t waitset_;
    const LinkDeviceOptions& options_;
    StreamView& view_;
    const Outputs outputs_;
    StreamNews news_;
    TrackCounts counts_;

    OfferChoice offers_;
    std::unique_ptr<Descriptions> descriptions_; ///< while a stream is open
    std::unique_ptr<FrameIntake> frames_;        ///< while it is started
    HeldSamples held_;

    std::string name_;
    /// Counts commands: a slot that gives one ends what is being done for the one before.
    std::uint64_t era_ = 0;
    std::optional<LinkOffer> current_; ///< the stream that is followed
    LinkOffer last_;
    bool isDescribed_ = false;
    bool isLeaving_ = false; ///< it is offered no more; what it has sent may still be here
    bool wasConnected_ = false;
    bool hasEnded_ = false;
    bool isFloodTold_ = false;
    std::vector<StreamTrack> tracks_; ///< as described last
    Steady::time_point quietSince_ = Steady::now();
    Steady::time_point lookAgain_ = Steady::time_point::min();

    std::uint64_t reconnects_ = 0;
    std::uint64_t samples_ = 0;
    LinkSample sample_; ///< the last one
};

} // namespace tarn::link
