// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "stream/Receiver.h"

#include "stream/LinkAccess.h"
#include "wire/Refusal.h"

#include <any>
#include <array>
#include <string_view>
#include <utility>

namespace tarn::link {

namespace {

/// Offers are looked at as often as that even if nothing is told of them.
constexpr auto lookTime = std::chrono::milliseconds(250);
/// How long after the last frame the end of a stream is waited for that is known to be over: as
/// long as its publisher is there, what is missing can still be sent again.
constexpr auto endTime = std::chrono::seconds(10);
constexpr auto endTimeOfGone = std::chrono::seconds(2);
constexpr auto endTimeOfNewest = std::chrono::milliseconds(100);

} // namespace

Receiver::Receiver(const Link& link, dds_entity_t waitset, const LinkDeviceOptions& options,
                   StreamView& view, Outputs outputs)
    : link_(link), waitset_(waitset), options_(options), view_(view), outputs_(std::move(outputs)),
      news_(*options.clock, outputs_.news), counts_(news_, options.wanted),
      offers_(LinkAccess::participant(link), waitset) {}

// --- Commands --------------------------------------------------------------------------------

bool Receiver::handle(const Request& request, Reply& reply) {
    static constexpr std::array<std::pair<std::string_view, Handler>, 4> handlers = {{
        {"open", &Receiver::open},
        {"start", &Receiver::start},
        {"stop", &Receiver::stop},
        {"status", &Receiver::status},
    }};
    for (const auto& [id, handler] : handlers) {
        if (id == request.id()) {
            reply.setResultCode(0);
            try {
                (this->*handler)(request, reply);
            } catch (const LinkError& error) {
                kit::failCommand(reply, LinkDevice::LinkFailed, error.what());
            }
            return true;
        }
    }
    return false;
}

void Receiver::open(const Request& request, Reply& reply) {
    const auto* const name = std::any_cast<std::string>(&request.data());
    if (name == nullptr) {
        kit::failCommand(reply, LinkDevice::BadPayload,
                         "\"open\" takes the name of a stream, as std::string");
        return;
    }
    if (!isStreamName(*name)) {
        kit::failCommand(reply, LinkDevice::BadName,
                         "nothing can be offered under the name '" + *name + "'");
        return;
    }
    auto descriptions =
        std::make_unique<Descriptions>(LinkAccess::participant(link_), *name, waitset_);
    ++era_;
    frames_.reset();
    disconnect();
    descriptions_ = std::move(descriptions);
    name_ = *name;
    tracks_.clear();
    counts_.resize(0);
    held_.clear();
    news_.clear();
    reconnects_ = samples_ = 0;
    wasConnected_ = hasEnded_ = isFloodTold_ = false;
    showTracks();
    showView(false);
    followOffers();
}

void Receiver::start(const Request& /*request*/, Reply& reply) {
    if (descriptions_ == nullptr) {
        kit::failCommand(reply, LinkDevice::NotOpen, "no stream is open");
        return;
    }
    if (frames_ != nullptr) {
        return;
    }
    auto frames =
        std::make_unique<FrameIntake>(LinkAccess::participant(link_), name_, options_, waitset_);
    ++era_;
    frames_ = std::move(frames);
    frames_->expect(tracks_);
    isFloodTold_ = false;
    counts_.restart();
    samples_ = 0;
    quietSince_ = Steady::now();
    enterState();
}

void Receiver::stop(const Request& /*request*/, Reply& reply) {
    if (descriptions_ == nullptr) {
        kit::failCommand(reply, LinkDevice::NotOpen, "no stream is open");
        return;
    }
    ++era_;
    frames_.reset();
    held_.clear();
    enterState();
}

void Receiver::status(const Request& /*request*/, Reply& reply) {
    LinkStatus status;
    status.state = news_.state();
    status.name = name_;
    if (!isConnected()) {
        status.why = whyNotConnected(link_, name_, turnedAwayDescriptions());
    }
    status.offer = last_;
    status.hasEnded = hasEnded_;
    status.tracks = counts_.statuses();
    status.refused = news_.refused();
    status.turnedAway = turnedAway();
    status.reconnects = reconnects_;
    status.samples = samples_;
    status.captured = sample_.captured;
    status.received = sample_.received;
    status.events.assign(news_.events().begin(), news_.events().end());
    reply.setData(status);
}

// --- What is offered -------------------------------------------------------------------------

std::chrono::nanoseconds Receiver::patience() const {
    const bool isEnding = current_ && current_->ended && !hasEnded_;
    return isEnding || isLeaving_ ? std::chrono::milliseconds(10) : lookTime;
}

void Receiver::work() {
    const Steady::time_point now = Steady::now();
    if (offers_.hasNews() || now >= lookAgain_) {
        lookAgain_ = now + lookTime;
        followOffers();
    }
    if (descriptions_ != nullptr && descriptions_->hasNews()) {
        readDescriptions();
    }
    if (frames_ != nullptr) {
        frames_->greet();
        readFrames();
    }
    tellOfFlood();
    endIfOver();
    disconnectIfDrained();
}

void Receiver::followOffers() {
    const OfferChoice::Look look = offers_.look(name_);
    const std::optional<LinkOffer>& latest = look.latest;
    if (current_ && (!latest || current_->stream != latest->stream)) {
        leave(look.gone);
    } else if (latest && !current_) {
        connect(*latest);
    } else if (latest) {
        isLeaving_ = false; // it was not heard of for a while
        if (latest->ended && !current_->ended) {
            current_ = last_ = *latest;
            quietSince_ = Steady::now();
        }
    }
}

/// The publisher may have ended and gone while the host was busy with its frames.
void Receiver::leave(const std::vector<LinkOffer>& gone) {
    isLeaving_ = true;
    for (const LinkOffer& offer : gone) {
        if (offer.stream == current_->stream && offer.ended && !current_->ended) {
            current_ = last_ = offer;
            quietSince_ = Steady::now();
        }
    }
}

/// Not before what is here has been put out.
void Receiver::disconnectIfDrained() {
    const bool isDrained = frames_ == nullptr || !frames_->hasMore();
    if (isLeaving_ && isDrained && (!isConnected() || !current_->ended || hasEnded_)) {
        disconnect();
        lookAgain_ = Steady::time_point::min(); // another one may be there already
    }
}

void Receiver::connect(const LinkOffer& offer) {
    const bool isAnother = offer.stream != last_.stream;
    current_ = last_ = offer;
    hasEnded_ = hasEnded_ && !isAnother;
    quietSince_ = Steady::now();
    isDescribed_ = false;
    if (isAnother) {
        measureClock(offer.clock);
        counts_.followAnother();
    }
    adopt();
}

void Receiver::measureClock(std::uint64_t clock) {
    std::shared_ptr<LinkClock> other;
    if (clock != 0) {
        other = std::make_shared<LinkClock>(link_, clock);
    }
    const std::lock_guard<std::mutex> lock(view_.mutex);
    view_.clock.swap(other); // the one before ends after the lock
}

void Receiver::disconnect() {
    if (!current_) {
        return;
    }
    const bool wasThere = isConnected();
    isLeaving_ = false;
    current_.reset();
    isDescribed_ = false;
    if (wasThere) {
        showView(true);
        news_.tell(LinkEvent::Kind::Disconnected, hasEnded_
                                                      ? "'" + name_ + "' is offered no more"
                                                      : "'" + name_ + "' has gone before its end");
    }
    enterState();
}

// --- What is described -----------------------------------------------------------------------

void Receiver::readDescriptions() {
    const auto refusals =
        descriptions_->read([this](std::uint64_t stream) { return offers_.isOffered(stream); },
                            current_ ? current_->stream : 0);
    for (const std::string& why : refusals) {
        news_.refuse(why);
    }
    adopt();
}

void Receiver::adopt() {
    const std::vector<StreamTrack>* const described =
        current_ && descriptions_ != nullptr ? descriptions_->of(current_->stream) : nullptr;
    if (described == nullptr || isDescribed_) {
        return;
    }
    const std::uint64_t era = era_;
    isDescribed_ = true;
    tracks_ = *described;
    counts_.resize(tracks_.size());
    if (frames_ != nullptr) {
        frames_->expect(tracks_);
    }
    const bool isAgain = std::exchange(wasConnected_, true);
    reconnects_ += isAgain ? 1 : 0;
    showTracks();
    outputs_.described();
    if (era != era_) {
        return; // who heard of it has opened another
    }
    news_.tell(isAgain ? LinkEvent::Kind::Reconnected : LinkEvent::Kind::Connected,
               "'" + name_ + "' is offered by " + last_.program + " on " + last_.host);
    enterState();
    showView(false);
    if (era == era_) {
        deliverHeld();
    }
}

// --- What comes ------------------------------------------------------------------------------

void Receiver::readFrames() {
    FrameBatch batch = frames_->take(*options_.clock);
    const std::uint64_t era = era_;
    for (const std::string& why : batch.refusals) {
        news_.refuse(why);
    }
    for (FrameSample& sample : batch.samples) {
        if (era != era_) {
            return; // a slot has stopped it, or opened another
        }
        quietSince_ = Steady::now();
        if (isConnected() && sample.stream == current_->stream) {
            deliver(sample, batch.newest);
        } else {
            hold(std::move(sample));
        }
    }
}

void Receiver::hold(FrameSample sample) {
    for (std::size_t gone = held_.hold(std::move(sample)); gone > 0; --gone) {
        news_.refuse("frames of a stream that nobody describes");
    }
}

void Receiver::deliverHeld() {
    const std::uint64_t era = era_;
    for (const FrameSample& sample : held_.takeAll()) {
        if (era != era_ || !isConnected()) {
            return;
        }
        if (sample.stream == current_->stream) {
            deliver(sample, std::vector<std::uint64_t>(maxTracks, 0));
        }
    }
}

void Receiver::deliver(const FrameSample& sample, const std::vector<std::uint64_t>& newest) {
    std::vector<std::pair<std::size_t, std::shared_ptr<Frame>>> frames;
    const std::uint64_t era = era_;
    for (const FrameItem& item : sample.items) {
        if (item.track >= tracks_.size()) {
            news_.refuse("a frame of track " + std::to_string(item.track) +
                         ", which is not described");
            continue;
        }
        const bool isWanted = counts_.arrived(item);
        if (era != era_) {
            return; // who heard of it has opened another
        }
        if (!isWanted) {
            continue;
        }
        if (sample.number < newest[item.track]) {
            counts_.skipped(item.track);
            continue;
        }
        try {
            frames.emplace_back(item.track, frameIn(item, tracks_[item.track], *options_.codecs));
            counts_.putOut(item.track);
        } catch (const Refusal& refusal) {
            news_.refuse(refusal.what(), static_cast<int>(item.track));
        }
    }
    if (frames.empty() || era != era_) {
        return;
    }
    const LinkSample shown{sample.stream, sample.number, sample.captured, sample.received};
    const bool isPart = samples_ > 0 && sample_.stream == shown.stream &&
                        sample_.number == shown.number; // of the one before
    sample_ = shown;
    if (!isPart) {
        ++samples_;
        outputs_.sample(shown);
    }
    for (const auto& [track, frame] : frames) {
        if (era != era_) {
            return;
        }
        outputs_.frame(track, frame);
    }
}

std::uint64_t Receiver::turnedAwayDescriptions() const {
    return descriptions_ != nullptr ? descriptions_->turnedAway() : 0;
}

std::uint64_t Receiver::turnedAway() const {
    return turnedAwayDescriptions() + (frames_ != nullptr ? frames_->turnedAway() : 0);
}

/// Once is enough: the status has how much it is.
void Receiver::tellOfFlood() {
    if (!isConnected()) {
        const std::lock_guard<std::mutex> lock(view_.mutex);
        view_.turnedAway = turnedAwayDescriptions();
    }
    if (!isFloodTold_ && turnedAway() > 0) {
        isFloodTold_ = true;
        news_.tell(LinkEvent::Kind::Flooded,
                   "more is sent under '" + name_ + "' than is let in; the rest is turned away");
    }
}

// --- The end ---------------------------------------------------------------------------------

void Receiver::endIfOver() {
    if (!isConnected() || !current_->ended || hasEnded_) {
        return;
    }
    const auto quiet = Steady::now() - quietSince_;
    const bool wantsAll = options_.wanted == Wanted::EveryFrame;
    const bool isOver = quiet >= (!wantsAll    ? endTimeOfNewest
                                  : isLeaving_ ? endTimeOfGone
                                               : endTime);
    if (frames_ != nullptr && !counts_.isComplete(current_->sent) && !isOver) {
        return;
    }
    const std::uint64_t era = era_;
    if (frames_ != nullptr) {
        counts_.end(std::vector<std::uint64_t>(current_->sent));
    }
    if (era == era_) {
        finish();
    }
}

void Receiver::finish() {
    hasEnded_ = true;
    news_.tell(LinkEvent::Kind::Ended, "'" + name_ + "' has ended");
    enterState();
    showView(true);
}

// --- How the device stands -------------------------------------------------------------------

void Receiver::enterState() {
    news_.enter(!isConnected()                    ? Device::Lost
                : frames_ == nullptr || hasEnded_ ? Device::Ready
                                                  : Device::Busy);
}

/// Before the state tells of them.
void Receiver::showTracks() {
    const std::lock_guard<std::mutex> lock(view_.mutex);
    view_.tracks.clear();
    for (const StreamTrack& track : tracks_) {
        view_.tracks.push_back({track.dataType, track.description});
    }
}

/// After the state has told of it: who waits finds the device as it is.
void Receiver::showView(bool isOver) {
    const std::lock_guard<std::mutex> lock(view_.mutex);
    view_.name = name_;
    view_.turnedAway = turnedAwayDescriptions();
    view_.isConnected = isConnected();
    view_.isOver = isOver;
    view_.changed.notify_all();
}

} // namespace tarn::link
