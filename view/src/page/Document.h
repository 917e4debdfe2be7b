// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "page/Content.h"

#include <ostream>
#include <string>

namespace tarn::view {

/// A page around what it shows.
struct Document {
    std::string title; ///< any text
    Json facts;
    std::string columns; ///< packed; empty for a page whose frames come later
    std::string connect; ///< what its policy lets it connect to: an address, or nothing
};

void writeDocument(const Document& document, std::ostream& stream);

} // namespace tarn::view
