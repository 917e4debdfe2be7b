// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/body/BodyNames.h>

#include "body/names/Limb.h"
#include "body/names/Vocabulary.h"

#include <algorithm>
#include <cassert>
#include <iterator>
#include <map>
#include <stdexcept>
#include <tuple>
#include <utility>

namespace tarn::kit {

namespace {

/// The words of the joints of one body: of all that hang on one root.
struct NamedJoint {
    int node;
    const std::string* name;
    std::vector<std::string> words;
};
using NamedJoints = std::vector<NamedJoint>;

std::vector<NamedJoints> bodiesOf(const Rig& rig) {
    std::vector<NamedJoints> bodies;
    std::vector<std::size_t> bodyOf; // by node
    for (std::size_t i = 0; i < rig.nodes().size(); ++i) {
        const RigNode& node = rig.nodes()[i];
        if (node.parent < 0) {
            bodyOf.push_back(bodies.size());
            bodies.emplace_back();
        } else {
            bodyOf.push_back(bodyOf[static_cast<std::size_t>(node.parent)]);
        }
        if (!node.isEndSite()) {
            bodies[bodyOf.back()].push_back({static_cast<int>(i), &node.name, wordsOf(node.name)});
        }
    }
    return bodies;
}

/// "finger0" to "finger42", and whether such a number is a finger (0 the thumb) and a part of it,
/// as it is where a finger is number 0.
std::vector<Option> numberedFinger(const NameReading& reading, bool countsFromZero) {
    static const std::array<const char*, 5> fingers = {"Thumb", "Index", "Middle", "Ring", "Pinky"};
    constexpr std::string_view word = "finger";
    const std::string digits =
        reading.key.rfind(word, 0) == 0 ? reading.key.substr(word.size()) : std::string();
    if (reading.side == BodySide::None || digits.empty() || digits.size() > 2 ||
        digits.find_first_not_of("0123456789") != std::string::npos) {
        return {};
    }
    const auto option = [&](std::size_t finger, int part) {
        const std::string name = std::string("Hand") + fingers.at(finger) + std::to_string(part);
        return Option{segmentOn(reading.side, name), Meant::Plainly};
    };
    const auto finger = static_cast<std::size_t>(digits[0] - '0');
    const int part = digits.size() == 2 ? digits[1] - '0' + 1 : 1;
    if (countsFromZero) {
        return finger < fingers.size() && part >= 1 && part <= 4 ? std::vector{option(finger, part)}
                                                                 : std::vector<Option>();
    }
    if (digits.size() == 1 && finger >= 1 && finger < fingers.size()) {
        return {option(finger - 1, 1), option(finger, 1)};
    }
    return {};
}

/// Finds what the joints of a body may be.
class BodyReader {
public:
    BodyReader(const Vocabulary& vocabulary, const NamedJoints& joints)
        : vocabulary_(vocabulary), joints_(joints) {
        for (const NamedJoint& joint : joints) {
            countsFromZero_ = countsFromZero_ || hasKey(joint.words, "finger0");
        }
        choosePrefix();
    }

    Claim claimOf(const NamedJoint& joint) const {
        Claim claim{joint.node, *joint.name, {}, "no segment has this name"};
        const std::size_t first = prefixOf(joint.words);
        if (first == joint.words.size() && !joint.words.empty() && &joint == &joints_.front()) {
            claim.options = {{BoneHips, Meant::Loosely}}; // the root is called what all are called
            return claim;
        }
        for (const NameReading& reading : readingsOf(joint.words, first)) {
            claim.options = meaningsOf(reading);
            if (!claim.options.empty()) {
                return claim;
            }
        }
        for (const NameReading& reading : readingsOf(joint.words, first)) {
            if (!meaningsOf({BodySide::Left, reading.key}).empty()) {
                claim.reason = "its name says neither left nor right";
            }
        }
        return claim;
    }

private:
    using Words = std::vector<std::string>;

    static bool hasKey(const Words& words, const std::string& key) {
        for (std::size_t first = 0; first < words.size(); ++first) {
            for (const NameReading& reading : readingsOf(words, first)) {
                if (reading.key == key) {
                    return true;
                }
            }
        }
        return false;
    }

    std::vector<Option> meaningsOf(const NameReading& reading) const {
        auto options = vocabulary_.meaningsOf(reading);
        return options.empty() ? numberedFinger(reading, countsFromZero_) : options;
    }

    bool isUnderstood(const Words& words, std::size_t first) const {
        const auto readings = readingsOf(words, first);
        return std::any_of(readings.begin(), readings.end(), [this](const NameReading& reading) {
            return !meaningsOf(reading).empty();
        });
    }

    /// How many words in front of these are the prefix of the body.
    std::size_t prefixOf(const Words& words) const {
        const bool has = words.size() >= prefix_.size() &&
                         std::equal(prefix_.begin(), prefix_.end(), words.begin());
        return has ? prefix_.size() : 0;
    }

    std::size_t understoodCount() const {
        const auto count = std::count_if(joints_.begin(), joints_.end(), [this](const auto& joint) {
            return isUnderstood(joint.words, prefixOf(joint.words));
        });
        return static_cast<std::size_t>(count);
    }

    /// The most common beginning of that many words.
    std::pair<Words, std::size_t> commonBeginning(std::size_t length) const {
        std::map<Words, std::size_t> counts;
        for (const NamedJoint& joint : joints_) {
            if (joint.words.size() >= length) {
                const auto end = joint.words.begin() + static_cast<std::ptrdiff_t>(length);
                ++counts[Words(joint.words.begin(), end)];
            }
        }
        std::pair<Words, std::size_t> most;
        for (const auto& [words, count] : counts) {
            most = count > most.second ? std::pair(words, count) : most;
        }
        return most;
    }

    /// What half of the joints begin with is a prefix if more of them make sense without it:
    /// "Character1_Hips", but not the "Left" of an arm.
    void choosePrefix() {
        constexpr std::size_t longest = 4;
        Words best;
        std::size_t most = understoodCount();
        for (std::size_t length = 1; length <= longest; ++length) {
            auto [words, count] = commonBeginning(length);
            if (count < 2 || count * 2 < joints_.size()) {
                break;
            }
            prefix_ = std::move(words);
            const std::size_t understood = understoodCount();
            if (understood > most) {
                best = prefix_;
                most = understood;
            }
        }
        prefix_ = best;
    }

    const Vocabulary& vocabulary_;
    const NamedJoints& joints_;
    bool countsFromZero_ = false;
    Words prefix_;
};

/// Settles what the joints of one body are.
class BodySettler {
public:
    /// `matches` are settled already.
    BodySettler(const Rig& rig, std::vector<JointMatch> matches)
        : rig_(rig), matches_(std::move(matches)) {}

    std::vector<JointMatch> settled(std::vector<Claim> claims) {
        dropLooseMeanings(claims);
        std::map<int, std::vector<Claim>> limbs;
        std::map<EBoneID, std::vector<Claim>> singles;
        std::map<EBoneID, std::vector<Claim>> chains;
        for (Claim& claim : claims) {
            if (claim.options.empty()) {
                matches_.push_back({claim.node, std::nullopt, {}, claim.reason});
            } else if (claim.options.front().meant == Meant::InOrder) {
                chains[claim.options.front().segment].push_back(std::move(claim));
            } else if (isSettledAsLimb(claim.options.front().segment)) {
                const int limb = limbPlaceOf(claim.options.front().segment).limb;
                limbs[limb].push_back(std::move(claim));
            } else {
                singles[claim.options.front().segment].push_back(std::move(claim));
            }
        }
        for (const auto& [limb, ofLimb] : limbs) {
            add(settledLimb(ofLimb, rig_));
        }
        for (const auto& [segment, ofSegment] : singles) {
            add(settledSingle(ofSegment));
        }
        for (const auto& [first, ofChain] : chains) {
            add(settledChain(ofChain, first, numbered(first), rig_));
        }
        return std::move(matches_);
    }

private:
    void add(std::vector<JointMatch> matches) {
        std::move(matches.begin(), matches.end(), std::back_inserter(matches_));
    }

    /// The joints that are a numbered segment of a chain already.
    std::vector<JointMatch> numbered(EBoneID first) const {
        constexpr int length = 10;
        const int begin = limbPlaceOf(first).order;
        std::vector<JointMatch> joints;
        for (const JointMatch& match : matches_) {
            if (match.segment) {
                const LimbPlace place = limbPlaceOf(*match.segment);
                const bool isIn = place.order >= begin && place.order < begin + length;
                if (place.limb == limbPlaceOf(first).limb && isIn) {
                    joints.push_back(match);
                }
            }
        }
        return joints;
    }

    const Rig& rig_;
    std::vector<JointMatch> matches_;
};

/// The segment that a settings document or a caller names; nothing if there is none.
std::optional<EBoneID> segmentNamed(const std::string& name) {
    const EBoneID segment = boneNameToBoneID(name);
    return segment < 0 ? std::nullopt : std::optional(segment);
}

bool isWord(const std::string& segment) {
    return !segmentNamed(segment) && segmentOn(BodySide::Left, segment) >= 0;
}

/// A word in the form in which names are looked up.
std::string keyOf(const std::string& word) { return readingsOf(wordsOf(word), 0).front().key; }

} // namespace

BodyMatch::BodyMatch(std::vector<JointMatch> joints) : joints_(std::move(joints)) {}

std::optional<EBoneID> BodyMatch::segmentOf(int node) const {
    const auto found =
        std::lower_bound(joints_.begin(), joints_.end(), node,
                         [](const JointMatch& joint, int wanted) { return joint.node < wanted; });
    return found == joints_.end() || found->node != node ? std::nullopt : found->segment;
}

std::optional<int> BodyMatch::nodeOf(EBoneID segment) const {
    const auto found =
        std::find_if(joints_.begin(), joints_.end(),
                     [segment](const JointMatch& joint) { return joint.segment == segment; });
    return found == joints_.end() ? std::nullopt : std::optional(found->node);
}

std::size_t BodyMatch::matchedCount() const {
    return static_cast<std::size_t>(
        std::count_if(joints_.begin(), joints_.end(),
                      [](const JointMatch& joint) { return joint.segment.has_value(); }));
}

std::size_t BodyMatch::ambiguousCount() const {
    return static_cast<std::size_t>(
        std::count_if(joints_.begin(), joints_.end(),
                      [](const JointMatch& joint) { return joint.isAmbiguous(); }));
}

struct BodyNames::PrivateData {
    Vocabulary vocabulary;
    std::map<std::string, std::optional<EBoneID>> joints; ///< by their exact name

    std::vector<JointMatch> match(const Rig& rig, const NamedJoints& body) const;
};

/// What was said of joints by name stands; the rest share what that leaves.
std::vector<JointMatch> BodyNames::PrivateData::match(const Rig& rig,
                                                      const NamedJoints& body) const {
    const BodyReader reader(vocabulary, body);
    std::map<EBoneID, std::vector<Claim>> named;
    std::vector<JointMatch> matches;
    std::vector<Claim> claims;
    for (const NamedJoint& joint : body) {
        const auto said = joints.find(*joint.name);
        if (said == joints.end()) {
            claims.push_back(reader.claimOf(joint));
        } else if (!said->second) {
            matches.push_back({joint.node, std::nullopt, {}, "said to be none"});
        } else {
            named[*said->second].push_back(
                {joint.node, *joint.name, {{*said->second, Meant::Plainly}}, {}});
        }
    }
    for (Claim& claim : claims) {
        auto& options = claim.options;
        const auto isTaken = [&](const Option& option) {
            return option.meant != Meant::InOrder && named.count(option.segment) > 0;
        };
        if (!options.empty() && std::all_of(options.begin(), options.end(), isTaken)) {
            claim.reason =
                "another joint is said to be " + boneIDToBoneName(options.front().segment);
        }
        options.erase(std::remove_if(options.begin(), options.end(), isTaken), options.end());
    }
    for (const auto& [segment, ofSegment] : named) {
        for (JointMatch& match : settledSingle(ofSegment)) {
            matches.push_back(std::move(match));
        }
    }
    return BodySettler(rig, std::move(matches)).settled(std::move(claims));
}

BodyNames::BodyNames() : d_(std::make_unique<PrivateData>()) {}
BodyNames::~BodyNames() = default;
BodyNames::BodyNames(BodyNames&& other) noexcept = default;
BodyNames& BodyNames::operator=(BodyNames&& other) noexcept = default;

void BodyNames::addJoint(const std::string& name, std::optional<EBoneID> segment) {
    d_->joints[name] = segment;
}

void BodyNames::addWord(const std::string& word, const std::string& segment) {
    if (!segmentNamed(segment) && !isWord(segment)) {
        throw std::invalid_argument("'" + segment + "' is no segment of the body");
    }
    if (keyOf(word).empty()) {
        throw std::invalid_argument("'" + word + "' is no word: it has no letter or digit");
    }
    d_->vocabulary.add(keyOf(word), segment);
}

void BodyNames::add(const Settings& document) {
    const auto group = document.subSettings("BodyNames");
    if (group == nullptr) {
        throw std::invalid_argument("the document has no element BodyNames");
    }
    std::vector<std::pair<std::string, std::string>> entries;
    for (const auto& [segment, ignored] : group->values()) {
        const std::string element = "BodyNames." + segment;
        if (segment != "None" && !segmentNamed(segment) && !isWord(segment)) {
            throw std::invalid_argument(element + ": no segment of the body has this name");
        }
        for (const std::string& name : group->valueList(segment)) {
            if (name.empty() || (isWord(segment) && keyOf(name).empty())) {
                throw std::invalid_argument(
                    std::string(element).append(": expected a name, found '").append(name) + "'");
            }
            entries.emplace_back(segment, name);
        }
    }
    for (const auto& [segment, name] : entries) {
        isWord(segment) ? addWord(name, segment) : addJoint(name, segmentNamed(segment));
    }
}

BodyMatch BodyNames::match(const Rig& rig) const {
    std::vector<JointMatch> joints;
    for (const NamedJoints& body : bodiesOf(rig)) {
        for (JointMatch& match : d_->match(rig, body)) {
            joints.push_back(std::move(match));
        }
    }
    std::sort(joints.begin(), joints.end(),
              [](const JointMatch& a, const JointMatch& b) { return a.node < b.node; });
    return BodyMatch(std::move(joints));
}

} // namespace tarn::kit
