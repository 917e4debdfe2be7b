// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "session/SpaceChoice.h"

#include "support/Errors.h"

#include <fmt/format.h>
#include <tarn_kit/files/Text.h>

#include <stdexcept>

namespace tarn::capture {

kit::BvhTake withSpace(kit::BvhTake take, const SpaceChoice& choice) {
    if (choice.scale != 1) {
        take = kit::scaledTake(take, choice.scale);
    }
    const kit::Space known = take.rig->space(); // of a recording, say
    kit::Space space = kit::guessSpace(*take.rig);
    if (known.unitOrigin != kit::Origin::Guessed && choice.scale == 1) {
        space.unit = known.unit;
        space.unitOrigin = known.unitOrigin;
    }
    if (known.upOrigin != kit::Origin::Guessed) {
        space.up = known.up;
        space.upOrigin = known.upOrigin;
    }
    if (choice.unit) {
        space.unit = *choice.unit;
        space.unitOrigin = kit::Origin::Given;
    }
    if (choice.up) {
        space.up = *choice.up;
        space.upOrigin = kit::Origin::Given;
    }
    take.rig->setSpace(space);
    return take;
}

void noteSpace(Settings& entry, const SpaceChoice& choice) {
    if (choice.scale != 1) {
        entry.setValue("Reading.Scale", fmt::format("{}", choice.scale));
    }
    if (choice.unit) {
        entry.setValue("Reading.Unit", choice.unit->symbol);
    }
    if (choice.up) {
        entry.setValue("Reading.Up", kit::axisName(*choice.up));
    }
}

SpaceChoice notedSpace(const Settings& document, const std::string& key, const std::string& file,
                       const std::string& text) {
    const auto noted = [&](const char* name, auto parse, const char* expected) {
        const std::string path = key + ".Reading." + name;
        const std::string value = document.value(path, "");
        auto read = parse(value);
        if (!read && !value.empty()) {
            throw std::runtime_error(fmt::format("{}: expected {}, found '{}'",
                                                 placeText(file, text, path), expected, value));
        }
        return read;
    };
    SpaceChoice choice;
    choice.scale = noted("Scale", parseScale, scaleWords).value_or(1);
    choice.unit = noted("Unit", kit::lengthUnitNamed, unitWords);
    choice.up = noted("Up", kit::parseUpAxis, upWords);
    return choice;
}

std::optional<double> parseScale(std::string_view text) {
    constexpr double largest = 1e6;
    const auto scale = kit::numberIn<double>(text);
    const bool isPossible = scale && *scale >= 1 / largest && *scale <= largest; // not-a-number not
    return isPossible ? scale : std::nullopt;
}

} // namespace tarn::capture
