// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/devices/ClockOffset.h>

#include <algorithm>
#include <cassert>
#include <cmath>
#include <deque>
#include <limits>
#include <mutex>

namespace tarn::kit {

namespace {

using Duration = Clock::Duration;
using Instant = Clock::Instant;

/// About 73 years: the difference of two differences of such instants just fits.
constexpr std::int64_t farthest = (std::int64_t{1} << 61) - 1;
/// What a clock that is kept right may drift all the same: the tolerance that NTP counts with.
constexpr double disciplinedDrift = 15e-6;
/// The drift that clocks usually have: what is assumed where it has not been seen for long.
constexpr double usualDrift = 50e-6;

bool isNear(Instant instant) {
    const std::int64_t count = instant.time_since_epoch().count();
    return count >= -farthest && count <= farthest;
}

Instant clamped(Instant instant) {
    const std::int64_t count = instant.time_since_epoch().count();
    return Instant(Duration(std::clamp(count, -farthest, farthest)));
}

Duration rounded(double nanoseconds) {
    constexpr auto most = static_cast<double>(farthest);
    return Duration(std::llround(std::clamp(nanoseconds, -most, most)));
}

double nanoseconds(Duration duration) { return static_cast<double>(duration.count()); }

/// An exchange, in nanoseconds from where measuring began: small numbers, which a double holds
/// exactly enough. The offset is `high` at most when it was asked, and `low` at least when it had
/// returned.
struct Sample {
    double asked;
    double high;
    double returned;
    double low;
    double roundTrip;
};

/// All lines that samples allow, about an instant that is not before any of them.
struct Allowed {
    double leastDrift;
    double mostDrift;
    double leastOffset = 0; ///< then; it goes with the least drift
    double mostOffset = 0;  ///< then; it goes with the most drift

    bool isEmpty() const { return leastDrift > mostDrift; }
};

struct Line {
    double offset;
    double drift;
};

} // namespace

Instant ClockRelation::toRemote(Instant local) const {
    const Duration since = clamped(local) - clamped(reference);
    return clamped(clamped(clamped(local) + offset) + rounded(drift * nanoseconds(since)));
}

Instant ClockRelation::toLocal(Instant remote) const {
    const Instant shifted = clamped(clamped(remote) - offset);
    const double since = nanoseconds(shifted - clamped(reference));
    return clamped(shifted - rounded(since * drift / (1 + drift)));
}

Duration ClockRelation::boundAt(Instant local) const {
    const double since = std::abs(nanoseconds(clamped(local) - clamped(reference)));
    return bound + rounded(std::ceil(since * (driftBound + wander * 1e-9 * since / 2)));
}

struct ClockOffset::PrivateData {
    explicit PrivateData(const ClockOffsetOptions& theOptions) : options(theOptions) {}

    bool isPossible(const ClockExchange& exchange) const;
    Sample sampleOf(const ClockExchange& exchange) const;
    /// How much more a sample allows for its age, as the drift may have changed since.
    double allowance(double age) const { return options.wander * 1e-9 * age * age / 2; }
    Allowed allowedAt(double instant) const;
    /// Puts a sample in its slice, if it is the best there, and forgets slices that are too old.
    void keep(const Sample& sample);
    Line fit(double instant) const;
    void forget();
    void measure(Instant now);
    std::optional<ClockRelation> disciplined() const;
    ClockRelation better(const ClockRelation& known) const;

    const ClockOffsetOptions options;

    mutable std::mutex mutex; // guards what follows
    Instant origin;           ///< measuring began, by the local clock
    Duration originOffset{};  ///< the offset by the first exchange
    Instant lastReturned{Duration(std::numeric_limits<std::int64_t>::min())};
    double sliceBegan = 0;
    std::deque<Sample> slices; ///< the best of each
    std::optional<ClockRelation> measured;
    ClockDiscipline local;
    ClockDiscipline remote;
    ClockOffsetCounts counts;
};

bool ClockOffset::PrivateData::isPossible(const ClockExchange& exchange) const {
    if (!isNear(exchange.asked) || !isNear(exchange.heard) || !isNear(exchange.answered) ||
        !isNear(exchange.returned) || exchange.returned < exchange.asked ||
        exchange.answered < exchange.heard || exchange.returned < lastReturned) {
        return false;
    }
    const double held = nanoseconds(exchange.answered - exchange.heard);
    return nanoseconds(exchange.returned - exchange.asked) >= held * (1 - options.maximumDrift);
}

Sample ClockOffset::PrivateData::sampleOf(const ClockExchange& exchange) const {
    Sample sample{};
    sample.asked = nanoseconds(exchange.asked - origin);
    sample.high = nanoseconds((exchange.heard - exchange.asked) - originOffset) + 1;
    sample.returned = nanoseconds(exchange.returned - origin);
    sample.low = nanoseconds((exchange.answered - exchange.returned) - originOffset) - 1;
    sample.roundTrip = std::max(0.0, sample.high - sample.low);
    return sample;
}

// A line of `offset` at the instant and `drift` keeps above the low of one sample and below the
// high of another only as far as its drift lets it: each such pair bounds the drift. As no sample
// is after the instant, the steepest line also ends highest there, and the flattest lowest.
Allowed ClockOffset::PrivateData::allowedAt(double instant) const {
    Allowed allowed = {-options.maximumDrift, options.maximumDrift};
    for (const Sample& upper : slices) {
        const double high = upper.high + allowance(instant - upper.asked);
        for (const Sample& lower : slices) {
            const double low = lower.low - allowance(instant - lower.returned);
            const double run = upper.asked - lower.returned;
            if (run > 0) {
                allowed.mostDrift = std::min(allowed.mostDrift, (high - low) / run);
            } else if (run < 0) {
                allowed.leastDrift = std::max(allowed.leastDrift, (high - low) / run);
            } else if (high < low) {
                return {1, -1}; // no line at all
            }
        }
    }
    constexpr double limit = std::numeric_limits<double>::infinity();
    allowed.leastOffset = -limit;
    allowed.mostOffset = limit;
    for (const Sample& sample : slices) {
        const double sinceAsked = instant - sample.asked;
        const double sinceReturned = instant - sample.returned;
        allowed.mostOffset = std::min(allowed.mostOffset, sample.high + allowance(sinceAsked) +
                                                              allowed.mostDrift * sinceAsked);
        allowed.leastOffset = std::max(allowed.leastOffset, sample.low - allowance(sinceReturned) +
                                                                allowed.leastDrift * sinceReturned);
    }
    return allowed;
}

void ClockOffset::PrivateData::keep(const Sample& sample) {
    const double length = nanoseconds(options.slice);
    if (slices.empty() || sample.returned - sliceBegan >= length) {
        sliceBegan = sample.returned;
        slices.push_back(sample);
    } else if (sample.roundTrip <= slices.back().roundTrip) {
        slices.back() = sample;
    }
    const double oldest = sample.returned - length * options.slices;
    while (slices.size() > static_cast<std::size_t>(options.slices) ||
           slices.front().returned < oldest) {
        slices.pop_front();
    }
}

// What a round trip is longer than the shortest, either way may have had. A little is added, so
// that one of them does not decide alone, and a guess of the drift, for what few of them leave
// open.
Line ClockOffset::PrivateData::fit(double instant) const {
    double shortest = std::numeric_limits<double>::infinity();
    for (const Sample& sample : slices) {
        shortest = std::min(shortest, sample.roundTrip);
    }
    const double least = shortest / 20 + 1'000;
    double weights = 0;
    double meanX = 0;
    double meanY = 0;
    double squares = 1 / (usualDrift * usualDrift);
    double products = 0;
    for (const Sample& sample : slices) {
        const double x = (sample.asked + sample.returned) / 2 - instant;
        const double y = (sample.high + sample.low) / 2;
        const double error = (sample.roundTrip - shortest) / 2 + least;
        const double weight = 1 / (error * error);
        weights += weight;
        const double dx = x - meanX;
        const double dy = y - meanY;
        meanX += dx * weight / weights;
        meanY += dy * weight / weights;
        squares += weight * dx * (x - meanX);
        products += weight * dx * (y - meanY);
    }
    const double drift = products / squares;
    return {meanY - drift * meanX, drift};
}

void ClockOffset::PrivateData::forget() {
    slices.clear();
    measured.reset();
}

void ClockOffset::PrivateData::measure(Instant now) {
    const double instant = nanoseconds(now - origin);
    const Allowed allowed = allowedAt(instant);
    Line line = fit(instant);
    line.drift = std::clamp(line.drift, allowed.leastDrift, allowed.mostDrift);
    line.offset = std::clamp(line.offset, allowed.leastOffset, allowed.mostOffset);
    const auto [shortest, longest] =
        std::minmax_element(slices.begin(), slices.end(), [](const Sample& a, const Sample& b) {
            return a.roundTrip < b.roundTrip;
        });
    ClockRelation relation;
    relation.reference = now;
    relation.offset = originOffset + rounded(line.offset);
    relation.drift = line.drift;
    relation.bound =
        rounded(std::ceil(std::max({allowed.mostOffset - line.offset,
                                    line.offset - allowed.leastOffset, shortest->roundTrip / 2}))) +
        Duration(1);
    relation.driftBound = std::max(allowed.mostDrift - line.drift, line.drift - allowed.leastDrift);
    relation.wander = options.wander;
    relation.roundTrip = rounded(shortest->roundTrip);
    measured = relation;
}

/// By what keeps both clocks at universal time.
std::optional<ClockRelation> ClockOffset::PrivateData::disciplined() const {
    for (const ClockDiscipline* discipline : {&local, &remote}) {
        if (!discipline->isSynchronised || !isNear(Instant(discipline->toUtc)) ||
            discipline->maximumError < Duration::zero() ||
            !isNear(Instant(discipline->maximumError))) {
            return std::nullopt;
        }
    }
    ClockRelation relation;
    relation.offset = local.toUtc - remote.toUtc;
    relation.bound = local.maximumError + remote.maximumError;
    relation.driftBound = disciplinedDrift;
    relation.isDisciplined = true;
    return relation;
}

ClockRelation ClockOffset::PrivateData::better(const ClockRelation& known) const {
    std::optional<ClockRelation> stated = disciplined();
    if (!stated || stated->bound > known.bound) {
        return known;
    }
    const double apart = nanoseconds(stated->offset) - nanoseconds(known.offset);
    if (std::abs(apart) > nanoseconds(stated->bound) + nanoseconds(known.bound)) {
        return known; // it was set, or lies
    }
    stated->reference = known.reference;
    stated->roundTrip = known.roundTrip;
    return *stated;
}

ClockOffset::ClockOffset(const ClockOffsetOptions& options)
    : d_(std::make_unique<PrivateData>(options)) {
    assert(options.slice > Duration::zero() && options.slices >= 2);
    assert(options.maximumDrift >= 0 && options.wander >= 0);
}

ClockOffset::~ClockOffset() = default;

bool ClockOffset::add(const ClockExchange& exchange) {
    const std::lock_guard<std::mutex> lock(d_->mutex);
    if (!d_->isPossible(exchange)) {
        ++d_->counts.refused;
        return false;
    }
    ++d_->counts.exchanges;
    d_->lastReturned = exchange.returned;
    if (!d_->slices.empty()) {
        d_->slices.push_back(d_->sampleOf(exchange));
        const bool isStep = d_->allowedAt(d_->slices.back().returned).isEmpty();
        d_->slices.pop_back();
        if (isStep) {
            ++d_->counts.steps;
            d_->forget();
        }
    }
    if (d_->slices.empty()) {
        d_->origin = exchange.returned;
        d_->originOffset = exchange.answered - exchange.returned;
    }
    d_->keep(d_->sampleOf(exchange));
    d_->measure(exchange.returned);
    return true;
}

void ClockOffset::setDiscipline(const ClockDiscipline& local, const ClockDiscipline& remote) {
    const std::lock_guard<std::mutex> lock(d_->mutex);
    d_->local = local;
    d_->remote = remote;
}

void ClockOffset::reset() {
    const std::lock_guard<std::mutex> lock(d_->mutex);
    d_->forget();
    d_->local = {};
    d_->remote = {};
    d_->lastReturned = Instant(Duration(std::numeric_limits<std::int64_t>::min()));
}

std::optional<ClockRelation> ClockOffset::relation() const {
    const std::lock_guard<std::mutex> lock(d_->mutex);
    return d_->measured ? std::optional(d_->better(*d_->measured)) : std::nullopt;
}

ClockOffsetCounts ClockOffset::counts() const {
    const std::lock_guard<std::mutex> lock(d_->mutex);
    return d_->counts;
}

} // namespace tarn::kit
