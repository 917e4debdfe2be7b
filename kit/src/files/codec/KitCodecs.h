// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_kit/files/Codec.h>

namespace tarn::kit {

/// Adds the codecs of the kit's own payloads, of bytes and of texts.
void addKitCodecs(Codecs& codecs);

} // namespace tarn::kit
