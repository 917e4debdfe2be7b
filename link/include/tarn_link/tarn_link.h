// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

/// Everything of the library of links.

#include <tarn_kit/tarn_kit.h>
#include <tarn_link/Export.h>
#include <tarn_link/stream/Link.h>
