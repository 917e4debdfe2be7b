// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <string>
#include <string_view>

namespace tarn::kit {

/// `text` as the name of an XML element: each character that cannot be part of one, and each byte
/// that is no UTF-8, becomes a "_", and one is put before what cannot begin a name.
std::string xmlName(std::string_view text);

} // namespace tarn::kit
