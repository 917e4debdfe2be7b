// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <string_view>

namespace tarn {

/// Whether elements of a document nest deeper than `limit`: a scan that takes no stack, for the
/// parser, which recurses, to be started only on documents that it survives. `text` need not be
/// well-formed: then the answer holds for the part before the parser's first error.
bool nestsDeeperThan(std::string_view text, int limit);

} // namespace tarn
