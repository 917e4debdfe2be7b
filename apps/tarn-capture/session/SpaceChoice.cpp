// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "session/SpaceChoice.h"

namespace tarn::capture {

kit::BvhTake withSpace(kit::BvhTake take, const SpaceChoice& choice) {
    if (choice.scale != 1) {
        take = kit::scaledTake(take, choice.scale);
    }
    kit::Space space = kit::guessSpace(*take.rig);
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

} // namespace tarn::capture
