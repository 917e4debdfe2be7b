// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <string>

namespace tarn::tests {

/// What is wrong with an XML document, as far as tags, attributes, references and characters go;
/// empty if nothing is.
std::string xmlError(const std::string& text);

} // namespace tarn::tests
