// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Settings.h>

#include <string>

namespace tarn {

/// What the library's own classes ask about the trees that stores show.
struct SettingsTree {
    /// Whether `part` shows a child of that name of the node that `whole` shows, or a node below
    /// one: whether `whole.remove(name)` would destroy what `part` shows.
    static bool isInside(const Settings& part, const Settings& whole, const std::string& name);
};

} // namespace tarn
