// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "body/names/Claim.h"
#include "body/names/JointName.h"

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace tarn::kit {

/// The words for the segments of a body.
class Vocabulary {
public:
    Vocabulary();

    /// What a reading of a name means; nothing if it is no name of a segment, or does not go with
    /// the side.
    std::vector<Option> meaningsOf(const NameReading& reading) const;
    /// A word that means a segment and nothing else. `segment` is without "Left" and "Right".
    void add(const std::string& key, const std::string& segment);

private:
    struct Meaning {
        std::string segment;
        Meant meant;
    };
    void addMeaning(const std::string& key, const std::string& segment, Meant meant);

    std::map<std::string, std::vector<Meaning>> words_;
};

/// The segment with this name on a side ("UpLeg", Left); -1 if there is none: `BodySide::None` is
/// for segments of which there is one.
EBoneID segmentOn(BodySide side, const std::string& segment);

} // namespace tarn::kit
