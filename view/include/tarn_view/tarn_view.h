// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

// All of tarn_view.

#include <tarn_view/Export.h>
#include <tarn_view/live/LiveServer.h>
#include <tarn_view/page/Page.h>
