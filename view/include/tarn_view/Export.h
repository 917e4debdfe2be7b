// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

/// Marks what `libtarn_view` exports; everything else in the library is hidden.
#if defined(_WIN32)
#if defined(TARN_VIEW_BUILDING)
#define TARN_VIEW_EXPORT __declspec(dllexport)
#else
#define TARN_VIEW_EXPORT __declspec(dllimport)
#endif
#else
#define TARN_VIEW_EXPORT __attribute__((visibility("default")))
#endif
