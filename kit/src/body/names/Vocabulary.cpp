// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "body/names/Vocabulary.h"

#include <tarn_kit/files/Text.h>

#include <algorithm>
#include <array>
#include <initializer_list>

namespace tarn::kit {

namespace {

struct Entry {
    const char* segment;
    Meant meant;
    std::initializer_list<const char*> words;
};

// The words that programs have for segments, beside the segments' own names. A word may stand in
// several entries: it then has several meanings, among which the joints around it decide.
const std::initializer_list<Entry> entries = {
    {"Hips", Meant::Plainly, {"hips", "pelvis", "spinebase"}},
    {"Hips", Meant::Loosely, {"hip", "root"}},
    {"Spine",
     Meant::InOrder,
     {"lowerback",  "upperback",  "back",       "abdomen",    "abdomenlower", "abdomenupper",
      "ab",         "belly",      "stomach",    "waist",      "torso",        "trunk",
      "chest",      "chest1",     "chest2",     "chest3",     "chest4",       "chestlower",
      "lowerchest", "chestupper", "upperchest", "thorax",     "lumbar",       "spinemid",
      "lowerspine", "midspine",   "upperspine", "spineupper", "spinelower",   "spineshoulder"}},
    {"Neck",
     Meant::InOrder,
     {"lowerneck", "upperneck", "necklower", "neckupper", "neckbase", "necktop"}},
    {"Head", Meant::Plainly, {"skull"}},
    {"Shoulder", Meant::Plainly, {"collar", "collarbone", "clavicle", "clav", "shldr"}},
    {"Arm",
     Meant::Plainly,
     {"upperarm", "uparm", "uarm", "armupper", "humerus", "shoulder", "shldr", "shldrbend"}},
    {"ForeArm",
     Meant::Plainly,
     {"lowerarm", "lowarm", "loarm", "farm", "armlower", "radius", "elbow", "forearmbend"}},
    {"Hand", Meant::Plainly, {"wrist"}},
    {"FingerBase", Meant::Instead, {"hand"}},
    {"FingerBase", Meant::Loosely, {"fingers"}},
    {"UpLeg",
     Meant::Plainly,
     {"upperleg", "uleg", "legupper", "thigh", "thighbend", "femur", "leg"}},
    {"UpLeg", Meant::Loosely, {"hip"}},
    {"Leg",
     Meant::Plainly,
     {"lowerleg", "lowleg", "loleg", "leglower", "calf", "shin", "shank", "tibia", "knee"}},
    {"Foot", Meant::Plainly, {"ankle"}},
    {"ToeBase", Meant::Plainly, {"toe", "toe0", "toes", "ball", "forefoot"}},
    {"ToeBase", Meant::Instead, {"foot"}},
    {"ToeBase", Meant::Loosely, {"metatarsals"}},
};

struct FingerWords {
    const char* segment;
    std::initializer_list<const char*> words;
};

const std::initializer_list<FingerWords> fingers = {
    {"Thumb", {"thumb"}}, {"Index", {"index", "pointer", "point"}}, {"Middle", {"middle", "mid"}},
    {"Ring", {"ring"}},   {"Pinky", {"pinky", "pinkie", "little"}},
};

struct PhalanxWords {
    int number; ///< 0 for the bone inside the hand
    std::initializer_list<const char*> words;
};

const std::initializer_list<PhalanxWords> phalanges = {
    {0, {"0", "metacarpal", "meta"}},
    {1, {"", "1", "proximal"}},
    {2, {"2", "intermediate", "medial"}},
    {3, {"3", "distal"}},
    {4, {"4"}},
};

/// "index1", "handindex1", "findex1", "fingerindex1", "indexfinger1"
std::vector<std::string> wordsFor(const FingerWords& finger, const PhalanxWords& phalanx) {
    std::vector<std::string> keys;
    const auto add = [&](const char* first, const char* second, const char* third) {
        keys.emplace_back(first).append(second).append(third);
    };
    for (const char* const word : finger.words) {
        for (const char* const ending : phalanx.words) {
            for (const char* const before : {"", "hand", "f", "finger"}) {
                add(before, word, ending);
            }
            add(word, "finger", ending);
        }
    }
    return keys;
}

} // namespace

EBoneID segmentOn(BodySide side, const std::string& segment) {
    const std::array<const char*, 3> sides = {"", "Left", "Right"};
    return boneNameToBoneID(sides.at(static_cast<std::size_t>(side)) + segment);
}

Vocabulary::Vocabulary() {
    for (int id = BoneHips; id <= BoneLeftShoulderExtra; ++id) {
        std::string name = boneIDToBoneName(static_cast<EBoneID>(id));
        for (const std::string_view side : {"Left", "Right"}) {
            name.erase(0, name.rfind(side, 0) == 0 ? side.size() : 0);
        }
        addMeaning(lowered(name), name, Meant::Plainly);
    }
    for (const Entry& entry : entries) {
        for (const char* const word : entry.words) {
            addMeaning(word, entry.segment, entry.meant);
        }
    }
    for (const FingerWords& finger : fingers) {
        for (const PhalanxWords& phalanx : phalanges) {
            const std::string segment = phalanx.number == 0 ? std::string("InHand") + finger.segment
                                                            : std::string("Hand") + finger.segment +
                                                                  std::to_string(phalanx.number);
            for (const std::string& key : wordsFor(finger, phalanx)) {
                addMeaning(key, segment, Meant::Plainly);
            }
        }
    }
}

void Vocabulary::addMeaning(const std::string& key, const std::string& segment, Meant meant) {
    auto& meanings = words_[key];
    const bool isKnown = std::any_of(meanings.begin(), meanings.end(), [&](const Meaning& meaning) {
        return meaning.segment == segment;
    });
    if (!isKnown) { // left and right have one name
        meanings.push_back({segment, meant});
    }
}

std::vector<Option> Vocabulary::meaningsOf(const NameReading& reading) const {
    std::vector<Option> options;
    const auto found = words_.find(reading.key);
    if (found == words_.end()) {
        return options;
    }
    for (const Meaning& meaning : found->second) {
        const EBoneID segment = segmentOn(reading.side, meaning.segment);
        if (segment >= 0) {
            options.push_back({segment, meaning.meant});
        }
    }
    return options;
}

void Vocabulary::add(const std::string& key, const std::string& segment) {
    words_[key] = {{segment, Meant::Plainly}};
}

} // namespace tarn::kit
