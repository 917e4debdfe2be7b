// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

/// Everything of the library of links.

#include <tarn_kit/tarn_kit.h>
#include <tarn_link/Export.h>
#include <tarn_link/clock/LinkClock.h>
#include <tarn_link/stream/Link.h>
#include <tarn_link/stream/LinkDevice.h>
#include <tarn_link/stream/LinkPublisher.h>
#include <tarn_link/stream/LinkStatus.h>
#include <tarn_link/together/TakeCall.h>
#include <tarn_link/together/TakeFollower.h>
#include <tarn_link/together/TakeLeader.h>
