// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "solving/tracking/MarkerTracker.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace tarn::kit {

namespace {

constexpr int patience = 4;           ///< frames between two attempts to find a lost limb anew
constexpr int limbReach = 3;          ///< joints of a limb that are tried anew with a marker
constexpr double repeatedSay = 0.1;   ///< of what is measured in the very same place again
constexpr double frozenReach = 2;     ///< spreads from its place within which it may be true
constexpr std::size_t manyDoubts = 4; ///< more than before: labels of whole limbs may be exchanged
/// What a body with labels exchanged has to fit better by than with the labels as they came.
constexpr double leastGain = 3;
constexpr double leastLimbGain =
    12; ///< the same of a limb that stands otherwise: ghosts mislead, too

} // namespace

MarkerTracker::MarkerTracker(const Articulation& body)
    : body_(body), fit_(body), measured_(body.markers.size()), labels_(body, fit_),
      otherLabels_(body, fit_), lastPositions_(body.markers.size()),
      isRepeated_(body.markers.size()), isFrozen_(body.markers.size()),
      framesOff_(body.markers.size()) {
    for (Stance* const stance : {&stance_, &last_, &ahead_, &other_}) {
        stance->turns.resize(body.joints.size());
    }
    swaps_.reserve(body.markers.size());
}

void MarkerTracker::reset() {
    isStarted_ = false;
    hasLast_ = false;
    framesLost_ = 0;
    usualDoubts_ = 0;
    nextGuess_ = 0;
    std::fill(framesOff_.begin(), framesOff_.end(), 0);
    std::fill(lastPositions_.begin(), lastPositions_.end(), Vector3d{});
    swaps_.clear();
}

bool MarkerTracker::isDoubted(std::size_t marker) const {
    return isFrozen_[marker] || labels_.isOff(marker);
}

/// Some exports repeat the last measurement of a marker that is no longer seen. One that does not
/// change while most others do has less to say.
void MarkerTracker::heedRepeats() {
    std::size_t seen = 0;
    std::size_t repeated = 0;
    for (std::size_t m = 0; m < measured_.size(); ++m) {
        isRepeated_[m] = false;
        if (!(measured_[m].weight > 0)) {
            continue;
        }
        const Vector3d& now = measured_[m].position;
        const Vector3d& then = lastPositions_[m];
        isRepeated_[m] = now.x == then.x && now.y == then.y && now.z == then.z;
        lastPositions_[m] = now;
        ++seen;
        repeated += isRepeated_[m] ? 1U : 0U;
    }
    const bool othersMove = 2 * repeated < seen;
    for (std::size_t m = 0; m < measured_.size(); ++m) {
        isRepeated_[m] = othersMove && isRepeated_[m];
        measured_[m].weight *= isRepeated_[m] ? repeatedSay : 1;
    }
}

/// Leaves out what repeats itself and is not where the body has it.
void MarkerTracker::leaveOutFrozen() {
    for (std::size_t m = 0; m < measured_.size(); ++m) {
        const double miss = lengthOf(measured_[m].position - fit_.problem().places()[m]);
        isFrozen_[m] = isRepeated_[m] && miss > frozenReach * body_.markers[m].spread;
        if (isFrozen_[m]) {
            measured_[m].weight = 0;
            measured_[m].isWanted = true;
        }
    }
}

/// Where markers are far from where they were, looks ahead to where the body would be now if it
/// moved on as before. Labels are judged from there if it fits better.
void MarkerTracker::moveOn() {
    ahead_ = stance_;
    const double cost = fit_.evaluate(stance_, measured_);
    if (hasLast_ && labels_.offCount() > 0) {
        other_.position = 2 * stance_.position - last_.position;
        for (std::size_t j = 0; j < stance_.turns.size(); ++j) {
            const Quaterniond& turn = stance_.turns[j];
            other_.turns[j] = normalized(turn * (inverse(last_.turns[j]) * turn));
        }
        if (fit_.evaluate(other_, measured_) < cost) {
            std::swap(ahead_, other_);
        } else {
            fit_.evaluate(stance_, measured_);
        }
    }
    last_ = stance_;
    hasLast_ = true;
}

/// The body from where it is thought to be, with labels put right if that makes it fit better.
FitOutcome MarkerTracker::follow() {
    labels_.take(measured_);
    moveOn();
    leaveOutFrozen();
    labels_.take(measured_);
    if (framesLost_ > 0) { // labels cannot be judged from there
        return fit_.refine(stance_, measured_);
    }
    if (!swaps_.empty()) {
        // Labels that were exchanged in the last frame probably still are.
        labels_.exchangeAgain(swaps_);
        fit_.evaluate(ahead_, labels_.sightings());
    }
    const bool isRough = labels_.offCount() > usualDoubts_ + manyDoubts;
    exchangeSwapped(ahead_, isRough);
    if (labels_.exchangedCount() > 0) {
        return refineWithLabels(ahead_, isRough);
    }
    // What no marker shows would swing on if it went on from ahead; but what is measured where it
    // was pulls the body back there.
    if (std::find(isFrozen_.begin(), isFrozen_.end(), true) != isFrozen_.end()) {
        std::swap(stance_, ahead_);
    }
    return fit_.refine(stance_, measured_);
}

/// Which is better: labels as they were put right, or as they came.
FitOutcome MarkerTracker::refineWithLabels(const Stance& from, bool isRough) {
    other_ = from;
    const FitOutcome asCame = fit_.refine(other_, measured_);
    stance_ = from;
    FitOutcome outcome = fit_.refine(stance_, labels_.sightings());
    if (isRough) { // what was too far from its place at first is seen now
        outcome = putLabelsRight(outcome);
    }
    const int iterations = outcome.iterations + asCame.iterations;
    if (outcome.cost + leastGain < asCame.cost) {
        outcome.iterations = iterations;
        return undoNeedless(outcome, from);
    }
    outcome = asCame;
    outcome.iterations = iterations;
    std::swap(stance_, other_);
    labels_.take(measured_);
    fit_.evaluate(stance_, measured_);
    return outcome;
}

/// A ghost may lie by chance where a marker is expected that is not seen: of several exchanges,
/// those with such a marker have to make the body fit better each by itself.
FitOutcome MarkerTracker::undoNeedless(FitOutcome outcome, const Stance& from) {
    const auto isHidden = [&](std::size_t m) { return !(sightings()[m].weight > 0); };
    for (std::size_t a = 0; a < measured_.size() && labels_.exchangedCount() > 2; ++a) {
        const std::size_t b = labels_.originOf(a);
        if (b <= a || !(isHidden(a) || isHidden(b))) {
            continue;
        }
        labels_.exchange(a, b);
        other_ = from;
        FitOutcome trial = fit_.refine(other_, sightings());
        const int iterations = outcome.iterations + trial.iterations;
        if (trial.cost < outcome.cost + leastGain) {
            std::swap(stance_, other_);
            outcome = trial;
        } else {
            labels_.exchange(a, b);
        }
        outcome.iterations = iterations;
    }
    fit_.evaluate(stance_, sightings());
    return outcome;
}

/// Puts labels right as they lie where the body stands like that; whether any were wrong.
bool MarkerTracker::exchangeSwapped(const Stance& at, bool isRough) {
    std::size_t count = 0;
    while (count < measured_.size() / 2 && labels_.exchangeBest(isRough)) {
        fit_.evaluate(at, sightings());
        ++count;
    }
    return count > 0;
}

/// Puts labels right where the body stands now, and it along with them.
FitOutcome MarkerTracker::putLabelsRight(FitOutcome outcome) {
    if (exchangeSwapped(stance_, false)) {
        const int before = outcome.iterations;
        outcome = fit_.refine(stance_, sightings());
        outcome.iterations += before;
    }
    return outcome;
}

void MarkerTracker::noteSwaps() {
    swaps_.clear();
    for (std::size_t m = 0; m < measured_.size(); ++m) {
        if (m < labels_.originOf(m)) {
            swaps_.emplace_back(m, labels_.originOf(m));
        }
    }
}

/// Keeps the body of `trial`, which is in `other_`, with labels put right as they lie there, if it
/// is better than what there is.
void MarkerTracker::takeIfBetter(FitOutcome& outcome, FitOutcome trial) {
    std::swap(stance_, other_);
    std::swap(labels_, otherLabels_);
    labels_.take(measured_);
    fit_.evaluate(stance_, measured_);
    trial = putLabelsRight(trial);
    const int iterations = outcome.iterations + trial.iterations;
    if (trial.cost + (framesLost_ > 0 ? 0 : leastLimbGain) < outcome.cost) {
        outcome = trial;
        hasLast_ = false; // it did not move there from where it was
    } else {
        std::swap(stance_, other_);
        std::swap(labels_, otherLabels_);
        fit_.evaluate(stance_, sightings());
    }
    outcome.iterations = iterations;
}

/// Looks for a better body where too much is doubted: from here with all that is seen believed at
/// first, and in one other way, of which each has its turn, so that no frame takes long.
FitOutcome MarkerTracker::recover(FitOutcome outcome) {
    other_ = stance_;
    takeIfBetter(outcome, fit_.approach(other_, measured_, PoseFit::widest));
    if (framesLost_ == 0) {
        return outcome;
    }
    if (nextGuess_ == 0) {
        other_ = stance_;
        fit_.alignLimbs(other_, measured_);
        takeIfBetter(outcome, fit_.approach(other_, measured_, PoseFit::widest));
    } else {
        takeIfBetter(outcome, fit_.startFrom(other_, measured_, nextGuess_ - 1));
    }
    nextGuess_ = (nextGuess_ + 1) % (PoseFit::guesses + 1);
    return outcome;
}

/// Looks for limbs that stand in another way than their markers say, as something misled them
/// before: along their markers from here, and from how they usually are.
FitOutcome MarkerTracker::recoverLimbs(FitOutcome outcome) {
    other_ = stance_;
    fit_.alignLimbs(other_, measured_);
    takeIfBetter(outcome, fit_.approach(other_, measured_, PoseFit::widest));
    other_ = stance_;
    bendAsUsual(other_);
    fit_.alignLimbs(other_, measured_);
    takeIfBetter(outcome, fit_.approach(other_, measured_, PoseFit::widest));
    return outcome;
}

/// Turns the joints that hold doubted markers as is usual.
void MarkerTracker::bendAsUsual(Stance& stance) const {
    for (std::size_t m = 0; m < measured_.size(); ++m) {
        std::size_t j = body_.markers[m].joint;
        for (int up = 0; up < limbReach && labels_.isOff(m) && body_.joints[j].parent != none;
             ++up) {
            stance.turns[j] = body_.joints[j].usual;
            j = body_.joints[j].parent;
        }
    }
}

/// Whether it is time to try whether a marker is right after all that was doubted for some frames.
bool MarkerTracker::isLimbLost() {
    bool isTime = false;
    for (std::size_t m = 0; m < measured_.size(); ++m) {
        framesOff_[m] = labels_.isOff(m) ? framesOff_[m] + 1 : 0;
        isTime = isTime || framesOff_[m] % patience == patience - 1;
    }
    return isTime;
}

FitOutcome MarkerTracker::track(const Sightings& sightings) {
    measured_ = sightings;
    std::fill(isFrozen_.begin(), isFrozen_.end(), false);
    heedRepeats();
    labels_.take(measured_);
    const auto seen = static_cast<std::size_t>(
        std::count_if(measured_.begin(), measured_.end(),
                      [](const Sighting& sighting) { return sighting.weight > 0; }));
    if (seen == 0) {
        hasLast_ = false;
        swaps_.clear();
        return {};
    }
    FitOutcome outcome;
    if (isStarted_) {
        outcome = follow();
    } else {
        outcome = fit_.start(stance_, measured_);
        isStarted_ = true;
    }
    outcome = putLabelsRight(outcome);
    // Where more is doubted than before the body may be lost, where something is for long a limb.
    const std::size_t doubtful = labels_.offCount();
    framesLost_ = 4 * doubtful > seen ? framesLost_ + 1 : 0;
    const bool isLimb = isLimbLost();
    if (framesLost_ > 0 || isLimb || doubtful > usualDoubts_ + 1) {
        outcome = recover(outcome);
        if (isLimb && framesLost_ == 0) {
            outcome = recoverLimbs(outcome);
        }
    }
    usualDoubts_ = labels_.offCount();
    noteSwaps();
    return outcome;
}

} // namespace tarn::kit
