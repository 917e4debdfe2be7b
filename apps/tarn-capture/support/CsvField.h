// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <string>

namespace tarn::capture {

/// A cell of a table: quoted where a comma, a quote or a line end in it would be taken for the
/// table's own.
std::string csvField(const std::string& text);

} // namespace tarn::capture
