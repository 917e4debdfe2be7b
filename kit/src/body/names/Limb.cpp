// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "body/names/Limb.h"

#include <tarn_kit/files/Text.h>

#include <algorithm>
#include <array>
#include <optional>
#include <set>
#include <string>
#include <tuple>
#include <utility>

namespace tarn::kit {

namespace {

/// A limb has half as many joints; a file whose names say otherwise is not worth the time.
constexpr std::size_t mostClaims = 8;

constexpr std::array leftArm = {BoneLeftShoulder, BoneLeftArm, BoneLeftForeArm, BoneLeftHand,
                                BoneLeftFingerBase};
constexpr std::array rightArm = {BoneRightShoulder, BoneRightArm, BoneRightForeArm, BoneRightHand,
                                 BoneRightFingerBase};
constexpr std::array leftLeg = {BoneLeftUpLeg, BoneLeftLeg, BoneLeftFoot, BoneLeftToeBase};
constexpr std::array rightLeg = {BoneRightUpLeg, BoneRightLeg, BoneRightFoot, BoneRightToeBase};
constexpr std::array trunk = {
    BoneHips,   BoneSpine,  BoneSpine1, BoneSpine2, BoneSpine3, BoneSpine4, BoneSpine5, BoneSpine6,
    BoneSpine7, BoneSpine8, BoneSpine9, BoneNeck,   BoneNeck1,  BoneNeck2,  BoneNeck3,  BoneNeck4,
    BoneNeck5,  BoneNeck6,  BoneNeck7,  BoneNeck8,  BoneNeck9,  BoneHead};

enum Limb : int { LeftArm, RightArm, LeftLeg, RightLeg, Trunk, FirstFinger };

template <std::size_t size>
std::optional<int> placeIn(const std::array<EBoneID, size>& limb, EBoneID segment) {
    const auto found = std::find(limb.begin(), limb.end(), segment);
    return found == limb.end() ? std::nullopt
                               : std::optional<int>(static_cast<int>(found - limb.begin()));
}

/// Fingers and toes come in runs of five segments, from the one in the hand outwards.
LimbPlace placeInFinger(EBoneID segment) {
    constexpr int perFinger = 5;
    for (const auto& [first, last] : {std::pair{BoneRightInHandThumb, BoneRightHandExtraFinger4},
                                      std::pair{BoneLeftInHandThumb, BoneLeftFootExtraFinger4}}) {
        if (segment >= first && segment <= last) {
            const int index = segment - first;
            return {FirstFinger + static_cast<int>(first) + index / perFinger, index % perFinger};
        }
    }
    return {-1, 0};
}

bool isBelow(const Rig& rig, int node, int ancestor) {
    while (node > ancestor) {
        node = rig.nodes()[static_cast<std::size_t>(node)].parent;
    }
    return node == ancestor;
}

/// One way to say what the joints of a limb are: a segment or nothing for each claim.
using Reading = std::vector<std::optional<Option>>;

/// The best ways to read the claims on a limb.
class LimbReader {
public:
    LimbReader(const std::vector<Claim>& claims, const Rig& rig) : claims_(claims), rig_(rig) {
        read({});
    }

    const std::vector<Reading>& best() const { return best_; }

private:
    /// More is better, one after the other.
    using Score = std::tuple<int, int, bool>;

    void read(Reading reading) {
        const std::size_t next = reading.size();
        if (next == claims_.size()) {
            keep(reading);
            return;
        }
        reading.emplace_back();
        read(reading);
        for (const Option& option : claims_[next].options) {
            if (fits(reading, option)) {
                reading.back() = option;
                read(reading);
                reading.back().reset();
            }
        }
    }

    /// Whether the last claim can have an option: no other joint has it, and those above and below
    /// have what comes before and after it.
    bool fits(const Reading& reading, const Option& option) const {
        const int node = claims_[reading.size() - 1].node;
        const int order = limbPlaceOf(option.segment).order;
        for (std::size_t i = 0; i + 1 < reading.size(); ++i) {
            if (!reading[i]) {
                continue;
            }
            const int other = limbPlaceOf(reading[i]->segment).order;
            if (other == order || (isBelow(rig_, node, claims_[i].node) && other > order)) {
                return false; // claims are in node order: none is below a later one
            }
        }
        return true;
    }

    void keep(const Reading& reading) {
        const Score score = scoreOf(reading);
        if (best_.empty() || score > bestScore_) {
            best_.clear();
            bestScore_ = score;
        }
        if (score == bestScore_) {
            best_.push_back(reading);
        }
    }

    static Score scoreOf(const Reading& reading) {
        std::set<int> orders;
        int instead = 0;
        int limb = -1;
        for (const auto& option : reading) {
            if (option) {
                const LimbPlace place = limbPlaceOf(option->segment);
                limb = place.limb;
                orders.insert(place.order);
                instead += option->meant == Meant::Instead ? 1 : 0;
            }
        }
        return {static_cast<int>(orders.size()), -instead, isComplete(orders, limb)};
    }

    /// Whether no joint is left out from the first to the last; a shoulder may be.
    static bool isComplete(const std::set<int>& orders, int limb) {
        if (orders.size() < 2) {
            return false; // says nothing
        }
        const int first = *orders.begin();
        const bool beginsWell = limb == LeftLeg || limb == RightLeg ? first == 0 : first <= 1;
        return beginsWell && *orders.rbegin() - first + 1 == static_cast<int>(orders.size());
    }

    const std::vector<Claim>& claims_;
    const Rig& rig_;
    std::vector<Reading> best_;
    Score bestScore_;
};

std::string listOf(const std::vector<EBoneID>& segments) {
    std::string text;
    for (std::size_t i = 0; i < segments.size(); ++i) {
        text += i == 0 ? "" : i + 1 < segments.size() ? ", " : " or ";
        text += boneIDToBoneName(segments[i]);
    }
    return text;
}

JointMatch ambiguous(const Claim& claim, std::vector<EBoneID> candidates) {
    const std::string reason = candidates.size() == 1
                                   ? "one of several joints that may be " + listOf(candidates)
                                   : "may be " + listOf(candidates);
    return {claim.node, std::nullopt, std::move(candidates), reason};
}

JointMatch unmatched(const Claim& claim, std::string reason) {
    return {claim.node, std::nullopt, {}, std::move(reason)};
}

JointMatch matched(const Claim& claim, EBoneID segment) { return {claim.node, segment, {}, {}}; }

/// What all the best readings of a limb say of one of its claims.
JointMatch agreedOn(const Claim& claim, std::size_t index, const std::vector<Reading>& best) {
    std::vector<EBoneID> said;
    bool isNone = false;
    for (const Reading& reading : best) {
        const auto& option = reading[index];
        isNone = isNone || !option;
        if (option && std::find(said.begin(), said.end(), option->segment) == said.end()) {
            said.push_back(option->segment);
        }
    }
    std::sort(said.begin(), said.end());
    if (said.empty()) {
        return unmatched(claim, "other joints are what it could be");
    }
    return said.size() == 1 && !isNone ? matched(claim, said.front()) : ambiguous(claim, said);
}

std::vector<EBoneID> segmentsOf(const Claim& claim) {
    std::vector<EBoneID> segments;
    for (const Option& option : claim.options) {
        segments.push_back(option.segment);
    }
    return segments;
}

} // namespace

LimbPlace limbPlaceOf(EBoneID segment) {
    const auto found = [&](int limb, std::optional<int> order) {
        return order ? std::optional(LimbPlace{limb, *order}) : std::nullopt;
    };
    for (const auto& place :
         {found(LeftArm, placeIn(leftArm, segment)), found(RightArm, placeIn(rightArm, segment)),
          found(LeftLeg, placeIn(leftLeg, segment)), found(RightLeg, placeIn(rightLeg, segment)),
          found(Trunk, placeIn(trunk, segment))}) {
        if (place) {
            return *place;
        }
    }
    return placeInFinger(segment);
}

bool isSettledAsLimb(EBoneID segment) {
    const int limb = limbPlaceOf(segment).limb;
    return limb >= LeftArm && limb <= RightLeg;
}

void dropLooseMeanings(std::vector<Claim>& claims) {
    std::set<EBoneID> meant;
    for (const Claim& claim : claims) {
        for (const Option& option : claim.options) {
            if (option.meant != Meant::Loosely) {
                meant.insert(option.segment);
            }
        }
    }
    for (Claim& claim : claims) {
        const auto isDropped = [&](const Option& option) {
            return option.meant == Meant::Loosely && meant.count(option.segment) > 0;
        };
        auto& options = claim.options;
        const auto kept = std::remove_if(options.begin(), options.end(), isDropped);
        if (kept == options.begin() && !options.empty()) {
            claim.reason = "another joint is " + boneIDToBoneName(options.front().segment);
        }
        options.erase(kept, options.end());
    }
}

std::vector<JointMatch> settledLimb(const std::vector<Claim>& claims, const Rig& rig) {
    std::vector<JointMatch> matches;
    if (claims.size() > mostClaims) {
        for (const Claim& claim : claims) {
            matches.push_back(ambiguous(claim, segmentsOf(claim)));
        }
        return matches;
    }
    const LimbReader reader(claims, rig);
    for (std::size_t i = 0; i < claims.size(); ++i) {
        matches.push_back(agreedOn(claims[i], i, reader.best()));
    }
    return matches;
}

std::vector<JointMatch> settledSingle(const std::vector<Claim>& claims) {
    std::vector<JointMatch> matches;
    for (const Claim& claim : claims) {
        const bool isAlone = claims.size() == 1 && claim.options.size() == 1;
        matches.push_back(isAlone ? matched(claim, claim.options.front().segment)
                                  : ambiguous(claim, segmentsOf(claim)));
    }
    return matches;
}

std::vector<JointMatch> settledChain(const std::vector<Claim>& claims, EBoneID first,
                                     const std::vector<JointMatch>& numbered, const Rig& rig) {
    const int begin = limbPlaceOf(first).order;
    const int end = begin + 10; // spine and neck have ten segments each
    std::vector<JointMatch> matches;
    int last = begin - 1;
    int lastNode = -1;
    for (const Claim& claim : claims) {
        int above = end; // what the joints below this one are
        for (const JointMatch& other : numbered) {
            const int order = limbPlaceOf(*other.segment).order;
            if (isBelow(rig, claim.node, other.node)) {
                last = std::max(last, order);
            } else if (isBelow(rig, other.node, claim.node)) {
                above = std::min(above, order);
            }
        }
        if (lastNode >= 0 && !isBelow(rig, claim.node, lastNode)) {
            matches.push_back(unmatched(claim, "stands beside the others of its kind"));
        } else if (last + 1 >= above) {
            matches.push_back(
                unmatched(claim, "no number is left for it before " +
                                     boneIDToBoneName(trunk.at(static_cast<std::size_t>(above)))));
        } else {
            ++last;
            lastNode = claim.node;
            matches.push_back(matched(claim, trunk.at(static_cast<std::size_t>(last))));
        }
    }
    return matches;
}

} // namespace tarn::kit
