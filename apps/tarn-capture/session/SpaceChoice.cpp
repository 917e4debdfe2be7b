// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "session/SpaceChoice.h"

#include <fmt/format.h>
#include <tarn_kit/files/Text.h>

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
        entry.setValue("Scale", fmt::format("{}", choice.scale));
    }
    if (choice.unit) {
        entry.setValue("Unit", choice.unit->symbol);
    }
    if (choice.up) {
        entry.setValue("Up", kit::axisName(*choice.up));
    }
}

SpaceChoice notedSpace(const Settings& entry) {
    SpaceChoice choice;
    choice.scale = kit::numberIn<double>(entry.value("Scale", "")).value_or(1);
    choice.unit = kit::lengthUnitNamed(entry.value("Unit", ""));
    choice.up = kit::parseUpAxis(entry.value("Up", ""));
    return choice;
}

} // namespace tarn::capture
