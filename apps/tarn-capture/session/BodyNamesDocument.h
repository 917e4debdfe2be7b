// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_kit/body/BodyNames.h>

#include <memory>
#include <optional>
#include <string>

namespace tarn::capture {

/// How names of joints are understood: as built in and, before that, as a settings document says.
/// Throws `std::runtime_error`, which names the file and the element, when the document cannot be
/// read or says what cannot be.
std::shared_ptr<const kit::BodyNames> loadBodyNames(const std::optional<std::string>& document);

} // namespace tarn::capture
