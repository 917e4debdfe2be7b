// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

/// Marks what `libtarn_link` exports; everything else in the library is hidden.
#if defined(_WIN32)
#if defined(TARN_LINK_BUILDING)
#define TARN_LINK_EXPORT __declspec(dllexport)
#else
#define TARN_LINK_EXPORT __declspec(dllimport)
#endif
#else
#define TARN_LINK_EXPORT __attribute__((visibility("default")))
#endif
