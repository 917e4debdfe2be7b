// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_link/together/TakeFollower.h>

#include "link/LinkTest.h"

#include <gtest/gtest.h>

#include <string>

namespace tarn::link {

inline RecorderReport reportOf(RecorderPhase phase, const std::string& file = "a.tarn") {
    RecorderReport report;
    report.phase = phase;
    report.file = file;
    return report;
}

/// Waits until a recorder has heard of a phase.
inline bool follows(TakeFollower& follower, TakePhase phase) {
    return eventually([&] { return follower.call().phase == phase; });
}

inline bool knowsTheClock(TakeFollower& follower) {
    return eventually([&] { return follower.clock().has_value(); });
}

/// Two places on the link, for a leader and a recorder, with one clock.
class TogetherTest : public ::testing::Test {
protected:
    Link stage{ownDomain()};
    Link disk{ownDomain()};
};

} // namespace tarn::link
