// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "stream/Receiver.h"

#include "stream/LinkAccess.h"
#include "wire/Refusal.h"
#include "wire/Samples.h"

#include <algorithm>
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

constexpr std::size_t mostEvents = 200;
constexpr std::size_t mostDescribed = 8;
constexpr std::size_t mostHeld = 1024;
constexpr std::size_t mostHeldBytes = std::size_t(64) << 20;

constexpr std::uint32_t anyState = DDS_ANY_STATE;
constexpr std::uint32_t news =
    DDS_NOT_READ_SAMPLE_STATE | DDS_ANY_VIEW_STATE | DDS_ANY_INSTANCE_STATE;

std::size_t sizeOf(const FrameSample& sample) {
    std::size_t bytes = 0;
    for (const FrameItem& item : sample.items) {
        bytes += item.bytes.size();
    }
    return bytes;
}

std::string framesText(std::uint64_t count, std::uint64_t first) {
    return count == 1
               ? "frame " + std::to_string(first)
               : "frames " + std::to_string(first) + " to " + std::to_string(first + count - 1);
}

} // namespace

Receiver::Receiver(const Link& link, dds_entity_t waitset, const LinkDeviceOptions& options,
                   StreamView& view, Outputs outputs)
    : link_(link), waitset_(waitset), options_(options), view_(view), outputs_(std::move(outputs)),
      offers_(LinkAccess::participant(link)), offersCame_(attach(offers_.get(), news)) {}

Entity Receiver::attach(dds_entity_t reader, std::uint32_t mask) {
    Entity condition(dds_create_readcondition(reader, mask), "what comes");
    dds_waitset_attach(waitset_, condition.get(), 0);
    return condition;
}

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
        std::make_unique<Reader>(LinkAccess::participant(link_), descriptionEnd(*name));
    ++era_;
    stopFrames();
    disconnect();
    descriptionsCame_ = attach(descriptions->get(), news);
    descriptions_ = std::move(descriptions);
    name_ = *name;
    described_.clear();
    tracks_.clear();
    held_.clear();
    heldBytes_ = 0;
    events_.clear();
    refused_ = reconnects_ = samples_ = 0;
    wasConnected_ = hasEnded_ = false;
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
    const bool wantsAll = options_.wanted == Wanted::EveryFrame;
    auto frames = std::make_unique<Reader>(
        LinkAccess::participant(link_),
        frameEnd(name_, wantsAll ? Delivery::EveryFrame : Delivery::Newest));
    if (wantsAll) {
        hearing_ =
            std::make_unique<HearingReport>(LinkAccess::participant(link_), name_, drawnNumber());
        dds_set_status_mask(frames->get(), DDS_SUBSCRIPTION_MATCHED_STATUS);
        dds_waitset_attach(waitset_, frames->get(), 0);
    }
    ++era_;
    framesCame_ = attach(frames->get(), anyState);
    frames_ = std::move(frames);
    for (Track& track : tracks_) {
        track = Track{std::move(track.what), {}, {}, 0};
    }
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
    stopFrames();
    held_.clear();
    heldBytes_ = 0;
    enterState();
}

void Receiver::stopFrames() {
    hearing_.reset();
    framesCame_.reset();
    frames_.reset();
}

LinkTrackStatus Receiver::statusOf(const Track& track) {
    LinkTrackStatus status = track.status;
    status.lost += track.numbers.missing();
    return status;
}

void Receiver::status(const Request& /*request*/, Reply& reply) {
    LinkStatus status;
    status.state = state_;
    status.name = name_;
    if (!isConnected()) {
        status.why = name_.empty() ? "no stream is open" : link_.whyNot(name_);
        if (status.why.empty()) {
            status.why = "'" + name_ + "' has not described itself yet";
        }
    }
    status.offer = last_;
    status.hasEnded = hasEnded_;
    status.tracks.reserve(tracks_.size());
    for (const Track& track : tracks_) {
        status.tracks.push_back(statusOf(track));
    }
    status.refused = refused_;
    status.reconnects = reconnects_;
    status.samples = samples_;
    status.captured = captured_;
    status.received = received_;
    status.events.assign(events_.begin(), events_.end());
    reply.setData(status);
}

// --- What is offered -------------------------------------------------------------------------

std::chrono::nanoseconds Receiver::patience() const {
    const bool isEnding = current_ && current_->ended && !hasEnded_;
    return isEnding || isLeaving_ ? std::chrono::milliseconds(10) : lookTime;
}

void Receiver::work() {
    const Steady::time_point now = Steady::now();
    if (dds_triggered(offersCame_.get()) > 0 || now >= lookAgain_) {
        lookAgain_ = now + lookTime;
        followOffers();
    }
    if (descriptions_ != nullptr && dds_triggered(descriptionsCame_.get()) > 0) {
        readDescriptions();
    }
    if (hearing_ != nullptr && frames_ != nullptr) {
        dds_subscription_matched_status_t seen{}; // so that the next one is news
        dds_get_subscription_matched_status(frames_->get(), &seen);
        hearing_->update(frames_->get());
    }
    if (frames_ != nullptr) {
        readFrames();
    }
    endIfOver();
    disconnectIfDrained();
}

void Receiver::followOffers() {
    const LinkOffer* latest = nullptr;
    std::map<std::uint64_t, std::uint64_t> seen;
    std::vector<LinkOffer> gone;
    const std::vector<LinkOffer> offers = offers_.offers(&gone);
    for (const LinkOffer& offer : offers) {
        const auto& known = readVersions();
        if (offer.name != name_ ||
            std::find(known.begin(), known.end(), offer.version) == known.end()) {
            continue;
        }
        const auto before = seen_.find(offer.stream);
        seen[offer.stream] = before != seen_.end() ? before->second : ++order_;
        if (latest == nullptr || seen[offer.stream] > seen[latest->stream]) {
            latest = &offer;
        }
    }
    seen_ = std::move(seen);
    if (current_ && (latest == nullptr || current_->stream != latest->stream)) {
        leave(gone);
    } else if (latest != nullptr && !current_) {
        connect(*latest);
    } else if (latest != nullptr) {
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
    const bool isDrained = frames_ == nullptr || dds_triggered(framesCame_.get()) <= 0;
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
    }
    for (Track& track : tracks_) {
        if (isAnother) { // counts on from where that one is
            track.status.lost += track.numbers.missing();
            track.numbers = {};
            track.told = 0;
        }
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
        tell({LinkEvent::Kind::Disconnected,
              {},
              -1,
              0,
              1,
              hasEnded_ ? "'" + name_ + "' is offered no more"
                        : "'" + name_ + "' has gone before its end"});
    }
    enterState();
}

// --- What is described -----------------------------------------------------------------------

void Receiver::readDescriptions() {
    std::vector<std::string> refusals;
    eachSample<tarn_wire_Description>(
        descriptions_->get(), dds_take_mask, anyState,
        [&](const tarn_wire_Description& sample, const dds_sample_info_t& info) {
            if (!info.valid_data) {
                return;
            }
            try {
                described_[sample.stream] = tracksIn(sample);
            } catch (const Refusal& refusal) {
                refusals.emplace_back(refusal.what());
            }
        });
    for (const std::string& why : refusals) {
        refuse(why);
    }
    for (auto at = described_.begin(); at != described_.end();) {
        const bool isSpare = described_.size() > mostDescribed && seen_.count(at->first) == 0;
        at = isSpare ? described_.erase(at) : std::next(at);
    }
    adopt();
}

void Receiver::adopt() {
    const auto found = current_ ? described_.find(current_->stream) : described_.end();
    if (found == described_.end() || isDescribed_) {
        return;
    }
    const std::uint64_t era = era_;
    isDescribed_ = true;
    tracks_.resize(found->second.size());
    for (std::size_t i = 0; i < tracks_.size(); ++i) {
        tracks_[i].what = found->second[i];
    }
    const bool isAgain = std::exchange(wasConnected_, true);
    reconnects_ += isAgain ? 1 : 0;
    showTracks();
    outputs_.described();
    tell({isAgain ? LinkEvent::Kind::Reconnected : LinkEvent::Kind::Connected,
          {},
          -1,
          0,
          1,
          "'" + name_ + "' is offered by " + last_.program + " on " + last_.host});
    enterState();
    showView(false);
    if (era == era_) {
        deliverHeld();
    }
}

// --- What comes ------------------------------------------------------------------------------

void Receiver::readFrames() {
    std::vector<FrameSample> batch;
    std::vector<std::string> refusals;
    const kit::Clock::Instant received = options_.clock->now();
    eachSample<tarn_wire_Frame>(frames_->get(), dds_take_mask, anyState,
                                [&](const tarn_wire_Frame& sample, const dds_sample_info_t& info) {
                                    if (!info.valid_data) {
                                        return;
                                    }
                                    try {
                                        batch.push_back(frameSampleIn(sample));
                                        batch.back().received = received;
                                    } catch (const Refusal& refusal) {
                                        refusals.emplace_back(refusal.what());
                                    }
                                });
    const std::uint64_t era = era_;
    std::vector<std::uint64_t> newest(maxTracks, 0);
    if (options_.wanted == Wanted::NewestFrame) {
        for (const FrameSample& sample : batch) {
            for (const FrameItem& item : sample.items) {
                newest[item.track] = std::max(newest[item.track], sample.number);
            }
        }
    }
    for (const std::string& why : refusals) {
        refuse(why);
    }
    for (FrameSample& sample : batch) {
        if (era != era_) {
            return; // a slot has stopped it, or opened another
        }
        quietSince_ = Steady::now();
        if (isConnected() && sample.stream == current_->stream) {
            deliver(sample, newest);
        } else {
            hold(std::move(sample));
        }
    }
}

void Receiver::hold(FrameSample sample) {
    heldBytes_ += sizeOf(sample);
    held_.push_back(std::move(sample));
    while (held_.size() > mostHeld || heldBytes_ > mostHeldBytes) {
        heldBytes_ -= sizeOf(held_.front());
        held_.pop_front();
        refuse("frames of a stream that nobody describes");
    }
}

void Receiver::deliverHeld() {
    const std::uint64_t era = era_;
    std::deque<FrameSample> held = std::exchange(held_, {});
    heldBytes_ = 0;
    for (const FrameSample& sample : held) {
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
            refuse("a frame of track " + std::to_string(item.track) + ", which is not described");
            continue;
        }
        if (!count(item)) {
            continue;
        }
        Track& track = tracks_[item.track];
        if (sample.number < newest[item.track]) {
            ++track.status.skipped;
            continue;
        }
        try {
            frames.emplace_back(item.track, frameIn(item, track.what, *options_.codecs));
            ++track.status.received;
        } catch (const Refusal& refusal) {
            refuse(refusal.what(), static_cast<int>(item.track));
        }
    }
    if (frames.empty() || era != era_) {
        return;
    }
    ++samples_;
    captured_ = sample.captured;
    received_ = sample.received;
    outputs_.sample({sample.stream, sample.number, sample.captured, sample.received});
    for (const auto& [track, frame] : frames) {
        if (era != era_) {
            return;
        }
        outputs_.frame(track, frame);
    }
}

/// Whether an item is to be put out.
bool Receiver::count(const FrameItem& item) {
    Track& track = tracks_[item.track];
    const int index = static_cast<int>(item.track);
    const bool isFirst = track.status.received == 0 && !track.numbers.hasBegun();
    const std::uint64_t expected = track.numbers.next();
    switch (track.numbers.arrived(item.number)) {
    case NumberCount::Place::Next:
        if (isFirst) {
            track.status.first = item.number;
        } else if (track.numbers.hasBegun() && item.number > expected && expected > 0) {
            const std::uint64_t missed = item.number - expected;
            tell({LinkEvent::Kind::Lost,
                  {},
                  index,
                  expected,
                  missed,
                  framesText(missed, expected) + " did not come"});
        }
        return true;
    case NumberCount::Place::Missed:
        if (options_.wanted == Wanted::NewestFrame) {
            ++track.status.late;
            tell({LinkEvent::Kind::Late,
                  {},
                  index,
                  item.number,
                  1,
                  framesText(1, item.number) + " came too late"});
            return false;
        }
        ++track.status.outOfOrder;
        tell({LinkEvent::Kind::OutOfOrder,
              {},
              index,
              item.number,
              1,
              framesText(1, item.number) + " came behind newer ones"});
        return true;
    case NumberCount::Place::Repeated:
        refuse("a frame whose number was there before", index);
        return false;
    case NumberCount::Place::Absurd:
        refuse("a frame whose number is far from all others", index);
        return false;
    }
    return false;
}

// --- The end ---------------------------------------------------------------------------------

void Receiver::endIfOver() {
    if (!isConnected() || !current_->ended || hasEnded_) {
        return;
    }
    const auto sentOf = [this](std::size_t i) {
        return i < current_->sent.size() ? current_->sent[i] : 0;
    };
    bool isComplete = true;
    for (std::size_t i = 0; i < tracks_.size(); ++i) {
        const NumberCount& numbers = tracks_[i].numbers;
        isComplete =
            isComplete && (sentOf(i) == 0 || (numbers.hasBegun() && numbers.next() >= sentOf(i)));
    }
    const auto quiet = Steady::now() - quietSince_;
    const bool wantsAll = options_.wanted == Wanted::EveryFrame;
    const bool isOver = quiet >= (!wantsAll    ? endTimeOfNewest
                                  : isLeaving_ ? endTimeOfGone
                                               : endTime);
    if (frames_ != nullptr && !isComplete && !isOver) {
        return;
    }
    for (std::size_t i = 0; frames_ != nullptr && i < tracks_.size(); ++i) {
        NumberCount& numbers = tracks_[i].numbers;
        const std::uint64_t next = numbers.next();
        numbers.sentUpTo(sentOf(i));
        if (numbers.next() > next) {
            tell({LinkEvent::Kind::Lost,
                  {},
                  static_cast<int>(i),
                  next,
                  numbers.next() - next,
                  framesText(numbers.next() - next, next) + " did not come before the end"});
        }
    }
    finish();
}

void Receiver::finish() {
    hasEnded_ = true;
    tell({LinkEvent::Kind::Ended, {}, -1, 0, 1, "'" + name_ + "' has ended"});
    enterState();
    showView(true);
}

// --- What is told ----------------------------------------------------------------------------

void Receiver::refuse(const std::string& why, int track) {
    ++refused_;
    tell({LinkEvent::Kind::Refused, {}, track, 0, 1, why});
}

void Receiver::tell(LinkEvent event) {
    event.at = options_.clock->now();
    events_.push_back(event);
    if (events_.size() > mostEvents) {
        events_.pop_front();
    }
    outputs_.event(event);
}

void Receiver::enterState() {
    const Device::DeviceState state = !isConnected()                    ? Device::Lost
                                      : frames_ == nullptr || hasEnded_ ? Device::Ready
                                                                        : Device::Busy;
    if (state == state_) {
        return;
    }
    state_ = state;
    announcements_.push_back(state);
    if (announcements_.size() > 1) {
        return; // a listener gave the command: all of them hear of the change before it first
    }
    while (!announcements_.empty()) {
        outputs_.state(announcements_.front());
        announcements_.pop_front();
    }
}

/// Before the state tells of them.
void Receiver::showTracks() {
    const std::lock_guard<std::mutex> lock(view_.mutex);
    view_.tracks.clear();
    for (const Track& track : tracks_) {
        view_.tracks.push_back({track.what.dataType, track.what.description});
    }
}

/// After the state has told of it: who waits finds the device as it is.
void Receiver::showView(bool isOver) {
    const std::lock_guard<std::mutex> lock(view_.mutex);
    view_.name = name_;
    view_.isConnected = isConnected();
    view_.isOver = isOver;
    view_.changed.notify_all();
}

} // namespace tarn::link
