// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "settings/PropertyTree.h"

#include <string>

namespace tarn {

/// Replaces `tree` with the tree of a document. Returns false, and leaves `tree` as it was, if
/// `text` is malformed or its elements nest deeper than `maximumDepth`.
bool readDocument(const std::string& text, PropertyTree& tree, int maximumDepth);

/// Replaces `text` with the document of a tree. Returns false, and leaves `text` as it was, if
/// `readDocument` would not give back the same tree, white space aside.
bool writeDocument(const PropertyTree& tree, std::string& text, int maximumDepth);

} // namespace tarn
