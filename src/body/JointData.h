// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Joint.h>

#include <string>

namespace tarn {

/// The record of a joint. `Skeleton` reads it directly: it compares the names of a whole body
/// without copying them.
struct Joint::PrivateData {
    std::string name;
};

} // namespace tarn
